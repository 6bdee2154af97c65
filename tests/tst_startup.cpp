#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// Starts the program as a user would, with a stand-in "perl" first on PATH that leaves a mark
// if anybody ever starts it.
class tst_startup : public QObject {
    Q_OBJECT

private slots:
    void init();
    void stays_up_until_its_window_closes();
    void closing_the_window_exits_zero_without_exiftool();

private:
    QProcessEnvironment environment() const;
    std::unique_ptr<QTemporaryDir> dir;
};

void tst_startup::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
    QDir(dir->path()).mkdir("bin");
    QDir(dir->path()).mkdir("home");
    const QString perl = dir->filePath("bin/perl");
    QFile script(perl);
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\ntouch \"$(dirname \"$0\")/../perl_started\"\nexec sleep 30\n");
    script.close();
    script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
}

QProcessEnvironment tst_startup::environment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("PATH", dir->filePath("bin") + ":" + env.value("PATH"));
    env.insert("HOME", dir->filePath("home")); // a settings store of its own
    env.insert("XDG_CONFIG_HOME", dir->filePath("home/.config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    return env;
}

void tst_startup::stays_up_until_its_window_closes()
{
    QProcess program;
    program.setProcessEnvironment(environment());
    program.start(TAVIMO_BIN_DIR "/tavimo", QStringList());
    QVERIFY(program.waitForStarted());
    QVERIFY(!program.waitForFinished(2000));
    QCOMPARE(program.state(), QProcess::Running);
    program.kill();
    program.waitForFinished();
    QVERIFY(!QFile::exists(dir->filePath("perl_started")));
}

void tst_startup::closing_the_window_exits_zero_without_exiftool()
{
    QProcess program;
    QProcessEnvironment env = environment();
    env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "1500");
    program.setProcessEnvironment(env);
    QElapsedTimer clock;
    clock.start();
    program.start(TAVIMO_BIN_DIR "/tavimo_close_soon", QStringList());
    QVERIFY(program.waitForFinished(30000));

    QVERIFY(clock.elapsed() >= 1500);
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    const QString out = QString::fromUtf8(program.readAllStandardOutput());
    QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
    QVERIFY(!QFile::exists(dir->filePath("perl_started")));
}

QTEST_GUILESS_MAIN(tst_startup)
#include "tst_startup.moc"
