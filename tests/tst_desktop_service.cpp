#include "desktop_service.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool_data.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QMimeDatabase>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTableView>
#include <QtTest>

using test_support::make_tagged_photo;

namespace {

const exif_tag_map recorded{{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}};

QString bus_address() { return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"); }

} // namespace

// The desktop's open request, on a session bus of the test's own (the suite runs this program
// under dbus-run-session): files and folders reach the table by the road of a system open
// event, a second copy leaves the name to the first, and a request that starts the program
// waits for its window.
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
    void open_takes_the_file_open_road_data()
    {
        QTest::addColumn<QString>("caller");
        QTest::newRow("a call on the bus") << "bus";
        QTest::newRow("gapplication launch, the entry's Exec line") << "gapplication";
    }

    void open_takes_the_file_open_road()
    {
        QFETCH(QString, caller);
        const QStringList items = make_album();
        open_window();

        if (caller == "bus") {
            QStringList uris;
            for (const QString& item : items)
                uris << QUrl::fromLocalFile(item).toString();
            uris << "https://example.org/photo.jpg";
            call_from_outside("Open", {uris, QVariantMap()});
        } else {
            if (QStandardPaths::findExecutable("gapplication").isEmpty())
                QSKIP("gapplication is not installed (libglib2.0-bin)");
            QProcess launch;
            launch.start("gapplication", QStringList{"launch", desktop_service::application_id()} + items);
            // It waits for the answer, which comes from this test's event loop.
            QTRY_COMPARE_WITH_TIMEOUT(launch.state(), QProcess::NotRunning, 30000);
            QVERIFY2(launch.exitCode() == 0, launch.readAllStandardError().constData());
        }
        QTRY_COMPARE_WITH_TIMEOUT(names(), (QStringList{"a.jpg", "b ü.png", "c.jpg"}), 30000);
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    void activate_shows_the_window()
    {
        open_window();
        window->showMinimized();
        QTRY_VERIFY(window->isMinimized());
        call_from_outside("Activate", {QVariantMap()});
        QTRY_VERIFY(!window->isMinimized());
        QVERIFY(window->isVisible());
    }

    void another_copy_data()
    {
        QTest::addColumn<bool>("bus");
        QTest::addColumn<QString>("logged");
        QTest::newRow("name owned by this copy") << true << "Desktop open requests go to the copy that already runs";
        QTest::newRow("no session bus") << false << "Desktop open requests are off: no session bus";
    }

    // The program's own main in a second process: it opens its window all the same, logs one
    // line, and the requests still come here.
    void another_copy()
    {
        QFETCH(bool, bus);
        QFETCH(QString, logged);
        const QStringList items = make_album();
        open_window();

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", dir->filePath("home"));
        env.insert("XDG_CONFIG_HOME", dir->filePath("home/.config"));
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "1500");
        if (!bus)
            env.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + dir->filePath("no_bus_here"));
        QProcess copy;
        copy.setProcessEnvironment(env);
        copy.start(TAVIMO_BIN_DIR "/tavimo_close_soon", QStringList());
        QVERIFY(copy.waitForFinished(30000));
        QCOMPARE(copy.exitStatus(), QProcess::NormalExit);
        QCOMPARE(copy.exitCode(), 0);
        const QString out = QString::fromUtf8(copy.readAllStandardOutput());
        QVERIFY2(out.contains("visible: MainWindow 800x700"), qPrintable(out));
        QCOMPARE(out.count(logged), 1);
        QCOMPARE(out.count("Desktop open requests"), 1);

        call_from_outside("Open", {QStringList{QUrl::fromLocalFile(items.first()).toString()}, QVariantMap()});
        QTRY_COMPARE_WITH_TIMEOUT(names(), QStringList{"a.jpg"}, 30000);
    }

    // A bus of its own that knows the service file: the request starts the program, and the
    // bus holds it until the program has shown its window and taken the name.
    void request_starts_the_program()
    {
        if (QStandardPaths::findExecutable("gapplication").isEmpty())
            QSKIP("gapplication is not installed (libglib2.0-bin)");
        const QStringList items = make_album();
        QDir root(dir->path());
        QVERIFY(root.mkpath("share/dbus-1/services"));
        write_file("start.sh", "#!/bin/sh\necho $$ > '" + root.filePath("pid") + "'\nexec '" TAVIMO_BIN_DIR
            "/tavimo_close_soon' > '" + root.filePath("out") + "' 2>&1\n");
        QFile::setPermissions(root.filePath("start.sh"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        write_file("share/dbus-1/services/" + desktop_service::application_id() + ".service",
            "[D-BUS Service]\nName=" + desktop_service::application_id() + "\nExec=" + root.filePath("start.sh") + "\n");
        // a.jpg and the folder, whose c.jpg counts and sub/deep.jpg does not. The script waits
        // for the program to end, so that its bus outlives it.
        const QString script = QString("gapplication launch %1 '%2' '%3' || exit 1\n"
                                       "for i in $(seq 600); do grep -q '^rows:' out 2>/dev/null && break; sleep 0.1; done\n"
                                       "while kill -0 $(cat pid) 2>/dev/null; do sleep 0.1; done\n")
                                   .arg(desktop_service::application_id(), items[0], items[2]);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_DIRS", root.filePath("share"));
        env.insert("HOME", root.filePath("home"));
        env.insert("XDG_CONFIG_HOME", root.filePath("home/.config"));
        env.insert("XDG_DATA_HOME", root.filePath("home/.local/share"));
        // Time enough for a slow machine to start ExifTool and read both files before the count.
        env.insert("TAVIMO_TEST_CLOSE_AFTER_MS", "10000");
        QProcess session;
        session.setProcessEnvironment(env);
        session.setWorkingDirectory(root.path());
        session.start("dbus-run-session", {"--", "sh", "-c", script});
        QVERIFY(session.waitForFinished(60000));
        QCOMPARE(session.exitCode(), 0);
        QFile out(root.filePath("out"));
        QVERIFY(out.open(QIODevice::ReadOnly));
        const QString seen = QString::fromUtf8(out.readAll());
        QVERIFY2(seen.contains("visible: MainWindow 800x700") && seen.contains("rows: 2"), qPrintable(seen));
        QVERIFY2(!seen.contains("Desktop open requests"), qPrintable(seen));
    }

    void desktop_entry_names_the_types_of_every_extension()
    {
        QFile entry(TAVIMO_DESKTOP_ENTRY);
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QStringList named;
        for (const QString& line : QString::fromUtf8(entry.readAll()).split('\n'))
            if (line.startsWith("MimeType="))
                named = line.mid(9).split(';', Qt::SkipEmptyParts);
        QStringList missing;
        const QMimeDatabase types;
        for (std::string_view extension : ondo::exiftool_data::writable_file_extensions)
            for (const QMimeType& type : types.mimeTypesForFileName("x." + QString::fromLatin1(extension.data(), int(extension.size()))))
                if ((type.name().startsWith("image/") || type.name().startsWith("video/")) && !named.contains(type.name()))
                    missing << type.name();
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(' ')));
        QVERIFY(named.contains("image/jpeg") && named.contains("video/quicktime"));
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
    QStringList make_album()
    {
        QDir root(dir->path());
        if (!root.mkpath("album/sub"))
            qFatal("cannot make the album folder");
        for (const char* name : {"a.jpg", "b ü.png", "album/c.jpg", "album/sub/deep.jpg"})
            make_tagged_photo(dir->path(), name, recorded);
        return {root.filePath("a.jpg"), root.filePath("b ü.png"), root.filePath("album")};
    }

    void open_window()
    {
        window = test_support::open_main_window();
        if (!desktop_service::offer(window))
            qWarning("the test could not take the application's name on its bus");
    }

    // Another connection to the bus, as a file manager's would be; the answer is not awaited,
    // the effect is.
    static void call_from_outside(const QString& method, const QVariantList& arguments)
    {
        QDBusConnection other = QDBusConnection::connectToBus(bus_address(), "file manager");
        QDBusMessage call = QDBusMessage::createMethodCall(desktop_service::application_id(),
            desktop_service::object_path(desktop_service::application_id()), "org.freedesktop.Application", method);
        call.setArguments(arguments);
        QVERIFY(other.isConnected());
        other.asyncCall(call);
    }

    void write_file(const QString& name, const QString& text)
    {
        QFile file(QDir(dir->path()).filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            qFatal("cannot write %s", qPrintable(name));
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
