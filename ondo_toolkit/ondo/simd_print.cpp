#include "ondo/simd_print.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cstdint>
#include <cstring>
#include <iostream>

namespace ondo::simd_detail {

std::string stringify_words(const char* label, const void* words, int count)
{
    static const char digits[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(words);
    std::string text;
    text.reserve(100);
    if (label) {
        text += label;
        text += ": ";
    }
    for (int word = 0; word < count; ++word) {
        text += word == 0 ? "0x" : ",0x";
        for (int i = 0; i < 4; ++i) {
            const unsigned char byte = bytes[word * 4 + i];
            text += digits[byte >> 4];
            text += digits[byte & 0xF];
        }
    }
    text += ' ';
    for (int word = 0; word < count; ++word) {
        uint32_t value;
        std::memcpy(&value, bytes + word * 4, sizeof value);
        if (word > 0)
            text += ',';
        text += std::to_string(value);
    }
    if (label)
        text += ' ';
    return text;
}

void print_words(const void* words, int count) { std::cout << stringify_words(nullptr, words, count) << std::endl; }

} // namespace ondo::simd_detail

std::string stringify_m128i(__m128i x) { return ondo::simd_detail::stringify_words(nullptr, &x, 4); }

std::string stringify_m128i(const char* label, __m128i x) { return ondo::simd_detail::stringify_words(label, &x, 4); }

void print_m128i(__m128i x) { ondo::simd_detail::print_words(&x, 4); }

#endif
