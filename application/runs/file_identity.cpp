#include "file_identity.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr qint64 ns_per_second = 1000000000;

// Rounded down, also before 1970, as the system splits a time into seconds and nanoseconds.
qint64 second_of(qint64 ns)
{
    return ns >= 0 ? ns / ns_per_second : -((-ns - 1) / ns_per_second) - 1;
}

qint64 modified_ns_of(const struct stat& entry)
{
#if defined(__APPLE__)
    return qint64(entry.st_mtimespec.tv_sec) * ns_per_second + entry.st_mtimespec.tv_nsec;
#else
    return qint64(entry.st_mtim.tv_sec) * ns_per_second + entry.st_mtim.tv_nsec;
#endif
}

file_identity::kind kind_of(mode_t mode)
{
    if (S_ISREG(mode))
        return file_identity::regular;
    if (S_ISDIR(mode))
        return file_identity::directory;
    return file_identity::other;
}

QString value_of(const exif_tag_map& record, const char* key)
{
    const auto found = record.find(QString::fromLatin1(key));
    return found == record.end() ? QString() : found->second;
}

} // namespace

file_identity file_identity::of(const QString& path)
{
    file_identity identity;
    const QByteArray name = QFile::encodeName(path);
    struct stat entry {};
    if (path.isEmpty() || ::lstat(name.constData(), &entry) != 0)
        return identity;
    identity.link = S_ISLNK(entry.st_mode);
    if (identity.link && ::stat(name.constData(), &entry) != 0)
        return identity; // a dangling link: nothing behind it to write
    identity.device = quint64(entry.st_dev);
    identity.inode = quint64(entry.st_ino);
    identity.type = kind_of(entry.st_mode);
    identity.size = qint64(entry.st_size);
    identity.modified_ns = modified_ns_of(entry);
    return identity;
}

bool file_identity::same_file(const file_identity& now) const
{
    return type == regular && now.type == regular && link == now.link && device == now.device
        && inode == now.inode;
}

bool file_identity::unchanged(const file_identity& now) const
{
    return same_file(now) && size == now.size && modified_ns == now.modified_ns;
}

void file_identity::store(exif_tag_map& record) const
{
    record[QStringLiteral("file_device")] = QString::number(device);
    record[QStringLiteral("file_inode")] = QString::number(inode);
    record[QStringLiteral("file_type")] = kind_name(type);
    record[QStringLiteral("file_link")] = link ? QStringLiteral("true") : QStringLiteral("false");
    record[QStringLiteral("file_size")] = QString::number(size);
    record[QStringLiteral("file_modified_ns")] = QString::number(modified_ns);
}

file_identity file_identity::from_record(const exif_tag_map& record)
{
    file_identity identity;
    identity.device = value_of(record, "file_device").toULongLong();
    identity.inode = value_of(record, "file_inode").toULongLong();
    identity.type = kind_from_name(value_of(record, "file_type"));
    identity.link = value_of(record, "file_link") == QLatin1String("true");
    bool known = false;
    const qint64 size = value_of(record, "file_size").toLongLong(&known);
    if (known)
        identity.size = size;
    identity.modified_ns = value_of(record, "file_modified_ns").toLongLong();
    return identity;
}

bool file_identity::restore_modified_time(const QString& path, qint64 modified_ns)
{
    const qint64 second = second_of(modified_ns);
    const qint64 fraction = modified_ns - second * ns_per_second;
    if (fraction == 0)
        return true;
    // Looked at and changed by name, never opened: a path swapped in between (the caller has just
    // found it to be the photo) can at worst see its time moved within its own second, and a
    // device put in its place is never opened.
    const QByteArray name = QFile::encodeName(path);
    struct stat entry {};
    if (path.isEmpty() || ::stat(name.constData(), &entry) != 0 || !S_ISREG(entry.st_mode)
        || second_of(modified_ns_of(entry)) != second)
        return false;
    struct timespec times[2] {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(second);
    times[1].tv_nsec = long(fraction);
    return ::utimensat(AT_FDCWD, name.constData(), times, 0) == 0;
}

QString file_identity::kind_name(kind type)
{
    switch (type) {
    case regular:
        return QStringLiteral("regular");
    case directory:
        return QStringLiteral("directory");
    case other:
        return QStringLiteral("other");
    case missing:
        break;
    }
    return QStringLiteral("missing");
}

file_identity::kind file_identity::kind_from_name(const QString& name)
{
    if (name == QLatin1String("regular"))
        return regular;
    if (name == QLatin1String("directory"))
        return directory;
    if (name == QLatin1String("other"))
        return other;
    return missing;
}
