#include "test_support.h"

#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

// Starts `program` from the build's bin folder, offscreen, with a home of its own in `dir`.
void launch(QProcess& process, const char* program, const QTemporaryDir& dir, const QMap<QString, QString>& vars)
{
    QVERIFY(QDir(dir.path()).mkpath("home"));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("HOME", dir.filePath("home"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("home/.config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    for (auto it = vars.begin(); it != vars.end(); ++it)
        env.insert(it.key(), it.value());
    process.setProcessEnvironment(env);
    process.start(TAVIMO_BIN_DIR "/" + QString(program), QStringList());
    QVERIFY(process.waitForStarted());
}

QStringList gray_photos(const QTemporaryDir& dir, int count)
{
    QImage photo(16, 16, QImage::Format_RGB32);
    photo.fill(Qt::gray);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths << dir.filePath(QString("p%1.jpg").arg(i, 3, 10, QLatin1Char('0')));
        photo.save(paths.last());
    }
    return paths;
}

// The first process whose parent is `parent` and whose command is perl, or 0.
qint64 child_of(qint64 parent)
{
    for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
        QFile stat("/proc/" + entry + "/stat");
        if (!entry.toLongLong() || !stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid ...": the command may hold blanks, so fields count from its ')'.
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (text.contains("(perl)") && fields.value(1).toLongLong() == parent)
            return entry.toLongLong();
    }
    return 0;
}

// Gone, or a zombie waiting for a parent that doesn't reap.
bool is_running(qint64 pid)
{
    QFile stat(QString("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
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
