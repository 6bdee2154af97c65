#include <ondo/conversion.h>

#include <QDateTime>
#include <QTimeZone>
#include <QtTest>

#include <stdexcept>

// Every case runs in Berlin, where summer time makes the fixed daylight saving flag visible.
class tst_conversion : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void text_to_time_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDate>("date");
        QTest::newRow("yy-mm-dd") << "17-06-21" << QDate(2017, 6, 21);
        QTest::newRow("dd.mm.yy") << "21.06.17" << QDate(2017, 6, 21);
        QTest::newRow("mm/dd/yy") << "06/21/17" << QDate(2017, 6, 21);
        QTest::newRow("yyyy-mm-dd") << "2017-06-21" << QDate(2017, 6, 21);
        QTest::newRow("winter date") << "2017-01-05" << QDate(2017, 1, 5);
        QTest::newRow("century: 69 is 2069") << "31.12.69" << QDate(2069, 12, 31);
        QTest::newRow("century: 70 is 1970") << "70-01-02" << QDate(1970, 1, 2);
        QTest::newRow("day past the month's end rolls on") << "2017-02-30" << QDate(2017, 3, 2);
        // Unknown forms: day 0 of month 0, that is 30 November of the year before.
        QTest::newRow("unknown form of eight characters") << "17_06_21" << QDate(1999, 11, 30);
    }

    void text_to_time()
    {
        QFETCH(QString, text);
        QFETCH(QDate, date);
        // One o'clock standard time (UTC+1 here) whatever the season.
        const QDateTime expected(date, QTime(1, 0), QTimeZone(3600));
        QCOMPARE(qint64(ondo::timestamp_conversion(text.toStdString())), expected.toSecsSinceEpoch());
    }

    void two_minus_signs_throw()
    {
        QVERIFY_EXCEPTION_THROWN(ondo::timestamp_conversion("--.06.2017"), std::invalid_argument);
    }

    void time_to_text_data()
    {
        QTest::addColumn<qint64>("time");
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("expected");
        const qint64 summer = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC).toSecsSinceEpoch();
        QTest::newRow("local summer time") << summer << "%Y-%m-%d %H:%M:%S" << "2017-06-21 20:30:05";
        QTest::newRow("zone name") << summer << "%Z" << "CEST";
    }

    void time_to_text()
    {
        QFETCH(qint64, time);
        QFETCH(QString, format);
        QTEST(QString::fromStdString(ondo::timestamp_conversion(long(time), format.toStdString())), "expected");
    }
};

QTEST_APPLESS_MAIN(tst_conversion)
#include "tst_conversion.moc"
