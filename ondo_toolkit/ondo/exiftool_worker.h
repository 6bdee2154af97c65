#pragma once

#include "ondo/qt_compat.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QIODevice>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <atomic>
#include <vector>

class QLoggingCategory;
class QMutex;
class QThread;
class QTimer;

namespace ondo {

class exif_response;
enum class exif_error : int;

// The category "exiftool", for every log line of the bridge.
const QLoggingCategory& exiftool_log();

// Absolute path of the ExifTool script: the copy inside the application bundle when there is
// one, else the script the build was configured with.
QString exiftool_script_path();

// The child's process; on Linux the child ends with the thread that started it.
class exiftool_process : public qt_compat::process_with_child_setup {
public:
    explicit exiftool_process(QObject* parent) : process_with_child_setup(parent) {}

protected:
#ifdef Q_OS_LINUX
    void setup_child() override;

private:
    const qint64 parent_pid = QCoreApplication::applicationPid();
#endif
};

struct exiftool_task {
    QString operation; // "read", "read specific tags" or "write", for logs
    QPointer<exif_response> response;
    int id = 0; // the response's id, for the execute line and the marker
    QByteArray data; // command lines in UTF-8, without the execute line
    QString file;    // the photo the task is about
    // Set when the task is sent: the moment, and whether ExifTool's temporary file for the photo
    // was there already (then it is someone else's and never touched).
    qint64 sent_at_ns = 0;
    bool temporary_existed = false;
    // A write's photo as it was when sent (size, modification and change time in ns), which
    // tells whether a child that died had begun to copy its new copy back. The file system's
    // times may lag the clock by a tick, so the moment alone can miss a change right after it.
    bool sent_state_known = false;
    qint64 sent_size = 0, sent_modified_ns = 0, sent_changed_ns = 0;
    // The response has been ended with an error; what is left of the answer is dropped.
    bool failed = false;
    // Reads sent in this task's command behind its own file; their answers come in its answer.
    std::vector<exiftool_task> joined;
    // Sent alone again after a child ended in a joined read; never joined again.
    bool alone = false;

    // This task and the reads joined to it, its own first.
    std::vector<exiftool_task*> members()
    {
        std::vector<exiftool_task*> all{this};
        for (exiftool_task& other : joined)
            all.push_back(&other);
        return all;
    }
};

// The largest answer a task may have. Far above any real one (a value of 10 MB is real); a
// larger answer ends its task with an error instead of growing without bound.
constexpr int max_answer_bytes = 64 * 1024 * 1024;
// How long ExifTool has to act on SIGINT before it is killed.
constexpr int interrupt_grace_ms = 3000;
// Tasks written to one child at a time: the one it works on and the next, so that the child
// never waits for the worker between two tasks.
constexpr int max_in_flight = 2;
// Reads with the same options that go out in one command, queued one behind the other: ExifTool's
// fixed cost per command (reading the arguments, a new object, its options) is then paid once.
constexpr int max_files_per_read = 4;

// Owns one stay-open ExifTool child. Lives on a thread "Exiftol IO Worker" of its own; every
// slot runs there and is reached through QMetaObject::invokeMethod. Up to max_in_flight tasks
// are written to the child at once; ExifTool answers them in order, each answer ending at the
// marker "{ready<id>}\n" standing on a line of its own. A child that ends while it works on a
// task ends that task with an error; the tasks written behind it go to the next child. Reads
// queued behind one another go out together, and their answer is split by file; a child that ends
// in such a read sends each of them again alone, unless it was told to stop.
class exiftool_worker : public QObject {
    Q_OBJECT
public:
    enum WriteResult { ok = 0, not_running = 1, incomplete = 2 };

    exiftool_worker();
    ~exiftool_worker() override;
    bool event(QEvent* e) override;

public slots:
    bool send_restart();
    void read_output();
    void execute_task();
    bool start();
    bool shutdown();
    void add_task(ondo::exif_response* response, QString operation, QByteArray data, QString file = QString());
    // Asks the child to stop the safe way if it has been at its present task for at least
    // `busy_for_ms`: SIGCONT, then SIGINT, on which ExifTool finishes a write it is in the middle
    // of and removes its temporary file; SIGKILL only if it is still there interrupt_grace_ms
    // later. The task then ends with exif_error::ended. An idle child is left alone.
    void interrupt(int busy_for_ms = 0);
    // Ends the tasks not yet written to the child with exif_error::dropped.
    void drop_unsent();
    void verbose(bool value = true);
    void do_ping(bool value = true);

public:
    QProcess* process = nullptr;
    QIODevice::OpenMode restart_open_mode;
    // Written by the facade from other threads.
    std::atomic<bool> verbose_enabled{false};
    std::atomic<bool> ping_enabled{false}; // stored only: there is no ping
    QList<exiftool_task> task_queue;
    // The first `in_flight` tasks of the queue have been written to the child.
    int in_flight = 0;
    // Tasks queued and not yet answered; the facade gives a new task to the least busy worker.
    std::atomic<int> pending{0};
    // When the child began the task at the head of the queue.
    qint64 head_started_ns = 0;
    // A task whose asker has gone stops the worker for good: nothing after it is sent.
    bool stuck = false;
    QByteArray output_buffer;
    QTimer* kill_timer = nullptr;
    // The child's end was asked for by interrupt().
    bool interrupting = false;

private:
    // Hands every complete answer in output_buffer to its task, in order; the search for the
    // first marker starts near `searched_up_to`, what was there before the last read.
    void take_answers(int searched_up_to);
    void process_ended(int code, QProcess::ExitStatus status);
    void signal_child(int signal);
    // Takes the reads queued behind the task at `index` into its command, if they have its options.
    void join_reads(int index);
    // Ends the task and the reads joined to it with `error`.
    void fail_task(exiftool_task& task, exif_error error);
    void hand_out_joined_answer(exiftool_task& task, const QByteArray& answer);
    WriteResult write(const QString& text);
    QByteArray gen_execute(int id) const;
    QByteArray gen_marker(int id) const;
};

// Creates the pool of workers, each with its thread, and starts their children once; safe from
// any thread, any number of times.
void exiftool_worker_init();

// Shared by the workers and the facade only. worker_mutex guards creating and ending them.
// Every worker lives on the thread at the same place in worker_threads.
extern QList<exiftool_worker*> workers;
extern QList<QThread*> worker_threads;
// How many children the next exiftool_worker_init starts; 0: one per core, at most four.
extern std::atomic<int> pool_size;
QMutex& worker_mutex();
extern std::atomic<int> next_task_id;

} // namespace ondo
