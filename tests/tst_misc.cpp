#include <ondo/misc.h>

#include <QCollator>
#include <QtTest>

// The toolkit's helpers that need no window.
class tst_misc : public QObject {
    Q_OBJECT
private slots:
    // The order of names in the table, with a collator that ignores case: numbers by value at any
    // length, letters by the collator, and what it can't tell apart by UTF-16 value, so that no
    // two names compare equal.
    void natural_order_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::newRow("photo_2 before photo_10") << "photo_2.jpg" << "photo_10.jpg";
        QTest::newRow("case aside") << "iptc.jpg" << "Strand 01.jpg";
        QTest::newRow("Ü beside U, before V") << "Ü.jpg" << "V.jpg";
        QTest::newRow("21 digits don't wrap") << "x2" << "x100000000000000000001";
        QTest::newRow("leading zeros by value") << "a002b" << "a10b";
        QTest::newRow("upper before lower when all else is equal") << "A1.jpg" << "a1.jpg";
    }

    void natural_order()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QCollator collator{QLocale(QLocale::English)};
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        QVERIFY(ondo::compare_qstring_naturally(a, b, collator) < 0);
        QVERIFY(ondo::compare_qstring_naturally(b, a, collator) > 0);
        QCOMPARE(ondo::compare_qstring_naturally(a, a, collator), 0);
    }
};

QTEST_APPLESS_MAIN(tst_misc)
#include "tst_misc.moc"
