#include <ondo/message_handler.h>

#include <QCoreApplication>
#include <QProcess>
#include <QThread>
#include <QtTest>

#include <functional>
#include <iostream>
#include <sstream>

namespace {

const char* pattern = "%{time hh:mm:ss.zzz} %{if-category}%{category}: %{endif}%{message}";

struct written {
    QString out, err;
};

// What the handler writes to both standard streams while `log` runs.
written capture(const std::function<void()>& log)
{
    std::stringstream out, err;
    std::streambuf* old_out = std::cout.rdbuf(out.rdbuf());
    std::streambuf* old_err = std::cerr.rdbuf(err.rdbuf());
    log();
    std::cout.rdbuf(old_out);
    std::cerr.rdbuf(old_err);
    return {QString::fromStdString(out.str()), QString::fromStdString(err.str())};
}

} // namespace

class tst_message_handler : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        qSetMessagePattern(pattern);
        ondo::install_qt_message_handler(true, false);
    }
    void cleanup()
    {
        ondo::log_message_hook = nullptr;
        ondo::install_qt_message_handler(false, false);
    }

    // In `expected`, "@" stands for the time stamp.
    void lines_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("show_context");
        QTest::addColumn<QString>("expected");
        QTest::newRow("warning goes to cout") << int(QtWarningMsg) << false << "Warning: @ hello";
        QTest::newRow("critical with context") << int(QtCriticalMsg) << true << "Critical: @ hello (photo.cpp:42, void load())";
    }

    void lines()
    {
        QFETCH(int, type);
        QFETCH(bool, show_context);
        QFETCH(QString, expected);
        const bool to_cerr = type == QtCriticalMsg;
        ondo::install_qt_message_handler(true, show_context);
        const written streams = capture([type] {
            const QMessageLogger logger("photo.cpp", 42, "void load()");
            (type == QtWarningMsg ? logger.warning() : logger.critical()).noquote() << "hello";
        });
        const QString text = to_cerr ? streams.err : streams.out;
        QCOMPARE(to_cerr ? streams.out : streams.err, QString());
        const QString time = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d";
        const QRegularExpression line("^" + QRegularExpression::escape(expected).replace("\\@", time) + "\n$");
        QVERIFY2(line.match(text).hasMatch(), qPrintable(text));
    }

    void filter_and_hook_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("printed");
        QTest::newRow("libpng's sRGB warning") << "libpng warning: iCCP: known incorrect sRGB profile" << false;
        QTest::newRow("trailing blank") << "libpng warning: iCCP: known incorrect sRGB profile " << true;
        QTest::newRow("any other") << "disk full" << true;
    }

    // The hook gets the line without time stamp or context; the libpng warning reaches neither.
    void filter_and_hook()
    {
        QFETCH(QString, message);
        QFETCH(bool, printed);
        QStringList seen;
        ondo::log_message_hook = [&](const QString& text) { seen << text; };
        ondo::install_qt_message_handler(true, true);

        const written streams = capture([&] {
            QMessageLogger("photo.cpp", 7, "f()").warning().noquote() << message;
            QMessageLogger("photo.cpp", 8, "f()").critical().noquote() << message;
        });
        QCOMPARE(streams.out.contains(message + " (photo.cpp:7, f())"), printed);
        QCOMPARE(streams.err.contains(message + " (photo.cpp:8, f())"), printed);
        QCOMPARE(seen, printed ? QStringList({"Warning: " + message + "\n", "Critical: " + message + "\n"}) : QStringList());
    }

    void fatal_on_worker_thread_prints_and_aborts()
    {
        QProcess child;
        qputenv("TST_FATAL_CHILD", "1"); // the child inherits it; this process has read it already
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        QVERIFY(child.waitForFinished(20000));
        qunsetenv("TST_FATAL_CHILD");

        QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        const QString err = QString::fromUtf8(child.readAllStandardError());
        // Qt may warn about its runtime folder before the handler is installed; nothing else may appear.
        const QStringList lines = err.split('\n', Qt::SkipEmptyParts).filter(QRegularExpression("^(?!QStandardPaths:)"));
        QCOMPARE(lines.size(), 1);
        QVERIFY2(QRegularExpression("^Fatal: .* worker gave up \\(.*worker_body\\(\\)\\)$").match(lines.first()).hasMatch(),
            qPrintable(err));
        QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()), QString());
    }
};

// Child process: a fatal message from a thread that is not the GUI thread.
static int fatal_child(int argc, char** argv)
{
    QApplication app(argc, argv);
    qSetMessagePattern(pattern);
    ondo::install_qt_message_handler(true, false);
    QThread* worker = QThread::create([] { QMessageLogger(__FILE__, __LINE__, "worker_body()").fatal("worker gave up"); });
    worker->start();
    worker->wait();
    return 0; // not reached: Qt aborts after a fatal message
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet("TST_FATAL_CHILD"))
        return fatal_child(argc, argv);
    QApplication app(argc, argv);
    tst_message_handler test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_message_handler.moc"
