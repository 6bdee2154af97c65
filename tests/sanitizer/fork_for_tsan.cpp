// Preloaded into the tests of a ThreadSanitizer build against Qt 6. Qt 6.4 starts a child with
// clone(CLONE_VM | CLONE_VFORK), borrowing the parent's memory, where the sanitizer's bookkeeping
// then marks the parent a forked child that dies at its next thread start. Such a start becomes a
// plain fork here, with the pidfd Qt waits on; every other clone goes on unchanged.
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
