#include <ondo/application_log.h>

#include "test_support.h"

#include <QHostAddress>
#include <QNetworkInterface>

#include <atomic>
#include <iostream>
#include <thread>

namespace {

QWidget* log_window()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->windowTitle() == "Application Log")
            return widget;
    return nullptr;
}

QTextEdit* page(const QString& name)
{
    auto* tabs = log_window()->findChild<QTabWidget*>();
    for (int i = 0; i < tabs->count(); ++i)
        if (tabs->tabText(i) == name)
            return qobject_cast<QTextEdit*>(tabs->widget(i));
    return nullptr;
}

QLineEdit* filter() { return log_window()->findChild<QLineEdit*>(); }

// The lightness of what `widget` shows, averaged into one pixel, 0 to 255.
int lightness(QWidget* widget)
{
    return QColor(widget->grab().toImage().scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixel(0, 0))
        .lightness();
}

// A long single write with a running count, so that a lost or doubled character shows.
std::string counted(const char* tag, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += tag + std::to_string(10000 + i) + ",";
    return text;
}

QString token(int thread, int index) { return QString::asprintf("[t%d:%04d]", thread, index); }
constexpr int thread_count = 8, tokens_per_thread = 250;

// The child of the stream test: writes with the window closed, opens it, writes from eight
// threads; leaves what the window showed in TST_LOG_RESULT.
int child()
{
    ondo::application_log::init(qApp);
    QFile result(qEnvironmentVariable("TST_LOG_RESULT"));
    result.open(QIODevice::WriteOnly);
    std::cerr << "Zeitüberschreitung ✓\n" << std::flush;
    std::cout << counted("o", 300) << std::flush;
    QTest::qWait(350); // three drains with the window still closed
    result.write(QByteArray::number(page("Tavimo")->toPlainText().size()) + "\n");
    ondo::application_log::instance()->open_log_window();
    // The first drain after opening brings all of it; the parent judges what arrived.
    (void)QTest::qWaitFor([] { return !page("Tavimo")->toPlainText().isEmpty(); }, 5000);
    QTest::qWait(150);
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t)
        threads.emplace_back([t, &finished] {
            for (int i = 0; i < tokens_per_thread; ++i) {
                std::ostream& stream = i % 2 ? std::cerr : std::cout;
                stream << token(t, i).toStdString();
                if (i % 7 == 0)
                    stream << std::flush;
            }
            std::cout.flush();
            ++finished;
        });
    (void)QTest::qWaitFor([&] { return finished == thread_count; }, 60000); // drains run meanwhile
    for (std::thread& thread : threads)
        thread.join();
    QTest::qWait(300);
    result.write(page("Tavimo")->toPlainText().toUtf8());
    return 0;
}

} // namespace

class tst_application_log : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        ondo::application_log::instance()->add_command("HE", [](const QString&) {}, true);
        ondo::application_log::instance()->open_log_window();
    }
    void cleanup() { filter()->clear(); }

    // Nothing before the window opens, then all in one drain; threads lose and double nothing.
    void streams_reach_both_sinks()
    {
        QTemporaryDir dir;
        qputenv("TST_LOG_CHILD", "1"); // the child inherits these; this process has read them already
        qputenv("TST_LOG_RESULT", dir.filePath("page").toLocal8Bit());
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        child.waitForFinished(60000);
        qunsetenv("TST_LOG_CHILD");
        const QByteArray child_out = child.readAllStandardOutput(), child_err = child.readAllStandardError();
        const QByteArray shown = test_support::contents(dir.filePath("page"));
        const QByteArray out = QByteArray::fromStdString(counted("o", 300)), err = "Zeitüberschreitung ✓\n";
        QVERIFY(child_out.startsWith(out) && child_err.startsWith(err));
        QVERIFY2(shown.startsWith("0\n" + err + out), shown.left(200).constData());
        const QString page = QString::fromUtf8(shown.mid(2 + err.size() + out.size()));
        const QString out_tokens = QString::fromUtf8(child_out.mid(out.size()));
        const QString err_tokens = QString::fromUtf8(child_err.mid(err.size()));
        QCOMPARE(page.size(), thread_count * tokens_per_thread * token(0, 0).size());
        QCOMPARE(out_tokens.size() + err_tokens.size(), page.size());
        for (int t = 0; t < thread_count; ++t)
            for (int i = 0; i < tokens_per_thread; ++i) {
                QCOMPARE(page.count(token(t, i)), 1);
                QCOMPARE((i % 2 ? err_tokens : out_tokens).count(token(t, i)), 1);
            }
    }

    // A command typed into the filter runs on Return, in any case and with no blank needed. Other text
    // filters each page: in any case, whole lines even when a write splits one, and never an empty line.
    void commands_data()
    {
        test_support::columns<QString, bool>({"input", "runs"});
        QTest::newRow("upper case") << "HELP" << true;
        QTest::newRow("no blank needed") << "helpme" << true;
        QTest::newRow("no command") << "xhelp" << false;
        QTest::newRow("a filter") << "error" << false;
    }

    void commands()
    {
        const auto [input, runs] = test_support::fetched<QString, bool>({"input", "runs"});
        QTextEdit* main_page = page("Tavimo");
        const int listings = main_page->toPlainText().count("List of commands:");
        filter()->setText(input);
        QTest::keyClick(filter(), Qt::Key_Return);
        QCOMPARE(filter()->text(), runs ? QString() : input);
        if (!runs) {
            ondo::application_log::instance()->add_data("filtered " + input, "Er");
            ondo::application_log::instance()->add_data("filtered " + input, "ror: disk full\n\nok\nERRORS\n");
            QCOMPARE(page("filtered " + input)->toPlainText(), QString(input == "error" ? "Error: disk full\nERRORS\n" : ""));
            QTest::qWait(250); // time for a listing that must not come
            filter()->clear();
        }
        // The listing comes back through the tap, with every command the log knows.
        QTRY_COMPARE(main_page->toPlainText().count("List of commands:"), listings + int(runs));
        const QString listing = main_page->toPlainText().section("List of commands:\n", -1);
        for (const QString& command : {"clear", "help", "network", "save"})
            QVERIFY2(!runs || listing.contains("    " + command + "\n"), qPrintable(listing));
    }

    // Dark and whole on the screen; the network report too, as large as its text.
    void windows_are_dark_and_on_the_screen()
    {
        QWidget* window = log_window();
        const QRect screen = window->screen()->availableGeometry();
        QVERIFY(screen.contains(window->frameGeometry()));
        QVERIFY2(lightness(window) < 80, qPrintable(QString::number(lightness(window))));

        test_support::button(log_window(), "Network report")->click();
        QTextEdit* report = nullptr;
        QTRY_VERIFY((report = qobject_cast<QTextEdit*>(QApplication::activeModalWidget())));
        auto close_report = qScopeGuard([report] { report->close(); });
        QCOMPARE(report->windowTitle(), QString("Network report"));
        QVERIFY(screen.contains(report->frameGeometry()));
        QVERIFY(report->width() > 256 && report->height() > 192);
        QVERIFY2(lightness(report) < 80, qPrintable(QString::number(lightness(report))));
        // Where the screen has room for it, all of the text shows without scrolling.
        if (report->document()->size().height() + 40 < screen.height()) {
            QCOMPARE(report->horizontalScrollBar()->maximum(), 0);
            QCOMPARE(report->verticalScrollBar()->maximum(), 0);
        }
    }

    void masked_addresses_data()
    {
        test_support::columns<QString, bool, QString>({"address", "hardware", "masked"});
        QTest::newRow("hardware") << "7E:75:1A:2B:3C:4D" << true << "7E:75:1A:xx:xx:xx";
        QTest::newRow("no hardware address") << "" << true << "";
        QTest::newRow("IPv4") << "192.168.17.23" << false << "192.168.x.x";
        QTest::newRow("IPv4 loopback stays") << "127.0.0.1" << false << "127.0.0.1";
        QTest::newRow("IPv6") << "2001:db8:85a3::8a2e:370:7334" << false << "2001:db8:x:x:x:x:x:x";
        QTest::newRow("IPv6 link-local") << "fe80::1c2a:3bff:fe4d:5e6f" << false << "fe80:0:x:x:x:x:x:x";
        QTest::newRow("IPv6 loopback stays") << "::1" << false << "::1";
    }

    void masked_addresses()
    {
        const auto [address, hardware] = test_support::fetched<QString, bool>({"address", "hardware"});
        QTEST(hardware ? ondo::masked_hardware_address(address) : ondo::masked_ip_address(QHostAddress(address)), "masked");
    }

    // First onto a desktop that can't be written, then onto one that can.
    void save_to_desktop()
    {
        QTemporaryDir home; // where saving looks for the desktop
        qputenv("HOME", home.path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", home.filePath("config").toLocal8Bit());
        // Root may write anywhere, so the desktop is a file instead of a folder.
        QVERIFY(QFile(home.filePath("Desktop")).open(QIODevice::WriteOnly));
        QSharedPointer<test_support::seen_box> second;
        const auto failed = test_support::answer_next_box("OK", [&](QDialog*) { second = test_support::answer_next_box("OK", {}, 2000); });
        test_support::button(log_window(), "Save to disk")->click();
        QCOMPARE(failed->title, QString("Failed to save application logs"));
        QVERIFY(failed->text.startsWith("Can't save the application logs to\nTavimo Log "));
        QVERIFY(second && !second->answered); // one box only
        second->cancelled = true;

        QVERIFY(QFile::remove(home.filePath("Desktop")));
        ondo::application_log::instance()->add_data("second", "second page\n");
        const QString main_text = page("Tavimo")->toPlainText();
        const auto seen = test_support::answer_next_box("OK");
        test_support::button(log_window(), "Save to disk")->click();
        QCOMPARE(seen->title, QString("Application logs saved"));
        const QStringList saved = QDir(home.filePath("Desktop")).entryList(QDir::Files);
        QCOMPARE(saved.size(), 1);
        const QRegularExpression name("^Tavimo Log \\d{4}-\\d\\d-\\d\\d \\d\\d\\.\\d\\d\\.\\d\\d\\.log$");
        QVERIFY2(name.match(saved.first()).hasMatch(), qPrintable(saved.first()));
        QCOMPARE(seen->text, "The application logs were saved to\n" + home.filePath("Desktop/" + saved.first()));
        const QString report = QString::fromUtf8(test_support::contents(home.filePath("Desktop/" + saved.first())));
        const QString line(80, '-');
        QVERIFY2(report.startsWith("Application: Tavimo (2.1.2)\nInstalled at: " + QCoreApplication::applicationDirPath() + "\nDate: "), qPrintable(report));
        QVERIFY2(report.contains(line + "\n\n" + main_text + "\n\n" + line + "\nApplication: "), qPrintable(report));
        QVERIFY2(report.endsWith("\n\n" + line + "\nApplication: second\nsecond page\n"), qPrintable(report));
        // The machine's own addresses are not in the file, but each interface's name is.
        for (const QNetworkInterface& interface : QNetworkInterface::allInterfaces()) {
            QVERIFY(report.contains("Interface: " + interface.name() + " ("));
            if (interface.hardwareAddress().count(':') == 5 && !interface.hardwareAddress().startsWith("00:00:00"))
                QVERIFY2(!report.contains(interface.hardwareAddress()), qPrintable(interface.hardwareAddress()));
            for (const QNetworkAddressEntry& entry : interface.addressEntries())
                if (!entry.ip().isLoopback())
                    QVERIFY2(!report.contains("Address: " + entry.ip().toString() + "/"), qPrintable(entry.ip().toString()));
        }
    }
};

int main(int argc, char** argv)
{
    // Qt's own warnings would mix with what the child writes to its standard error.
    if (qEnvironmentVariableIsSet("TST_LOG_CHILD"))
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName("Tavimo");
    QCoreApplication::setApplicationVersion("2.1.2");
    if (qEnvironmentVariableIsSet("TST_LOG_CHILD"))
        return child();
    ondo::application_log::init(&app);
    tst_application_log test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_application_log.moc"
