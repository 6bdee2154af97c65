#include "ondo/message_handler.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QMutex>
#include <QThread>

#include <iostream>

namespace ondo {

std::function<void(const QString&)> log_message_hook;

namespace {

bool show_message_context = false;

// The mutex outlives most of static destruction, and once it is gone writers go on unlocked:
// a message printed from an exit handler must still appear and must not crash.
struct stream_mutex_holder {
    QMutex mutex;
    ~stream_mutex_holder() { destroyed = true; }
    static inline bool destroyed = false;
};

QMutex* message_stream_mutex()
{
    static stream_mutex_holder holder; // thread-safe create-once
    return stream_mutex_holder::destroyed ? nullptr : &holder.mutex;
}

struct level {
    const char* prefix;
    std::ostream* stream;
};

bool level_for(QtMsgType type, level& out)
{
    // Warnings go to standard output with debug and info on purpose; only the severe levels
    // use standard error.
    switch (type) {
    case QtDebugMsg: out = {"Debug: ", &std::cout}; return true;
    case QtInfoMsg: out = {"Info: ", &std::cout}; return true;
    case QtWarningMsg: out = {"Warning: ", &std::cout}; return true;
    case QtCriticalMsg: out = {"Critical: ", &std::cerr}; return true;
    case QtFatalMsg: out = {"Fatal: ", &std::cerr}; return true;
    }
    return false;
}

// A box needs a widget application whose platform has come up, on its own thread. Qt names the
// platform only once it is running: a fatal message from QApplication's constructor (no display
// to connect to) comes before that, and a box then would crash the program.
bool can_show_a_box()
{
    QCoreApplication* app = QCoreApplication::instance();
    return qobject_cast<QApplication*>(app) && !QGuiApplication::platformName().isEmpty()
        && QThread::currentThread() == app->thread();
}

void message_handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message == QLatin1String("libpng warning: iCCP: known incorrect sRGB profile"))
        return;

    std::string line = qFormatLogMessage(type, context, message).toUtf8().toStdString();
    if ((type == QtFatalMsg || show_message_context) && context.file && context.function) {
        line += " (";
        line += context.file;
        line += ":";
        line += std::to_string(context.line);
        line += ", ";
        line += context.function;
        line += ")";
    }

    level lv{};
    if (!level_for(type, lv))
        return;

    if (log_message_hook)
        log_message_hook(QString::fromLatin1(lv.prefix) + message + QLatin1Char('\n'));

    {
        QMutex* mutex = message_stream_mutex();
        if (mutex)
            mutex->lock();
        *lv.stream << lv.prefix << line << std::endl;
        lv.stream->flush();
        if (mutex)
            mutex->unlock();
    }

    if (type == QtFatalMsg && can_show_a_box()) {
        QMessageBox::critical(nullptr, QObject::tr("Fatal error"),
            QObject::tr("%1 encountered a fatal error and must be terminated:\n%2")
                .arg(QGuiApplication::applicationDisplayName(), message),
            QMessageBox::Ok, QMessageBox::NoButton);
    }
}

} // namespace

void install_qt_message_handler(bool install, bool show_context)
{
    show_message_context = show_context;
    qInstallMessageHandler(install ? message_handler : nullptr);
}

exception::exception(const std::string& message) : message(message)
{
    std::cerr << message << std::endl;
}

const char* exception::what() const noexcept { return message.c_str(); }

} // namespace ondo
