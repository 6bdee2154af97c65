#include "undo_journal.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QStandardPaths>
#include <QtDebug>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

// The file is one JSON object a line, appended and flushed one at a time:
//   {"journal":"tavimo undo","version":1}
//   {"photo":path,"device":"…","inode":"…","type":"regular","link":false,"undo":[{"tag","existed","value"}…]}
//   {"written":path,"device":"…","inode":"…","type":"regular","link":false,"size":"…","modified_ns":"…"}
//   {"failed":path}
// Numbers that may exceed a double's precision travel as text.

namespace {

const QString journal_suffix = QStringLiteral(".journal");
const QString lock_suffix = QStringLiteral(".lock");
// Far above a real run (a photo takes well under a kilobyte); a larger file is not read.
constexpr qint64 max_journal_bytes = 64 * 1024 * 1024;

QString lock_name(const QString& journal_file)
{
    return journal_file.left(journal_file.size() - journal_suffix.size()) + lock_suffix;
}

bool write_all(int descriptor, const QByteArray& bytes)
{
    const char* data = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t done = ::write(descriptor, data, size_t(left));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return false;
        data += done;
        left -= done;
    }
    return true;
}

// A new file's name reaches the disk only with its folder.
void flush_folder(const QString& folder)
{
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

void put_identity(QJsonObject& record, const file_identity& identity, bool with_state)
{
    record[QStringLiteral("device")] = QString::number(identity.device);
    record[QStringLiteral("inode")] = QString::number(identity.inode);
    record[QStringLiteral("type")] = file_identity::kind_name(identity.type);
    record[QStringLiteral("link")] = identity.link;
    if (with_state) {
        record[QStringLiteral("size")] = QString::number(identity.size);
        record[QStringLiteral("modified_ns")] = QString::number(identity.modified_ns);
    }
}

// False when a field is missing or of the wrong kind.
bool get_identity(const QJsonObject& record, file_identity& identity, bool with_state)
{
    bool ok = record.value(QStringLiteral("link")).isBool();
    auto number = [&record, &ok](const char* key) {
        bool converted = false;
        const qlonglong value = record.value(QLatin1String(key)).toString().toLongLong(&converted);
        ok = ok && converted;
        return value;
    };
    auto unsigned_number = [&record, &ok](const char* key) {
        bool converted = false;
        const qulonglong value = record.value(QLatin1String(key)).toString().toULongLong(&converted);
        ok = ok && converted;
        return value;
    };
    identity.device = unsigned_number("device");
    identity.inode = unsigned_number("inode");
    identity.type = file_identity::kind_from_name(record.value(QStringLiteral("type")).toString());
    identity.link = record.value(QStringLiteral("link")).toBool();
    if (with_state) {
        identity.size = number("size");
        identity.modified_ns = number("modified_ns");
    }
    return ok;
}

bool get_undo(const QJsonValue& value, QList<undo_entry>& undo)
{
    if (!value.isArray())
        return false;
    for (const QJsonValue& item : value.toArray()) {
        const QJsonObject entry = item.toObject();
        if (!entry.value(QStringLiteral("tag")).isString() || !entry.value(QStringLiteral("existed")).isBool()
            || !entry.value(QStringLiteral("value")).isString())
            return false;
        undo << undo_entry{entry.value(QStringLiteral("tag")).toString(),
                           entry.value(QStringLiteral("existed")).toBool(),
                           entry.value(QStringLiteral("value")).toString()};
    }
    return true;
}

struct journal_photo {
    file_identity loaded;
    QList<undo_entry> undo;
    bool written = false;
    file_identity after;
};

// The photos of a journal in the order the run wrote them, or false when any complete line
// isn't one of the records above. A last line without its line break was cut by the crash
// while it was being written, before its photo's write was sent, and is left out.
bool parse(const QByteArray& bytes, QStringList& order, QMap<QString, journal_photo>& photos)
{
    QList<QByteArray> lines = bytes.split('\n');
    lines.removeLast(); // empty after a final line break, else the cut line
    if (lines.isEmpty())
        return false;
    const QJsonObject header = QJsonDocument::fromJson(lines.takeFirst()).object();
    if (header.value(QStringLiteral("journal")).toString() != QLatin1String("tavimo undo")
        || header.value(QStringLiteral("version")).toInt() != 1)
        return false;
    for (const QByteArray& line : lines) {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (error.error != QJsonParseError::NoError || !document.isObject())
            return false;
        const QJsonObject record = document.object();
        if (record.value(QStringLiteral("photo")).isString()) {
            const QString path = record.value(QStringLiteral("photo")).toString();
            journal_photo photo;
            if (path.isEmpty() || photos.contains(path) || !get_identity(record, photo.loaded, false)
                || !get_undo(record.value(QStringLiteral("undo")), photo.undo))
                return false;
            order << path;
            photos.insert(path, photo);
        } else if (record.value(QStringLiteral("written")).isString()) {
            const auto photo = photos.find(record.value(QStringLiteral("written")).toString());
            if (photo == photos.end() || photo->written || !get_identity(record, photo->after, true))
                return false;
            photo->written = true;
        } else if (record.value(QStringLiteral("failed")).isString()) {
            const QString path = record.value(QStringLiteral("failed")).toString();
            if (!photos.remove(path))
                return false;
            order.removeAll(path);
        } else {
            return false;
        }
    }
    return true;
}

} // namespace

undo_journal::undo_journal(const QString& folder, QObject* parent) : QObject(parent), folder(folder) {}

undo_journal::~undo_journal()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

QString undo_journal::default_folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + QStringLiteral("/undo");
}

bool undo_journal::begin_run()
{
    // A run started by a click between two files of another goes into the same file, which
    // then holds the photos of both until the outer run ends.
    if (runs_open++ > 0)
        return descriptor >= 0;
    loaded.clear();
    if (!QDir().mkpath(folder)) {
        qWarning() << "Can't make the folder for undo information" << folder;
        return false;
    }
    const QString stem = QStringLiteral("%1/run-%2-%3")
                             .arg(folder)
                             .arg(QDateTime::currentMSecsSinceEpoch())
                             .arg(QCoreApplication::applicationPid());
    auto lock = std::make_shared<QLockFile>(stem + lock_suffix);
    lock->setStaleLockTime(0); // held for the program's whole life, however long
    if (!lock->tryLock(0)) {
        qWarning() << "Can't lock the undo information" << stem;
        return false;
    }
    descriptor = ::open(QFile::encodeName(stem + journal_suffix).constData(),
                        O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        qWarning() << "Can't write undo information to" << stem + journal_suffix;
        return false;
    }
    run_file = stem + journal_suffix;
    run_lock = lock;
    QJsonObject header;
    header[QStringLiteral("journal")] = QStringLiteral("tavimo undo");
    header[QStringLiteral("version")] = 1;
    const bool ok = append(header);
    flush_folder(folder);
    return ok;
}

bool undo_journal::add(const QString& path, const file_identity& identity, const QList<undo_entry>& undo, bool flush)
{
    QJsonArray entries;
    for (const undo_entry& entry : undo) {
        QJsonObject item;
        item[QStringLiteral("tag")] = entry.tag;
        item[QStringLiteral("existed")] = entry.existed;
        item[QStringLiteral("value")] = entry.value;
        entries.append(item);
    }
    QJsonObject record;
    record[QStringLiteral("photo")] = path;
    put_identity(record, identity, false);
    record[QStringLiteral("undo")] = entries;
    if (!append(record, flush))
        return false;
    loaded.insert(path, identity);
    return true;
}

bool undo_journal::flush()
{
    if (descriptor >= 0 && ::fsync(descriptor) == 0)
        return true;
    qWarning() << "Can't write undo information to" << run_file;
    return false;
}

void undo_journal::written(const QString& path, bool success)
{
    QJsonObject record;
    if (success) {
        record[QStringLiteral("written")] = path;
        put_identity(record, file_identity::of(path), true);
    } else {
        record[QStringLiteral("failed")] = path;
        loaded.remove(path);
    }
    // Not flushed on its own: the next photo's line takes it along, and a start that misses it
    // still checks the photo for being the same file.
    append(record, false);
}

void undo_journal::end_run()
{
    if (runs_open > 0 && --runs_open > 0)
        return;
    const QString file = run_file;
    close_run();
    if (!file.isEmpty())
        QFile::remove(file);
}

file_identity undo_journal::loaded_identity(const QString& path) const { return loaded.value(path); }

bool undo_journal::append(const QJsonObject& record, bool flush)
{
    if (descriptor < 0)
        return false;
    if (write_all(descriptor, QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n')
        && (!flush || ::fsync(descriptor) == 0))
        return true;
    qWarning() << "Can't write undo information to" << run_file;
    return false;
}

void undo_journal::close_run()
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
    run_file.clear();
    run_lock.reset();
}

QList<undo_journal::unfinished_run> undo_journal::unfinished_runs()
{
    QList<unfinished_run> runs;
    const QDir dir(folder);
    // The names begin with the start time, so that the oldest run comes first.
    for (const QString& name : dir.entryList({QStringLiteral("run-*") + journal_suffix}, QDir::Files, QDir::Name)) {
        unfinished_run run;
        run.file = dir.absoluteFilePath(name);
        if (run.file == run_file)
            continue;
        run.lock = std::make_shared<QLockFile>(lock_name(run.file));
        run.lock->setStaleLockTime(0);
        // A lock whose program has ended counts as stale and is taken over.
        if (!run.lock->tryLock(0))
            continue;

        QFile file(run.file);
        const bool opened = file.open(QIODevice::ReadOnly) && file.size() <= max_journal_bytes;
        const QByteArray bytes = opened ? file.readAll() : QByteArray();
        QStringList order;
        QMap<QString, journal_photo> photos;
        run.readable = opened && parse(bytes, order, photos);
        // Not even its first line was whole: the run ended before it could send anything.
        const bool nothing_sent = opened && !bytes.contains('\n');
        if (nothing_sent || (run.readable && photos.isEmpty())) {
            discard(run);
            continue;
        }
        QStringList as_left;
        for (const QString& path : order) {
            const journal_photo& photo = photos[path];
            const file_identity now = file_identity::of(path);
            // A photo whose write may not have been finished is checked for being the same file.
            const bool same = photo.written ? photo.after.unchanged(now) : photo.loaded.same_file(now);
            if (!same)
                run.changed << path;
            run.undo.insert(path, photo.undo);
            run.loaded.insert(path, photo.loaded);
            if (same)
                as_left << tr("%1: as the run left it").arg(path);
            else
                run.listing << tr("%1: changed since the run").arg(path);
        }
        run.listing << as_left;
        if (!run.readable) {
            run.listing.prepend(tr("Undo information that can't be read: %1").arg(run.file));
            run.undo.clear();
            run.loaded.clear();
        }
        runs << run;
    }
    return runs;
}

QMap<QString, QList<undo_entry>> undo_journal::adopt(const unfinished_run& run)
{
    loaded = run.loaded;
    return run.undo;
}

void undo_journal::discard(const unfinished_run& run)
{
    QFile::remove(run.file);
    if (run.lock)
        run.lock->unlock();
}
