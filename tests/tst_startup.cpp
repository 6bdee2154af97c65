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

namespace {

void launch(QProcess& process, const char* program, const QTemporaryDir& dir, const QMap<QString, QString>& vars)
{
    test_support::launch(process, program, dir.path(), vars);
}

QStringList gray_photos(const QTemporaryDir& dir, int count)
{
    return test_support::photos(dir.path(), count);
}

} // namespace

class tst_startup : public QObject {
    Q_OBJECT

private slots:
    // The driver closes the window after 1.5 s; with no file open, no ExifTool starts.
    void stays_up_until_closed_without_exiftool()
    {
        QTemporaryDir dir;
        QProcess program;
        launch(program, "tavimo_close_soon", dir, {{"TAVIMO_TEST_CLOSE_AFTER_MS", "1500"}});
        QVERIFY(!program.waitForFinished(1000));
        QCOMPARE(child_of(program.processId()), qint64(0));
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const QString out = QString::fromUtf8(program.readAllStandardOutput());
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
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
        launch(program, "tavimo_look", dir, {{"TAVIMO_LOOK_FILES", gray_photos(dir, 1).first()}});
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
        const QStringList paths = gray_photos(dir, 150);
        test_support::run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-q", "-overwrite_original",
            "-ExifIFD:DateTimeOriginal=2017:06:21 18:30:05"} + paths);
        QProcess program;
        launch(program, "tavimo_look", dir, {{"TAVIMO_LOOK_FILES", paths.join(':')}, {"TAVIMO_LOOK_PRESS", "fix"}});
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
