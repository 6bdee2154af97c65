#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <map>
#include <vector>

// Tag name (with its group in front when read with groups, as "IFD0:Make") to tag text.
using exif_tag_map = std::map<QString, QString>;

namespace ondo {

using ::exif_tag_map;

class exif_response;
enum class exif_error : int;

struct exif_file_state;

// Tells the program what the bridge can't say through a result: a task that takes longer than
// the time limit. Lives on the GUI thread; the signal comes on the thread that waits.
class exiftool_events : public QObject {
    Q_OBJECT
public:
    static exiftool_events* instance();

signals:
    // ExifTool has been working on `file` for longer than the time limit and is still at it.
    void overdue(const QString& file);
};

// The only way to ExifTool: one stay-open child on its own thread, started by the first read
// or write. Every function may be called from any thread with an event dispatcher; the
// synchronous ones keep that thread's event loop turning (without user input) while they wait.
class exiftool : public QObject {
public:
    exiftool() = delete;

    // Creates the worker, its thread and the child if there are none yet.
    static void start();
    // Stops the child in stages and ends the worker thread. `deferred` hands worker and thread
    // to deleteLater() instead of deleting them at once.
    static void shutdown(bool deferred);
    // Both only take effect while a worker exists.
    static void verbose(bool value);
    static void do_ping(bool value);
    // Stops each child that has been at its present task for at least `busy_for_ms`, the safe
    // way (SIGCONT and SIGINT, SIGKILL a few seconds later if it is still there). That task ends
    // with an error; the next one starts a new child.
    static void interrupt(int busy_for_ms = 0);
    // Ends every task that no child has been given yet with exif_error::dropped: what a run
    // queued ahead is not started once the user has stopped it.
    static void drop_unsent();
    // How many children the bridge starts next time: 0 (the default) for one per core, at most four.
    static void set_pool_size(int children);
    // The time after which a synchronous wait tells exiftool_events::overdue (60 s). The wait
    // itself goes on: a slow large file that answers is never cut short.
    static void set_time_limit(int ms);
    static int time_limit();

    // Queues `data` (command lines without the execute line) and returns its response, which
    // the caller owns and ends with deleteLater(). Never null.
    static exif_response* start_task(const QString& file, const QString& operation, const QByteArray& data,
                                     const exif_file_state* state = nullptr);
    // All tags of `file`; with `group_names` the keys carry their group ("IFD0:Make").
    // An unreadable or missing file, a relative path and a failed task give an empty map.
    static exif_tag_map read_tags(const QString& file, bool group_names, bool log_result);
    // read_tags in two halves: the read is queued at once, and read_result waits for it, parses
    // it and ends the response. Reads queued ahead go to all children at once.
    static exif_response* read_tags_async(const QString& file, bool group_names);
    static exif_tag_map read_result(exif_response* response, bool log_result = false);
    // Only the named tags (no groups); an empty list reads all tags.
    static exif_tag_map read_specific_tags(const QString& file, const std::vector<QString>& tags);
    // Writes `tags` in place; an empty value deletes the tag. False when ExifTool reports that
    // the file wasn't updated due to errors, when the task failed, and without sending anything
    // for a relative path, a crafted tag name or value, or a temporary file of an earlier write
    // that is still beside the photo.
    static bool write_tags(const QString& file, const exif_tag_map& tags);
    // With `expected`, the write happens only if the file, as ExifTool reads it right before
    // writing, holds each of those tags (group and name) with that text, or lacks it where the
    // text is null; otherwise write_result is false with exif_error::changed.
    // With `or_expected` too, either state will do.
    static exif_response* write_tags_async(const QString& file, const exif_tag_map& tags,
                                           const exif_tag_map& expected = {}, const exif_tag_map& or_expected = {});
    // The write happens only if `file` still names the file of `state`, unchanged, when it is
    // handed to a child that has nothing else to do; ExifTool then doesn't read the file for a
    // condition first. Otherwise write_result is false with exif_error::changed.
    static exif_response* write_tags_async(const QString& file, const exif_tag_map& tags, const exif_file_state& state);
    // Waits for a write queued with write_tags_async and ends the response; the result is that
    // of write_tags. `error` tells why a task failed: exif_error::ended means ExifTool ended in
    // the middle of it, so the photo may have been written all the same.
    static bool write_result(exif_response* response, exif_error* error = nullptr);
    // Writes "Software" and "CreatorTool" as "<organisation> - <application>".
    static bool write_application_info_to_exif(const QString& file);
    static void set_application_info(exif_tag_map& tags);
    // What of `tags` (read without groups) may be written to another file.
    static exif_tag_map remove_nonwriteable_tags(const exif_tag_map& tags, bool keep_file_tags);
};

} // namespace ondo
