#include "ondo/misc.h"

#include "ondo/assertion.h"

#include <QChar>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ondo {

namespace {

bool is_digit(ushort unit)
{
    if (unit >= '0' && unit <= '9')
        return true;
    return unit >= 0x80 && QChar(unit).category() == QChar::Number_DecimalDigit;
}

// Reads a run of digits; each counts as the low byte of its unit less 0x30, whatever its script.
uint64_t read_number(const ushort*& p)
{
    uint64_t value = 0;
    while (*p && is_digit(*p)) {
        value = value * 10 + uint64_t((*p & 0xFF) - 0x30);
        ++p;
    }
    return value;
}

} // namespace

bool compare_qstring_naturally(const QString& a, const QString& b)
{
    const ushort* pa = a.utf16();
    const ushort* pb = b.utf16();
    for (;;) {
        if (!*pa)
            return *pb != 0;
        if (!*pb)
            return false;
        const bool digit_a = is_digit(*pa), digit_b = is_digit(*pb);
        if (digit_a && digit_b) {
            const uint64_t na = read_number(pa), nb = read_number(pb);
            const int64_t difference = int64_t(na - nb);
            if (difference != 0)
                return difference < 0;
            continue;
        }
        if (digit_a != digit_b)
            return digit_a;
        if (*pa != *pb)
            return *pa < *pb;
        ++pa;
        ++pb;
    }
}

namespace {

// The end of the run of digits or of other characters that starts at `from`.
int run_end(const QString& text, int from)
{
    const bool digits = is_digit(text.at(from).unicode());
    int end = from + 1;
    while (end < text.size() && is_digit(text.at(end).unicode()) == digits)
        ++end;
    return end;
}

// Two runs of digits by value, without a limit on their length: leading zeros aside, the longer
// one is larger, and of two as long the first differing digit decides.
int compare_numbers(QStringView a, QStringView b)
{
    auto significant = [](QStringView digits) {
        int zeros = 0;
        while (zeros < digits.size() - 1 && (digits.at(zeros).unicode() & 0xFF) == 0x30)
            ++zeros;
        return digits.mid(zeros);
    };
    a = significant(a);
    b = significant(b);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    for (int i = 0; i < a.size(); ++i) {
        const int da = a.at(i).unicode() & 0xFF, db = b.at(i).unicode() & 0xFF;
        if (da != db)
            return da < db ? -1 : 1;
    }
    return 0;
}

} // namespace

int compare_qstring_naturally(const QString& a, const QString& b, const QCollator& collator)
{
    int i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        const int end_a = run_end(a, i), end_b = run_end(b, j);
        const QStringView run_a = QStringView(a).mid(i, end_a - i), run_b = QStringView(b).mid(j, end_b - j);
        // Runs alike to the letter are equal to any collator: the folders that paths share and
        // the words around the numbers of camera names cost no collation then, which is most
        // of a large table's sort.
        const int result = is_digit(a.at(i).unicode()) && is_digit(b.at(j).unicode())
            ? compare_numbers(run_a, run_b)
            : run_a == run_b ? 0 : collator.compare(run_a, run_b);
        if (result != 0)
            return result;
        i = end_a;
        j = end_b;
    }
    if (i < a.size() || j < b.size())
        return i < a.size() ? 1 : -1;
    return a.compare(b);
}

namespace {

// Until ranked, a run of text is its number plus one with this bit, and a run of digits starts
// with it alone. Lengths and digits never reach it: seven digits' low bytes fill 56 bits.
constexpr quint64 unranked = quint64(1) << 63;

} // namespace

size_t natural_keys::run_hash::operator()(QStringView run) const
{
    // FNV-1a: runs are a few letters long, and a table's sort hashes a few for every row.
    size_t hash = 14695981039346656037ull;
    for (const QChar unit : run)
        hash = (hash ^ unit.unicode()) * 1099511628211ull;
    return hash;
}

int natural_keys::add(const QString& text, quint64 lead, int from)
{
    starts.push_back(elements.size());
    elements.push_back(lead);
    for (int i = from; i < text.size();) {
        const int end = run_end(text, i);
        if (!is_digit(text.at(i).unicode())) {
            const QStringView run = QStringView(text).mid(i, end - i);
            const auto found = run_numbers.emplace(run, quint32(runs.size()));
            if (found.second)
                runs.push_back(run);
            elements.push_back(unranked | (quint64(found.first->second) + 1));
        } else {
            // As compare_numbers: leading zeros aside, the longer number is larger, and of two as
            // long the first differing digit decides.
            int first = i;
            while (first < end - 1 && (text.at(first).unicode() & 0xFF) == 0x30)
                ++first;
            elements.push_back(unranked);
            elements.push_back(quint64(end - first));
            for (int chunk = first; chunk < end; chunk += 7) {
                quint64 bytes = 0;
                for (int at = chunk; at < chunk + 7; ++at)
                    bytes = (bytes << 8) | (at < end ? (text.at(at).unicode() & 0xFF) : 0);
                elements.push_back(bytes);
            }
        }
        i = end;
    }
    return int(starts.size()) - 1;
}

void natural_keys::rank()
{
    std::vector<quint32> order(runs.size());
    for (quint32 i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [this](quint32 a, quint32 b) { return collator.compare(runs[a], runs[b]) < 0; });
    // Runs the collator holds equal share a place; runs of digits, which it compares with text
    // by their first digit, take the odd place before the first run that isn't below "0".
    std::vector<quint64> places(runs.size());
    quint64 digits = 0;
    int group = -1;
    for (size_t i = 0; i < order.size(); ++i) {
        if (i == 0 || collator.compare(runs[order[i - 1]], runs[order[i]]) != 0) {
            ++group;
            if (digits == 0 && collator.compare(runs[order[i]], QStringLiteral("0")) >= 0)
                digits = quint64(2 * group + 1);
        }
        places[order[i]] = quint64(2 * group + 2);
    }
    if (digits == 0)
        digits = quint64(2 * group + 3);
    for (quint64& element : elements)
        if (element & unranked)
            element = element == unranked ? digits : places[size_t(element & ~unranked) - 1];
    ranked = true;
}

natural_keys::head_elements natural_keys::head(int row)
{
    if (!ranked)
        rank();
    head_elements elements_of_row{};
    const size_t end = size_t(row) + 1 < starts.size() ? starts[size_t(row) + 1] : elements.size();
    for (size_t i = 0; i < elements_of_row.size() && starts[size_t(row)] + i < end; ++i)
        elements_of_row[i] = elements[starts[size_t(row)] + i] + 1;
    return elements_of_row;
}

int natural_keys::compare(int a, int b)
{
    if (!ranked)
        rank();
    const auto end = [this](int row) {
        return elements.begin() + std::ptrdiff_t(size_t(row) + 1 < starts.size() ? starts[size_t(row) + 1] : elements.size());
    };
    const auto first_a = elements.begin() + std::ptrdiff_t(starts[size_t(a)]), end_a = end(a);
    const auto first_b = elements.begin() + std::ptrdiff_t(starts[size_t(b)]), end_b = end(b);
    const auto differ = std::mismatch(first_a, end_a, first_b, end_b);
    if (differ.first == end_a)
        return differ.second == end_b ? 0 : -1;
    if (differ.second == end_b)
        return 1;
    return *differ.first < *differ.second ? -1 : 1;
}

QRect qrect_rotate_90_inside_rect(const QRect& rect, int quarter_turns, const QSize& from, QSize to)
{
    const double left = double(rect.left()) / from.width();
    const double top = double(rect.top()) / from.height();
    const double width = double(rect.width()) / from.width();
    const double height = double(rect.height()) / from.height();
    if (to.width() < 0 || to.height() < 0)
        to = from.transposed();
    double l, t, w, h;
    QSize scale = from;
    switch (quarter_turns & 3) {
    case 0:
        l = left, t = top, w = width, h = height;
        break;
    case 1:
        l = 1 - top - height, t = left, w = height, h = width;
        scale = to;
        break;
    case 2:
        l = 1 - left - width, t = 1 - top - height, w = width, h = height;
        break;
    default:
        l = top, t = 1 - left - width, w = height, h = width;
        scale = to;
        break;
    }
    const int new_left = qRound(l * scale.width());
    const int new_top = qRound(t * scale.height());
    const int new_width = qRound(w * scale.width());
    const int new_height = qRound(h * scale.height());
    return QRect(QPoint(new_left, new_top), QPoint(new_left + new_width - 1, new_top + new_height - 1));
}

QRect qrect_inside_rotated(const QRect& rect, float angle)
{
    const float radians = angle * float(M_PI) / 180.0f;
    const float w = float(rect.width()), h = float(rect.height());
    const float s = std::fabs(std::sin(radians)), c = std::fabs(std::cos(radians));
    const float factor = std::min(w / (w * c + h * s), h / (w * s + h * c));
    const float new_width = w * factor, new_height = h * factor;
    const QRect inside(int(std::lroundf(w / 2 - new_width / 2)), int(std::lroundf(h / 2 - new_height / 2)),
        int(std::lroundf(new_width)), int(std::lroundf(new_height)));
    return inside.intersected(rect);
}

std::array<uint32_t, 2> unicode_character_to_utf16(uint32_t c)
{
    if (c < 0xD800 || (c >= 0xE000 && c <= 0xFFFF))
        return {c, 0};
    if (c > 0x10000) {
        const uint32_t v = c - 0x10000;
        return {0xD800 + (v >> 10), 0xDC00 + (v & 0x3FF)};
    }
    return {0, 0};
}

uint32_t unicode_character_to_utf8(uint32_t c)
{
    if (c < 0x80)
        return c;
    if (c < 0x800)
        return (0xC0 | (c >> 6)) | (0x80 | (c & 0x3F)) << 8;
    if (c < 0x10000)
        return (0xE0 | (c >> 12)) | (0x80 | ((c >> 6) & 0x3F)) << 8 | (0x80 | (c & 0x3F)) << 16;
    if (c <= 0x10FFFF)
        return (0xF0 | (c >> 18)) | (0x80 | ((c >> 12) & 0x3F)) << 8 | (0x80 | ((c >> 6) & 0x3F)) << 16
            | (0x80 | (c & 0x3F)) << 24;
    return 0;
}

uint32_t utf8_to_unicode_character(char*& text, unsigned long left)
{
    if (left < 1)
        return 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const unsigned char lead = bytes[0];
    unsigned long length;
    uint32_t value;
    if (lead < 0x80)
        length = 1, value = lead;
    else if ((lead & 0xE0) == 0xC0)
        length = 2, value = lead & 0x1F;
    else if ((lead & 0xF0) == 0xE0)
        length = 3, value = lead & 0x0F;
    else if ((lead & 0xF8) == 0xF0)
        length = 4, value = lead & 0x07;
    else
        return 0;
    if (left < length)
        return 0;
    for (unsigned long i = 1; i < length; ++i)
        value = (value << 6) | (bytes[i] & 0x7F);
    text += length;
    return value;
}

uint32_t utf16_to_unicode_character(wchar_t*& text, unsigned long left)
{
    if (left < 1)
        return 0;
    const uint32_t first = uint32_t(text[0]);
    if (first < 0xD800 || first >= 0xE000) {
        ++text;
        return first;
    }
    if (first >= 0xDC00)
        return 0; // a low half without its high half
    if (left < 2)
        return 0;
    const uint32_t second = uint32_t(text[1]);
    ONDO_ASSERT(second >= 0xDC00 && second <= 0xDFFF);
    text += 2;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

std::string current_working_dir()
{
    static char buffer[1024];
    if (!getcwd(buffer, sizeof buffer))
        return {};
    return buffer;
}

std::vector<directory_entry> read_dir(std::string path)
{
    std::vector<directory_entry> entries;
    if (!path.empty() && path.back() == '/')
        path.pop_back();
    DIR* dir = opendir(path.c_str());
    if (!dir)
        return entries;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        std::string full = path + "/" + name;
        struct stat info {};
        stat(full.c_str(), &info);
        for (char& ch : full)
            if (ch == '\\')
                ch = '/';
        entries.push_back({name, full, S_ISDIR(info.st_mode)});
    }
    closedir(dir);
    return entries;
}

std::string snprintf(unsigned long size, const char* format, ...)
{
    std::string text(size, '\0');
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vsprintf(&text[0], format, arguments);
    va_end(arguments);
    if (written < 0)
        return {};
    text.resize(std::size_t(written));
    return text;
}

uint32_t hash_murmur3_32(const unsigned char* data, unsigned long size, unsigned int seed)
{
    const uint32_t c1 = 0xcc9e2d51, c2 = 0x1b873593;
    const auto rotl = [](uint32_t x, int r) { return (x << r) | (x >> (32 - r)); };
    uint32_t h = seed;
    const unsigned long blocks = size / 4;
    for (unsigned long i = 0; i < blocks; ++i) {
        const unsigned char* p = data + i * 4;
        uint32_t k = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
        k *= c1;
        k = rotl(k, 15);
        k *= c2;
        h ^= k;
        h = rotl(h, 13);
        h = h * 5 + 0xe6546b64;
    }
    const unsigned char* tail = data + blocks * 4;
    uint32_t k = 0;
    switch (size & 3) {
    case 3:
        k ^= uint32_t(tail[2]) << 16;
        [[fallthrough]];
    case 2:
        k ^= uint32_t(tail[1]) << 8;
        [[fallthrough]];
    case 1:
        k ^= tail[0];
        k *= c1;
        k = rotl(k, 15);
        k *= c2;
        h ^= k;
    }
    h ^= uint32_t(size);
    h ^= h >> 16;
    h *= 0x85ebca6b;
    h ^= h >> 13;
    h *= 0xc2b2ae35;
    h ^= h >> 16;
    return h;
}

} // namespace ondo
