#include <ondo/language.h>
#include <ondo/message_handler.h>

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <functional>
#include <iostream>
#include <sstream>

#include <sys/resource.h>

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

// This program again as a child, with `vars` set and `removed` unset, run to its end.
void run_again(QProcess& child, const QMap<QString, QString>& vars, const QStringList& removed)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& name : removed)
        env.remove(name);
    for (auto it = vars.begin(); it != vars.end(); ++it)
        env.insert(it.key(), it.value());
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForFinished(30000));
}

} // namespace

// What the toolkit sets up for the process before any window: the message handler and the
// language. The system locale is read once per process, and a fatal message ends it, so those
// cases run this program again as a child.
class tst_application_setup : public QObject {
    Q_OBJECT

private slots:
    void init() { qSetMessagePattern(pattern); }
    void cleanup() { ondo::install_qt_message_handler(false, false); }

    void lines_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("printed");
        QTest::newRow("plain") << "disk full" << true;
        QTest::newRow("libpng's sRGB warning") << "libpng warning: iCCP: known incorrect sRGB profile" << false;
        QTest::newRow("trailing blank") << "libpng warning: iCCP: known incorrect sRGB profile " << true;
    }

    // Warnings go to cout, criticals to cerr, each with its time stamp and without its context.
    void lines()
    {
        QFETCH(QString, message);
        QFETCH(bool, printed);
        ondo::install_qt_message_handler(true, false);
        const written streams = capture([&] {
            QMessageLogger("photo.cpp", 42, "void load()").warning().noquote() << message;
            QMessageLogger("photo.cpp", 42, "void load()").critical().noquote() << message;
        });
        const QString line = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d " + QRegularExpression::escape(message) + "\n$";
        QVERIFY2(printed ? QRegularExpression("^Warning: " + line).match(streams.out).hasMatch()
                         : streams.out.isEmpty(), qPrintable(streams.out));
        QVERIFY2(printed ? QRegularExpression("^Critical: " + line).match(streams.err).hasMatch()
                         : streams.err.isEmpty(), qPrintable(streams.err));
    }

    // A fatal message is printed once and aborts, with a box only where one can be shown: never
    // off the GUI thread, under a plain QCoreApplication, or from QApplication's constructor when
    // the platform can't come up (xcb with no display). A box there would crash the program.
    void fatal_prints_and_aborts_data()
    {
        QTest::addColumn<QString>("child");
        QTest::addColumn<QString>("platform");
        QTest::addColumn<QString>("line");
        QTest::newRow("worker thread") << "worker" << "offscreen" << "^Fatal: .* worker gave up \\(.*worker_body\\(\\)\\)$";
        QTest::newRow("plain core application") << "core" << "offscreen" << "^Fatal: .* core gave up \\(.*core_body\\(\\)\\)$";
        QTest::newRow("no display for the platform") << "platform" << "xcb" << "^Fatal: .* no Qt platform plugin could be initialized";
    }

    void fatal_prints_and_aborts()
    {
        QFETCH(QString, child);
        QFETCH(QString, platform);
        QFETCH(QString, line);
        QProcess started;
        run_again(started, {{"QT_QPA_PLATFORM", platform}, {"TST_FATAL_CHILD", child}}, {"DISPLAY", "WAYLAND_DISPLAY"});
        QCOMPARE(started.exitStatus(), QProcess::CrashExit);
        // On Unix a crashed child's exit code is the signal that ended it: Qt's abort, not a
        // segmentation fault in a box.
        QCOMPARE(started.exitCode(), int(SIGABRT));
        const QString err = QString::fromUtf8(started.readAllStandardError());
        // Qt may warn about its runtime folder before the handler is installed; nothing else may
        // appear but the one fatal line (Qt's own runs on over a few lines).
        const QStringList lines = err.split('\n', Qt::SkipEmptyParts).filter(QRegularExpression("^(?!QStandardPaths:)"));
        QVERIFY2(!lines.isEmpty() && QRegularExpression(line).match(lines.first()).hasMatch(), qPrintable(err));
        QCOMPARE(err.count("Fatal: "), 1);
        if (child != "platform")
            QCOMPARE(lines.size(), 1);
    }

    void language_suffix_data()
    {
        QTest::addColumn<QString>("system_locale");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("expected");
        QTest::newRow("German system") << "de_DE.UTF-8" << "" << "de";
        QTest::newRow("French system: in the table, not offered") << "fr_FR.UTF-8" << "" << "en";
        QTest::newRow("fr set by hand") << "de_DE.UTF-8" << "fr" << "fr";
    }

    // Each case with a settings store of its own.
    void language_suffix()
    {
        QFETCH(QString, system_locale);
        QFETCH(QString, stored);
        QTemporaryDir config;
        const QString store = config.filePath("Velmora/Tavimo.conf");
        if (!stored.isEmpty())
            QSettings(store, QSettings::IniFormat).setValue("lang", stored);
        QProcess child;
        run_again(child, {{"TAVIMO_PRINT_LANGUAGE", "1"}, {"LC_ALL", system_locale}, {"XDG_CONFIG_HOME", config.path()}},
                  {"LANGUAGE"});
        QTEST(QString::fromUtf8(child.readAllStandardOutput()).trimmed(), "expected");
        // The answer is never written back.
        QCOMPARE(QSettings(store, QSettings::IniFormat).value("lang").toString(), stored);
    }
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet("TAVIMO_PRINT_LANGUAGE")) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setOrganizationName("Velmora");
        QCoreApplication::setApplicationName("Tavimo");
        std::cout << ondo::get_language_suffix("lang").toStdString() << std::endl;
        return 0;
    }
    const QByteArray child = qgetenv("TST_FATAL_CHILD");
    if (!child.isEmpty()) {
        // The aborts are expected; no core file for them.
        const rlimit no_core{0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        if (child == "platform") {
            qSetMessagePattern(pattern);
            ondo::install_qt_message_handler(true, false);
            QApplication app(argc, argv); // not returned from: no display for xcb
        } else if (child == "core") {
            QCoreApplication app(argc, argv);
            qSetMessagePattern(pattern);
            ondo::install_qt_message_handler(true, false);
            QMessageLogger(__FILE__, __LINE__, "core_body()").fatal("core gave up");
        } else { // from a thread that is not the GUI thread
            QApplication app(argc, argv);
            qSetMessagePattern(pattern);
            ondo::install_qt_message_handler(true, false);
            QThread* worker = QThread::create([] { QMessageLogger(__FILE__, __LINE__, "worker_body()").fatal("worker gave up"); });
            worker->start();
            worker->wait(); // not returned from: Qt aborts after a fatal message
        }
        return 0;
    }
    QApplication app(argc, argv);
    tst_application_setup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_application_setup.moc"
