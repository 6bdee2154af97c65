#include "exiftool.h"

#include "exif_response.h"
#include "exiftool_data.h"
#include "exiftool_worker.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QLoggingCategory>
#include <QMutex>
#include <QThread>

namespace ondo {

namespace {

// The time limit of every synchronous wait. It records a timeout but doesn't end the wait.
constexpr int wait_limit_ms = 60000;

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

exif_tag_map run_read(const QString& file, const QString& operation, const QString& command)
{
    exif_response* response = exiftool::start_task(file, operation, command.toUtf8());
    if (!response->await(wait_limit_ms)) {
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
    if (!QMetaObject::invokeMethod(worker_instance, "shutdown", Qt::BlockingQueuedConnection,
                                   Q_RETURN_ARG(bool, stopped)))
        qCWarning(exiftool_log(), "Failed to call shutdown method on exiftool worker");
    qCInfo(exiftool_log(), "%s: Worker shutdown: %s", Q_FUNC_INFO, stopped ? "Ok" : "Failed");
    if (deferred)
        worker_instance->deleteLater();
    else
        delete worker_instance;
    worker_instance = nullptr;
    worker_thread->quit();
    worker_thread->wait(10000);
    if (deferred)
        worker_thread->deleteLater();
    else
        delete worker_thread;
    worker_thread = nullptr;
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
    if (!QMetaObject::invokeMethod(worker_instance, "add_task", Qt::BlockingQueuedConnection,
                                   Q_ARG(ondo::exif_response*, response), Q_ARG(QString, operation),
                                   Q_ARG(QByteArray, data)))
        qCWarning(exiftool_log(), "%s: Failed to invoke add_task method in exiftool worker.", Q_FUNC_INFO);
    return response;
}

exif_tag_map exiftool::read_tags(const QString& file, bool group_names, bool log_result)
{
    exiftool_worker_init();
    QString command;
    if (group_names)
        command += "-G1\n";
    command += file + "\n";
    exif_response* response = start_task(file, "read", command.toUtf8());
    if (!response->await(wait_limit_ms)) {
        response->deleteLater();
        return {};
    }
    const exif_tag_map result = parse_args_output(QString::fromUtf8(response->data));
    if (log_result && exiftool_log().isDebugEnabled())
        qCDebug(exiftool_log()) << file << result;
    response->deleteLater();
    return result;
}

exif_tag_map exiftool::read_specific_tags(const QString& file, const std::vector<QString>& tags)
{
    exiftool_worker_init();
    QString command;
    for (const QString& tag : tags)
        command += "-" + tag + "\n";
    command += file + "\n";
    return run_read(file, "read specific tags", command);
}

exif_response* exiftool::write_tags_async(const QString& file, const exif_tag_map& tags)
{
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
    if (!response->await(wait_limit_ms)) {
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
