#include "processes.h"
#include "test_support.h"

#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using test_support::child_of;
using test_support::is_running;

class tst_startup : public QObject {
    Q_OBJECT

private slots:
    // The driver closes the window after 1.5 s; with no file open, no ExifTool starts. A start
    // in a proper session logs no warning.
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

    // Without a display and with a stand-in for perl: none of these needs a window or ExifTool.
    void command_line_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exit_code");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::newRow("help") << QStringList{"--help"} << 0 << "[FILE|FOLDER]..." << "";
        QTest::newRow("help among names") << QStringList{"a.jpg", "-h"} << 0 << "--version" << "";
        QTest::newRow("version") << QStringList{"--version"} << 0 << "Tavimo 2.1.2\n" << "";
        QTest::newRow("unknown") << QStringList{"a.jpg", "--frobnicate"} << 2 << "" << "Unknown option 'frobnicate'.";
        QTest::newRow("unknown letter") << QStringList{"-z"} << 2 << "" << "Unknown option 'z'.";
    }

    void command_line()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, out);
        QFETCH(QString, err);
        test_support::fake_perl perl;
        QTemporaryDir dir;
        QProcess program;
        test_support::launch(program, "tavimo", dir.path(), {{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}},
            arguments);
        QVERIFY(program.waitForFinished(30000));
        const QString printed = QString::fromUtf8(program.readAllStandardOutput());
        const QString complained = QString::fromUtf8(program.readAllStandardError());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QTEST(program.exitCode(), "exit_code");
        QVERIFY2(printed.contains(out), qPrintable(printed));
        QVERIFY2(complained.contains(err), qPrintable(complained));
        QVERIFY(perl.starts().isEmpty());
    }

    // A relative name, a folder that holds it and one more, and a name that is nothing: the rows
    // come in once each, ExifTool runs for them, and a box lists the name that isn't there.
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
        QCOMPARE(out.count("row: "), 3);
        QCOMPARE(out.count("row: p000.jpg"), 2);
        QCOMPARE(out.count("row: p001.jpg"), 1);
        QVERIFY2(out.contains("visible: ondo::message_box"), qPrintable(out));
    }

    // With a photo open, so that its ExifTool child runs; a killed program's child ends by itself.
    void ended_from_outside_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGKILL") << int(SIGKILL);
    }

    void ended_from_outside()
    {
        QFETCH(int, signal);
        QTemporaryDir dir;
        QProcess program;
        test_support::launch(program, "tavimo_look", dir.path(), {{"TAVIMO_LOOK_FILES", test_support::photos(dir.path(), 1).first()}});
        qint64 child = 0;
        QTRY_VERIFY_WITH_TIMEOUT((child = child_of(program.processId())) != 0, 30000);
        QTest::qWait(300); // the load's read has come back
        ::kill(pid_t(program.processId()), signal);
        QVERIFY(program.waitForFinished(30000));
        if (signal == SIGKILL) {
            QCOMPARE(program.exitStatus(), QProcess::CrashExit);
        } else {
            QCOMPARE(program.exitStatus(), QProcess::NormalExit);
            QCOMPARE(program.exitCode(), 0);
            const QString out = QString::fromUtf8(program.readAllStandardOutput());
            QVERIFY2(out.contains("Worker shutdown: Ok"), qPrintable(out));
        }
        QTRY_VERIFY_WITH_TIMEOUT(!is_running(child), 10000);
    }

    // SIGTERM in the middle of a fix run: the run writes its last file before the program ends.
    void a_run_ends_before_the_program()
    {
        QTemporaryDir dir;
        const QStringList paths = test_support::photos(dir.path(), 150);
        test_support::run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-q", "-overwrite_original",
            "-ExifIFD:DateTimeOriginal=2017:06:21 18:30:05"} + paths);
        QProcess program;
        test_support::launch(program, "tavimo_look", dir.path(), {{"TAVIMO_LOOK_FILES", paths.join(':')}, {"TAVIMO_LOOK_PRESS", "fix"}});
        // The run has begun once a file carries its new time as its modification time.
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(paths.first()).lastModified().date().year() == 2017, 60000);
        ::kill(pid_t(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const QString times = test_support::run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-s3", "-ExifIFD:DateTimeOriginal"} + paths);
        QCOMPARE(times.count("2017:06:21 19:30:05"), paths.size());
    }
};

QTEST_GUILESS_MAIN(tst_startup)
#include "tst_startup.moc"
