#include "processes.h"
#include "test_support.h"

#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

// The program under a Wayland compositor: weston's headless backend, where there is no seat and
// every key comes from the driver. It starts, loads a photo, types an offset, fixes, undoes and
// quits, and the photo ends as it began.
class tst_wayland : public QObject {
    Q_OBJECT

private slots:
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

        const QString photo = test_support::photos(dir.path(), 1).first();
        test_support::run(TAVIMO_EXIFTOOL_SCRIPT, {"-q", "-overwrite_original", "-ExifIFD:DateTimeOriginal=2017:06:21 18:30:05", photo});
        const QStringList listing = test_support::listing(photo);
        QProcess program;
        program.setProcessChannelMode(QProcess::MergedChannels);
        test_support::launch(program, "tavimo_look", dir.path(),
                             {{"QT_QPA_PLATFORM", "wayland"}, {"XDG_RUNTIME_DIR", runtime}, {"WAYLAND_DISPLAY", "tavimo-test"},
                              {"TAVIMO_LOOK_FILES", photo}, {"TAVIMO_LOOK_HOURS", "1"}, {"TAVIMO_LOOK_PRESS", "fix"},
                              {"TAVIMO_LOOK_THEN", "undo"}, {"TAVIMO_LOOK_QUIT_AFTER_MS", "5000"}});
        QVERIFY(program.waitForFinished(60000));
        const QString out = QString::fromUtf8(program.readAll());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QVERIFY2(program.exitCode() == 0, qPrintable(out));
        QVERIFY2(out.contains("Fix run ended: 1 written") && out.contains("Undo run ended: 1 restored"), qPrintable(out));
        QCOMPARE(test_support::listing(photo), listing);
    }
};

QTEST_GUILESS_MAIN(tst_wayland)
#include "tst_wayland.moc"
