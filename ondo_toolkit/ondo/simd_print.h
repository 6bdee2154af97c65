#pragma once

// Text forms of SIMD integer registers, for debugging vector code on x86. A register reads as
// its 32-bit words in hexadecimal, byte by byte in memory order ("0x01000000" for a word of 1),
// joined by ",", then a blank and the same words in unsigned decimal.
#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <string>

std::string stringify_m128i(__m128i x);
std::string stringify_m128i(const char* label, __m128i x);
void print_m128i(__m128i x);

// These take a 256-bit value and are built for AVX; call them only from AVX code.
std::string stringify_m256i(__m256i x);
std::string stringify_m256i(const char* label, __m256i x);
void print_m256i(__m256i x);

namespace ondo::simd_detail {
// The shared formatting, kept out of the AVX-built file so no AVX code leaks into the rest.
std::string stringify_words(const char* label, const void* words, int count);
void print_words(const void* words, int count);
} // namespace ondo::simd_detail

#endif
