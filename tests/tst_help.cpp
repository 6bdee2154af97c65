#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/help.h>

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QtTest>

// Catches what would go to the browser.
class url_catcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls << url; }
};

// The help page goes through a temporary file to the browser, with the control key named as the
// platform names it.
class tst_help : public test_support::window_test {
    Q_OBJECT
public:
    ~tst_help() override { QDesktopServices::unsetUrlHandler("file"); }

private slots:
    void initTestCase()
    {
        // A temporary folder of this test's own, so that nothing of another run is read back.
        qputenv("TMPDIR", temp.path().toLocal8Bit());
        QDesktopServices::setUrlHandler("file", &catcher, "open");
    }

    void help_button_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("shows");

#ifdef Q_OS_MACOS
        QTest::newRow("de") << "de" << "Cmd + Q oder Alt + F4";
        QTest::newRow("en") << "en" << "Cmd + O";
#else
        QTest::newRow("de") << "de" << "Strg + Q oder Alt + F4";
        QTest::newRow("en") << "en" << "Ctrl + O";
#endif
        QTest::newRow("fr has no page: an empty file") << "fr" << "";
    }

    void help_button()
    {
        QFETCH(QString, lang);
        QFETCH(QString, shows);
        QSettings().setValue("lang", lang);
        window = test_support::open_main_window();
        catcher.urls.clear();

        window->on_button_help_clicked();

        const QString path = QDir::tempPath() + QString("/tavimo_help_%1.html").arg(lang);
        QCOMPARE(catcher.urls.size(), 1);
        QCOMPARE(catcher.urls.first().toString(QUrl::None), "file://" + path); // three slashes before /tmp
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(written.readAll());
        QVERIFY(shows.isEmpty() ? text.isEmpty() : text.contains(shows));
#ifdef Q_OS_MACOS
        QVERIFY(!text.contains("Ctrl") && !text.contains("Strg"));
#else
        QVERIFY(!text.contains("Cmd"));
#endif
    }

    // A page that names the literal key escapes it; both escapes give "Ctrl".
    void open_help_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("opened");
        QTest::addColumn<QString>("expected");

#ifdef Q_OS_MACOS
        QTest::newRow("de page") << "de" << "demoapp_help_de.html" << "de: Cmd+Q Cmd+Q Ctrl+C Ctrl+C";
        QTest::newRow("fr falls back to en") << "fr" << "demoapp_help_en.html" << "en: Cmd+Q Cmd+Q Ctrl+C Ctrl+C";
#else
        QTest::newRow("de page") << "de" << "demoapp_help_de.html" << "de: Ctrl+Q Strg+Q Ctrl+C Ctrl+C";
        QTest::newRow("fr falls back to en") << "fr" << "demoapp_help_en.html" << "en: Ctrl+Q Strg+Q Ctrl+C Ctrl+C";
#endif
    }

    void open_help()
    {
        QFETCH(QString, lang);
        // The blank goes from the file's name. The language is read from this name's own store.
        const QString name = QCoreApplication::applicationName();
        QCoreApplication::setApplicationName("Demo App");
        auto restore = qScopeGuard([&]() {
            test_support::clear_settings();
            QCoreApplication::setApplicationName(name);
        });
        QSettings().setValue("lang", lang);
        for (const QString page_lang : {"en", "de"}) {
            QFile page(dir->filePath(QString("page_%1.html").arg(page_lang)));
            QVERIFY(page.open(QIODevice::WriteOnly));
            page.write(page_lang.toUtf8() + ": Ctrl+Q Strg+Q CtXrl+C StXrg+C");
        }
        catcher.urls.clear();

        ondo::open_help(dir->filePath("page_%1.html"));

        QFETCH(QString, opened);
        QCOMPARE(catcher.urls.size(), 1);
        const QString path = QDir::tempPath() + "/" + opened;
        QCOMPARE(catcher.urls.first().toString(QUrl::None), "file://" + path);
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QTEST(QString::fromUtf8(written.readAll()), "expected");
    }

    // No browser: no URL handler, and no launcher on PATH for a platform that would look for one.
    // The page then opens in a dark window of the program's own, one at a time, and its link
    // leads on to the guide.
    void without_a_browser_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("guide_title");
        QTest::newRow("en") << "en" << "Help - Tavimo" << "Introduction to Tavimo";
        QTest::newRow("de") << "de" << "Hilfe - Tavimo" << "Einführung in Tavimo";
    }

    void without_a_browser()
    {
        QFETCH(QString, lang);
        QFETCH(QString, title);
        QFETCH(QString, guide_title);
        QDesktopServices::unsetUrlHandler("file");
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", dir->path().toLocal8Bit());
        auto restore = qScopeGuard([&] {
            qputenv("PATH", path);
            QDesktopServices::setUrlHandler("file", &catcher, "open");
        });
        QSettings().setValue("lang", lang);
        window = test_support::open_main_window();

        window->on_button_help_clicked();
        window->on_button_help_clicked(); // the second shows the same window again

        const QList<QTextBrowser*> browsers = window->findChildren<QTextBrowser*>("help_browser");
        QCOMPARE(browsers.size(), 1);
        QTextBrowser* browser = browsers.first();
        QVERIFY(browser->isWindow());
        QVERIFY(QTest::qWaitForWindowExposed(browser));
        const QString page = QDir::tempPath() + QString("/tavimo_help_%1.html").arg(lang);
        QCOMPARE(browser->source().toString(), "file://" + page);
        QCOMPARE(browser->documentTitle(), title);
        QCOMPARE(browser->windowTitle(), title);

        // Dark behind light text, in the browser's empty corner as on its page.
        const QImage shot = browser->viewport()->grab().toImage();
        for (const QPoint& at : {QPoint(2, 2), QPoint(shot.width() - 3, shot.height() - 3)})
            QVERIFY2(qGray(shot.pixel(at)) < 60, qPrintable(QColor(shot.pixel(at)).name()));
        QVERIFY(qGray(browser->palette().color(QPalette::Text).rgb()) > 160);

        // The first link is the guide's; the keyboard reaches and follows it.
        browser->setFocus();
        QTest::keyClick(browser, Qt::Key_Tab);
        QTest::keyClick(browser, Qt::Key_Return);
        QCOMPARE(browser->source().fileName(), QString("tavimo_guide_%1.html").arg(lang));
        QCOMPARE(browser->windowTitle(), guide_title);
    }

private:
    QTemporaryDir temp;
    url_catcher catcher;
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_help test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_help.moc"
