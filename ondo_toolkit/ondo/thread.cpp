#include "ondo/thread.h"

#include <chrono>
#include <cmath>
#include <limits>

namespace ondo {

namespace {
int next_thread_id()
{
    static std::mutex m;
    static int counter = 0;
    std::lock_guard<std::mutex> guard(m);
    return ++counter;
}
} // namespace

thread::thread() : id(next_thread_id()) {}

thread::thread(std::function<void(thread&)> function) : id(next_thread_id())
{
    finished.exchange(false);
    stop.exchange(false);
    work.swap(function);
    handle = std::make_shared<std::thread>(&thread::do_work, this);
}

thread::~thread()
{
    for (auto& f : on_destroy)
        f();
    for (auto& f : on_destroy_with_thread)
        f(*this);
    stop = true;
    if (handle && handle->joinable())
        handle->join();
}

void thread::do_work()
{
    work(*this);
    {
        // Captured objects die here, on this thread.
        auto done = std::move(work);
        work = nullptr;
    }
    finished = true;
    stop = true;
    for (auto& f : on_finish)
        f();
    for (auto& f : on_finish_with_thread)
        f(*this);
}

thread_wait::~thread_wait()
{
    if (handle && handle->joinable())
        handle->join();
}

thread_pool<void>::thread_pool(int count)
{
    if (count < 1)
        return;
    threads.reserve(count);
    for (int i = 0; i < count; ++i)
        threads.push_back(std::make_unique<thread_wait>([this](thread& self) { loop(self); }));
}

thread_pool<void>::~thread_pool()
{
    // `wake` is not notified: each thread notices `stopping` after its wait of at most a second,
    // and only leaves once the queue is empty.
    stopping = true;
    while (!threads.empty())
        threads.pop_back();
}

void thread_pool<void>::enqueue(std::function<void(thread&)> task)
{
    std::unique_lock<std::mutex> guard(mutex);
    tasks.push_back(std::move(task));
    wake.notify_one();
}

void thread_pool<void>::loop(thread& self)
{
    if (self.stop)
        return;
    for (;;) {
        std::unique_lock<std::mutex> guard(mutex);
        if (!tasks.empty()) {
            ++running;
            auto task = tasks.front();
            tasks.pop_front();
            guard.unlock();
            task(self);
            task = nullptr;
            --running;
        } else {
            guard.unlock();
            if (stopping)
                return;
        }
        guard.lock();
        wake.wait_for(guard, std::chrono::seconds(1), [this] { return !tasks.empty(); });
        guard.unlock();
        if (self.stop)
            return;
    }
}

thread_pool<void> image_threaded_process_threads(4);
std::mutex image_threaded_process_threads_mutex;

void sleep_double(double seconds)
{
    const double whole = std::trunc(seconds);
    if (!(whole >= 1))
        return;
    constexpr auto max_ns = std::numeric_limits<std::int64_t>::max();
    const double ns = whole * 1e9;
    const std::int64_t duration = ns >= double(max_ns) ? max_ns : std::int64_t(ns);
    std::this_thread::sleep_for(std::chrono::nanoseconds(duration));
}

} // namespace ondo
