#pragma once

// Debian's Qt isn't built for ThreadSanitizer, so it can't see that a queued call hands data from
// one thread to another. In builds with it, these two marks tell it: everything before
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
#define ONDO_HANDS_OVER(object) __tsan_release(static_cast<void*>(object))
#define ONDO_TAKES_OVER(object) __tsan_acquire(static_cast<void*>(object))
#else
#define ONDO_HANDS_OVER(object) static_cast<void>(object)
#define ONDO_TAKES_OVER(object) static_cast<void>(object)
#endif
