#pragma once

#include <QCollator>
#include <QHash>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringView>

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace ondo {

// True if `a` comes before `b` in natural order: runs of digits compare by value (as unsigned
// 64-bit numbers, wrapping beyond 19 digits), a digit comes before any other character, and
// other characters compare by their UTF-16 value with no folding of case.
bool compare_qstring_naturally(const QString& a, const QString& b);

// The same natural order with the text between the numbers compared by `collator`, so that case
// and the letters of a language count as it is set up to: below 0, 0 or above 0 as `a` comes
// before, with or after `b`. Numbers compare by value however many digits they have; texts the
// collator can't tell apart ("a1" and "A01") are ordered by their UTF-16 values.
int compare_qstring_naturally(const QString& a, const QString& b, const QCollator& collator);

// Keys that order many texts as compare_qstring_naturally(a, b, collator) does, made once for a
// whole sort: a large table's sort would otherwise ask the collator millions of times. Each run of
// text becomes its place among the distinct runs of all texts added, each run of digits its value.
// Texts whose keys are equal may still differ where the collator can't tell them apart ("a1",
// "A01"): compare those with the function. The texts added must outlive the object.
class natural_keys {
public:
    explicit natural_keys(const QCollator& collator) : collator(collator) {}
    // Keys `text` from its character `from` as the next row, numbered from 0; a `lead` (an order
    // decided elsewhere) goes before the text.
    int add(const QString& text, quint64 lead = 0, int from = 0);
    // Below 0, 0 or above 0 as row `a`'s key comes before, with or after row `b`'s.
    int compare(int a, int b);
    // The first elements of row `row`'s key, each one more than it is and 0 past its end: rows
    // whose heads differ compare as their heads do. A sort that moves the heads with its rows
    // reads them in order rather than chasing every key across memory.
    using head_elements = std::array<quint64, 6>;
    head_elements head(int row);

private:
    const QCollator& collator;
    // Every row's key, one after the other; runs of text by their number in `runs` until ranked.
    std::vector<quint64> elements;
    std::vector<size_t> starts;
    struct run_hash {
        size_t operator()(QStringView run) const;
    };
    std::unordered_map<QStringView, quint32, run_hash> run_numbers;
    std::vector<QStringView> runs;
    bool ranked = false;
    void rank();
};

// Maps `rect`, given in a picture of size `from`, into that picture turned by `quarter_turns`
// (modulo 4) quarter turns clockwise. For odd turns the result is scaled to `to`; a `to` with a
// negative side stands for `from` turned. For even turns `to` plays no part.
QRect qrect_rotate_90_inside_rect(const QRect& rect, int quarter_turns, const QSize& from, QSize to);

// The largest rectangle of `rect`'s proportions, centred on its size, that fits into `rect`
// turned by `angle` degrees; clipped to `rect`.
QRect qrect_inside_rotated(const QRect& rect, float angle);

// {c, 0} below 0xD800 and from 0xE000 to 0xFFFF; the surrogate pair above 0x10000; {0, 0} for
// the surrogate range and for 0x10000 itself, a limit this function has always had.
std::array<uint32_t, 2> unicode_character_to_utf16(uint32_t c);

// The UTF-8 bytes of `c` in one word, the first byte in the lowest eight bits (so the word's
// bytes in memory on a little-endian machine are the encoding). 0 above 0x10FFFF.
uint32_t unicode_character_to_utf8(uint32_t c);

// Decodes one character and advances `text` past it. Returns 0 and leaves `text` if `left`
// is too short for the lead byte or the lead byte is invalid. Continuation bytes aren't checked.
uint32_t utf8_to_unicode_character(char*& text, unsigned long left);

// Decodes one character from 32-bit units and advances `text`. A high surrogate needs `left` of
// at least 2, else 0 is returned and `text` stays; a missing low half throws the assertion text.
uint32_t utf16_to_unicode_character(wchar_t*& text, unsigned long left);

// The working directory, through a static buffer of 1024 bytes: not safe between threads.
std::string current_working_dir();

struct directory_entry {
    std::string name;
    std::string path; // the whole path, with "/" separators
    bool is_directory;
};

// The entries of `path` but "." and "..", in the system's order; empty if it can't be opened.
std::vector<directory_entry> read_dir(std::string path);

// printf-style formatting into a buffer of `size` bytes. The caller must make `size` large
// enough: the result is not bounded. An empty string on a formatting error.
std::string snprintf(unsigned long size, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

// MurmurHash3, the 32-bit variant, reading blocks little-endian.
uint32_t hash_murmur3_32(const unsigned char* data, unsigned long size, unsigned int seed);

} // namespace ondo
