#include "processes.h"
#include "test_support.h"

#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using test_support::child_of;
using test_support::is_running;

class tst_startup : public QObject {
    Q_OBJECT

private slots:
    // The driver closes the window after 1.5 s; with no file open, no ExifTool starts.
    void stays_up_until_closed_without_exiftool()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("runtime"));
        QFile(dir.filePath("runtime")).setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QProcess program;
        test_support::launch(program, "tavimo_close_soon", dir.path(),
            {{"TAVIMO_TEST_CLOSE_AFTER_MS", "1500"}, {"XDG_RUNTIME_DIR", dir.filePath("runtime")}});
        QVERIFY(!program.waitForFinished(1000));
        QCOMPARE(child_of(program.processId()), qint64(0));
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const QString out = QString::fromUtf8(program.readAllStandardOutput());
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
        const QString log = out + QString::fromUtf8(program.readAllStandardError());
        QVERIFY2(!log.contains("Warning:") && !log.contains("Critical:"), qPrintable(log));
    }

    // A shell with no display (`platform` alone set): the command line is read first and needs none; then
    // the program says so in its language and ends before Qt looks for a display, which would abort.
    void without_a_display_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("platform");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("lang");
        QTest::addColumn<int>("exit_code");
        QTest::addColumn<QString>("out"); // a part of it
        QTest::addColumn<QString>("err");
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
        row("offscreen named", "tavimo_close_soon", "offscreen", {}, "en", 0, "", "");
        row("offscreen on the command line", "tavimo_close_soon", "", {"-platform", "offscreen"}, "en", 0, "", "");
    }

    void without_a_display()
    {
        QFETCH(QString, program);
        QFETCH(QString, platform);
        QFETCH(QStringList, arguments);
        QFETCH(QString, lang);
        QFETCH(QString, out);
        test_support::fake_perl perl;
        QTemporaryDir dir;
        QSettings(dir.filePath("home/.config/Velmora/Tavimo.conf"), QSettings::IniFormat).setValue("lang", lang);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(name);
        if (!platform.isEmpty())
            env.insert("QT_QPA_PLATFORM", platform);
        env.insert("HOME", dir.filePath("home"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("home/.config"));
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "300");
        // No bus, so that no copy elsewhere on this machine takes the names.
        env.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        QProcess started;
        started.setProcessEnvironment(env);
        started.setWorkingDirectory(dir.path());
        started.start(TAVIMO_BIN_DIR "/" + program, arguments);
        QVERIFY(started.waitForFinished(30000));

        QCOMPARE(started.exitStatus(), QProcess::NormalExit);
        QTEST(started.exitCode(), "exit_code");
        const QString printed = QString::fromUtf8(started.readAllStandardOutput());
        QVERIFY2(printed.contains(out), qPrintable(printed));
        QTEST(QString::fromUtf8(started.readAllStandardError()), "err");
        QVERIFY(perl.starts().isEmpty());
    }

    // A relative name, a folder that holds it and one more, and a name that is nothing.
    void names_on_the_command_line()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("album"));
        test_support::photos(dir.path(), 1);
        test_support::photos(dir.filePath("album"), 2);
        QProcess program;
        // No bus, so that no copy elsewhere on this machine takes the names.
        test_support::launch(program, "tavimo_close_soon", dir.path(),
            {{"TAVIMO_TEST_CLOSE_AFTER_MS", "5000"}, {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"}},
            {"p000.jpg", "album", "nothing here.jpg"});
        QTRY_VERIFY_WITH_TIMEOUT(child_of(program.processId()) != 0, 30000);
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitCode(), 0);
        const QString out = QString::fromUtf8(program.readAllStandardOutput());
        // The two p000.jpg show their folders.
        QCOMPARE(out.count("row: "), 3);
        QCOMPARE(out.count("row: album/p000.jpg"), 1);
        QCOMPARE(out.count("row: " + QFileInfo(dir.path()).fileName() + "/p000.jpg"), 1);
        QCOMPARE(out.count("row: p001.jpg"), 1);
        QVERIFY2(out.contains("visible: ondo::message_box"), qPrintable(out));
    }

    // SIGTERM mid-run: the run writes its last file, and the program stops ExifTool the orderly way.
    void a_run_ends_before_the_program()
    {
        QTemporaryDir dir;
        const QStringList paths = test_support::photos(dir.path(), 150);
        test_support::run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-q", "-overwrite_original",
            "-ExifIFD:DateTimeOriginal=2017:06:21 18:30:05"} + paths);
        QProcess program;
        test_support::launch(program, "tavimo_look", dir.path(), {{"TAVIMO_LOOK_FILES", paths.join(':')}, {"TAVIMO_LOOK_PRESS", "fix"}});
        qint64 child = 0;
        QTRY_VERIFY_WITH_TIMEOUT((child = child_of(program.processId())) != 0, 30000);
        // The run has begun once a file carries its new time as its modification time.
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(paths.first()).lastModified().date().year() == 2017, 60000);
        ::kill(pid_t(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const QString out = QString::fromUtf8(program.readAllStandardOutput());
        QVERIFY2(out.contains("Worker shutdown: Ok"), qPrintable(out.right(2000)));
        QTRY_VERIFY_WITH_TIMEOUT(!is_running(child), 10000);
        const QString times = test_support::run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-s3", "-ExifIFD:DateTimeOriginal"} + paths);
        QCOMPARE(times.count("2017:06:21 19:30:05"), paths.size());
    }
};

QTEST_GUILESS_MAIN(tst_startup)
#include "tst_startup.moc"
