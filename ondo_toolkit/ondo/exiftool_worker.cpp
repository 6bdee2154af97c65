#include "exiftool_worker.h"

#include "exif_response.h"
#include "exiftool.h"
#include "sanitizer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutex>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#include <sched.h>
#include <sys/prctl.h>
#endif

namespace ondo {

QList<exiftool_worker*> workers;
QList<QThread*> worker_threads;
std::atomic<int> pool_size{0};
std::atomic<int> next_task_id{0};

QMutex& worker_mutex()
{
    static QMutex mutex;
    return mutex;
}

const QLoggingCategory& exiftool_log()
{
    static const QLoggingCategory category("exiftool");
    return category;
}

QString exiftool_script_path()
{
    const QString bundled = QCoreApplication::applicationDirPath() + "/../Resources/exiftool/exiftool";
    if (QFileInfo(bundled).isFile())
        return bundled;
    return QStringLiteral(TAVIMO_EXIFTOOL_SCRIPT);
}

#ifdef Q_OS_LINUX
void exiftool_process::setup_child()
{
    // In the child, before perl runs: in stay-open mode ExifTool outlives a closed standard
    // input, so it is told to end when the thread that started it goes, however the program
    // ends. SIGINT is ExifTool's safe stop: it finishes copying a photo in place and removes its
    // temporary file first. A parent that died before this line is caught by the second check.
    // Its own process group keeps a Ctrl+C in the terminal for the program, which then stops the
    // child in stages.
    ::signal(SIGINT, SIG_DFL);
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGINT);
    if (::getppid() != parent_pid)
        ::raise(SIGINT);
}
#endif

namespace {

// Ends stay-open mode; ExifTool then exits after the command it is running.
const QString close_command = QStringLiteral("-stay_open\n0\n");

int usable_cores()
{
#ifdef Q_OS_LINUX
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (::sched_getaffinity(0, sizeof(allowed), &allowed) == 0)
        return CPU_COUNT(&allowed);
#endif
    return QThread::idealThreadCount();
}

qint64 ns_of(const timespec& time) { return qint64(time.tv_sec) * 1000000000 + time.tv_nsec; }

qint64 now_ns()
{
    timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return ns_of(now);
}

// Where ExifTool writes a photo's new version before it copies it over the original.
QString temporary_file_of(const QString& photo)
{
    return photo + QStringLiteral("_exiftool_tmp");
}

bool exists_as_anything(const QString& path)
{
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

// After ExifTool died in the middle of writing `photo`, its temporary file is removed. If the
// original was already being overwritten (it changed after the write was sent), the temporary
// file is the one whole copy: it is copied over the original first.
void clean_up_after_write(const exiftool_task& task)
{
    const QString temporary = temporary_file_of(task.file);
    struct stat tmp {};
    if (task.temporary_existed || ::lstat(QFile::encodeName(temporary).constData(), &tmp) != 0
        || !S_ISREG(tmp.st_mode))
        return;
    struct stat photo {};
    const bool photo_is_file = ::lstat(QFile::encodeName(task.file).constData(), &photo) == 0 && S_ISREG(photo.st_mode);
    const qint64 changed_ns = ns_of(photo.st_ctim);
    const qint64 modified_ns = ns_of(photo.st_mtim);
    const bool changed_since_sent = changed_ns >= task.sent_at_ns
        || (task.sent_state_known
            && (qint64(photo.st_size) != task.sent_size || modified_ns != task.sent_modified_ns
                || changed_ns != task.sent_changed_ns));
    if (photo_is_file && changed_since_sent) {
        QFile source(temporary);
        QFile target(task.file);
        bool copied = source.open(QIODevice::ReadOnly) && target.open(QIODevice::ReadWrite);
        while (copied && !source.atEnd()) {
            const QByteArray block = source.read(1 << 20);
            copied = target.write(block) == block.size();
        }
        copied = copied && target.resize(source.size()) && target.flush();
        if (!copied) {
            qCCritical(exiftool_log(), "%s: Could not restore '%s' from '%s'; both are kept.", Q_FUNC_INFO,
                       qUtf8Printable(task.file), qUtf8Printable(temporary));
            return;
        }
        qCWarning(exiftool_log(), "%s: Restored '%s' from ExifTool's temporary file.", Q_FUNC_INFO,
                  qUtf8Printable(task.file));
    }
    if (QFile::remove(temporary))
        qCWarning(exiftool_log(), "%s: Removed '%s'.", Q_FUNC_INFO, qUtf8Printable(temporary));
}

} // namespace

exiftool_worker::exiftool_worker() : QObject(nullptr)
{
    process = new exiftool_process(this);
    restart_open_mode = QIODevice::ReadWrite | QIODevice::Text | QIODevice::Unbuffered;
    process->setReadChannel(QProcess::StandardOutput);
    connect(process, &QProcess::readyReadStandardOutput, this, &exiftool_worker::read_output);

    // perl from the search path runs the script; -@ - reads one argument per line from standard
    // input, and everything behind -common_args applies to every -execute.
    process->setProgram(QStringLiteral("perl"));
    process->setArguments({exiftool_script_path(),
                           "-stay_open", "1",
                           "-@", "-",
                           "-common_args",
                           "-charset", "filename=utf8",
                           "-args",
                           "-sort",
                           "-userParam", QString("processOwner=%1").arg(QCoreApplication::applicationName())});

    connect(process, &QProcess::readyReadStandardError, this, [this] {
        // Always read, so that warnings don't pile up in memory when nobody logs them.
        const QByteArray text = process->readAllStandardError().trimmed();
        if (exiftool_log().isDebugEnabled())
            qCDebug(exiftool_log(), "cerr: '%s'", text.constData());
    });
    connect(process, &QProcess::stateChanged, this, [this](QProcess::ProcessState state) {
        if (verbose_enabled && exiftool_log().isDebugEnabled())
            qCDebug(exiftool_log(), "Process changed state to %d.", int(state));
    });
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &exiftool_worker::process_ended);
    kill_timer = new QTimer(this);
    kill_timer->setSingleShot(true);
    connect(kill_timer, &QTimer::timeout, this, [this] {
        if (process->state() == QProcess::NotRunning)
            return;
        qCWarning(exiftool_log(), "%s: ExifTool did not stop on SIGINT; killing it.", Q_FUNC_INFO);
        process->kill();
    });
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this](int code, QProcess::ExitStatus status) {
                if (!verbose_enabled)
                    return;
                qCDebug(exiftool_log(), "Process finshed with code %d (%d).", code, int(status));
                const QString err = QString::fromUtf8(process->readAllStandardError()).trimmed();
                const QString out = QString::fromUtf8(process->readAllStandardOutput()).trimmed();
                // The labels are crossed on purpose: support scripts read them so.
                qCDebug(exiftool_log(), "In stdout: '%s'.", qUtf8Printable(err));
                qCDebug(exiftool_log(), "In stderr: '%s'.", qUtf8Printable(out));
            });
}

exiftool_worker::~exiftool_worker()
{
    shutdown();
    // A deferred delete runs as the thread ends; the facade waits for that end behind Qt's own
    // lock, which ThreadSanitizer can't see.
    ONDO_HANDS_OVER(thread());
}

bool exiftool_worker::event(QEvent* e)
{
    // Queued calls from the asking thread arrive here, with their arguments and the objects
    // made there; a blocking call's result goes back once this returns. Qt's own hand-off is
    // invisible to ThreadSanitizer, so it is marked on both sides.
    ONDO_TAKES_OVER(this);
    const bool handled = QObject::event(e);
    ONDO_HANDS_OVER(this);
    return handled;
}

QByteArray exiftool_worker::gen_execute(int id) const
{
    return "\n-execute" + QByteArray::number(id) + "\n";
}

QByteArray exiftool_worker::gen_marker(int id) const
{
    // With its brace and newline, so that id 1 does not match the output of id 10.
    return "{ready" + QByteArray::number(id) + "}\n";
}

bool exiftool_worker::start()
{
    process->start(QIODevice::ReadWrite);
    const bool started = process->waitForStarted(2000);
    if (!started)
        qCWarning(exiftool_log(), "%s: Could not start exiftool: %s (%d).", Q_FUNC_INFO,
                  qUtf8Printable(process->errorString()), int(process->error()));
    return started;
}

void exiftool_worker::add_task(ondo::exif_response* response, QString operation, QByteArray data, QString file)
{
    exiftool_task task;
    task.operation = operation;
    task.response = response;
    task.id = response ? response->id : -1;
    task.data = data;
    task.file = file;
    task_queue.append(task);
    execute_task();
}

namespace {

// Whether `file` names the file of `state`, unchanged since then: the change time moves with
// every change to a file, and no program can set it back.
bool holds_state(const QString& file, const exif_file_state& state)
{
    struct stat entry {};
    if (::stat(QFile::encodeName(file).constData(), &entry) != 0 || !S_ISREG(entry.st_mode))
        return false;
    const qint64 changed_ns = ns_of(entry.st_ctim);
    return quint64(entry.st_dev) == state.device && quint64(entry.st_ino) == state.inode
        && qint64(entry.st_size) == state.size && changed_ns == state.changed_ns;
}

} // namespace

void exiftool_worker::execute_task()
{
    while (!stuck && in_flight < max_in_flight && in_flight < task_queue.size()) {
        // A task stays queued until its marker has come.
        exiftool_task& task = task_queue[in_flight];
        if (!task.response) {
            // Leaves the worker stuck on purpose: nothing is sent after a task whose asker is gone.
            qCCritical(exiftool_log(), "%s: Current %s task response object was unset!", Q_FUNC_INFO,
                       qUtf8Printable(task.operation));
            stuck = true;
            return;
        }
        if (task.response->checks_state) {
            // Looked at the moment the child can begin it: a file someone changed meanwhile,
            // however briefly, is not written. ExifTool's own condition would cost a read.
            if (in_flight > 0)
                return;
            if (!holds_state(task.file, task.response->state)) {
                exiftool_task refused = task_queue.takeAt(in_flight);
                pending -= 1;
                fail_task(refused, exif_error::changed);
                continue;
            }
        }
        join_reads(in_flight);
        exiftool_task& sent = task_queue[in_flight];
        sent.sent_at_ns = now_ns();
        sent.temporary_existed = !sent.file.isEmpty() && exists_as_anything(temporary_file_of(sent.file));
        struct stat photo {};
        sent.sent_state_known = sent.operation == QLatin1String("write") && !sent.file.isEmpty()
            && ::lstat(QFile::encodeName(sent.file).constData(), &photo) == 0;
        if (sent.sent_state_known) {
            sent.sent_size = qint64(photo.st_size);
            sent.sent_modified_ns = ns_of(photo.st_mtim);
            sent.sent_changed_ns = ns_of(photo.st_ctim);
        }
        QByteArray command = sent.data;
        for (const exiftool_task& other : sent.joined)
            command += other.file.toUtf8() + '\n';
        const WriteResult result = write(QString::fromUtf8(command + gen_execute(sent.id)));
        if (result != ok)
            qCCritical(exiftool_log(), "%s: Failed to write data to exiftool process. result=%d.", Q_FUNC_INFO,
                       int(result));
        if (result == not_running) {
            // The child went away while idle: bring it back and send the same task again shortly.
            // Behind a task in flight its end is on the way, and that sends the rest anew.
            if (in_flight == 0) {
                send_restart();
                QTimer::singleShot(250, this, &exiftool_worker::execute_task);
            }
            return;
        }
        // An incomplete write waits for its marker all the same.
        if (in_flight++ == 0)
            head_started_ns = sent.sent_at_ns;
    }
}

namespace {

// A read's options: its command without the file on its last line; empty for any other task.
QByteArray read_options(const exiftool_task& task)
{
    const QByteArray file_line = task.file.toUtf8() + '\n';
    if (task.operation != QLatin1String("read") || task.alone || task.file.isEmpty() || !task.data.endsWith(file_line))
        return {};
    return task.data.left(task.data.size() - file_line.size());
}

} // namespace

void exiftool_worker::join_reads(int index)
{
    const QByteArray options = read_options(task_queue[index]);
    if (options.isEmpty())
        return;
    while (int(task_queue[index].joined.size()) + 1 < max_files_per_read && index + 1 < task_queue.size()) {
        const exiftool_task& next = task_queue[index + 1];
        // A task whose asker is gone stays in the queue, where it stops the worker as before.
        if (!next.response || read_options(next) != options)
            break;
        task_queue[index].joined.push_back(task_queue.takeAt(index + 1));
    }
}

void exiftool_worker::hand_out_joined_answer(exiftool_task& task, const QByteArray& answer)
{
    // ExifTool opens each file's part of the answer with "======== <file>\n", the file as it was
    // sent. Only ExifTool begins a line so, as it prints a line break inside a value as ".". A file
    // it could not read has no part, and gets an empty answer, as it would alone.
    static const QByteArray opener = QByteArrayLiteral("======== ");
    static const QByteArray next_opener = '\n' + opener;
    const std::vector<exiftool_task*> members = task.members();
    std::vector<QByteArray> names;
    for (const exiftool_task* member : members)
        names.push_back(member->file.toUtf8());
    std::vector<QByteArray> parts(members.size());
    std::vector<bool> given(members.size(), false);
    int at = answer.startsWith(opener) ? 0 : answer.indexOf(next_opener);
    if (at > 0)
        ++at;
    while (at >= 0) {
        const int name_end = answer.indexOf('\n', at);
        if (name_end < 0)
            break;
        const QByteArray name = answer.mid(at + opener.size(), name_end - at - opener.size());
        const int next = answer.indexOf(next_opener, name_end);
        const int end = next < 0 ? answer.size() : next + 1;
        size_t i = 0;
        while (i < members.size() && (given[i] || names[i] != name))
            ++i;
        if (i < members.size()) {
            parts[i] = answer.mid(name_end + 1, end - name_end - 1);
            given[i] = true;
        } else {
            qCWarning(exiftool_log(), "%s: Dropping an answer for '%s', which task %d did not ask for.", Q_FUNC_INFO,
                      name.constData(), task.id);
        }
        at = next < 0 ? -1 : next + 1;
    }
    for (size_t i = 0; i < members.size(); ++i) {
        exif_response* response = members[i]->response.data();
        members[i]->response.clear();
        if (response) {
            response->data = parts[i];
            response->mark_ready();
        }
    }
}

exiftool_worker::WriteResult exiftool_worker::write(const QString& text)
{
    if (process->state() != QProcess::Running) {
        qCWarning(exiftool_log(), "%s: Not writing: Process is not running.", Q_FUNC_INFO);
        return not_running;
    }
    const QByteArray bytes = text.toUtf8();
    if (verbose_enabled)
        qCDebug(exiftool_log(), "%s: Writing '%s' to process.", Q_FUNC_INFO, bytes.constData());

    const qint64 total = bytes.size();
    qint64 written = 0;
    int attempt = 0;
    for (;;) {
        // QProcess takes a whole buffer or nothing, so `written` is 0 here whenever this runs.
        const qint64 result = process->write(bytes.constData() + written, total);
        if (result == -1)
            qCWarning(exiftool_log(), "%s: Failed to write to process: %s (%d).", Q_FUNC_INFO,
                      qUtf8Printable(process->errorString()), int(process->error()));
        else
            written += result;
        if (written >= total || attempt == 10)
            break;
        ++attempt;
    }
    if (written != total) {
        qCCritical(exiftool_log(), "%s: Couldn't write all data. Wrote %d/%d bytes after %d attempts.",
                   Q_FUNC_INFO, int(written), int(total), attempt + 1);
        return incomplete;
    }
    return ok;
}

void exiftool_worker::read_output()
{
    QByteArray chunk(2048, Qt::Uninitialized);
    while (process->bytesAvailable() != 0) {
        const qint64 count = process->read(chunk.data(), chunk.size());
        if (count == -1) {
            qCWarning(exiftool_log(), "%s: Reading process output failed: %s (%d).", Q_FUNC_INFO,
                      qUtf8Printable(process->errorString()), int(process->error()));
            continue;
        }
        if (in_flight == 0) {
            qCWarning(exiftool_log(), "%s: Dropping %d bytes of output that no task waits for.", Q_FUNC_INFO,
                      int(count));
            continue;
        }
        const int before = output_buffer.size();
        output_buffer.append(chunk.constData(), int(count));
        take_answers(before);
    }
}

void exiftool_worker::take_answers(int searched_up_to)
{
    while (in_flight > 0) {
        exiftool_task& head = task_queue.first();
        // The marker counts only on a line of its own: a tag value, file or folder name that ends
        // in "{ready<id>}" ends a line with it too, but never begins one, since every line of an
        // answer begins with "-", a blank or the "========" before a file's name, and ExifTool
        // prints a line break inside a value as ".".
        // Only new bytes can complete it, so the search starts a marker's length in front of
        // them: a marker split across two reads is found, and a long answer isn't searched over
        // and over.
        const QByteArray marker = gen_marker(head.id);
        const QByteArray line = '\n' + marker;
        int at = -1;
        if (output_buffer.startsWith(marker))
            at = 0;
        else if ((at = output_buffer.indexOf(line, qMax(0, searched_up_to - line.size() + 1))) >= 0)
            ++at;
        if (at < 0) {
            if (output_buffer.size() > max_answer_bytes) {
                // The rest of this answer is dropped as it comes, keeping only what could be the
                // beginning of the marker's line.
                if (!head.failed) {
                    qCWarning(exiftool_log(), "%s: The answer for '%s' is larger than %d bytes; the task fails.",
                              Q_FUNC_INFO, qUtf8Printable(head.file), max_answer_bytes);
                    head.failed = true;
                    fail_task(head, exif_error::too_large);
                }
                output_buffer = output_buffer.right(line.size() - 1);
            }
            return;
        }
        // The guard goes before the response is marked ready: from that moment the asker may
        // delete it, and the guard's count must not be touched after that.
        exiftool_task task = task_queue.takeFirst();
        --in_flight;
        pending -= 1 + int(task.joined.size());
        if (!task.joined.empty()) {
            hand_out_joined_answer(task, output_buffer.left(at));
        } else if (exif_response* response = task.response.data()) {
            task.response.clear();
            response->data = output_buffer.left(at);
            response->mark_ready();
        } else if (!task.failed) {
            qCCritical(exiftool_log(), "%s: Current task response object was unset!", Q_FUNC_INFO);
        }
        output_buffer.remove(0, at + marker.size());
        searched_up_to = 0;
        head_started_ns = now_ns();
        // What follows the last marker asked for belongs to no task.
        if (in_flight == 0 && !output_buffer.isEmpty()) {
            qCWarning(exiftool_log(), "%s: Dropping %d bytes of output behind the marker of task %d.", Q_FUNC_INFO,
                      output_buffer.size(), task.id);
            output_buffer.clear();
        }
        execute_task();
    }
}

void exiftool_worker::process_ended(int code, QProcess::ExitStatus status)
{
    kill_timer->stop();
    output_buffer.clear();
    const bool asked = interrupting;
    interrupting = false;
    if (in_flight == 0)
        return;
    // ExifTool begins a task only when it has finished the one before: those written behind the
    // failed one never began, and go to the next child.
    in_flight = 0;
    if (!task_queue.first().joined.empty() && !asked) {
        // Which of the joined files ended the child is unknown: each is read again alone, so that
        // one that ends it again fails by itself.
        exiftool_task task = task_queue.takeFirst();
        std::vector<exiftool_task> again = std::move(task.joined);
        task.joined.clear();
        again.insert(again.begin(), std::move(task));
        for (auto it = again.rbegin(); it != again.rend(); ++it) {
            it->alone = true;
            task_queue.prepend(std::move(*it));
        }
        qCWarning(exiftool_log(), "%s: ExifTool ended in a read of %d files; each is read again alone.", Q_FUNC_INFO,
                  int(again.size()));
        execute_task();
        return;
    }
    exiftool_task task = task_queue.takeFirst();
    pending -= 1 + int(task.joined.size());
    const QString how = status == QProcess::CrashExit ? QString("by signal %1").arg(code)
                                                        : QString("with exit code %1").arg(code);
    qCWarning(exiftool_log(), "%s: ExifTool ended %s while working on '%s' (%s); the task fails.", Q_FUNC_INFO,
              qUtf8Printable(how), qUtf8Printable(task.file), qUtf8Printable(task.operation));
    if (task.operation == QLatin1String("write") && !task.file.isEmpty())
        clean_up_after_write(task);
    fail_task(task, exif_error::ended);
    // The next task starts a new child.
    execute_task();
}

void exiftool_worker::signal_child(int signal)
{
    const qint64 pid = process->processId();
    if (pid > 0 && process->state() != QProcess::NotRunning)
        ::kill(pid_t(pid), signal);
}

void exiftool_worker::interrupt(int busy_for_ms)
{
    if (process->state() == QProcess::NotRunning || in_flight == 0
        || now_ns() - head_started_ns < qint64(busy_for_ms) * 1000000)
        return;
    qCWarning(exiftool_log(), "%s: Stopping ExifTool.", Q_FUNC_INFO);
    // A stopped child acts on nothing until it is continued.
    interrupting = true;
    signal_child(SIGCONT);
    signal_child(SIGINT);
    kill_timer->start(interrupt_grace_ms);
}

void exiftool_worker::drop_unsent()
{
    while (task_queue.size() > in_flight) {
        exiftool_task task = task_queue.takeLast();
        pending -= 1 + int(task.joined.size());
        fail_task(task, exif_error::dropped);
    }
}

bool exiftool_worker::send_restart()
{
    while (process->state() != QProcess::NotRunning) {
        write(close_command);
        if (process->waitForFinished(500))
            break;
        signal_child(SIGCONT);
        signal_child(SIGINT);
        if (!process->waitForFinished(interrupt_grace_ms))
            process->kill();
        process->waitForFinished(1000);
    }
    process->start(restart_open_mode);
    qCDebug(exiftool_log(), "%s: Waiting for exiftool to start.", Q_FUNC_INFO);
    if (!process->waitForStarted(5000))
        qCWarning(exiftool_log(), "%s: Could not start exiftool: %s (%d).", Q_FUNC_INFO,
                  qUtf8Printable(process->errorString()), int(process->error()));
    return process->state() == QProcess::Running;
}

void exiftool_worker::fail_task(exiftool_task& task, exif_error error)
{
    for (exiftool_task* member : task.members()) {
        exif_response* response = member->response.data();
        member->response.clear();
        if (response)
            response->fail(error);
    }
}

bool exiftool_worker::shutdown()
{
    // Reads in flight end with the child rather than go out again.
    interrupting = true;
    // A task in flight gets longer to finish before the child is signalled.
    const int wait = in_flight > 0 ? 1000 : 200;
    const int rounds = in_flight > 0 ? 5 : 25;
    int i = 0;
    if (process->state() != QProcess::NotRunning) {
        do {
            if (write(close_command) != ok)
                qCDebug(exiftool_log(), "%s: Failed to write close command.", Q_FUNC_INFO);
            if (process->waitForFinished(wait)) {
                qCDebug(exiftool_log(), "%s: Process finished on iteration %d", Q_FUNC_INFO, i);
            } else if (i < rounds - 1) {
                // SIGINT, not SIGTERM: ExifTool then finishes a write it is in the middle of.
                qCDebug(exiftool_log(), "%s: Sending interrupt signal to process.", Q_FUNC_INFO);
                signal_child(SIGCONT);
                signal_child(SIGINT);
                ++i;
            } else {
                qCDebug(exiftool_log(), "%s: Sending kill signal to process.", Q_FUNC_INFO);
                process->kill();
                ++i;
            }
        } while (process->state() != QProcess::NotRunning && i < rounds);
    }
    qCDebug(exiftool_log(), "%s: Did %d iterations, state: %d", Q_FUNC_INFO, i, int(process->state()));
    return process->state() == QProcess::NotRunning;
}

void exiftool_worker::verbose(bool value)
{
    verbose_enabled = value;
}

void exiftool_worker::do_ping(bool value)
{
    ping_enabled = value;
}

void exiftool_worker_init()
{
    QMutexLocker lock(&worker_mutex());
    if (!workers.isEmpty())
        return;
    qRegisterMetaType<ondo::exif_response*>("ondo::exif_response*");
    qRegisterMetaType<ondo::exif_error>("ondo::exif_error");

    // One child per core the program may run on, at most four: each takes about 20 MB, and
    // ExifTool itself is the work.
    const int count = pool_size > 0 ? pool_size.load() : qBound(1, usable_cores(), 4);
    for (int i = 0; i < count; ++i) {
        auto* thread = new QThread;
        thread->setObjectName(QStringLiteral("Exiftol IO Worker"));
        thread->start(QThread::InheritPriority);
        auto* worker = new exiftool_worker;
        worker->moveToThread(thread);
        worker_threads << thread;
        workers << worker;

        bool started = false;
        {
            const queued_call_mark mark(worker);
            if (!QMetaObject::invokeMethod(worker, "start", Qt::BlockingQueuedConnection, Q_RETURN_ARG(bool, started)))
                qCWarning(exiftool_log(), "Failed to call start method on exiftool worker");
        }
        // A failed start is retried by the restart path of the first task.
        qCInfo(exiftool_log(), "%s: Worker started: %s (thread=%p).", Q_FUNC_INFO, started ? "Ok" : "Failed",
               static_cast<void*>(thread));
    }

    // Direct, so that the children are stopped on the thread that leaves the main loop.
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, worker_threads.first(),
                     [] { exiftool::shutdown(true); }, Qt::DirectConnection);
}

} // namespace ondo
