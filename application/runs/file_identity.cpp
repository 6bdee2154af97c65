#include "file_identity.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QHash>
#include <QMutex>
#include <QTextStream>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

namespace {

constexpr qint64 ns_per_second = 1000000000;

// Rounded down, also before 1970, as the system splits a time into seconds and nanoseconds.
qint64 second_of(qint64 ns)
{
    return ns >= 0 ? ns / ns_per_second : -((-ns - 1) / ns_per_second) - 1;
}

qint64 ns_of(const struct timespec& time) { return qint64(time.tv_sec) * ns_per_second + time.tv_nsec; }

#if defined(__APPLE__)
qint64 modified_ns_of(const struct stat& entry) { return ns_of(entry.st_mtimespec); }
qint64 changed_ns_of(const struct stat& entry) { return ns_of(entry.st_ctimespec); }
#else
qint64 modified_ns_of(const struct stat& entry) { return ns_of(entry.st_mtim); }
qint64 changed_ns_of(const struct stat& entry) { return ns_of(entry.st_ctim); }
#endif

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

// The type of the file system mounted from `device`, as /proc/self/mountinfo names it ("vfat",
// "fuse.fusefat", "fuseblk").
QString mount_type(quint64 device)
{
    QFile mounts(QStringLiteral("/proc/self/mountinfo"));
    if (!mounts.open(QIODevice::ReadOnly))
        return QString();
    const QString number = QStringLiteral("%1:%2").arg(major(dev_t(device))).arg(minor(dev_t(device)));
    QTextStream lines(&mounts);
    for (QString line = lines.readLine(); !line.isNull(); line = lines.readLine()) {
        const QStringList fields = line.split(QLatin1Char(' '));
        const int dash = int(fields.indexOf(QStringLiteral("-")));
        if (fields.size() > 2 && fields.at(2) == number && dash > 0 && dash + 1 < fields.size())
            return fields.at(dash + 1);
    }
    return QString();
}

struct device_keeps {
    bool inodes = true;
    bool change_times = false;
};

// What the file system of `name`, on `device`, keeps. FAT and exFAT, in the kernel or through
// FUSE (whose block devices are mostly exFAT and NTFS cards), number files by where they are found
// or by each lookup. Change times are trusted only on the local file systems listed, which move
// them on every change. Asked once per device.
device_keeps keeps_of(quint64 device, const QByteArray& name)
{
    static QMutex lock;
    static QHash<quint64, device_keeps> known;
    QMutexLocker locked(&lock);
    const auto found = known.constFind(device);
    if (found != known.constEnd())
        return *found;
    struct statfs system {};
    if (::statfs(name.constData(), &system) != 0)
        return device_keeps {};
    constexpr long msdos = 0x4d44, exfat = 0x2011bab0, fuse = 0x65735546;
    constexpr long ext = 0xef53, btrfs = 0x9123683e, xfs = 0x58465342, tmpfs = 0x01021994,
                   f2fs = 0xf2f52010, zfs = 0x2fc12fc1, bcachefs = 0xca451a4e;
    device_keeps keeps;
    const long type = long(system.f_type);
    keeps.inodes = type != msdos && type != exfat;
    if (type == fuse) {
        const QString mounted = mount_type(device);
        keeps.inodes = !(mounted == QLatin1String("fuseblk") || mounted.contains(QLatin1String("fat")));
    }
    keeps.change_times = type == ext || type == btrfs || type == xfs || type == tmpfs || type == f2fs
        || type == zfs || type == bcachefs;
    known.insert(device, keeps);
    return keeps;
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
    identity.changed_ns = changed_ns_of(entry);
    if (identity.type == regular) {
        const device_keeps keeps = keeps_of(identity.device, name);
        identity.inode_kept = keeps.inodes;
        identity.change_time_kept = keeps.change_times;
    }
    return identity;
}

bool file_identity::same_file(const file_identity& now) const
{
    return type == regular && now.type == regular && link == now.link && device == now.device
        && (inode == now.inode || !inode_kept || !now.inode_kept);
}

bool file_identity::unchanged(const file_identity& now) const
{
    return same_file(now) && size == now.size && modified_ns == now.modified_ns;
}

bool file_identity::untouched(const file_identity& now) const
{
    return unchanged(now) && now.inode_kept && now.change_time_kept && changed_ns > 0 && changed_ns == now.changed_ns;
}

void file_identity::store(exif_tag_map& record) const
{
    record[QStringLiteral("file_device")] = QString::number(device);
    record[QStringLiteral("file_inode")] = QString::number(inode);
    record[QStringLiteral("file_type")] = kind_name(type);
    record[QStringLiteral("file_link")] = link ? QStringLiteral("true") : QStringLiteral("false");
    record[QStringLiteral("file_size")] = QString::number(size);
    record[QStringLiteral("file_modified_ns")] = QString::number(modified_ns);
    record[QStringLiteral("file_changed_ns")] = QString::number(changed_ns);
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
    identity.changed_ns = value_of(record, "file_changed_ns").toLongLong();
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

QStringList file_identity::as_stored(const QStringList& paths)
{
    QHash<QString, QSet<QString>> folders;
    QStringList stored;
    stored.reserve(paths.size());
    for (const QString& path : paths) {
        const QFileInfo info(path);
        const QString folder = info.absolutePath(), name = info.fileName();
        auto names = folders.find(folder);
        if (names == folders.end()) {
            const QStringList listed = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
            names = folders.insert(folder, QSet<QString>(listed.begin(), listed.end()));
        }
        QString spelt;
        int alike = 0;
        if (!names->contains(name))
            for (const QString& entry : qAsConst(*names))
                if (entry.compare(name, Qt::CaseInsensitive) == 0) {
                    spelt = entry;
                    ++alike;
                }
        stored << (alike == 1 ? QDir(folder).filePath(spelt) : path);
    }
    return stored;
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
