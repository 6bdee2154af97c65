#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// Starts the program's main as a user would, with a home of its own and a stand-in "perl" first
// on PATH that leaves a mark if anybody ever starts it. The driver closes the window after 1.5 s.
class tst_startup : public QObject {
    Q_OBJECT

private slots:
    void stays_up_until_closed_without_exiftool()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath("bin") && QDir(dir.path()).mkpath("home"));
        QFile perl(dir.filePath("bin/perl"));
        QVERIFY(perl.open(QIODevice::WriteOnly));
        perl.write("#!/bin/sh\ntouch \"$(dirname \"$0\")/../perl_started\"\nexec sleep 30\n");
        perl.close();
        perl.setPermissions(perl.permissions() | QFileDevice::ExeOwner);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("PATH", dir.filePath("bin") + ":" + env.value("PATH"));
        env.insert("HOME", dir.filePath("home"));
        env.insert("XDG_CONFIG_HOME", dir.filePath("home/.config"));
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "1500");
        QProcess program;
        program.setProcessEnvironment(env);
        QElapsedTimer clock;
        clock.start();
        program.start(TAVIMO_BIN_DIR "/tavimo_close_soon", QStringList());

        QVERIFY(!program.waitForFinished(1000));
        QVERIFY(program.waitForFinished(30000));
        QVERIFY(clock.elapsed() >= 1500);
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const QString out = QString::fromUtf8(program.readAllStandardOutput());
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
        QVERIFY(!QFile::exists(dir.filePath("perl_started")));
    }
};

QTEST_GUILESS_MAIN(tst_startup)
#include "tst_startup.moc"
