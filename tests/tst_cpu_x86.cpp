#include <ondo/cpu_x86.h>
#include <ondo/simd_print.h>

#include <QtTest>

#include <cstring>
#include <iostream>
#include <sstream>

#ifdef ONDO_HAS_CPU_X86

namespace {

// A 256-bit value can only be made in code built for AVX.
__attribute__((target("avx"))) std::string stringify_256(const uint32_t (&words)[8], const char* label)
{
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
    return label ? stringify_m256i(label, x) : stringify_m256i(x);
}

} // namespace

class tst_cpu_x86 : public QObject {
    Q_OBJECT

private slots:
    // Every x86-64 processor has these, so a wrong leaf, register or bit shows here.
    void host_has_the_x86_64_baseline()
    {
        const FeatureDetector::cpu_x86 host;
        QVERIFY(host.os_x64 && host.has_x64 && host.has_mmx && host.has_sse && host.has_sse2);
        QVERIFY(host.vendor_amd != host.vendor_intel || FeatureDetector::cpu_x86::get_vendor_string() != "GenuineIntel");
        QCOMPARE(int(FeatureDetector::cpu_x86::get_vendor_string().size()), 12);
    }

    void report_of_a_filled_structure()
    {
        FeatureDetector::cpu_x86 cpu;
        std::memset(static_cast<void*>(&cpu), 0, sizeof cpu);
        cpu.vendor_amd = cpu.has_mpx = cpu.has_sse4a = cpu.has_avx512_cd = cpu.has_avx = true;
        cpu.os_avx = false; // the hardware has AVX, the system doesn't save its state

        std::ostringstream out;
        std::streambuf* old = std::cout.rdbuf(out.rdbuf());
        cpu.print();
        std::cout.rdbuf(old);

        const QStringList lines = QString::fromStdString(out.str()).split('\n');
        QCOMPARE(lines.size(), 52 + 1); // the last line ends too
        QCOMPARE(lines.filter("Yes"), QStringList({"    AMD         = Yes", "    MPX         = Yes", "    SSE4a       = Yes",
                                          "    AVX         = Yes", "    AVX512-CD   = Yes"}));
        QCOMPARE(lines.filter(QRegularExpression("^\\S")), QStringList({"CPU Vendor:", "OS Features:", "Hardware Features:",
            "SIMD: 128-bit", "SIMD: 256-bit", "SIMD: 512-bit", "Summary:"}));
        QVERIFY(lines.indexOf("    MPX         = Yes") + 1 == lines.indexOf("    PREFETCHWT1 = No"));
        QVERIFY(lines.indexOf("    SSE4a       = Yes") + 1 == lines.indexOf("    SSE4.1      = No"));
        QVERIFY(lines.indexOf("    AVX512-F    = No") + 1 == lines.indexOf("    AVX512-CD   = Yes"));
        QCOMPARE(lines.mid(lines.size() - 5), QStringList({"Summary:", "    Safe to use AVX:     No", "    Safe to use AVX512:  No", "", ""}));
    }

    void register_text_data()
    {
        QTest::addColumn<QVector<uint>>("words");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("expected");
        const QString ones = "0xFFFFFFFF,0xFFFFFFFF,0xFFFFFFFF,0xFFFFFFFF 4294967295,4294967295,4294967295,4294967295";
        QTest::newRow("all ones") << QVector<uint>{~0u, ~0u, ~0u, ~0u} << QString() << ones;
        QTest::newRow("labelled") << QVector<uint>{~0u, ~0u, ~0u, ~0u} << "x" << "x: " + ones + " ";
        QTest::newRow("a word of one") << QVector<uint>{1, 0, 0x12345678, 0} << QString()
                                       << "0x01000000,0x00000000,0x78563412,0x00000000 1,0,305419896,0";
        QTest::newRow("256 bits") << QVector<uint>{1, 2, 3, 4, 5, 6, 7, 0xA0B0C0D0} << "y"
                                  << "y: 0x01000000,0x02000000,0x03000000,0x04000000,0x05000000,0x06000000,0x07000000,"
                                     "0xD0C0B0A0 1,2,3,4,5,6,7,2695938256 ";
    }

    void register_text()
    {
        QFETCH(QVector<uint>, words);
        QFETCH(QString, label);
        QFETCH(QString, expected);
        const QByteArray label_bytes = label.toLatin1();
        const char* label_text = label.isNull() ? nullptr : label_bytes.constData();
        std::string text;
        if (words.size() == 8) {
            if (!__builtin_cpu_supports("avx"))
                QSKIP("this processor has no AVX");
            uint32_t raw[8];
            std::copy(words.begin(), words.end(), raw);
            text = stringify_256(raw, label_text);
        } else {
            __m128i x;
            std::memcpy(&x, words.constData(), sizeof x);
            text = label_text ? stringify_m128i(label_text, x) : stringify_m128i(x);
        }
        QCOMPARE(QString::fromStdString(text), expected);
    }
};

QTEST_APPLESS_MAIN(tst_cpu_x86)

#else

QTEST_APPLESS_MAIN(QObject)

#endif

#include "tst_cpu_x86.moc"
