#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QIODevice>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <atomic>

class QLoggingCategory;
class QMutex;
class QThread;
class QTimer;

namespace ondo {

class exif_response;

// The category "exiftool", for every log line of the bridge.
const QLoggingCategory& exiftool_log();

// Absolute path of the ExifTool script: the copy inside the application bundle when there is
// one, else the script the build was configured with.
QString exiftool_script_path();

// The child's process; on Linux the child ends with the thread that started it.
class exiftool_process : public QProcess {
public:
    explicit exiftool_process(QObject* parent) : QProcess(parent) {}

protected:
#ifdef Q_OS_LINUX
    void setupChildProcess() override;

private:
    const qint64 parent_pid = QCoreApplication::applicationPid();
#endif
};

struct exiftool_task {
    QString operation; // "read", "read specific tags" or "write", for logs
    QPointer<exif_response> response;
    QByteArray data; // command lines in UTF-8, without the execute line
    QString file;    // the photo the task is about
    // Set when the task is sent: the moment, and whether ExifTool's temporary file for the photo
    // was there already (then it is someone else's and never touched).
    qint64 sent_at_ns = 0;
    bool temporary_existed = false;
    // The response has been ended with an error; what is left of the answer is dropped.
    bool failed = false;
};

// The largest answer a task may have. Far above any real one (a value of 10 MB is real); a
// larger answer ends its task with an error instead of growing without bound.
constexpr int max_answer_bytes = 64 * 1024 * 1024;
// How long ExifTool has to act on SIGINT before it is killed.
constexpr int interrupt_grace_ms = 3000;

// Owns the stay-open ExifTool child. Lives on the thread "Exiftol IO Worker"; every slot runs
// there and is reached through QMetaObject::invokeMethod. One task is in flight at a time; its
// output ends at the marker "{ready<id>}\n" standing on a line of its own. A child that ends
// with a task in flight ends that task with an error; the next task starts a new child.
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
    // Asks the child to stop the safe way: SIGCONT, then SIGINT, on which ExifTool finishes a
    // write it is in the middle of and removes its temporary file; SIGKILL only if it is still
    // there interrupt_grace_ms later. A task in flight then ends with exif_error::ended.
    void interrupt();
    void verbose(bool value = true);
    void do_ping(bool value = true);

public:
    QProcess* process = nullptr;
    QIODevice::OpenMode restart_open_mode;
    // Written by the facade from other threads.
    std::atomic<bool> verbose_enabled{false};
    std::atomic<bool> ping_enabled{false}; // stored only: there is no ping
    QList<exiftool_task> task_queue;
    bool task_in_flight = false;
    QByteArray current_marker;
    QByteArray output_buffer;
    QTimer* kill_timer = nullptr;

private:
    void process_ended(int code, QProcess::ExitStatus status);
    void signal_child(int signal);
    WriteResult write(const QString& text);
    QByteArray gen_execute(int id) const;
    QByteArray gen_marker(int id) const;
};

// Creates worker and thread once and starts the child; safe from any thread, any number of times.
void exiftool_worker_init();

// Shared by the worker and the facade only. worker_mutex guards creating and ending the pair.
extern exiftool_worker* worker_instance;
extern QThread* worker_thread;
QMutex& worker_mutex();
extern std::atomic<int> next_task_id;

} // namespace ondo
