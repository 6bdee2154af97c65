#include "ondo/cpu_x86.h"

#ifdef ONDO_HAS_CPU_X86

#include <cpuid.h>

#include <cstring>
#include <iostream>

namespace FeatureDetector {

namespace {

bool bit(int32_t value, int index) { return (static_cast<uint32_t>(value) >> index) & 1u; }

} // namespace

uint64_t xgetbv(unsigned int index)
{
    uint32_t eax, edx;
    __asm__ __volatile__("xgetbv" : "=a"(eax), "=d"(edx) : "c"(index));
    return (static_cast<uint64_t>(edx) << 32) | eax;
}

void cpu_x86::cpuid(int32_t out[4], int32_t leaf)
{
    unsigned int a, b, c, d;
    __cpuid_count(static_cast<unsigned int>(leaf), 0, a, b, c, d);
    out[0] = static_cast<int32_t>(a);
    out[1] = static_cast<int32_t>(b);
    out[2] = static_cast<int32_t>(c);
    out[3] = static_cast<int32_t>(d);
}

cpu_x86::cpu_x86()
{
    std::memset(static_cast<void*>(this), 0, sizeof *this);
    detect_host();
}

// Only 64-bit builds exist; a 32-bit one would have to ask the system at run time.
bool cpu_x86::detect_OS_x64() { return true; }

bool cpu_x86::detect_OS_AVX()
{
    int32_t info[4];
    cpuid(info, 1);
    const bool osxsave = bit(info[2], 27);
    const bool avx = bit(info[2], 28);
    if (!osxsave || !avx)
        return false;
    // XMM and YMM state both saved by the system.
    return (xgetbv(0) & 0x6) == 0x6;
}

bool cpu_x86::detect_OS_AVX512()
{
    if (!detect_OS_AVX())
        return false;
    // Also the opmask and both halves of the upper ZMM state.
    return (xgetbv(0) & 0xE6) == 0xE6;
}

std::string cpu_x86::get_vendor_string()
{
    int32_t info[4];
    cpuid(info, 0);
    char name[13];
    std::memcpy(name + 0, &info[1], 4);
    std::memcpy(name + 4, &info[3], 4);
    std::memcpy(name + 8, &info[2], 4);
    name[12] = '\0';
    return name;
}

void cpu_x86::detect_host()
{
    os_x64 = detect_OS_x64();
    os_avx = detect_OS_AVX();
    os_avx512 = detect_OS_AVX512();

    const std::string vendor = get_vendor_string();
    if (vendor == "GenuineIntel")
        vendor_intel = true;
    else if (vendor == "AuthenticAMD")
        vendor_amd = true;

    int32_t info[4];
    cpuid(info, 0);
    const int32_t basic_leaves = info[0];
    cpuid(info, static_cast<int32_t>(0x80000000));
    const uint32_t extended_leaves = static_cast<uint32_t>(info[0]);

    if (basic_leaves >= 1) {
        cpuid(info, 1);
        has_mmx = bit(info[3], 23);
        has_sse = bit(info[3], 25);
        has_sse2 = bit(info[3], 26);
        has_sse3 = bit(info[2], 0);
        has_ssse3 = bit(info[2], 9);
        has_sse41 = bit(info[2], 19);
        has_sse42 = bit(info[2], 20);
        has_aes = bit(info[2], 25);
        has_avx = bit(info[2], 28);
        has_fma3 = bit(info[2], 12);
        has_rdrand = bit(info[2], 30);
    }
    if (basic_leaves >= 7) {
        cpuid(info, 7);
        has_avx2 = bit(info[1], 5);
        has_bmi1 = bit(info[1], 3);
        has_bmi2 = bit(info[1], 8);
        has_adx = bit(info[1], 19);
        has_mpx = bit(info[1], 14);
        has_sha = bit(info[1], 29);
        has_prefetchwt1 = bit(info[2], 0);
        has_avx512_f = bit(info[1], 16);
        has_avx512_cd = bit(info[1], 28);
        has_avx512_pf = bit(info[1], 26);
        has_avx512_er = bit(info[1], 27);
        has_avx512_vl = bit(info[1], 31);
        has_avx512_bw = bit(info[1], 30);
        has_avx512_dq = bit(info[1], 17);
        has_avx512_ifma = bit(info[1], 21);
        has_avx512_vbmi = bit(info[2], 1);
    }
    if (extended_leaves >= 0x80000001u) {
        cpuid(info, static_cast<int32_t>(0x80000001));
        has_x64 = bit(info[3], 29);
        has_abm = bit(info[2], 5);
        has_sse4a = bit(info[2], 6);
        has_fma4 = bit(info[2], 16);
        has_xop = bit(info[2], 11);
    }
}

void cpu_x86::print(const char* label, bool yes) { std::cout << label << (yes ? "Yes" : "No") << std::endl; }

// The lines keep their report order, which differs from the fields' order in three places.
void cpu_x86::print() const
{
    std::cout << "CPU Vendor:" << std::endl;
    print("    AMD         = ", vendor_amd);
    print("    Intel       = ", vendor_intel);
    std::cout << std::endl;

    std::cout << "OS Features:" << std::endl;
    print("    OS AVX      = ", os_avx);
    print("    OS AVX512   = ", os_avx512);
    std::cout << std::endl;

    std::cout << "Hardware Features:" << std::endl;
    print("    MMX         = ", has_mmx);
    print("    x64         = ", has_x64);
    print("    ABM         = ", has_abm);
    print("    RDRAND      = ", has_rdrand);
    print("    BMI1        = ", has_bmi1);
    print("    BMI2        = ", has_bmi2);
    print("    ADX         = ", has_adx);
    print("    MPX         = ", has_mpx);
    print("    PREFETCHWT1 = ", has_prefetchwt1);
    std::cout << std::endl;

    std::cout << "SIMD: 128-bit" << std::endl;
    print("    SSE         = ", has_sse);
    print("    SSE2        = ", has_sse2);
    print("    SSE3        = ", has_sse3);
    print("    SSSE3       = ", has_ssse3);
    print("    SSE4a       = ", has_sse4a);
    print("    SSE4.1      = ", has_sse41);
    print("    SSE4.2      = ", has_sse42);
    print("    AES-NI      = ", has_aes);
    print("    SHA         = ", has_sha);
    std::cout << std::endl;

    std::cout << "SIMD: 256-bit" << std::endl;
    print("    AVX         = ", has_avx);
    print("    XOP         = ", has_xop);
    print("    FMA3        = ", has_fma3);
    print("    FMA4        = ", has_fma4);
    print("    AVX2        = ", has_avx2);
    std::cout << std::endl;

    std::cout << "SIMD: 512-bit" << std::endl;
    print("    AVX512-F    = ", has_avx512_f);
    print("    AVX512-CD   = ", has_avx512_cd);
    print("    AVX512-PF   = ", has_avx512_pf);
    print("    AVX512-ER   = ", has_avx512_er);
    print("    AVX512-VL   = ", has_avx512_vl);
    print("    AVX512-BW   = ", has_avx512_bw);
    print("    AVX512-DQ   = ", has_avx512_dq);
    print("    AVX512-IFMA = ", has_avx512_ifma);
    print("    AVX512-VBMI = ", has_avx512_vbmi);
    std::cout << std::endl;

    std::cout << "Summary:" << std::endl;
    print("    Safe to use AVX:     ", has_avx && os_avx);
    print("    Safe to use AVX512:  ", has_avx512_f && os_avx512);
    std::cout << std::endl;
}

void cpu_x86::print_host()
{
    static const cpu_x86 host;
    host.print();
}

} // namespace FeatureDetector

#endif
