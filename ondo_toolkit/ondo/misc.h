#pragma once

#include <QCollator>
#include <QString>
#include <QStringView>

#include <array>
#include <unordered_map>
#include <vector>

namespace ondo {

// Natural order, as file managers sort names: numbers by value, the text between them compared by `collator` between the numbers compared by `collator`, so that
// case and the letters of a language count as it is set up to: below 0, 0 or above 0 as `a` comes
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

} // namespace ondo
