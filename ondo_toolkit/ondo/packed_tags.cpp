#include "ondo/packed_tags.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QVector>

#include <cstring>
#include <optional>

namespace ondo {

namespace {

// The tag names of all maps, numbered as first seen. Files bring a few hundred distinct names at
// most; maps are made on more than one thread (the benchmarks, the tests' helpers).
struct name_table {
    QMutex mutex;
    QHash<QString, quint32> numbers;
    QVector<QString> names;

    quint32 number_of(const QString& name)
    {
        QMutexLocker lock(&mutex);
        const auto found = numbers.constFind(name);
        if (found != numbers.constEnd())
            return *found;
        names.append(name);
        return numbers[name] = quint32(names.size() - 1);
    }

    std::optional<quint32> known(const QString& name)
    {
        QMutexLocker lock(&mutex);
        const auto found = numbers.constFind(name);
        if (found == numbers.constEnd())
            return std::nullopt;
        return *found;
    }

    QString name(quint32 number)
    {
        QMutexLocker lock(&mutex);
        return names.value(int(number));
    }
};

name_table& table()
{
    static name_table names;
    return names;
}

// A text's header is its size times four and its kind; a name's, its number times four and 3.
enum text_kind : quint64 { null_text = 0, latin1_text = 1, utf16_text = 2, name_text = 3 };

void put_number(QByteArray& block, quint64 value)
{
    do {
        const char low = char(value & 0x7F);
        value >>= 7;
        block.append(value ? char(low | 0x80) : low);
    } while (value);
}

void put_text(QByteArray& block, const QString& text)
{
    if (text.isNull()) {
        put_number(block, null_text);
        return;
    }
    const QChar* units = text.constData();
    const qsizetype size = text.size();
    bool latin1 = true;
    for (qsizetype i = 0; i < size && latin1; ++i)
        latin1 = units[i].unicode() < 0x100;
    put_number(block, quint64(size) * 4 + (latin1 ? latin1_text : utf16_text));
    if (latin1) {
        for (qsizetype i = 0; i < size; ++i)
            block.append(char(units[i].unicode()));
    } else {
        block.append(reinterpret_cast<const char*>(units), size * qsizetype(sizeof(QChar)));
    }
}

// Walks a block entry by entry; `text_at` and `text_size` describe the current value unread.
struct reader {
    const QByteArray& block;
    qsizetype at = 0;
    quint32 number = 0;
    quint64 kind = null_text;
    qsizetype text_at = 0;
    qsizetype text_size = 0;

    quint64 take_number()
    {
        quint64 value = 0;
        for (int shift = 0; at < block.size(); shift += 7) {
            const auto byte = quint8(block.at(at++));
            value |= quint64(byte & 0x7F) << shift;
            if (!(byte & 0x80))
                break;
        }
        return value;
    }

    bool next(bool numbered = true)
    {
        if (at >= block.size())
            return false;
        if (numbered)
            number = quint32(take_number());
        const quint64 header = take_number();
        kind = header % 4;
        text_size = qsizetype(header / 4);
        text_at = at;
        if (kind != name_text)
            at += kind == utf16_text ? text_size * qsizetype(sizeof(QChar)) : text_size;
        return true;
    }

    QString text() const
    {
        const char* data = block.constData() + text_at;
        switch (kind) {
        case latin1_text:
            return QString::fromLatin1(data, int(text_size));
        case name_text:
            return table().name(quint32(text_size));
        case utf16_text: {
            QString value(int(text_size), Qt::Uninitialized);
            std::memcpy(value.data(), data, size_t(text_size) * sizeof(QChar));
            return value;
        }
        default:
            return QString();
        }
    }
};

} // namespace

packed_tags::packed_tags(const exif_tag_map& tags)
{
    for (const auto& [tag, value] : tags) {
        put_number(block, table().number_of(tag));
        put_text(block, value);
    }
    block.squeeze();
}

exif_tag_map packed_tags::unpacked() const
{
    exif_tag_map tags;
    reader entries{block};
    while (entries.next())
        tags.emplace_hint(tags.end(), table().name(entries.number), entries.text());
    return tags;
}

QString packed_tags::value(const QString& tag) const
{
    const std::optional<quint32> number = table().known(tag);
    if (!number)
        return QString();
    reader entries{block};
    while (entries.next())
        if (entries.number == *number)
            return entries.text();
    return QString();
}

bool packed_tags::contains(const QString& tag) const
{
    const std::optional<quint32> number = table().known(tag);
    if (!number)
        return false;
    reader entries{block};
    while (entries.next())
        if (entries.number == *number)
            return true;
    return false;
}

int packed_tags::size() const
{
    int count = 0;
    reader entries{block};
    while (entries.next())
        ++count;
    return count;
}

packed_tags packed_tags::with(const QString& tag, const QString& value) const
{
    exif_tag_map tags = unpacked();
    if (value.isNull())
        tags.erase(tag);
    else
        tags[tag] = value;
    return packed_tags(tags);
}

packed_list::packed_list(const QStringList& texts, int name_every)
{
    for (int i = 0; i < texts.size(); ++i) {
        if (name_every > 0 && i % name_every == 0)
            put_number(block, quint64(table().number_of(texts.at(i))) * 4 + name_text);
        else
            put_text(block, texts.at(i));
    }
    block.squeeze();
}

QStringList packed_list::unpacked() const
{
    QStringList texts;
    reader entries{block};
    while (entries.next(false))
        texts << entries.text();
    return texts;
}

} // namespace ondo
