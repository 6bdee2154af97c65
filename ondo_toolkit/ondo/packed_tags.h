#pragma once

#include <ondo/exiftool.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ondo {

// A tag map in one block of memory, for keeping the tags of a hundred thousand files: each tag
// name is stored once for all maps (as a number), each value as Latin-1 where it fits, else as
// UTF-16, so that any text comes back exactly, a null one as null. Its entries keep the order of
// the map it was made of.
class packed_tags {
public:
    packed_tags() = default;
    packed_tags(const exif_tag_map& tags);

    exif_tag_map unpacked() const;
    // The value of `tag`; a null text when it is absent.
    QString value(const QString& tag) const;
    bool contains(const QString& tag) const;
    bool empty() const { return block.isEmpty(); }
    int size() const;

    // The same map with `tag` set to `value`, or without it where `value` is null.
    packed_tags with(const QString& tag, const QString& value) const;

private:
    QByteArray block;
};

// Texts in one block, in order, stored as packed_tags stores its values: for what many files keep
// that is no tag map.
class packed_list {
public:
    packed_list() = default;
    // Every `name_every`-th text, from the first, is a tag name, stored as packed_tags stores one.
    packed_list(const QStringList& texts, int name_every = 0);
    QStringList unpacked() const;
    bool empty() const { return block.isEmpty(); }

private:
    QByteArray block;
};

} // namespace ondo
