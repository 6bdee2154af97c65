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
    for (const QString& tag : tags)
        if (!is_safe_tag_name(tag))
            return refuse(function, file, "a tag name would change the command");
    return true;
}

bool is_safe_write(const char* function, const QString& file, const exif_tag_map& tags)
{
    if (!is_safe_path(file))
        return refuse(function, file, "its name would change the command");
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

exif_tag_map run_read(const QString& file, const QString& operation, const QString& command)
{
    exif_response* response = exiftool::start_task(file, operation, command.toUtf8());
    if (!await_answer(response)) {
        response->deleteLater();
        return {};
    }
    const QByteArray data = response->data;
    response->deleteLater();
    return parse_args_output(QString::fromUtf8(data));
}

} // namespace

void exiftool::start()
{
    exiftool_worker_init();
}

void exiftool::shutdown(bool deferred)
{
    QMutexLocker lock(&worker_mutex());
    if (!worker_thread)
        return;
    bool stopped = false;
    {
        const queued_call_mark mark(worker_instance);
        if (!QMetaObject::invokeMethod(worker_instance, "shutdown", Qt::BlockingQueuedConnection,
                                       Q_RETURN_ARG(bool, stopped)))
            qCWarning(exiftool_log(), "Failed to call shutdown method on exiftool worker");
    }
    qCInfo(exiftool_log(), "%s: Worker shutdown: %s", Q_FUNC_INFO, stopped ? "Ok" : "Failed");
    if (deferred) {
        // The worker's thread takes the request over at once and frees it.
        ONDO_HANDS_OVER(worker_instance);
        const unchecked_by_thread_sanitizer qt_copies;
        worker_instance->deleteLater();
    } else
        delete worker_instance;
    worker_instance = nullptr;
    worker_thread->quit();
    worker_thread->wait(10000);
    ONDO_TAKES_OVER(worker_thread);
    if (deferred)
        worker_thread->deleteLater();
    else
        delete worker_thread;
    worker_thread = nullptr;
}

exiftool_events* exiftool_events::instance()
{
    static exiftool_events* events = new exiftool_events; // lives as long as the process
    return events;
}

void exiftool::interrupt()
{
    QMutexLocker lock(&worker_mutex());
    if (worker_instance)
        QMetaObject::invokeMethod(worker_instance, "interrupt", Qt::QueuedConnection);
}

void exiftool::set_time_limit(int ms)
{
    wait_limit_ms = ms;
}

int exiftool::time_limit()
{
    return wait_limit_ms;
}

void exiftool::verbose(bool value)
{
    QMutexLocker lock(&worker_mutex());
    if (worker_instance)
        worker_instance->verbose_enabled = value;
}

void exiftool::do_ping(bool value)
{
    QMutexLocker lock(&worker_mutex());
    if (worker_instance)
        worker_instance->ping_enabled = value;
}

exif_response* exiftool::start_task(const QString& file, const QString& operation, const QByteArray& data)
{
    auto* response = new exif_response;
    response->id = next_task_id.fetch_add(1);
    response->file = file;
    response->started_at = QDateTime::currentMSecsSinceEpoch();
    // Blocks until the worker has queued the task and, if the child was free, written it.
    {
        const queued_call_mark mark(worker_instance);
        if (!QMetaObject::invokeMethod(worker_instance, "add_task", Qt::BlockingQueuedConnection,
                                       Q_ARG(ondo::exif_response*, response), Q_ARG(QString, operation),
                                       Q_ARG(QByteArray, data), Q_ARG(QString, file)))
            qCWarning(exiftool_log(), "%s: Failed to invoke add_task method in exiftool worker.", Q_FUNC_INFO);
    }
    return response;
}

exif_tag_map exiftool::read_tags(const QString& file, bool group_names, bool log_result)
{
    if (!is_safe_read(Q_FUNC_INFO, file))
        return {};
    exiftool_worker_init();
    // "-a" reports a tag that shares its name with one in another group; "-fast" only for
    // reads, since on a write it makes ExifTool copy the chunks behind a PNG's image data.
    QString command;
    if (group_names)
        command += "-G1\n";
    command += "-a\n-fast\n" + file + "\n";
    const exif_tag_map result = run_read(file, "read", command);
    if (log_result && exiftool_log().isDebugEnabled())
        qCDebug(exiftool_log()) << file << result;
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
    return run_read(file, "read specific tags", command);
}

exif_response* exiftool::write_tags_async(const QString& file, const exif_tag_map& tags)
{
    if (!is_safe_write(Q_FUNC_INFO, file, tags)) {
        // Finished with an error before anything was sent: await() returns false at once.
        auto* refused = new exif_response;
        refused->file = file;
        refused->error_code = exif_error::aborted;
        refused->aborted_flag = true;
        return refused;
    }
    exiftool_worker_init();
    // The file first, then its options and one "-Tag=Value" line per tag; "-Tag=" deletes.
    QString command = QString("\n%1\n-overwrite_original_in_place\n-m\n").arg(file);
    for (const auto& [key, value] : tags)
        command += QString("-%1=%2\n").arg(key, value);
    return start_task(file, "write", command.toUtf8());
}

bool exiftool::write_tags(const QString& file, const exif_tag_map& tags)
{
    exif_response* response = write_tags_async(file, tags);
    if (!await_answer(response)) {
        response->deleteLater();
        return false;
    }
    const QString output = QString::fromUtf8(response->data);
    // ExifTool's own summary line is the only sign of a refused write that reaches stdout.
    bool result = true;
    if (output.contains("files weren't updated due to errors")) {
        qCWarning(exiftool_log(), "%s: Failed to execute command on '%s': '%s'.", Q_FUNC_INFO,
                  qUtf8Printable(file), qUtf8Printable(output));
        result = false;
    }
    response->deleteLater();
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
    // Writable, but never to be carried from one image to another.
    static const std::vector<QString> file_tags = {"FileName", "Directory"};
    static const std::vector<QString> look_tags = {
        "LookAmount", "LookGroup", "LookName", "LookParametersCameraProfile",
        "LookParametersConvertToGrayscale", "LookParametersLookTable", "LookParametersProcessVersion",
        "LookParametersToneCurvePV2012", "LookParametersToneCurvePV2012Blue",
        "LookParametersToneCurvePV2012Green", "LookParametersToneCurvePV2012Red",
        "LookParametersVersion", "LookSupportsAmount", "LookSupportsMonochrome",
        "LookSupportsOutputReferred", "LookUuid", "OverrideLookVignette"};
    static const std::vector<QString> derived_image_tags = {
        "ThumbnailLength", "ThumbnailOffset", "ThumbnailImage", "PhotoshopThumbnail", "Compression",
        "BitsPerSample", "SamplesPerPixel", "YCbCrPositioning", "YCbCrSubSampling",
        "ComponentsConfiguration", "ImageHeight", "ImageWidth"};

    exif_tag_map result = tags;
    for (const std::string_view name : exiftool_data::forbidden_tags)
        result.erase(QString::fromUtf8(name.data(), int(name.size())));
    for (const QString& name : look_tags)
        result.erase(name);
    if (!keep_file_tags)
        for (const QString& name : file_tags)
            result.erase(name);
    for (const QString& name : derived_image_tags)
        result.erase(name);
    return result;
}

} // namespace ondo
