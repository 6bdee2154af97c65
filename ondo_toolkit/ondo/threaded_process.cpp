#include "ondo/threaded_process.h"

#include <chrono>
#include <mutex>
#include <thread>

namespace ondo {

template class global_storage<std::string, int>;

void threaded_process(QRect area, std::function<void(QRect)> process, bool split_columns, int core_count)
{
    if (core_count < 1)
        core_count = settings_storage::read("custom_core_count", int(std::thread::hardware_concurrency()));

    std::lock_guard<std::mutex> guard(image_threaded_process_threads_mutex);
    thread_pool<void>& pool = image_threaded_process_threads;
    // Entries without a thread: the pool's size grows, its number of workers doesn't.
    while (int(pool.threads.size()) < core_count)
        pool.threads.push_back(std::make_unique<thread_wait>());

    const int width = area.right() - area.left() + 1;
    const int height = area.bottom() - area.top() + 1;

    const auto strip = [area, split_columns, process](int start, int end) {
        return [=](thread&) {
            const QRect part = split_columns ? QRect(QPoint(start, area.top()), QPoint(end, area.bottom()))
                                             : QRect(QPoint(area.left(), start), QPoint(area.right(), end));
            if (part.left() > part.right() || part.top() > part.bottom())
                return;
            process(part);
        };
    };

    // Both orientations start at the top edge's coordinate, kept as it has always been.
    int cursor = area.top();
    if (core_count != 1) {
        const int step = (split_columns ? width : height) / core_count;
        for (int i = 0; i < core_count - 1; ++i) {
            pool.enqueue(strip(cursor, cursor + step - 1));
            cursor += step;
        }
    }
    pool.enqueue(strip(cursor, split_columns ? area.right() : area.bottom()));

    for (;;) {
        {
            std::lock_guard<std::mutex> queue(pool.mutex);
            if (pool.tasks.empty() && pool.running == 0)
                break;
        }
        std::this_thread::sleep_for(std::chrono::nanoseconds(100000));
    }
}

} // namespace ondo
