#include "exif_response.h"

#include "sanitizer.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTimer>

namespace ondo {

exif_response::exif_response() : QObject(nullptr) {}

exif_response::~exif_response() = default;

// May run on the worker thread; the timer lives on the asking thread, so its stop is queued then.
void exif_response::stop_timer()
{
    if (QTimer* timer = timeout_timer.load(std::memory_order_acquire)) {
        const unchecked_by_thread_sanitizer qt_copies;
        QMetaObject::invokeMethod(timer, "stop", Qt::AutoConnection);
    }
}

void exif_response::mark_ready()
{
    stop_timer();
    if (aborted_flag.load(std::memory_order_acquire))
        return;
    QAbstractEventDispatcher* waiter = QAbstractEventDispatcher::instance(thread());
    emit ready(this);
    emit finished();
    // The flag goes last: once it is set the asker may delete this object at any moment.
    ready_flag.store(true, std::memory_order_release);
    wake(waiter);
}

void exif_response::mark_error(exif_error e)
{
    record_error(e, then::clear_ready);
}

void exif_response::record_error(exif_error e, then change)
{
    stop_timer();
    if (aborted_flag.load(std::memory_order_acquire))
        return;
    QAbstractEventDispatcher* waiter = QAbstractEventDispatcher::instance(thread());
    error_code = e;
    emit error(e);
    emit finished();
    // Last, as in mark_ready: once the wait has ended the asker may delete this object.
    if (change == then::clear_ready)
        ready_flag.store(false, std::memory_order_release);
    else if (change == then::end_wait)
        aborted_flag.store(true, std::memory_order_release);
    wake(waiter);
}

// await() sleeps in its thread's event loop between checks; a changed flag must end that sleep.
void exif_response::wake(QAbstractEventDispatcher* waiter)
{
    if (waiter)
        waiter->wakeUp();
}

void exif_response::timeout()
{
    if (ready_flag.load(std::memory_order_acquire) && !aborted_flag.load(std::memory_order_acquire))
        return;
    // The ready mark stays: the worker may set it between the check above and here, and
    // clearing it then would leave await() waiting for an answer that has already come.
    record_error(exif_error::timeout, then::keep_flags);
}

bool exif_response::is_ready() const
{
    return ready_flag.load(std::memory_order_acquire) && !aborted_flag.load(std::memory_order_acquire);
}

exif_error exif_response::get_error() const
{
    return error_code;
}

QByteArray exif_response::get_data() const
{
    return data;
}

void exif_response::await_async(int ms)
{
    if (timeout_timer.load(std::memory_order_acquire))
        return;
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &exif_response::timeout);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    timeout_timer.store(timer, std::memory_order_release);
    timer->start(ms);
}

bool exif_response::await(int ms)
{
    await_async(ms);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    // A passed time limit only records exif_error::timeout: mark_error leaves both flags so
    // that this loop goes on until the marker comes, however late. Between checks the thread
    // sleeps in its event loop, so painting and timers go on, user input waits, and no core is
    // spent spinning while ExifTool works; the worker wakes it when a flag changes.
    for (;;) {
        const bool aborted = aborted_flag.load(std::memory_order_acquire);
        const bool ready = ready_flag.load(std::memory_order_acquire);
        if (ready && !aborted)
            return true;
        if (aborted) {
            mark_error(exif_error::aborted);
            return false;
        }
        const bool overdue = error_code == exif_error::timeout;
        QCoreApplication::processEvents(overdue ? QEventLoop::WaitForMoreEvents
                                                : QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
    }
}

void exif_response::abort(exif_error e)
{
    mark_error(e == exif_error::none ? exif_error::aborted : e);
}

void exif_response::fail(exif_error e)
{
    record_error(e, then::end_wait);
}

} // namespace ondo
