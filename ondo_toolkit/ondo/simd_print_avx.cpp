// Built with AVX enabled, alone: nothing here may be an inline function that the rest of the
// library shares, or the linker could hand AVX code to callers on processors without it. So
// each function only stores the register and passes the bytes on.
#include "ondo/simd_print.h"

#if defined(__x86_64__) || defined(__i386__)

std::string stringify_m256i(__m256i x)
{
    alignas(32) unsigned char bytes[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), x);
    return ondo::simd_detail::stringify_words(nullptr, bytes, 8);
}

std::string stringify_m256i(const char* label, __m256i x)
{
    alignas(32) unsigned char bytes[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), x);
    return ondo::simd_detail::stringify_words(label, bytes, 8);
}

void print_m256i(__m256i x)
{
    alignas(32) unsigned char bytes[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), x);
    ondo::simd_detail::print_words(bytes, 8);
}

#endif
