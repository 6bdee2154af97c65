#include <ondo/conversion.h>
#include <ondo/cpu_x86.h>
#include <ondo/misc.h>
#include <ondo/property.h>
#include <ondo/simd_print.h>
#include <ondo/thread.h>
#include <ondo/threaded_process.h>

#include <QDateTime>
#include <QTimeZone>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iostream>
#include <mutex>
#include <set>
#include <sstream>

using units = std::array<uint32_t, 2>;

// The toolkit's helpers that need no window. Every case runs in Berlin, where summer time makes
// the fixed daylight saving flag of the time texts visible.
class tst_misc : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    // Without a collator: numbers by value up to 20 digits, which wrap (2^64 + 1 is 1), and leading
    // zeros tell apart. With one that ignores case: numbers by value at any length, letters by the
    // collator, and what it can't tell apart by UTF-16 value, so that no two names compare equal.
    void natural_order_data()
    {
        QTest::addColumn<bool>("collated");
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("a_first");
        QTest::newRow("file9 before file10") << false << "file9" << "file10" << true;
        QTest::newRow("a01 against a1") << false << "a01" << "a1" << false;
        QTest::newRow("20 digits wrap") << false << "x18446744073709551617" << "x2" << true;
        QTest::newRow("collated: photo_2 before photo_10") << true << "photo_2.jpg" << "photo_10.jpg" << true;
        QTest::newRow("collated: case aside") << true << "iptc.jpg" << "Strand 01.jpg" << true;
        QTest::newRow("collated: Ü beside U, before V") << true << "Ü.jpg" << "V.jpg" << true;
        QTest::newRow("collated: 21 digits don't wrap") << true << "x2" << "x100000000000000000001" << true;
        QTest::newRow("collated: leading zeros by value") << true << "a002b" << "a10b" << true;
        QTest::newRow("collated: upper before lower when all else is equal") << true << "A1.jpg" << "a1.jpg" << true;
    }

    void natural_order()
    {
        QFETCH(bool, collated);
        QFETCH(QString, a);
        QFETCH(QString, b);
        if (!collated) {
            QTEST(ondo::compare_qstring_naturally(a, b), "a_first");
            QVERIFY(!ondo::compare_qstring_naturally(b, a)); // no row has b before a
            return;
        }
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
        QTEST(uint(ondo::hash_murmur3_32(reinterpret_cast<const unsigned char*>(data.constData()), data.size(), seed)),
              "hash");
    }

    void utf_round_trips()
    {
        for (uint32_t c : {0x0, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10001, 0x10FFFF}) {
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
            QCOMPARE(pair, (text.size() == 2 ? units{text[0].unicode(), text[1].unicode()} : units{uint32_t(c), 0}));
            wchar_t wide[2] = {wchar_t(pair[0]), wchar_t(pair[1])};
            wchar_t* wide_cursor = wide;
            QCOMPARE(ondo::utf16_to_unicode_character(wide_cursor, 2), c);
            QCOMPARE(wide_cursor - wide, text.size());
        }
        QCOMPARE(ondo::unicode_character_to_utf16(0x10000), (units{0, 0}));
        QCOMPARE(ondo::unicode_character_to_utf8(0x110000), 0u);
        wchar_t no_low_half[] = {0xD83D, L'A'};
        wchar_t* wide = no_low_half;
        QVERIFY_EXCEPTION_THROWN(ondo::utf16_to_unicode_character(wide, 2), std::string);
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

    void properties_gather_into_lists()
    {
        namespace p = ondo::qt::property;
        std::vector<ondo::property*> list{&p::hide};
        const auto gathered = (p::width(3), (p::disable, std::move(list)));
        QVERIFY(list.empty());
        QCOMPARE(gathered, (std::vector<ondo::property*>{&p::hide, &p::disable, &p::width}));
    }

    void destroyed_pool_runs_queued_tasks_first()
    {
        std::atomic<int> done{0};
        std::atomic<bool> release{false};
        {
            ondo::thread_pool<void> pool(1);
            pool.enqueue([&](ondo::thread&) {
                while (!release)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                ++done;
            });
            for (int i = 0; i < 3; ++i)
                pool.enqueue([&](ondo::thread&) { ++done; });
            release = true;
        }
        QCOMPARE(done.load(), 4);
    }

    void strips_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<bool>("split_columns");
        QTest::addColumn<int>("core_count");
        QTest::addColumn<QList<QRect>>("expected");
        QTest::newRow("10 rows in 4") << QRect(0, 0, 5, 10) << false << 4
                                      << QList<QRect>{QRect(0, 0, 5, 2), QRect(0, 2, 5, 2), QRect(0, 4, 5, 2), QRect(0, 6, 5, 4)};
        QTest::newRow("fewer rows than strips") << QRect(3, 5, 4, 3) << false << 4 << QList<QRect>{QRect(3, 5, 4, 3)};
        QTest::newRow("one strip") << QRect(0, 0, 8, 8) << false << 1 << QList<QRect>{QRect(0, 0, 8, 8)};
        // Column strips start at the coordinate of the top edge, not the left one.
        QTest::newRow("columns start at the top edge") << QRect(10, 2, 8, 4) << true << 2
                                                       << QList<QRect>{QRect(2, 2, 4, 4), QRect(6, 2, 12, 4)};
    }

    void strips()
    {
        QFETCH(QRect, area);
        QFETCH(bool, split_columns);
        QFETCH(int, core_count);
        std::mutex mutex;
        QList<QRect> seen;
        std::set<std::thread::id> threads;
        ondo::threaded_process(area, [&](QRect strip) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            std::lock_guard<std::mutex> guard(mutex);
            seen << strip;
            threads.insert(std::this_thread::get_id());
        }, split_columns, core_count);
        // Every strip is done when the call returns, and none ran on the calling thread.
        std::sort(seen.begin(), seen.end(), [](const QRect& a, const QRect& b) {
            return std::make_pair(a.top(), a.left()) < std::make_pair(b.top(), b.left());
        });
        QTEST(seen, "expected");
        QVERIFY(threads.count(std::this_thread::get_id()) == 0);
    }

    void cpu_report_and_register_text()
    {
#ifndef ONDO_HAS_CPU_X86
        QSKIP("not an x86 processor");
#else
        FeatureDetector::cpu_x86 cpu;
        std::memset(static_cast<void*>(&cpu), 0, sizeof cpu);
        cpu.vendor_amd = cpu.has_mpx = cpu.has_sse4a = cpu.has_avx512_cd = cpu.has_avx = true;
        cpu.os_avx = false; // the hardware has AVX, the system doesn't save its state
        std::ostringstream out;
        std::streambuf* old = std::cout.rdbuf(out.rdbuf());
        cpu.print();
        std::cout.rdbuf(old);
        const QStringList lines = QString::fromStdString(out.str()).split('\n');
        QCOMPARE(lines.filter("Yes"), QStringList({"    AMD         = Yes", "    MPX         = Yes", "    SSE4a       = Yes",
                                                   "    AVX         = Yes", "    AVX512-CD   = Yes"}));
        QCOMPARE(lines.mid(lines.size() - 5),
                 QStringList({"Summary:", "    Safe to use AVX:     No", "    Safe to use AVX512:  No", "", ""}));

        // Bytes, then words, of a register: little-endian.
        const uint words[] = {1, 0, 0x12345678, ~0u};
        __m128i x;
        std::memcpy(&x, words, sizeof x);
        QCOMPARE(QString::fromStdString(stringify_m128i(x)),
                 QString("0x01000000,0x00000000,0x78563412,0xFFFFFFFF 1,0,305419896,4294967295"));
#endif
    }
};

QTEST_APPLESS_MAIN(tst_misc)
#include "tst_misc.moc"
