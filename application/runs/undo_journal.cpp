#include "undo_journal.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QPair>
#include <QSet>
#include <QStandardPaths>
#include <QtDebug>

#include <ondo/exiftool.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

// The file is one JSON object a line, appended and flushed one at a time:
//   {"journal":"tavimo undo","version":1}
//   {"photo":path,"device":"…","inode":"…","type":"regular","link":false,"size":"…","modified_ns":"…",
//    "undo":[{"tag","existed","value","written"}…]}
//   {"written":path,"device":"…","inode":"…","type":"regular","link":false,"size":"…","modified_ns":"…"}
//   {"failed":path}
// Numbers that may exceed a double's precision travel as text. A "photo" line of an older version
// has no size and time.

namespace {

const QString journal_suffix = QStringLiteral(".journal");
const QString lock_suffix = QStringLiteral(".lock");
// Far above a real run (a photo takes well under a kilobyte); a larger file is not read.
constexpr qint64 max_journal_bytes = 64 * 1024 * 1024;
// Reads queued ahead of the one waited for: enough for every ExifTool child to have its next one.
constexpr int reads_ahead = 8;

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

// Puts `bytes` in place of `file` so that a crash leaves either the old file or the whole new
// one: a new file beside it, on the disk before it is renamed over the old one.
bool replace_file(const QString& file, const QByteArray& bytes)
{
    const QByteArray name = QFile::encodeName(file);
    const QByteArray temporary = name + ".new";
    // A leftover of a rewrite that a crash cut short; the run's lock keeps any other program away.
    ::unlink(temporary.constData());
    const int descriptor = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return false;
    const bool written = write_all(descriptor, bytes) && ::fsync(descriptor) == 0;
    if (::close(descriptor) != 0 || !written || ::rename(temporary.constData(), name.constData()) != 0) {
        ::unlink(temporary.constData());
        return false;
    }
    flush_folder(QFileInfo(file).absolutePath());
    return true;
}

// One line of the journal, written out directly: a fix adds two for each photo, and building
// them as QJsonObjects cost as much as the rest of the journal's work. QJsonDocument reads them.
class json_line {
public:
    json_line& text(const char* key, const QString& value)
    {
        name(key);
        quoted(value);
        return *this;
    }
    // Numbers that may exceed a double's precision travel as text.
    json_line& number_text(const char* key, qint64 value) { return text(key, QString::number(value)); }
    json_line& number(const char* key, int value)
    {
        name(key);
        bytes += QByteArray::number(value);
        return *this;
    }
    json_line& flag(const char* key, bool value)
    {
        name(key);
        bytes += value ? "true" : "false";
        return *this;
    }
    json_line& null(const char* key)
    {
        name(key);
        bytes += "null";
        return *this;
    }
    json_line& identity(const file_identity& identity)
    {
        return text("device", QString::number(identity.device))
            .text("inode", QString::number(identity.inode))
            .text("type", file_identity::kind_name(identity.type))
            .flag("link", identity.link)
            .number_text("size", identity.size)
            .number_text("modified_ns", identity.modified_ns);
    }
    // A list of objects under `key`: open_item() before each one's fields, close_list() after.
    json_line& open_list(const char* key)
    {
        name(key);
        bytes += '[';
        first = true;
        return *this;
    }
    json_line& open_item()
    {
        bytes += bytes.endsWith('[') ? "{" : "},{";
        first = true;
        return *this;
    }
    json_line& close_list()
    {
        bytes += bytes.endsWith('[') ? "]" : "}]";
        first = false;
        return *this;
    }
    QByteArray done() { return bytes + "}\n"; }

private:
    void name(const char* key)
    {
        if (!first)
            bytes += ',';
        first = false;
        bytes += '"';
        bytes += key;
        bytes += "\":";
    }
    // A string as JSON has it: UTF-8, with quotes, backslashes and control characters escaped.
    void quoted(const QString& value)
    {
        static const char hex[] = "0123456789abcdef";
        bytes += '"';
        for (const char c : value.toUtf8()) {
            const auto code = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                bytes += '\\';
                bytes += c;
            } else if (code < 0x20) {
                bytes += "\\u00";
                bytes += hex[code >> 4];
                bytes += hex[code & 15];
            } else {
                bytes += c;
            }
        }
        bytes += '"';
    }

    QByteArray bytes{"{"};
    bool first = true;
};

QByteArray header_line()
{
    return json_line().text("journal", QStringLiteral("tavimo undo")).number("version", 1).done();
}

// False when a field is missing or of the wrong kind; size and time may be missing unless
// `with_state`.
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
    if (with_state || record.contains(QStringLiteral("size")))
        identity.size = number("size");
    if (with_state || record.contains(QStringLiteral("modified_ns")))
        identity.modified_ns = number("modified_ns");
    return ok;
}

QByteArray photo_line(const QString& path, const file_identity& loaded, const QList<undo_entry>& undo)
{
    json_line line;
    line.text("photo", path).identity(loaded).open_list("undo");
    for (const undo_entry& entry : undo) {
        line.open_item().text("tag", entry.tag).flag("existed", entry.existed).text("value", entry.value);
        if (entry.checked && entry.written.isNull())
            line.null("written");
        else if (entry.checked)
            line.text("written", entry.written);
    }
    return line.close_list().done();
}

QByteArray written_line(const QString& path, const file_identity& after)
{
    return json_line().text("written", path).identity(after).done();
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
        undo_entry read{entry.value(QStringLiteral("tag")).toString(), entry.value(QStringLiteral("existed")).toBool(),
                        entry.value(QStringLiteral("value")).toString(), QString(), false};
        // What the fix left: a text, or null for a tag it left absent; missing in older journals.
        const QJsonValue written = entry.value(QStringLiteral("written"));
        if (written.isString() || written.isNull()) {
            read.checked = true;
            read.written = written.isString() ? written.toString() : QString();
        }
        undo << read;
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

// Whether `present`, the tags a photo holds now, still has every old value of `undo`, so that
// the run never wrote it. A read that gave nothing tells nothing: the photo counts as written.
bool holds_old_values(const exif_tag_map& present, const QList<undo_entry>& undo)
{
    if (present.empty())
        return false;
    for (const undo_entry& entry : undo) {
        const auto found = present.find(entry.tag);
        const bool held = entry.existed ? found != present.end() && found->second == entry.value
                                        : found == present.end();
        if (!held)
            return false;
    }
    return true;
}

// The photos of `order` that still hold their old values. A journal can hold thousands, so the
// reads go out a few ahead and keep every child busy.
QSet<QString> holding_old_values(const QStringList& order, const QMap<QString, journal_photo>& photos)
{
    QSet<QString> result;
    QList<QPair<QString, ondo::exif_response*>> pending;
    auto finish_one = [&] {
        const auto read = pending.takeFirst();
        if (holds_old_values(ondo::exiftool::read_result(read.second), photos.value(read.first).undo))
            result.insert(read.first);
    };
    for (const QString& path : order) {
        pending.append({path, ondo::exiftool::read_tags_async(path, true)});
        if (pending.size() >= reads_ahead)
            finish_one();
    }
    while (!pending.isEmpty())
        finish_one();
    return result;
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
    const bool ok = append(header_line());
    flush_folder(folder);
    return ok;
}

bool undo_journal::add(const QString& path, const file_identity& identity, const QList<undo_entry>& undo, bool flush)
{
    if (!append(photo_line(path, identity, undo), flush))
        return false;
    loaded.insert(path, {identity, identity.modified_ns});
    return true;
}

bool undo_journal::flush()
{
    if (descriptor >= 0 && ::fsync(descriptor) == 0)
        return true;
    qWarning() << "Can't write undo information to" << run_file;
    return false;
}

void undo_journal::written(const QString& path, bool success, const file_identity& left)
{
    QByteArray line;
    if (success) {
        // ExifTool may have had to put a new file in the photo's place (a full disk, a FAT card):
        // from now on the undo looks for the file the write left.
        const file_identity after = left.type == file_identity::missing ? file_identity::of(path) : left;
        line = written_line(path, after);
        const auto photo = loaded.find(path);
        if (photo != loaded.end())
            photo->identity = after;
    } else {
        line = json_line().text("failed", path).done();
        loaded.remove(path);
    }
    // Not flushed on its own: the next photo's line takes it along, and a start that misses it
    // still checks the photo for being the same file.
    append(line, false);
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

file_identity undo_journal::loaded_identity(const QString& path) const { return loaded.value(path).identity; }

qint64 undo_journal::loaded_modified_ns(const QString& path) const { return loaded.value(path).modified_ns; }

bool undo_journal::append(const QByteArray& line, bool flush)
{
    if (descriptor < 0)
        return false;
    if (write_all(descriptor, line)
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
        // Whether a write went out tells neither its line nor its absence: a crash can come
        // between a write and the line after it, and before a write whose line is on disk. What
        // the photo holds now tells.
        const QSet<QString> untouched = run.readable ? holding_old_values(order, photos) : QSet<QString>();
        QStringList as_left, not_written;
        for (const QString& path : order) {
            const journal_photo& photo = photos[path];
            // A photo that holds its old values needs nothing, whatever happened to its file since:
            // nothing is written to it.
            if (untouched.contains(path)) {
                run.untouched << path;
                not_written << tr("%1: not written by the run").arg(path);
                continue;
            }
            const file_identity now = file_identity::of(path);
            // A photo whose write may not have been finished is checked for being the same file.
            const bool same = photo.written ? photo.after.unchanged(now) : photo.loaded.same_file(now);
            if (!same)
                run.changed << path;
            run.undo.insert(path, photo.undo);
            run.loaded.insert(path, photo.loaded);
            if (photo.written)
                run.left.insert(path, photo.after);
            if (!same)
                run.listing << tr("%1: changed since the run").arg(path);
            else
                as_left << tr("%1: as the run left it").arg(path);
        }
        run.listing << as_left << not_written;
        if (run.readable && run.undo.isEmpty()) {
            qInfo("The unfinished fix run %s changed no photo; its undo information is removed.",
                  qUtf8Printable(run.file));
            discard(run);
            continue;
        }
        if (!run.readable) {
            run.listing.prepend(tr("Undo information that can't be read: %1").arg(run.file));
            run.undo.clear();
            run.loaded.clear();
            run.left.clear();
        }
        runs << run;
    }
    return runs;
}

QMap<QString, QList<undo_entry>> undo_journal::adopt(const unfinished_run& run)
{
    loaded.clear();
    for (auto it = run.loaded.begin(); it != run.loaded.end(); ++it)
        loaded.insert(it.key(), {it.value(), it.value().modified_ns});
    // A confirmed write's file is the one the undo must find.
    for (auto it = run.left.begin(); it != run.left.end(); ++it)
        loaded[it.key()].identity = it.value();
    return run.undo;
}

bool undo_journal::keep(const unfinished_run& run, const QStringList& paths)
{
    if (paths.isEmpty()) {
        discard(run);
        return true;
    }
    QByteArray bytes = header_line();
    for (const QString& path : paths) {
        const auto undo = run.undo.constFind(path);
        if (undo == run.undo.constEnd())
            continue;
        bytes += photo_line(path, run.loaded.value(path), *undo);
        // The next start checks the photo against the state the run left, as it would have.
        if (run.left.contains(path))
            bytes += written_line(path, run.left.value(path));
    }
    kept_locks << run.lock;
    if (replace_file(run.file, bytes))
        return true;
    qWarning() << "Can't rewrite the undo information" << run.file;
    return false;
}

void undo_journal::discard(const unfinished_run& run)
{
    QFile::remove(run.file);
    if (run.lock)
        run.lock->unlock();
}
