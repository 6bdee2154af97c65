#include "write_link.h"

#include "undo_journal.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QFile>
#include <QFileInfo>
#include <QtDebug>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool same_inode(const file_identity& a, const file_identity& b)
{
    return a.type == file_identity::regular && b.type == file_identity::regular && a.device == b.device
        && a.inode == b.inode;
}

} // namespace

write_link::write_link(const QString& photo, const QString& name, bool linked, const file_identity& expected)
    : photo(photo), name(name), linked(linked), expected(expected)
{
}

std::unique_ptr<write_link> write_link::make(const QString& path, const file_identity& expected, QString* reason)
{
    if (!expected.same_file(file_identity::of(path))) {
        *reason = undo_journal::tr("changed since it was loaded");
        return nullptr;
    }
    // ExifTool's own check, which the link would otherwise hide: a cut-short write left its copy.
    const QString leftover = path + QStringLiteral("_exiftool_tmp");
    if (QFileInfo::exists(leftover) || QFileInfo(leftover).isSymLink()) {
        *reason = QCoreApplication::translate("MainWindow", "an earlier write left %1 behind").arg(leftover);
        return nullptr;
    }
    // Beside the file itself (a link to a photo is followed), so that both names are on one file
    // system; the photo's name at the end keeps its extension, by which ExifTool knows raw files.
    static std::atomic<int> counter{0};
    const QFileInfo real(QFileInfo(path).canonicalFilePath());
    const QString link = QStringLiteral("%1/.tavimo-%2-%3-%4")
                             .arg(real.absolutePath())
                             .arg(QCoreApplication::applicationPid())
                             .arg(counter++)
                             .arg(real.fileName());
    if (real.fileName().isEmpty()
        || ::linkat(AT_FDCWD, QFile::encodeName(path).constData(), AT_FDCWD, QFile::encodeName(link).constData(),
                    AT_SYMLINK_FOLLOW)
            != 0)
        return std::unique_ptr<write_link>(new write_link(path, path, false, expected));
    // The name may have changed between the look above and the link: the link says which file it got.
    if (!same_inode(file_identity::of(link), expected)) {
        ::unlink(QFile::encodeName(link).constData());
        *reason = undo_journal::tr("changed since it was loaded");
        return nullptr;
    }
    return std::unique_ptr<write_link>(new write_link(path, link, true, expected));
}

write_link::~write_link()
{
    if (!linked || kept_copy)
        return;
    if (QFileInfo::exists(name + QStringLiteral("_exiftool_tmp")))
        qWarning().noquote() << "A write of" << photo << "was cut short and left"
                             << name + QStringLiteral("_exiftool_tmp") << "behind: it may hold the only whole copy.";
    // Whatever still stands under the private name is a second name of the photo.
    ::unlink(QFile::encodeName(name).constData());
}

bool write_link::landed(file_identity* after)
{
    if (!checked) {
        checked = true;
        const file_identity now = file_identity::of(name);
        if (!linked || same_inode(now, expected)) {
            result = true;
            left = now;
        } else if (now.type == file_identity::regular && same_inode(file_identity::of(photo), expected)
                   && ::rename(QFile::encodeName(name).constData(), QFile::encodeName(photo).constData()) == 0) {
            result = true;
            left = file_identity::of(photo);
        } else if (now.type == file_identity::regular) {
            kept_copy = true;
            qWarning().noquote() << "The photo" << photo << "was renamed while ExifTool replaced it; the written copy is kept as"
                                 << name;
        }
    }
    if (result)
        *after = left;
    return result;
}

void write_link::sweep(const QString& folder)
{
    const QDir dir(folder);
    static const QRegularExpression own(QStringLiteral("^\\.tavimo-(\\d+)-\\d+-"));
    for (const QString& entry : dir.entryList({QStringLiteral(".tavimo-*")}, QDir::Files | QDir::Hidden | QDir::System)) {
        const QRegularExpressionMatch match = own.match(entry);
        if (!match.hasMatch())
            continue;
        const qint64 pid = match.captured(1).toLongLong();
        // A name of a program still running is its write under way.
        if (pid <= 0 || pid == QCoreApplication::applicationPid() || ::kill(pid_t(pid), 0) == 0 || errno == EPERM)
            continue;
        struct stat status {};
        const QByteArray name = QFile::encodeName(dir.filePath(entry));
        if (::lstat(name.constData(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink > 1)
            ::unlink(name.constData());
    }
}
