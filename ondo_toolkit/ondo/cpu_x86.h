#pragma once

// Processor feature probe for x86; it has no meaning elsewhere and isn't built there.
#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64) || defined(_M_IX86)
#define ONDO_HAS_CPU_X86 1

#include <cstdint>
#include <string>

namespace FeatureDetector {

// The raw xgetbv instruction: the extended control register `index`, EDX in the high word.
// Only valid where cpuid leaf 1 reports OSXSAVE.
uint64_t xgetbv(unsigned int index);

// What the processor offers and the system saves, as cpuid and xgetbv tell it.
struct cpu_x86 {
    bool vendor_amd;
    bool vendor_intel;

    bool os_x64;
    bool os_avx;
    bool os_avx512;

    bool has_mmx;
    bool has_x64;
    bool has_abm;
    bool has_rdrand;
    bool has_bmi1;
    bool has_bmi2;
    bool has_adx;
    bool has_prefetchwt1;
    bool has_mpx;

    bool has_sse;
    bool has_sse2;
    bool has_sse3;
    bool has_ssse3;
    bool has_sse41;
    bool has_sse42;
    bool has_sse4a;
    bool has_aes;
    bool has_sha;

    bool has_avx;
    bool has_xop;
    bool has_fma3;
    bool has_fma4;
    bool has_avx2;

    bool has_avx512_f;
    bool has_avx512_pf;
    bool has_avx512_er;
    bool has_avx512_cd;
    bool has_avx512_vl;
    bool has_avx512_bw;
    bool has_avx512_dq;
    bool has_avx512_ifma;
    bool has_avx512_vbmi;

    // All fields false, then detect_host().
    cpu_x86();
    void detect_host();
    // The report of every field on std::cout, grouped, with a closing summary.
    void print() const;

    // out: EAX, EBX, ECX, EDX of `leaf`, sub-leaf 0.
    static void cpuid(int32_t out[4], int32_t leaf);
    static bool detect_OS_x64();
    static bool detect_OS_AVX();
    static bool detect_OS_AVX512();
    static std::string get_vendor_string();
    // "<label>Yes" or "<label>No" and a line end on std::cout.
    static void print(const char* label, bool yes);
    // Detects once, then prints the host's report.
    static void print_host();
};

} // namespace FeatureDetector

#endif
