#include "photo_lock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QSet>
#include <QStandardPaths>
#include <QtDebug>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// One empty file per photo in a folder of the user's, named by a hash of the photo's path and
// locked with flock(). The lock is the kernel's: a copy that dies loses it at once, so a dead
// copy's lock is simply taken, with no guess from a process id that a later process may carry (as
// QLockFile must) and no age after which a long write would count as abandoned. Keyed by the
// path, not by the photo's inode, since ExifTool may put a new file in the photo's place; and the
// photo itself is never opened, nor anything made beside it. Copies run by one user share the
// folder; the photos' folders, which may belong to others, are never written for a lock.
//
// A lock's file is removed while it is still locked, so that the folder holds only the locks of
// photos being changed. Whoever opened the file just before finds, once its own flock() is
// through, that the name no longer leads to the file it locked, and tries again with a new one.

namespace {

const QString lock_suffix = QStringLiteral(".lock");
// A name that changes hands this often while we try is being fought over by other copies.
constexpr int attempts = 16;

// The file a link leads to is the one ExifTool writes: both names share its lock.
QString key_of(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

QByteArray lock_file(const QString& folder, const QString& path)
{
    const QByteArray hash = QCryptographicHash::hash(QFile::encodeName(key_of(path)), QCryptographicHash::Sha256);
    return QFile::encodeName(folder + QLatin1Char('/') + QString::fromLatin1(hash.toHex()) + lock_suffix);
}

// Whether `file` still names the regular file open as `descriptor`.
bool still_named(const QByteArray& file, int descriptor)
{
    struct stat opened {}, named {};
    return ::fstat(descriptor, &opened) == 0 && ::lstat(file.constData(), &named) == 0 && S_ISREG(opened.st_mode)
        && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// Not blocking on a FIFO, never through a link: the folder is ours, but what is in it isn't trusted.
int open_lock_file(const QByteArray& file, int create)
{
    return ::open(file.constData(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | create, 0600);
}

int take(int descriptor)
{
    int result;
    do
        result = ::flock(descriptor, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    return result;
}

// The files that copies which died left in `folder` go once, at this copy's first lock there;
// those still locked belong to a living copy and stay.
void sweep(const QString& folder)
{
    static QMutex mutex;
    static QSet<QString> swept;
    const QMutexLocker locker(&mutex);
    if (swept.contains(folder))
        return;
    swept.insert(folder);
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("*") + lock_suffix}, QDir::Files | QDir::System, QDir::NoSort)) {
        const QByteArray file = QFile::encodeName(dir.filePath(name));
        const int descriptor = open_lock_file(file, 0);
        if (descriptor < 0)
            continue;
        if (take(descriptor) == 0 && still_named(file, descriptor))
            ::unlink(file.constData());
        ::close(descriptor);
    }
}

void warn_unprotected(const QString& folder, const QString& reason)
{
    static std::atomic<bool> warned{false};
    if (!warned.exchange(true))
        qWarning().noquote() << QStringLiteral("Photos can't be locked in %1 (%2); another running copy of Tavimo "
                                               "is not kept away from the photos this one changes.")
                                    .arg(folder, reason);
}

} // namespace

QString photo_lock::default_folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + QStringLiteral("/locks");
}

std::unique_ptr<photo_lock> photo_lock::try_lock(const QString& path, const QString& folder)
{
    auto unprotected = [&folder](const QString& reason) {
        warn_unprotected(folder, reason);
        return std::unique_ptr<photo_lock>(new photo_lock(QByteArray(), -1));
    };
    if (!QDir().mkpath(folder))
        return unprotected(QStringLiteral("the folder can't be made"));
    sweep(folder);
    const QByteArray file = lock_file(folder, path);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const int descriptor = open_lock_file(file, O_CREAT);
        if (descriptor < 0)
            return unprotected(QString::fromLocal8Bit(std::strerror(errno)));
        if (take(descriptor) != 0) {
            const int error = errno;
            ::close(descriptor);
            if (error == EWOULDBLOCK)
                return nullptr;
            return unprotected(QString::fromLocal8Bit(std::strerror(error)));
        }
        if (still_named(file, descriptor))
            return std::unique_ptr<photo_lock>(new photo_lock(file, descriptor));
        ::close(descriptor);
    }
    return nullptr;
}

photo_lock::~photo_lock()
{
    if (descriptor < 0)
        return;
    // Removed before it is unlocked: see the top of this file.
    ::unlink(file.constData());
    ::close(descriptor);
}
