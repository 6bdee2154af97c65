#include "desktop_service.h"

#include "processes.h"
#include "window_test.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

// The desktop's open request, on a session bus of the test's own (the suite runs this program
// under dbus-run-session).
class tst_desktop_service : public test_support::window_test {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            QSKIP("no session bus; the suite runs this test under dbus-run-session");
        // Never on a desktop's own bus, where a running copy or other programs own names.
        for (const QString& name : bus.interface()->registeredServiceNames().value())
            if (!name.startsWith(':') && name != "org.freedesktop.DBus")
                QSKIP(qPrintable("the session bus is shared (" + name + " is on it); run under dbus-run-session"));
    }

    // A file manager's call on a connection of its own; the effect is awaited, not the answer. In the
    // folder: a.jpg, "b ü.png" (a URI escapes both), album/c.jpg and album/sub/deep.jpg.
    void open_takes_the_file_open_road()
    {
        QStringList uris{"https://example.org/photo.jpg"};
        for (const QString& item : open_window_beside_album())
            uris << QUrl::fromLocalFile(item).toString();
        QDBusConnection other =
            QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "file manager");
        QDBusMessage call = QDBusMessage::createMethodCall(desktop_service::application_id(),
            desktop_service::object_path(desktop_service::application_id()), "org.freedesktop.Application", "Open");
        call.setArguments({uris, QVariantMap()});
        QVERIFY(other.isConnected());
        other.asyncCall(call);
        QTRY_COMPARE_WITH_TIMEOUT(column_texts(), (QStringList{"a.jpg", "b ü.png", "c.jpg"}), 30000);
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    // The program's own main in a second process: without names it opens its window all the same and
    // leaves the name here; with names it hands them here, relative to its folder, and ends without a
    // window (one would stay).
    void a_second_start()
    {
        open_window_beside_album();
        QString out;
        QVERIFY2(run_copy(out, "1500"), qPrintable(out));
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
        QCOMPARE(out.count("Desktop open requests go to the copy that already runs"), 1);
        QVERIFY2(run_copy(out, "60000", {"a.jpg", "album"}) && !out.contains("visible:"), qPrintable(out));
        QTRY_COMPARE_WITH_TIMEOUT(column_texts(), (QStringList{"a.jpg", "c.jpg"}), 30000);
    }

    // In place of window_test's: the service goes before the window it points to.
    void cleanup()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(desktop_service::application_id());
        bus.unregisterObject(desktop_service::object_path(desktop_service::application_id()));
        qDeleteAll(qApp->findChildren<desktop_service*>());
        close_window();
    }

private:
    // Returns the paths of a.jpg, "b ü.png" and the folder album.
    QStringList open_window_beside_album()
    {
        QDir root(dir->path());
        if (!root.mkpath("album/sub"))
            qFatal("cannot make the album folder");
        for (const char* name : {"a.jpg", "b ü.png", "album/c.jpg", "album/sub/deep.jpg"})
            test_support::make_file(dir->path(), name + QString("|ExifIFD:DateTimeOriginal=#"));
        window = test_support::open_main_window();
        if (!desktop_service::offer(window))
            qWarning("the test could not take the application's name on its bus");
        return {root.filePath("a.jpg"), root.filePath("b ü.png"), root.filePath("album")};
    }

    // The program's own main, in the test's folder: true when it ended by itself without an error.
    bool run_copy(QString& out, const QString& close_after_ms, const QStringList& arguments = {})
    {
        QProcess copy;
        test_support::launch(copy, "tavimo_look", dir->path(), {{"TAVIMO_LOOK_QUIT_AFTER_MS", close_after_ms}}, arguments);
        // This test's own loop answers the copy's call, so it must keep running while the copy waits.
        const bool ended = QTest::qWaitFor([&] { return copy.state() == QProcess::NotRunning; }, 30000);
        out = QString::fromUtf8(copy.readAllStandardOutput());
        return ended && copy.exitStatus() == QProcess::NormalExit && copy.exitCode() == 0;
    }
};

TAVIMO_WINDOW_TEST_MAIN(tst_desktop_service)

#include "tst_desktop_service.moc"
