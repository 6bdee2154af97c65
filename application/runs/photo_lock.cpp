#include "photo_lock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QtDebug>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

// One file, "photos", in a folder of the user's. A photo being changed holds one byte of it, at an
// offset made from a hash of the photo's path, locked with an open file description lock
// (F_OFD_SETLK). The lock is the kernel's: a copy that dies loses it at once, so a dead copy's lock
// is simply taken, with no guess from a process id that a later process may carry (as QLockFile
// must) and no age after which a long write would count as abandoned. Each lock opens the file
// anew, so that two locks of one copy keep each other away as two copies' do. Nothing is made or
// removed per photo: a run locks every photo it writes, and a file made and removed for each cost
// a tenth of the program's own work on a photo. Keyed by the path, not by the photo's inode, since
// ExifTool may put a new file in the photo's place; and the photo itself is never opened, nor
// anything made beside it. Copies run by one user share the folder; the photos' folders, which may
// belong to others, are never written for a lock.

namespace {

// The file a link leads to is the one ExifTool writes: both names share its lock.
QString key_of(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

// Where the lock of `path` lies: 62 bits of a hash, so that two photos meet by chance about once
// in 2^62 pairs, and at worst one waits for the other.
off_t byte_of(const QString& path)
{
    const QByteArray hash = QCryptographicHash::hash(QFile::encodeName(key_of(path)), QCryptographicHash::Sha256);
    quint64 offset = 0;
    for (int i = 0; i < 8; ++i)
        offset = offset << 8 | quint8(hash.at(i));
    return off_t(offset >> 2);
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
        return std::unique_ptr<photo_lock>(new photo_lock(-1));
    };
    if (!QDir().mkpath(folder))
        return unprotected(QStringLiteral("the folder can't be made"));
    // Not blocking on a FIFO, never through a link: the folder is ours, but what is in it isn't trusted.
    const QByteArray file = QFile::encodeName(folder + QStringLiteral("/photos"));
    const int descriptor = ::open(file.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return unprotected(QString::fromLocal8Bit(std::strerror(errno)));
    struct flock byte {};
    byte.l_type = F_WRLCK;
    byte.l_whence = SEEK_SET;
    byte.l_start = byte_of(path);
    byte.l_len = 1;
    int result;
    do
        result = ::fcntl(descriptor, F_OFD_SETLK, &byte);
    while (result != 0 && errno == EINTR);
    if (result == 0)
        return std::unique_ptr<photo_lock>(new photo_lock(descriptor));
    const int error = errno;
    ::close(descriptor);
    if (error == EAGAIN || error == EACCES)
        return nullptr;
    return unprotected(QString::fromLocal8Bit(std::strerror(error)));
}

photo_lock::~photo_lock()
{
    // Closing the file's last descriptor of this lock gives its byte back.
    if (descriptor >= 0)
        ::close(descriptor);
}
