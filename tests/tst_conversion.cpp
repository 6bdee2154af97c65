#include <ondo/conversion.h>

#include <QDateTime>
#include <QTimeZone>
#include <QtTest>

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
        QTest::newRow("century: 69 is 2069") << "31.12.69" << QDate(2069, 12, 31);
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

    void time_to_text_in_local_summer_time()
    {
        const long summer = long(QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC).toSecsSinceEpoch());
        QCOMPARE(ondo::timestamp_conversion(summer, "%Y-%m-%d %H:%M:%S %Z"), std::string("2017-06-21 20:30:05 CEST"));
    }
};

QTEST_APPLESS_MAIN(tst_conversion)
#include "tst_conversion.moc"
