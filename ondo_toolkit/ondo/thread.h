#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ondo {

// A std::thread with hook lists. A default-constructed thread runs nothing; one constructed
// with a function starts it at once and throws std::system_error if the system refuses.
class thread {
public:
    thread();
    explicit thread(std::function<void(thread&)> function);
    ~thread();
    thread(const thread&) = delete;
    thread& operator=(const thread&) = delete;

    void do_work();

    std::shared_ptr<std::thread> handle;
    int id;
    std::atomic<bool> finished{true};
    std::atomic<bool> stop{false};
    std::vector<std::function<void()>> on_destroy;
    std::vector<std::function<void(thread&)>> on_destroy_with_thread;
    std::vector<std::function<void()>> on_finish;
    std::vector<std::function<void(thread&)>> on_finish_with_thread;
    std::function<void(thread&)> work;
};

// Joins before the base destructor runs, so its work ends without `stop` being set.
class thread_wait : public thread {
public:
    using thread::thread;
    virtual ~thread_wait();
};

template <typename Result>
class thread_pool;

// Threads sharing one task queue. Each idle thread wakes once a second; the destructor lets
// the threads drain the queue before they leave.
template <>
class thread_pool<void> {
public:
    explicit thread_pool(int count);
    ~thread_pool();
    thread_pool(const thread_pool&) = delete;
    thread_pool& operator=(const thread_pool&) = delete;

    void enqueue(std::function<void(thread&)> task);

    std::vector<std::unique_ptr<thread_wait>> threads;
    std::deque<std::function<void(thread&)>> tasks;
    std::mutex mutex;
    std::atomic<bool> stopping{false};
    std::condition_variable wake;
    std::atomic<std::int64_t> running{0};

private:
    void loop(thread& self);
};

// Process-wide table with a lock, for settings that several threads read.
template <typename Key, typename Value, typename Map = std::map<Key, Value>>
class global_storage {
public:
    static Value read(const Key& key, const Value& fallback)
    {
        std::lock_guard<std::mutex> guard(lock());
        auto found = data().find(key);
        return found == data().end() ? fallback : found->second;
    }
    static void write(const Key& key, const Value& value)
    {
        std::lock_guard<std::mutex> guard(lock());
        data()[key] = value;
    }
    static std::mutex& lock()
    {
        static std::mutex m;
        return m;
    }
    static Map& data()
    {
        static Map m;
        return m;
    }
};

extern thread_pool<void> image_threaded_process_threads;
extern std::mutex image_threaded_process_threads_mutex;

// Sleeps for the whole seconds of `seconds`; the fraction is dropped.
void sleep_double(double seconds);

} // namespace ondo
