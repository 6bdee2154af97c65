#include <ondo/cpu_x86.h>
#include <ondo/simd_print.h>

#include <QtTest>

#include <cstring>
#include <iostream>
#include <sstream>

#ifdef ONDO_HAS_CPU_X86

class tst_cpu_x86 : public QObject {
    Q_OBJECT

private slots:
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
        QCOMPARE(lines.filter("Yes"), QStringList({"    AMD         = Yes", "    MPX         = Yes", "    SSE4a       = Yes",
                                          "    AVX         = Yes", "    AVX512-CD   = Yes"}));
        QCOMPARE(lines.mid(lines.size() - 5), QStringList({"Summary:", "    Safe to use AVX:     No", "    Safe to use AVX512:  No", "", ""}));
    }

    void register_text_data()
    {
        QTest::addColumn<QVector<uint>>("words");
        QTest::addColumn<QString>("expected");
        const QString ones = "0xFFFFFFFF,0xFFFFFFFF,0xFFFFFFFF,0xFFFFFFFF 4294967295,4294967295,4294967295,4294967295";
        QTest::newRow("all ones") << QVector<uint>{~0u, ~0u, ~0u, ~0u} << ones;
        QTest::newRow("a word of one") << QVector<uint>{1, 0, 0x12345678, 0} << "0x01000000,0x00000000,0x78563412,0x00000000 1,0,305419896,0";
    }

    void register_text()
    {
        QFETCH(QVector<uint>, words);
        __m128i x;
        std::memcpy(&x, words.constData(), sizeof x);
        QTEST(QString::fromStdString(stringify_m128i(x)), "expected");
    }
};

QTEST_APPLESS_MAIN(tst_cpu_x86)

#else

QTEST_APPLESS_MAIN(QObject)

#endif

#include "tst_cpu_x86.moc"
