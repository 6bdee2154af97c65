#include "desktop_service.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTableView>
#include <QtTest>

using test_support::make_tagged_photo;

namespace {

const exif_tag_map recorded{{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}};

QString bus_address() { return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"); }

} // namespace

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

    // In the folder: a.jpg, "b ü.png" (a URI escapes both), album/c.jpg and album/sub/deep.jpg.
    void open_takes_the_file_open_road()
    {
        QStringList uris{"https://example.org/photo.jpg"};
        for (const QString& item : open_window_beside_album())
            uris << QUrl::fromLocalFile(item).toString();
        call_open(uris);
        QTRY_COMPARE_WITH_TIMEOUT(names(), (QStringList{"a.jpg", "b ü.png", "c.jpg"}), 30000);
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    // The program's own main in a second process: it opens its window all the same, logs one
    // line, and the requests still come here.
    void another_copy()
    {
        const QStringList items = open_window_beside_album();

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", dir->filePath("home"));
        env.insert("XDG_CONFIG_HOME", dir->filePath("home/.config"));
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "1500");
        QProcess copy;
        copy.setProcessEnvironment(env);
        copy.start(TAVIMO_BIN_DIR "/tavimo_close_soon", QStringList());
        QVERIFY(copy.waitForFinished(30000));
        QCOMPARE(copy.exitStatus(), QProcess::NormalExit);
        QCOMPARE(copy.exitCode(), 0);
        const QString out = QString::fromUtf8(copy.readAllStandardOutput());
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
        QCOMPARE(out.count("Desktop open requests go to the copy that already runs"), 1);

        call_open({QUrl::fromLocalFile(items.first()).toString()});
        QTRY_COMPARE_WITH_TIMEOUT(names(), QStringList{"a.jpg"}, 30000);
    }

    // A start with names while this copy holds the bus name: the names come here, relative ones
    // read against the new start's folder, and it ends by itself without a window.
    void a_second_start_hands_over_its_names()
    {
        open_window_beside_album();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", dir->filePath("home"));
        env.insert("XDG_CONFIG_HOME", dir->filePath("home/.config"));
        // Long enough to be seen if it opened a window after all.
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "20000");
        QProcess copy;
        copy.setProcessEnvironment(env);
        copy.setWorkingDirectory(dir->path());
        copy.start(TAVIMO_BIN_DIR "/tavimo_close_soon", {"a.jpg", "album"});
        // This test's own loop answers the call, so it must keep running while the copy waits.
        QTRY_VERIFY_WITH_TIMEOUT(copy.state() == QProcess::NotRunning, 15000);
        QCOMPARE(copy.exitStatus(), QProcess::NormalExit);
        QCOMPARE(copy.exitCode(), 0);
        QVERIFY(!copy.readAllStandardOutput().contains("visible:"));
        QTRY_COMPARE_WITH_TIMEOUT(names(), (QStringList{"a.jpg", "c.jpg"}), 30000);
    }

    // In place of window_test's: the service goes before the window it points to.
    void cleanup()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(desktop_service::application_id());
        bus.unregisterObject(desktop_service::object_path(desktop_service::application_id()));
        qDeleteAll(qApp->findChildren<desktop_service*>());
        delete window;
        test_support::forget_files();
    }

private:
    // Returns the paths of a.jpg, "b ü.png" and the folder album.
    QStringList open_window_beside_album()
    {
        QDir root(dir->path());
        if (!root.mkpath("album/sub"))
            qFatal("cannot make the album folder");
        for (const char* name : {"a.jpg", "b ü.png", "album/c.jpg", "album/sub/deep.jpg"})
            make_tagged_photo(dir->path(), name, recorded);
        window = test_support::open_main_window();
        if (!desktop_service::offer(window))
            qWarning("the test could not take the application's name on its bus");
        return {root.filePath("a.jpg"), root.filePath("b ü.png"), root.filePath("album")};
    }

    // Another connection to the bus, as a file manager's would be; the answer is not awaited,
    // the effect is.
    static void call_open(const QStringList& uris)
    {
        QDBusConnection other = QDBusConnection::connectToBus(bus_address(), "file manager");
        QDBusMessage call = QDBusMessage::createMethodCall(desktop_service::application_id(),
            desktop_service::object_path(desktop_service::application_id()), "org.freedesktop.Application", "Open");
        call.setArguments({uris, QVariantMap()});
        QVERIFY(other.isConnected());
        other.asyncCall(call);
    }

    QStringList names() const
    {
        auto* table = window->findChild<QTableView*>("tableView");
        QStringList result;
        for (int row = 0; row < table->model()->rowCount(); ++row)
            result << table->model()->index(row, 0).data().toString();
        result.sort();
        return result;
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_desktop_service test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_desktop_service.moc"
