#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>

class QAbstractEventDispatcher;
class QTimer;

namespace ondo {

enum class exif_error : int {
    none = 0,
    timeout = 1,   // the time limit of the wait passed
    aborted = 2,   // the wait was given up
    ended = 3,     // ExifTool ended, or was stopped, before it answered
    too_large = 4, // the answer outgrew what the bridge takes
    dropped = 5,   // never given to a child: the run that queued it was stopped
    changed = 6,   // not written: the file no longer held what the write's condition expected
};

// Which file a path must name, and in what state, when a write is handed to ExifTool: its device,
// inode and size, and its change time in nanoseconds.
struct exif_file_state {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 changed_ns = 0;
};

// The handle of one ExifTool task. The asking thread creates it, waits on it and ends it with
// deleteLater() once it has finished; the worker thread sets `data` and then marks it ready.
// The two flags are the only state both threads touch: release on store, acquire on load.
class exif_response : public QObject {
    Q_OBJECT
public:
    exif_response();
    ~exif_response() override;

    void mark_ready();
    void mark_error(exif_error e);
    // Runs when the time limit passes; records exif_error::timeout unless the output is there.
    void timeout();
    bool is_ready() const;
    exif_error get_error() const;
    QByteArray get_data() const;
    // Waits for the output with a live event loop that keeps user input out. True once the
    // output is there; false when the wait was aborted or the task failed. A time limit that
    // passes records exif_error::timeout but does not end the wait: from then on user input is
    // let through too, so that the program can offer a way to stop ExifTool.
    bool await(int ms);
    // Arms the time limit once; a second call does not extend it.
    void await_async(int ms);
    // Records `e` (exif_error::none counts as exif_error::aborted).
    void abort(exif_error e);
    // Ends the task with `e`: await() returns false. Called by the worker when no answer can come.
    void fail(exif_error e);

    int id = 0;
    std::atomic<bool> ready_flag{false};
    std::atomic<bool> aborted_flag{false};
    std::atomic<exif_error> error_code{exif_error::none};
    QString file;
    QByteArray data;
    std::int64_t started_at = 0;
    // Set before the task is queued: the write goes to the child only while its file is in
    // this state, and only to a child with nothing else to do.
    bool checks_state = false;
    exif_file_state state;
    // Set on the asking thread, read by mark_ready on the worker thread.
    std::atomic<QTimer*> timeout_timer{nullptr};

signals:
    void ready(ondo::exif_response* request);
    void error(ondo::exif_error);
    void finished();

private:
    void stop_timer();
    // What an error does to the flags the wait looks at, besides being recorded.
    enum class then { keep_flags, clear_ready, end_wait };
    // Records `e`, emits error and finished, and then changes the flags.
    void record_error(exif_error e, then change);
    static void wake(QAbstractEventDispatcher* waiter);
};

} // namespace ondo

Q_DECLARE_METATYPE(ondo::exif_error)
Q_DECLARE_METATYPE(ondo::exif_response*)
