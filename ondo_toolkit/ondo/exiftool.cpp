#include "exiftool.h"

#include "exif_response.h"
#include "exiftool_data.h"
#include "exiftool_worker.h"
#include "sanitizer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutex>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

namespace ondo {

namespace {

// The time limit of every synchronous wait. It records a timeout but doesn't end the wait.
std::atomic<int> wait_limit_ms{60000};

// -args output: one "-Tag=Value" per line. Only the piece between the first and the second "="
// is kept, and a key that comes twice keeps its last value.
exif_tag_map parse_args_output(const QString& text)
{
    exif_tag_map result;
    const QStringList lines = text.split(QChar(10), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList pieces = line.split('=');
        if (pieces.size() < 2)
            continue;
        result[pieces[0].mid(1).trimmed()] = pieces[1].trimmed();
    }
    return result;
}

// ExifTool's stay-open reader takes one argument a line: it drops a trailing CR, strips leading
// blanks, skips lines that begin with "#", and takes "-word" lines as options. A path, tag name
// or value that it would split or alter could turn into options of its own, so such text is
// refused before anything is sent. The "#[CSTR]" escape form is no help: it can't carry "$"
// or "@" unchanged.
bool breaks_lines(const QString& text)
{
    return text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r')) || text.contains(QChar(0));
}

// Only absolute paths: a relative one could begin with anything ExifTool reads as an option,
// including dashes other than "-" (it takes U+2212 as one).
bool is_safe_path(const QString& path)
{
    return path.startsWith(QLatin1Char('/')) && !breaks_lines(path);
}

// A tag name, optionally behind groups ("IFD0:Make", "XMP-dc:Title-de", "IFD0:*"). Without a
// group it must not be one of ExifTool's option words, which the reader would obey instead.
bool is_safe_tag_name(const QString& name)
{
    // \z, not $: "$" would also match in front of a final line break.
    static const QRegularExpression shape(QStringLiteral("\\A([A-Za-z0-9_*?-]+:)*[A-Za-z0-9_*?][A-Za-z0-9_*?-]*#?\\z"));
    static const QRegularExpression option(QStringLiteral(
        "^(a|duplicates|args?|argformat|b|binary|c|coordformat|config|csv|csvdelim|d|dateformat|"
        "delete_original|diff|e|composite|ee\\d*|extractembedded\\d*|efile\\d?|ec|escapec|"
        "echo\\d?|ex|escapehtml|escapexml|ext|extension|f[-+]?\\d*|forceprint|fixbase[-+]?\\d*|"
        "fast\\d*|fileorder\\d*|g\\d*|groupheadings|groupnames|h|htmlformat|hex|htmldump\\d*|"
        "i|ignore|if\\d*|j|json|k|pause|l|long|latin|lang|listitem|list[a-z]*|m|ignoreminorerrors|n|"
        "printconv|o|out|overwrite_original(_in_place)?|p|printformat|preserve|progress\\d*|q|quiet|"
        "r|recurse|restore_original|s\\d*|short\\d*|veryshort|scanforxmp|sep|separator|sort\\d*|"
        "stay_open|struct|t|tab|table|(add|all)?tagsfromfile|u|unknown2?|"
        "userparam|use|v\\d*|verbose\\d*|validate|ver|w|textout|tagout|wext|wm|writemode|x|exclude|"
        "xmlformat|z|zip|api|common_args|execute\\d*|geotag|geosync|geolocation|globaltimeshift|"
        "srcfile|password|php|plot|charset|file\\d+)\\z"),
        QRegularExpression::CaseInsensitiveOption);
    return !breaks_lines(name) && shape.match(name).hasMatch()
        && (name.contains(QLatin1Char(':')) || !option.match(name).hasMatch());
}

// A value follows "-Tag=" on its line; the reader also eats one blank right behind the "=".
bool is_safe_value(const QString& value)
{
    return !breaks_lines(value) && !value.startsWith(QLatin1Char(' '));
}

bool refuse(const char* function, const QString& file, const char* what)
{
    qCWarning(exiftool_log(), "%s: Refusing '%s': %s.", function, qUtf8Printable(file), what);
    return false;
}

bool is_safe_read(const char* function, const QString& file, const std::vector<QString>& tags = {})
{
    if (!is_safe_path(file))
        return refuse(function, file, "its name would change the command");
    // ExifTool takes a folder for every file in it.
    if (QFileInfo(file).isDir())
        return refuse(function, file, "it is a folder");
    for (const QString& tag : tags)
        if (!is_safe_tag_name(tag))
            return refuse(function, file, "a tag name would change the command");
    return true;
}

bool is_safe_write(const char* function, const QString& file, const exif_tag_map& tags)
{
    if (!is_safe_path(file))
        return refuse(function, file, "its name would change the command");
    if (QFileInfo(file).isDir())
        return refuse(function, file, "it is a folder");
    // ExifTool refuses to write while it is there; it is left from a write that was cut short,
    // and may be the only whole copy of the photo, so it is named and left alone.
    const QString leftover = file + QStringLiteral("_exiftool_tmp");
    if (QFileInfo(leftover).exists() || QFileInfo(leftover).isSymLink()) {
        qCWarning(exiftool_log(), "%s: Refusing '%s': an earlier write left '%s' behind.", function,
                  qUtf8Printable(file), qUtf8Printable(leftover));
        return false;
    }
    for (const auto& [tag, value] : tags) {
        if (!is_safe_tag_name(tag))
            return refuse(function, file, "a tag name would change the command");
        if (!is_safe_value(value))
            return refuse(function, file, "a tag value would change the command");
    }
    return true;
}

// Waits for `response`, telling exiftool_events once the time limit has passed.
bool await_answer(exif_response* response)
{
    QObject::connect(response, &exif_response::error, response, [response](exif_error e) {
        if (e == exif_error::timeout)
            emit exiftool_events::instance()->overdue(response->file);
    }, Qt::DirectConnection);
    return response->await(wait_limit_ms);
}

// Finished with an error before anything was sent: await() returns false at once.
exif_response* refused_response(const QString& file)
{
    auto* refused = new exif_response;
    refused->file = file;
    refused->error_code = exif_error::aborted;
    refused->aborted_flag = true;
    return refused;
}

} // namespace

void exiftool::start()
{
    exiftool_worker_init();
}

void exiftool::shutdown(bool deferred)
{
    QMutexLocker lock(&worker_mutex());
    if (worker_threads.isEmpty())
        return;
    // All children are stopped at once, so that stalled ones cost their stages' time only once.
    const int count = int(workers.size());
    std::vector<std::atomic<int>> stopped(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        stopped[size_t(i)] = -1;
        exiftool_worker* worker = workers[i];
        std::atomic<int>* result = &stopped[size_t(i)];
        const queued_call_mark mark(worker);
        if (!QMetaObject::invokeMethod(worker, [worker, result] { *result = worker->shutdown() ? 1 : 0; },
                                       Qt::QueuedConnection))
            qCWarning(exiftool_log(), "Failed to call shutdown method on exiftool worker");
    }
    for (int i = 0; i < count; ++i) {
        exiftool_worker* worker = workers[i];
        QThread* thread = worker_threads[i];
        {
            // Returns once the worker's thread has run the shutdown queued above.
            const queued_call_mark mark(worker);
            QMetaObject::invokeMethod(worker, [] {}, Qt::BlockingQueuedConnection);
        }
        qCInfo(exiftool_log(), "%s: Worker shutdown: %s", Q_FUNC_INFO, stopped[size_t(i)] == 1 ? "Ok" : "Failed");
        if (deferred) {
            // The worker's thread takes the request over at once and frees it.
            ONDO_HANDS_OVER(worker);
            const unchecked_by_thread_sanitizer qt_copies;
            worker->deleteLater();
        } else
            delete worker;
        thread->quit();
        thread->wait(10000);
        ONDO_TAKES_OVER(thread);
        if (deferred)
            thread->deleteLater();
        else
            delete thread;
    }
    workers.clear();
    worker_threads.clear();
}

exiftool_events* exiftool_events::instance()
{
    static exiftool_events* events = new exiftool_events; // lives as long as the process
    return events;
}

void exiftool::interrupt(int busy_for_ms)
{
    QMutexLocker lock(&worker_mutex());
    for (exiftool_worker* worker : qAsConst(workers)) {
        const queued_call_mark mark(worker);
        QMetaObject::invokeMethod(worker, "interrupt", Qt::QueuedConnection, Q_ARG(int, busy_for_ms));
    }
}

void exiftool::drop_unsent()
{
    QMutexLocker lock(&worker_mutex());
    for (exiftool_worker* worker : qAsConst(workers)) {
        const queued_call_mark mark(worker);
        QMetaObject::invokeMethod(worker, "drop_unsent", Qt::QueuedConnection);
    }
}

void exiftool::set_time_limit(int ms)
{
    wait_limit_ms = ms;
}

int exiftool::time_limit()
{
    return wait_limit_ms;
}

void exiftool::set_pool_size(int children)
{
    pool_size = children;
}

void exiftool::verbose(bool value)
{
    QMutexLocker lock(&worker_mutex());
    for (exiftool_worker* worker : qAsConst(workers))
        worker->verbose_enabled = value;
}

void exiftool::do_ping(bool value)
{
    QMutexLocker lock(&worker_mutex());
    for (exiftool_worker* worker : qAsConst(workers))
        worker->ping_enabled = value;
}

exif_response* exiftool::start_task(const QString& file, const QString& operation, const QByteArray& data,
                                    const exif_file_state* state)
{
    auto* response = new exif_response;
    response->id = next_task_id.fetch_add(1);
    response->file = file;
    if (state) {
        response->checks_state = true;
        response->state = *state;
    }
    response->started_at = QDateTime::currentMSecsSinceEpoch();
    exiftool_worker* worker = nullptr;
    {
        // The least busy child takes the task: a stalled one gathers no more.
        QMutexLocker lock(&worker_mutex());
        for (exiftool_worker* candidate : qAsConst(workers))
            if (!worker || candidate->pending < worker->pending)
                worker = candidate;
        if (worker)
            ++worker->pending;
    }
    // Queued, not waited for: the asker goes on to its next file while the worker writes this one,
    // with no switch of threads per task. Later calls to the same worker (drop, interrupt,
    // shutdown) still come after it, as posted events keep their order.
    {
        const queued_call_mark mark(worker);
        if (!worker || !QMetaObject::invokeMethod(worker, "add_task", Qt::QueuedConnection,
                                                  Q_ARG(ondo::exif_response*, response), Q_ARG(QString, operation),
                                                  Q_ARG(QByteArray, data), Q_ARG(QString, file))) {
            qCWarning(exiftool_log(), "%s: Failed to invoke add_task method in exiftool worker.", Q_FUNC_INFO);
            // No worker will ever answer it; its wait ends at once instead of never.
            response->error_code = exif_error::aborted;
            response->aborted_flag = true;
        }
    }
    return response;
}

exif_tag_map exiftool::read_tags(const QString& file, bool group_names, bool log_result)
{
    return read_result(read_tags_async(file, group_names), log_result);
}

exif_response* exiftool::read_tags_async(const QString& file, bool group_names)
{
    if (!is_safe_read(Q_FUNC_INFO, file))
        return refused_response(file);
    exiftool_worker_init();
    // "-a" reports a tag that shares its name with one in another group; "-fast" only for
    // reads, since on a write it makes ExifTool copy the chunks behind a PNG's image data.
    QString command;
    if (group_names)
        command += "-G1\n";
    command += "-a\n-fast\n" + file + "\n";
    return start_task(file, "read", command.toUtf8());
}

exif_tag_map exiftool::read_result(exif_response* response, bool log_result)
{
    exif_tag_map result;
    if (await_answer(response))
        result = parse_args_output(QString::fromUtf8(response->data));
    if (log_result && exiftool_log().isDebugEnabled())
        qCDebug(exiftool_log()) << response->file << result;
    // At once, not deleteLater(): the runs wait in nested event loops, where deferred deletes
    // pile up until the run ends and every posted-event pass walks them all. Once the wait is
    // over the worker no longer touches the response.
    delete response;
    return result;
}

exif_tag_map exiftool::read_specific_tags(const QString& file, const std::vector<QString>& tags)
{
    if (!is_safe_read(Q_FUNC_INFO, file, tags))
        return {};
    exiftool_worker_init();
    QString command = QStringLiteral("-a\n-fast\n");
    for (const QString& tag : tags)
        command += "-" + tag + "\n";
    command += file + "\n";
    return read_result(start_task(file, "read specific tags", command.toUtf8()));
}

exif_response* exiftool::write_tags_async(const QString& file, const exif_tag_map& tags, const exif_tag_map& expected,
                                          const exif_tag_map& or_expected)
{
    if (!is_safe_write(Q_FUNC_INFO, file, tags))
        return refused_response(file);
    // Only a group and a tag name may stand in the condition, and a value only as data.
    static const QRegularExpression plain_tag(QStringLiteral("\\A[A-Za-z0-9_-]+:[A-Za-z0-9_]+\\z"));
    for (const exif_tag_map* state : {&expected, &or_expected})
        for (const auto& [tag, value] : *state)
            if (!plain_tag.match(tag).hasMatch() || !is_safe_value(value)) {
                refuse(Q_FUNC_INFO, file, "a condition would change the command");
                return refused_response(file);
            }
    exiftool_worker_init();
    // The file first, then its options and one "-Tag=Value" line per tag; "-Tag=" deletes.
    QString command = QString("\n%1\n-overwrite_original_in_place\n-m\n").arg(file);
    // The condition is checked by ExifTool on the file it is about to write. Each expected text
    // stands as a Perl literal in single quotes, in which only \\ and \' mean anything, and with
    // every "$" doubled, which ExifTool reads back as one before Perl sees the text, so that no
    // text of a file becomes a tag reference or code:
    //   -if / (defined $ExifIFD:DateTimeOriginal and $ExifIFD:DateTimeOriginal eq '2017:06:21 18:30:05')
    auto holds = [](const exif_tag_map& state) {
        QStringList terms;
        for (const auto& [tag, value] : state) {
            if (value.isNull()) {
                terms << QStringLiteral("not defined $%1").arg(tag);
            } else {
                QString literal = value;
                literal.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
                    .replace(QLatin1Char('\''), QLatin1String("\\'"))
                    .replace(QLatin1Char('$'), QLatin1String("$$"));
                terms << QStringLiteral("(defined $%1 and $%1 eq '%2')").arg(tag, literal);
            }
        }
        return QStringLiteral("(%1)").arg(terms.join(QStringLiteral(" and ")));
    };
    if (!expected.empty()) {
        QStringList terms = {or_expected.empty() ? holds(expected)
                                                 : QStringLiteral("(%1 or %2)").arg(holds(expected), holds(or_expected))};
        // ExifTool's stay-open loop adds the tag names of every condition to a list of requested
        // tags that it never empties (12.57: the script's @requestTags), so that each command took
        // longer than the last: 17 ms a photo over 100 writes, 42 over 800. The condition empties
        // it after use; where the list has another name, the inner eval fails and changes nothing.
        terms << QStringLiteral("(eval q{@requestTags = (); 1} || 1)");
        // The condition reads the whole file before the write reads it again; it makes no
        // composite tags, which took a third of its time on a camera JPEG. Options end with the
        // command. (Keeping only the tags it names, the IgnoreTags option, would also drop those
        // by which a CR3 is read, and so its condition would never hold.)
        command += QStringLiteral("-e\n-if\n%1\n").arg(terms.join(QStringLiteral(" and ")));
    }
    for (const auto& [key, value] : tags)
        command += QString("-%1=%2\n").arg(key, value);
    return start_task(file, "write", command.toUtf8());
}

exif_response* exiftool::write_tags_async(const QString& file, const exif_tag_map& tags, const exif_file_state& state)
{
    if (!is_safe_write(Q_FUNC_INFO, file, tags))
        return refused_response(file);
    exiftool_worker_init();
    QString command = QString("\n%1\n-overwrite_original_in_place\n-m\n").arg(file);
    for (const auto& [key, value] : tags)
        command += QString("-%1=%2\n").arg(key, value);
    return start_task(file, "write", command.toUtf8(), &state);
}

bool exiftool::write_tags(const QString& file, const exif_tag_map& tags)
{
    return write_result(write_tags_async(file, tags));
}

bool exiftool::write_result(exif_response* response, exif_error* error)
{
    const bool answered = await_answer(response);
    if (error)
        *error = answered ? exif_error::none : response->get_error();
    // ExifTool's own summary lines are the only sign of a refused write that reaches stdout.
    const QString output = QString::fromUtf8(response->data);
    const bool changed = answered && output.contains("files failed condition");
    // "created": the path was missing when ExifTool came to it, and its copy became a new file
    // of that name; the photo itself, wherever it went, was not written.
    const bool result = answered && !changed && !output.contains("files weren't updated due to errors")
        && !output.contains("image files created");
    if (error && changed)
        *error = exif_error::changed;
    if (answered && !result)
        qCWarning(exiftool_log(), "%s: Failed to execute command on '%s': '%s'.",
                  "static bool ondo::exiftool::write_tags(const QString &, const exif_tag_map &)",
                  qUtf8Printable(response->file), qUtf8Printable(output));
    delete response;
    return result;
}

void exiftool::set_application_info(exif_tag_map& tags)
{
    const QString stamp = QString("%1 - %2").arg(QCoreApplication::organizationName(),
                                                 QCoreApplication::applicationName());
    tags["Software"] = stamp;
    tags["CreatorTool"] = stamp;
}

bool exiftool::write_application_info_to_exif(const QString& file)
{
    exif_tag_map tags;
    set_application_info(tags);
    return write_tags(file, tags);
}

exif_tag_map exiftool::remove_nonwriteable_tags(const exif_tag_map& tags, bool keep_file_tags)
{
    // Writable, but never to be carried from one image to another: ExifTool's own list, the look
    // and derived image tags. Built once, since a fix run asks for every file.
    static const QSet<QString> never = [] {
        QSet<QString> names = {
            "LookAmount", "LookGroup", "LookName", "LookParametersCameraProfile",
            "LookParametersConvertToGrayscale", "LookParametersLookTable", "LookParametersProcessVersion",
            "LookParametersToneCurvePV2012", "LookParametersToneCurvePV2012Blue",
            "LookParametersToneCurvePV2012Green", "LookParametersToneCurvePV2012Red",
            "LookParametersVersion", "LookSupportsAmount", "LookSupportsMonochrome",
            "LookSupportsOutputReferred", "LookUuid", "OverrideLookVignette",
            "ThumbnailLength", "ThumbnailOffset", "ThumbnailImage", "PhotoshopThumbnail", "Compression",
            "BitsPerSample", "SamplesPerPixel", "YCbCrPositioning", "YCbCrSubSampling",
            "ComponentsConfiguration", "ImageHeight", "ImageWidth"};
        for (const std::string_view name : exiftool_data::forbidden_tags)
            names.insert(QString::fromUtf8(name.data(), int(name.size())));
        return names;
    }();
    static const QSet<QString> file_tags = {"FileName", "Directory"};

    exif_tag_map result;
    for (const auto& [name, value] : tags)
        if (!never.contains(name) && (keep_file_tags || !file_tags.contains(name)))
            result.emplace_hint(result.end(), name, value);
    return result;
}

} // namespace ondo
