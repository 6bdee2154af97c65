#include "termination_signals.h"

#include <QApplication>
#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace ondo {

#ifdef Q_OS_UNIX
namespace {

int signal_pipe[2] = {-1, -1};

// Only async-signal-safe calls here: the byte wakes the notifier on the GUI thread.
void on_signal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(signal_pipe[0], &byte, 1);
}

} // namespace

void quit_on_termination_signals()
{
    if (signal_pipe[0] != -1 || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signal_pipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signal_pipe[1], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        char byte = 0;
        [[maybe_unused]] const ssize_t ignored = ::read(signal_pipe[1], &byte, 1);
        if (qobject_cast<QApplication*>(QCoreApplication::instance()))
            QApplication::closeAllWindows();
        QCoreApplication::quit();
    });

    struct sigaction action = {};
    action.sa_handler = on_signal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}
#else
void quit_on_termination_signals() {}
#endif

} // namespace ondo
