// Preloaded into the tests of a ThreadSanitizer build against Qt 6.
//
// Qt 6.4 starts a child with clone(CLONE_VM | CLONE_VFORK | CLONE_PIDFD): the child borrows the
// parent's memory until it calls exec. ThreadSanitizer's clone hook then does the child's
// bookkeeping after a fork in that shared memory: from then on the parent counts as a forked
// child, with checks off on the thread that started the child, and dies at its next thread start.
// Here such a start becomes a plain fork, which the sanitizer follows correctly; the pidfd that Qt
// waits on is opened for it. Every other clone goes on unchanged. Later Qt's don't borrow the
// memory under sanitizers.
#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>

extern "C" int clone(int (*fn)(void*), void* stack, int flags, void* arg, ...) noexcept
{
    va_list rest;
    va_start(rest, arg);
    int* parent_tid = va_arg(rest, int*);
    void* tls = va_arg(rest, void*);
    int* child_tid = va_arg(rest, int*);
    va_end(rest);

    const int borrowed = CLONE_VM | CLONE_VFORK;
    if ((flags & borrowed) != borrowed || (flags & ~(borrowed | CLONE_PIDFD | 0xff)) != 0) {
        using clone_function = int (*)(int (*)(void*), void*, int, void*, ...);
        const auto next = reinterpret_cast<clone_function>(dlsym(RTLD_NEXT, "clone"));
        return next(fn, stack, flags, arg, parent_tid, tls, child_tid);
    }

    const pid_t pid = fork();
    if (pid == 0)
        _exit(fn(arg));
    if (pid > 0 && (flags & CLONE_PIDFD)) {
        // The child may have ended already; a pidfd of an unreaped child still reports that.
        const int pidfd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
        if (pidfd < 0)
            return -1;
        *parent_tid = pidfd;
    }
    return pid;
}
