#include "processes.h"

#include <ondo/language.h>
#include <ondo/message_handler.h>

#include <csignal>
#include <iostream>

#include <sys/resource.h>
#include <sys/stat.h>

using test_support::fetched;

namespace {

const char* pattern = "%{time hh:mm:ss.zzz} %{if-category}%{category}: %{endif}%{message}";
// No bus, so that no copy elsewhere on this machine takes the names.
const std::pair<QString, QString> no_bus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"};

} // namespace

// The process before and around its window: the message handler and the language, which a fatal
// message or the system locale (read once per process) make cases for this program run again as a
// child; the program's start with and without a display, its command line, and a session under a
// Wayland compositor.
class tst_startup : public QObject {
    Q_OBJECT

private slots:
    // Each child first prints warnings to cout and criticals to cerr, each with its time stamp and
    // without its context, but libpng's sRGB warning (unless a trailing blank makes it another text).
    // Then a fatal message is printed once and aborts, with a box only where one can be shown: never
    // off the GUI thread, under a plain QCoreApplication, or from QApplication's constructor when
    // the platform can't come up (xcb with no display). A box there would crash the program.
    void fatal_prints_and_aborts_data()
    {
        test_support::columns<QString, QString, QString>({"child", "platform", "line"});
        QTest::newRow("worker thread") << "worker" << "offscreen" << "^Fatal: .* worker gave up \\(.*worker_body\\(\\)\\)$";
        QTest::newRow("plain core application") << "core" << "offscreen" << "^Fatal: .* core gave up \\(.*core_body\\(\\)\\)$";
        QTest::newRow("no display for the platform") << "platform" << "xcb" << "^Fatal: .* no Qt platform plugin could be initialized";
    }

    void fatal_prints_and_aborts()
    {
        const auto [child, platform, line] = fetched<QString, QString, QString>({"child", "platform", "line"});
        QTemporaryDir dir;
        QProcess started; // this program again; an empty display counts as none
        test_support::launch(started, "tst_startup", dir.path(),
            {{"QT_QPA_PLATFORM", platform}, {"TST_FATAL_CHILD", child}, {"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}});
        QVERIFY(started.waitForFinished(30000));
        QCOMPARE(started.exitStatus(), QProcess::CrashExit);
        // On Unix a crashed child's exit code is the signal that ended it: Qt's abort, not a
        // segmentation fault in a box.
        QCOMPARE(started.exitCode(), int(SIGABRT));
        const QString out = QString::fromUtf8(started.readAllStandardOutput());
        const QString stamp = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d ", srgb = "libpng warning: iCCP: known incorrect sRGB profile ";
        const QString printed = "%1: " + stamp + "disk full\n%1: " + stamp + srgb + "\n";
        QVERIFY2(QRegularExpression("\\A" + printed.arg("Warning")).match(out).hasMatch(), qPrintable(out));
        const QString err = QString::fromUtf8(started.readAllStandardError());
        QVERIFY2(QRegularExpression("\\A" + printed.arg("Critical")).match(err).hasMatch(), qPrintable(err));
        // Qt may warn about its runtime folder before the handler is installed; nothing else may
        // appear but the one fatal line (Qt's own runs on over a few lines).
        const QStringList lines = err.split('\n', Qt::SkipEmptyParts).filter(QRegularExpression("^(?!QStandardPaths:)")).mid(2);
        QVERIFY2(!lines.isEmpty() && QRegularExpression(line).match(lines.first()).hasMatch(), qPrintable(err));
        QCOMPARE(err.count("Fatal: "), 1);
        if (child != "platform")
            QCOMPARE(lines.size(), 1);
    }

    void language_suffix_data()
    {
        test_support::columns<QString, QString, QString>({"system_locale", "stored", "expected"});
        QTest::newRow("German system") << "de_DE.UTF-8" << "" << "de";
        QTest::newRow("French system: in the table, not offered") << "fr_FR.UTF-8" << "" << "en";
        QTest::newRow("fr set by hand") << "de_DE.UTF-8" << "fr" << "fr";
    }

    void language_suffix()
    {
        const auto [system_locale, stored] = fetched<QString, QString>({"system_locale", "stored"});
        QTemporaryDir config;
        const QString store = config.filePath("Velmora/Tavimo.conf");
        if (!stored.isEmpty())
            QSettings(store, QSettings::IniFormat).setValue("lang", stored);
        QProcess child;
        test_support::launch(child, "tst_startup", config.path(), {{"TAVIMO_PRINT_LANGUAGE", "1"},
            {"LC_ALL", system_locale}, {"LANGUAGE", ""}, {"XDG_CONFIG_HOME", config.path()}});
        QVERIFY(child.waitForFinished(30000));
        QTEST(QString::fromUtf8(child.readAllStandardOutput()).trimmed(), "expected");
        // The answer is never written back.
        QCOMPARE(QSettings(store, QSettings::IniFormat).value("lang").toString(), stored);
    }

    // A shell with no display (`platform` alone set): the command line is read first and needs none; then
    // the program says so in its language and ends before Qt looks for a display, which would abort.
    // Offscreen, the window stays up, quiet, until closed, and with no file open no ExifTool starts.
    void without_a_display_data()
    {
        // out: a part of it
        test_support::columns<QString, QString, QStringList, QString, int, QString, QString>(
            {"program", "platform", "arguments", "lang", "exit_code", "out", "err"});
        auto row = [](const char* name, const char* program, const char* platform, const QStringList& arguments,
                      const char* lang, int exit_code, const char* out, const QString& err) {
            QTest::newRow(name) << program << platform << arguments << lang << exit_code << out << err;
        };
        const QString wrong = "tavimo: Unknown option '%1'.\nTry 'tavimo --help' for the options.\n";
        row("help", "tavimo", "xcb", {"--help"}, "en", 0, "[FILE|FOLDER]...", "");
        row("help among names", "tavimo", "xcb", {"a.jpg", "-h"}, "en", 0, "--version", "");
        row("version", "tavimo", "xcb", {"--version"}, "en", 0, "Tavimo 2.1.2\n", "");
        row("unknown", "tavimo", "xcb", {"a.jpg", "--frobnicate"}, "en", 2, "", wrong.arg("frobnicate"));
        row("unknown letter", "tavimo", "xcb", {"-z"}, "en", 2, "", wrong.arg("z"));
        const QString english = "Tavimo needs a graphical display: none found (DISPLAY and WAYLAND_DISPLAY are unset).\n";
        row("nothing set", "tavimo", "", {}, "en", 1, "", english);
        row("a file to open", "tavimo", "", {"a.jpg"}, "en", 1, "", english);
        row("xcb named", "tavimo", "xcb", {}, "en", 1, "", english);
        row("wayland, then xcb", "tavimo", "wayland;xcb", {}, "en", 1, "", english);
        row("xcb on the command line", "tavimo", "offscreen", {"-platform", "xcb"}, "en", 1, "", english);
        row("German", "tavimo", "", {}, "de", 1, "",
            "Tavimo benötigt eine grafische Anzeige: keine gefunden (DISPLAY und WAYLAND_DISPLAY sind nicht gesetzt).\n");
        const char* window = "visible: MainWindow 800x700";
        row("offscreen named", "tavimo_look", "offscreen", {}, "en", 0, window, "");
        row("offscreen on the command line", "tavimo_look", "", {"-platform", "offscreen"}, "en", 0, window, "");
        // Two p000.jpg show their folders (the test's own is named tst_startup-XXXXXX); a name that is
        // nothing is told in a box.
        row("a relative name, a folder and a name that is nothing", "tavimo_look", "offscreen",
            {"p000.jpg", "album", "nothing here.jpg"}, "en", 0, "visible: ondo::message_box|row: album/p000.jpg|"
            "row: %dir/p000.jpg|row: p001.jpg", "");
    }

    void without_a_display()
    {
        const auto [program, platform, lang] = fetched<QString, QString, QString>({"program", "platform", "lang"});
        test_support::fake_perl perl;
        QTemporaryDir dir;
        QSettings(dir.filePath("home/.config/Velmora/Tavimo.conf"), QSettings::IniFormat).setValue("lang", lang);
        const QStringList arguments = fetched<QStringList>("arguments");
        if (arguments.contains("album")) {
            QVERIFY(QDir(dir.path()).mkdir("album"));
            test_support::photos(dir.path(), 1);
            test_support::photos(dir.filePath("album"), 2);
        }
        const QString runtime = dir.filePath("runtime");
        QVERIFY(QDir().mkpath(runtime) && ::chmod(QFile::encodeName(runtime).constData(), 0700) == 0);
        // Empty counts as unset, for the program and for Qt.
        QProcess started;
        test_support::launch(started, program, dir.path(), {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""},
            {"QT_QPA_PLATFORM", platform}, {"XDG_RUNTIME_DIR", runtime}, {"TAVIMO_LOOK_QUIT_AFTER_MS", "3000"},
            no_bus}, arguments);
        QVERIFY(started.waitForFinished(30000));

        QCOMPARE(started.exitStatus(), QProcess::NormalExit);
        QTEST(started.exitCode(), "exit_code");
        const QString printed = QString::fromUtf8(started.readAllStandardOutput());
        // No warning but the offscreen platform's own when a box shows.
        const QRegularExpression warning("^Warning: (?!\\S+ This plugin does not support propagateSizeHints)",
                                         QRegularExpression::MultilineOption);
        for (const QString& part : fetched<QString>("out").replace("%dir", QFileInfo(dir.path()).fileName()).split('|'))
            QVERIFY2(printed.contains(part) && !printed.contains(warning), qPrintable(part + "\n" + printed));
        QTEST(QString::fromUtf8(started.readAllStandardError()), "err");
        QCOMPARE(perl.starts().isEmpty(), !arguments.contains("album"));
    }

    // Weston's headless backend has no seat: every key comes from the driver. The program loads a photo,
    // types an offset, fixes, undoes and quits, and the photo ends as it began.
    void a_session_under_a_headless_compositor()
    {
        const QString weston = QStandardPaths::findExecutable("weston");
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        const QString plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath);
#else
        const QString plugins = QLibraryInfo::location(QLibraryInfo::PluginsPath);
#endif
        const QString plugin = plugins + "/platforms/libqwayland-generic.so";
        if (weston.isEmpty() || !QFileInfo::exists(plugin))
            QSKIP("weston or Qt's Wayland platform plugin is not installed");
        QTemporaryDir dir;
        const QString runtime = dir.filePath("runtime");
        QVERIFY(QDir().mkpath(runtime) && ::chmod(QFile::encodeName(runtime).constData(), 0700) == 0);
        QProcess compositor;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_RUNTIME_DIR", runtime);
        compositor.setProcessEnvironment(env);
        compositor.start(weston, {"--backend=headless-backend.so", "--socket=tavimo-test", "--idle-time=0"});
        QVERIFY(compositor.waitForStarted());
        const auto stop = qScopeGuard([&compositor] {
            compositor.terminate();
            if (!compositor.waitForFinished(5000))
                compositor.kill();
        });
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(runtime + "/tavimo-test"), 10000);

        const QString photo = test_support::make_file(dir.path(), "p.jpg|ExifIFD:DateTimeOriginal=#");
        const QStringList listing = test_support::listing(photo);
        QProcess program;
        program.setProcessChannelMode(QProcess::MergedChannels);
        test_support::launch(program, "tavimo_look", dir.path(),
                             {{"QT_QPA_PLATFORM", "wayland"}, {"XDG_RUNTIME_DIR", runtime}, {"WAYLAND_DISPLAY", "tavimo-test"},
                              {"TAVIMO_LOOK_FILES", photo}, {"TAVIMO_LOOK_HOURS", "1"}, {"TAVIMO_LOOK_PRESS", "fix"},
                              {"TAVIMO_LOOK_THEN", "undo"}, {"TAVIMO_LOOK_QUIT_AFTER_MS", "5000"}});
        QVERIFY(program.waitForFinished(60000));
        const QString out = QString::fromUtf8(program.readAll());
        const bool ended = program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
        QVERIFY2(ended && out.contains("Fix run ended: 1 written") && out.contains("Undo run ended: 1 restored"),
                 qPrintable(out));
        QCOMPARE(test_support::listing(photo), listing);
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
        qSetMessagePattern(pattern);
        ondo::install_qt_message_handler(true, false);
        for (const char* text : {"disk full", "libpng warning: iCCP: known incorrect sRGB profile",
                 "libpng warning: iCCP: known incorrect sRGB profile "}) {
            QMessageLogger("photo.cpp", 42, "void load()").warning().noquote() << text;
            QMessageLogger("photo.cpp", 42, "void load()").critical().noquote() << text;
        }
        if (child == "platform") {
            QApplication app(argc, argv); // not returned from: no display for xcb
        } else if (child == "core") {
            QCoreApplication app(argc, argv);
            QMessageLogger(__FILE__, __LINE__, "core_body()").fatal("core gave up");
        } else { // from a thread that is not the GUI thread
            QApplication app(argc, argv);
            QThread* worker = QThread::create([] { QMessageLogger(__FILE__, __LINE__, "worker_body()").fatal("worker gave up"); });
            worker->start();
            worker->wait(); // not returned from: Qt aborts after a fatal message
        }
        return 0;
    }
    QCoreApplication app(argc, argv);
    tst_startup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
