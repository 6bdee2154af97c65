#include <ondo/misc.h>

#include <QtTest>

using units = std::array<uint32_t, 2>;

class tst_misc : public QObject {
    Q_OBJECT
private slots:
    void natural_order_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("a_first");
        QTest::newRow("file9 before file10") << "file9" << "file10" << true;
        QTest::newRow("a01 against a1") << "a01" << "a1" << false;
        // 2^64 + 1 wraps around to 1.
        QTest::newRow("20 digits wrap") << "x18446744073709551617" << "x2" << true;
    }

    void natural_order()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QTEST(ondo::compare_qstring_naturally(a, b), "a_first");
        QVERIFY(!ondo::compare_qstring_naturally(b, a)); // no row has b before a
    }

    // With a collator that ignores case: numbers by value at any length, letters by the collator,
    // and what it can't tell apart by UTF-16 value, so that no two names compare equal.
    void natural_order_with_a_collator_data()
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

    void natural_order_with_a_collator()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QCollator collator{QLocale(QLocale::English)};
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        QVERIFY(ondo::compare_qstring_naturally(a, b, collator) < 0);
        QVERIFY(ondo::compare_qstring_naturally(b, a, collator) > 0);
        QCOMPARE(ondo::compare_qstring_naturally(a, a, collator), 0);
    }

    void rotate_by_quarter_turns_data()
    {
        QTest::addColumn<int>("turns");
        QTest::addColumn<QSize>("to");
        QTest::addColumn<QRect>("expected");
        // (10,20) 30x40 in a 100x200 picture; clockwise a point (x, y) goes to (200 - y, x).
        QTest::newRow("none") << 0 << QSize(1, 1) << QRect(10, 20, 30, 40);
        QTest::newRow("one") << 1 << QSize(200, 100) << QRect(140, 10, 40, 30);
        QTest::newRow("two ignores to") << 2 << QSize(1, 1) << QRect(60, 140, 30, 40);
        QTest::newRow("three") << 3 << QSize(200, 100) << QRect(20, 60, 40, 30);
    }

    void rotate_by_quarter_turns()
    {
        QFETCH(int, turns);
        QFETCH(QSize, to);
        QTEST(ondo::qrect_rotate_90_inside_rect(QRect(10, 20, 30, 40), turns, QSize(100, 200), to), "expected");
    }

    void murmur3_test_vectors_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<uint>("seed");
        QTest::addColumn<uint>("hash");
        QTest::newRow("empty, seed 1") << QByteArray() << 1u << 0x514E28B7u;
        QTest::newRow("three byte tail") << QByteArray("aaa") << 0x9747B28Cu << 0x283E0130u;
    }

    void murmur3_test_vectors()
    {
        QFETCH(QByteArray, data);
        QFETCH(uint, seed);
        QTEST(uint(ondo::hash_murmur3_32(reinterpret_cast<const unsigned char*>(data.constData()),
                  data.size(), seed)), "hash");
    }

    void utf_round_trips()
    {
        const uint32_t samples[] = {0x0, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10001, 0x10FFFF};
        for (uint32_t c : samples) {
            const QString text = QString::fromUcs4(&c, 1);
            const QByteArray expected_utf8 = c == 0 ? QByteArray(1, '\0') : text.toUtf8();
            uint32_t word = ondo::unicode_character_to_utf8(c);
            char bytes[4];
            for (int i = 0; i < 4; ++i)
                bytes[i] = char((word >> (8 * i)) & 0xFF);
            QCOMPARE(QByteArray(bytes, expected_utf8.size()), expected_utf8);
            char* cursor = bytes;
            QCOMPARE(ondo::utf8_to_unicode_character(cursor, 4), c);
            QCOMPARE(cursor - bytes, expected_utf8.size());

            const units pair = ondo::unicode_character_to_utf16(c);
            const units expected_utf16 = text.size() == 2 ? units{text[0].unicode(), text[1].unicode()}
                                                          : units{uint32_t(c), 0};
            QCOMPARE(pair, expected_utf16);
            wchar_t wide[2] = {wchar_t(pair[0]), wchar_t(pair[1])};
            wchar_t* wide_cursor = wide;
            QCOMPARE(ondo::utf16_to_unicode_character(wide_cursor, 2), c);
            QCOMPARE(wide_cursor - wide, text.size());
        }
    }

    void utf_limits()
    {
        QCOMPARE(ondo::unicode_character_to_utf16(0x10000), (units{0, 0}));
        QCOMPARE(ondo::unicode_character_to_utf8(0x110000), 0u);

        wchar_t no_low_half[] = {0xD83D, L'A'};
        wchar_t* wide = no_low_half;
        QVERIFY_EXCEPTION_THROWN(ondo::utf16_to_unicode_character(wide, 2), std::string);
    }
};

QTEST_APPLESS_MAIN(tst_misc)
#include "tst_misc.moc"
