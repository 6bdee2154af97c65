#include "ondo/misc.h"

#include <QChar>

#include <algorithm>

namespace ondo {

namespace {

bool is_digit(ushort unit)
{
    if (unit >= '0' && unit <= '9')
        return true;
    return unit >= 0x80 && QChar(unit).category() == QChar::Number_DecimalDigit;
}

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

} // namespace ondo
