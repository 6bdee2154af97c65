#include <ondo/message_handler.h>

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
    void init() { qSetMessagePattern(pattern); }
    void cleanup()
    {
        ondo::log_message_hook = nullptr;
        ondo::install_qt_message_handler(false, false);
    }

    void lines_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("show_context");
        QTest::addColumn<bool>("printed");
        QTest::newRow("without context") << "disk full" << false << true;
        QTest::newRow("libpng's sRGB warning") << "libpng warning: iCCP: known incorrect sRGB profile" << true << false;
        QTest::newRow("trailing blank") << "libpng warning: iCCP: known incorrect sRGB profile " << true << true;
    }

    // Warnings go to cout, criticals to cerr; the hook gets the line without time stamp or context.
    void lines()
    {
        QFETCH(QString, message);
        QFETCH(bool, show_context);
        QFETCH(bool, printed);
        QStringList seen;
        ondo::log_message_hook = [&](const QString& text) { seen << text; };
        ondo::install_qt_message_handler(true, show_context);
        const written streams = capture([&] {
            QMessageLogger("photo.cpp", 42, "void load()").warning().noquote() << message;
            QMessageLogger("photo.cpp", 42, "void load()").critical().noquote() << message;
        });
        const QString time = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d ";
        const QString rest = QRegularExpression::escape(message) + (show_context ? " \\(photo\\.cpp:42, void load\\(\\)\\)" : "") + "\n$";
        QVERIFY2(printed ? QRegularExpression("^Warning: " + time + rest).match(streams.out).hasMatch() : streams.out.isEmpty(), qPrintable(streams.out));
        QVERIFY2(printed ? QRegularExpression("^Critical: " + time + rest).match(streams.err).hasMatch() : streams.err.isEmpty(), qPrintable(streams.err));
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
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("TST_FATAL_CHILD")) { // a fatal message from a thread that is not the GUI thread
        qSetMessagePattern(pattern);
        ondo::install_qt_message_handler(true, false);
        QThread* worker = QThread::create([] { QMessageLogger(__FILE__, __LINE__, "worker_body()").fatal("worker gave up"); });
        worker->start();
        worker->wait(); // not returned from: Qt aborts after a fatal message
    }
    tst_message_handler test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_message_handler.moc"
