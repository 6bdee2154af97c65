#pragma once

// Debian's Qt isn't built for ThreadSanitizer, so it can't see that a queued call hands data from
// one thread to another. In builds with it, these marks tell it: everything before
// ONDO_HANDS_OVER(x) on one thread happens before everything after ONDO_TAKES_OVER(x) on the
// other. Elsewhere they compile to nothing.
#if defined(__SANITIZE_THREAD__)
#define ONDO_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ONDO_THREAD_SANITIZER 1
#endif
#endif

#ifdef ONDO_THREAD_SANITIZER
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
extern "C" void __tsan_ignore_thread_begin();
extern "C" void __tsan_ignore_thread_end();
#define ONDO_HANDS_OVER(object) __tsan_release(static_cast<void*>(object))
#define ONDO_TAKES_OVER(object) __tsan_acquire(static_cast<void*>(object))
#else
#define ONDO_HANDS_OVER(object) static_cast<void>(object)
#define ONDO_TAKES_OVER(object) static_cast<void>(object)
#endif

namespace ondo {

// While it lives, this thread's memory accesses go unchecked: for Qt's own copying of a queued
// call, whose memory the receiving thread frees at a moment ThreadSanitizer can't order.
class unchecked_by_thread_sanitizer {
public:
    unchecked_by_thread_sanitizer()
    {
#ifdef ONDO_THREAD_SANITIZER
        __tsan_ignore_thread_begin();
#endif
    }
    ~unchecked_by_thread_sanitizer()
    {
#ifdef ONDO_THREAD_SANITIZER
        __tsan_ignore_thread_end();
#endif
    }
    unchecked_by_thread_sanitizer(const unchecked_by_thread_sanitizer&) = delete;
    unchecked_by_thread_sanitizer& operator=(const unchecked_by_thread_sanitizer&) = delete;
};

// Lives around a blocking queued call into `receiver`, whose event() marks the other side: what
// this thread did before is handed over, and what the receiver did is taken over after. Qt's
// own copying of the call and its arguments, which the receiver's thread frees, is not checked.
class queued_call_mark {
public:
    explicit queued_call_mark(void* receiver) : receiver((ONDO_HANDS_OVER(receiver), receiver)) {}
    ~queued_call_mark() { ONDO_TAKES_OVER(receiver); }
    queued_call_mark(const queued_call_mark&) = delete;
    queued_call_mark& operator=(const queued_call_mark&) = delete;

private:
    void* receiver;
    unchecked_by_thread_sanitizer qt_copies; // made after the hand-over, ended before the take-over
};

} // namespace ondo
