#include "dialog_settings.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/language.h>
#include <ondo/qt_compat.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QDesktopServices>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTextBrowser>
#include <QTreeView>
#include <QtTest>

using test_support::answer_next_box;

namespace {

// The control key as the help pages name it on this platform, in English and in German.
#ifdef Q_OS_MACOS
const QString ctrl_en = "Cmd", ctrl_de = "Cmd";
#else
const QString ctrl_en = "Ctrl", ctrl_de = "Strg";
#endif

QString read_all(const QString& path) { return QString::fromUtf8(test_support::contents(path)); }

} // namespace

// Catches what would go to the browser.
class url_catcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls << url; }
};

// What the catalogues make of the texts a user reads, the language choice and the help page.
class tst_catalogues : public test_support::window_test {
    Q_OBJECT
public:
    ~tst_catalogues() override { QDesktopServices::unsetUrlHandler("file"); }

private slots:
    void initTestCase()
    {
        // A temporary folder of this test's own, so that no help page of another run is read back.
        qputenv("TMPDIR", temp.path().toLocal8Bit());
        QDesktopServices::setUrlHandler("file", &catcher, "open");
    }

    // `also` must stand in both forms: the words that were corrected.
    void counted_texts_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("one_start");
        QTest::addColumn<QString>("two_start");
        QTest::addColumn<QString>("also");
        const QString zoneless = "%n files do not have any timezone information set and you have not specified a "
                                 "timezone to use.\nIf you continue, your computer's local timezone will be used.\n\n"
                                 "Warning: Adding the timezone to an image can not be undone.";
        const QString early = "%n files would be assigned a recording time before 1 January 1972.\nTheir metadata holds such a "
                              "time correctly. Their file-system time may not: a FAT or exFAT memory card holds no date "
                              "before 1980, and some systems none before 1970. A file time that can't be set is noted in "
                              "the log; the photo is fixed all the same.";
        const QString cr3 = "Trying to alter/set timezone of %n CR3 images.\nThe CR3 format does not support timezone "
                            "information.\nAll other values except the timezone will work normally.";
        const QString failed = "The following %n files could not be fixed:\n%1\n\n Do you want to keep the changes in "
                               "the other files";
        // Each text in English, then in German.
        auto rows = [](const char* name, const char* context, const QString& source, const QStringList& en, const QStringList& de) {
            QTest::addRow("en %s", name) << "en" << context << source << en.value(0) << en.value(1) << en.value(2);
            QTest::addRow("de %s", name) << "de" << context << source << de.value(0) << de.value(1) << de.value(2);
        };
        rows("zoneless", "MainWindow", zoneless,
             {"1 file does not have any timezone information", "2 files do not have any timezone information",
              "your computer's local timezone"},
             {"1 Datei hat keine Zeitzoneninformationen", "2 Dateien haben keine Zeitzoneninformationen",
              "Wenn Sie fortfahren, wird die Zeitzone Ihres Computers"});
        rows("early", "MainWindow", early, {"1 file would be assigned", "2 files would be assigned", "a FAT or exFAT memory card"},
             {"1 Datei würde eine Aufnahmezeit", "2 Dateien würden eine Aufnahmezeit", "Eine FAT- oder exFAT-Speicherkarte"});
        rows("CR3", "MainWindow", cr3, {"Trying to alter/set timezone of 1 CR3 image.\n", "Trying to alter/set timezone of 2 CR3 images.\n"},
             {"Die Zeitzone von 1 Bild im CR3 Format", "Die Zeitzone von 2 Bildern im CR3 Format"});
        rows("failed", "MainWindow", failed, {"The following file could not be fixed:\n%1", "The following 2 files could not be fixed:\n%1"},
             {"Die folgende Datei konnte nicht angepasst werden:\n%1", "Die folgenden 2 Dateien konnten nicht angepasst werden:\n%1",
              "Möchten Sie"});
        rows("changed", "run_note", "%n photos changed.", {"1 photo changed.", "2 photos changed."},
             {"1 Foto geändert.", "2 Fotos geändert."});
        rows("not changed", "run_note", "%n files could not be changed.", {"1 file could not be changed.", "2 files could not be changed."},
             {"1 Datei konnte nicht geändert werden.", "2 Dateien konnten nicht geändert werden."});
        rows("undone", "run_note", "Undo done: %n photos as before.", {"Undo done: 1 photo as before.", "Undo done: 2 photos as before."},
             {"Rückgängig gemacht: 1 Foto wie zuvor.", "Rückgängig gemacht: 2 Fotos wie zuvor."});
        rows("not restored", "run_note", "%n files could not be restored.",
             {"1 file could not be restored.", "2 files could not be restored."},
             {"1 Datei konnte nicht zurückgesetzt werden.", "2 Dateien konnten nicht zurückgesetzt werden."});
    }

    void counted_texts()
    {
        QFETCH(QString, lang);
        QFETCH(QString, context);
        QFETCH(QString, source);
        QFETCH(QString, one_start);
        QFETCH(QString, two_start);
        QFETCH(QString, also);
        const test_support::installed_language catalogues(lang);
        const QString one = QCoreApplication::translate(context.toLatin1(), source.toUtf8(), nullptr, 1);
        const QString two = QCoreApplication::translate(context.toLatin1(), source.toUtf8(), nullptr, 2);
        QVERIFY2(one.startsWith(one_start), qPrintable(one));
        QVERIFY2(two.startsWith(two_start), qPrintable(two));
        QVERIFY2(one.contains(also) && two.contains(also), qPrintable(also));
    }

    // Texts without a count that were corrected or are easily lost.
    void corrected_texts_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("expected");
        auto de = [](const char* name, const char* context, const char* source, const char* expected) {
            QTest::newRow(name) << "de" << context << source << expected;
        };
        de("log saved", "ondo::application_log", "Application logs saved", "Anwendungsprotokolle gespeichert");
        de("clear log", "ondo::application_log", "Clear application logs", "Anwendungsprotokolle leeren");
        de("clear question", "ondo::application_log", "Do you really want to clear the application logs?",
           "Möchten Sie die Anwendungsprotokolle wirklich leeren?");
        de("credits", "ondo::dialog_about", "Click here for 3rd party library information",
           "Klicken Sie hier, um Informationen über Bibliotheken von Drittanbietern zu erhalten");
        QTest::newRow("website en") << "en" << "ondo::dialog_about" << "Website:" << "Website:";
        de("website de", "ondo::dialog_about", "Website:", "Webseite:");
        de("file dialog title", "MainWindow", "Select files", "Dateien auswählen");
        de("camera column", "table_data_model", "Camera", "Kamera");
        de("unknown camera", "camera", "Unknown camera", "Unbekannte Kamera");
        de("same moment", "MainWindow", "Same moment", "Gleicher Moment");
        de("clock from GPS", "MainWindow", "Set this camera's clock from GPS time", "Uhr dieser Kamera nach GPS-Zeit stellen");
        de("menu", "MainWindow", "Set the correct time of this photo…", "Richtige Zeit dieses Fotos einstellen…");
        de("not loaded", "MainWindow", "Not loaded", "Nicht geladen");
        de("known-time dialog", "dialog_correct_time", "Correct time:", "Richtige Zeit:");
        de("include companions", "MainWindow", "Include them", "Einbeziehen");
        de("loaded files only", "MainWindow", "Only the loaded files", "Nur die geladenen Dateien");
        de("sidecars", "run_note", "%1 and %2 changed.", "%1 und %2 geändert.");
        de("usage", "command_line", "[FILE|FOLDER]...", "[DATEI|ORDNER]...");
        de("Qt's wrong option", "QCommandLineParser", "Unknown option '%1'.", "Unbekannte Option '%1'.");
        de("quit", "MainWindow", "Quit now", "Anwendung jetzt beenden");
    }

    void corrected_texts()
    {
        QFETCH(QString, lang);
        QFETCH(QString, context);
        QFETCH(QString, source);
        const test_support::installed_language catalogues(lang);
        QTEST(QCoreApplication::translate(context.toLatin1(), source.toUtf8()), "expected");
    }

    // German speaks to the user with "Sie" everywhere: no "du", "dein" or familiar command.
    void german_is_polite_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("application catalogue") << "resources/translations/de.ts";
        QTest::newRow("toolkit catalogue") << "ondo_toolkit/translations/toolkit_de.ts";
        QTest::newRow("help page") << "resources/help/index_de.html";
        QTest::newRow("guide") << "resources/help/guide_de.html";
    }

    void german_is_polite()
    {
        QFETCH(QString, file);
        const QString text = read_all(QString(TAVIMO_SOURCE_DIR "/") + file);
        QVERIFY2(!text.isEmpty(), qPrintable(file));
        const QRegularExpression familiar("\\b(du|dich|dir|dein\\w*|[Kk]licke|[Dd]rücke|[Zz]iehe|[Ww]ähle|[Tt]rage)\\b",
                                          QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpressionMatch found = familiar.match(text);
        QVERIFY2(!found.hasMatch(), qPrintable(found.captured(0) + " in " + file));
    }

    // Qt's own catalogue gives the German file dialog its words; the detail columns fit what they show.
    void file_dialog_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("tool_tip");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QString>("look_in");
        QTest::addColumn<QString>("filter");
        QTest::newRow("en") << "en" << "Load images" << QStringList{"Open", "Cancel"} << "Look in:" << "Supported Files (*.";
        QTest::newRow("de") << "de" << "Bilder Laden" << QStringList{"Öffnen", "Abbrechen"} << "Suchen in:"
                            << "Unterstützte Dateitypen (*.";
    }

    void file_dialog()
    {
        QFETCH(QString, lang);
        QFETCH(QString, tool_tip);
        QFETCH(QStringList, buttons);
        QFETCH(QString, filter);
        if (lang == "de" && !QFile::exists(ondo::qt_compat::translations_path() + "/qtbase_de.qm"))
            QSKIP("Qt's German catalogue (qttranslations5-l10n) is not installed");
        QSettings().setValue("lang", lang);
        const test_support::installed_language catalogues(lang);
        QFile photo(dir->filePath("big.jpg"));
        QVERIFY(photo.open(QIODevice::WriteOnly) && photo.write(QByteArray(10 * 1024 + 500, 'x')));
        photo.close();
        QSettings().setValue("last_load_path", dir->path());
        window = test_support::open_main_window();

        QString look_in, shown_filter;
        QStringList cut;
        const auto seen = answer_next_box(buttons.last(), [&](QDialog* box) {
            auto* dialog = qobject_cast<QFileDialog*>(box);
            look_in = dialog->findChild<QLabel*>("lookInLabel")->text();
            shown_filter = dialog->selectedNameFilter();
            auto* tree = dialog->findChild<QTreeView*>("treeView");
            QAbstractItemModel* model = tree->model();
            QTRY_COMPARE(model->rowCount(tree->rootIndex()), 1);
            const QFontMetrics metrics(tree->font());
            for (int column : {1, 3}) {
                const QString shown = model->index(0, column, tree->rootIndex()).data().toString();
                if (tree->header()->sectionSize(column) < metrics.horizontalAdvance(shown) + 8)
                    cut << shown;
            }
        });
        test_support::button(window, tool_tip)->click();

        QVERIFY(seen->answered);
        for (const QString& button : buttons)
            QVERIFY2(seen->buttons.contains(button), qPrintable(seen->buttons.join(", ")));
        QTEST(look_in, "look_in");
        QVERIFY2(shown_filter.startsWith(filter), qPrintable(shown_filter.left(40)));
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(", ")));
    }

    // The language dialog stores a choice at once, and nothing when nothing was chosen.
    void dialog_stores_only_changes_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("selections");
        QTest::addColumn<QString>("expected");
        QTest::newRow("opening and closing stores nothing") << "" << QStringList() << "";
        QTest::newRow("Deutsch is stored at once") << "" << QStringList{"Deutsch"} << "de";
        QTest::newRow("fr shows English; there and back stores en") << "fr" << QStringList{"Deutsch", "English"} << "en";
    }

    void dialog_stores_only_changes()
    {
        QFETCH(QString, stored);
        QFETCH(QStringList, selections);
        if (!stored.isEmpty())
            QSettings().setValue("lang", stored);
        QString first_shown;
        const auto seen = answer_next_box("close", [&](QDialog* dialog) {
            auto* combo = dialog->findChild<QComboBox*>();
            first_shown = combo->currentText();
            for (const QString& selection : selections)
                combo->setCurrentIndex(combo->findText(selection));
        });
        dialog_settings(nullptr).exec();

        QVERIFY(seen->answered);
        QCOMPARE(first_shown, QString("English"));
        QCOMPARE(QSettings().contains("lang"), !stored.isEmpty() || !selections.isEmpty());
        QTEST(QSettings().value("lang").toString(), "expected");
    }

    // The prompt after a new language keeps the program running by default.
    void prompt_after_a_new_language()
    {
        window = test_support::open_main_window();
        QSharedPointer<test_support::seen_box> prompt;
        // Inside the event loop, so that a quit would have a loop to end.
        QTimer::singleShot(0, window, [&]() {
            answer_next_box("close", [&](QDialog* dialog) {
                auto* combo = dialog->findChild<QComboBox*>();
                combo->setCurrentIndex(combo->findData("de"));
                prompt = answer_next_box("Continue working");
            });
            window->on_button_settings_clicked();
            QTimer::singleShot(0, window, &QWidget::close);
        });
        QCOMPARE(QApplication::exec(), 0);

        QVERIFY(prompt && prompt->answered);
        prompt->buttons.sort();
        QCOMPARE(prompt->buttons, (QStringList{"Continue working", "Quit now"}));
        QCOMPARE(prompt->default_button, QString("Continue working"));
    }

    // A fresh window in the stored language: its headers, its drop picture and a counted question.
    void a_fresh_window_speaks_the_language_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QStringList>("headers");
        QTest::addColumn<QString>("question_start");
        QTest::addColumn<QString>("abort");
        QTest::newRow("de") << "de" << QStringList{"Foto", "Aufnahmezeitpunkt", "Neuer Aufnahmezeitpunkt"}
                            << "1 Datei würde eine Aufnahmezeit vor dem 1. Januar 1972" << "Abbrechen";
        QTest::newRow("fr: the application speaks English, counts included")
            << "fr" << QStringList{"Photos", "Recording Time", "New Recording Time"}
            << "1 file would be assigned a recording time before" << "Abort";
    }

    void a_fresh_window_speaks_the_language()
    {
        QFETCH(QString, lang);
        QFETCH(QStringList, headers);
        QFETCH(QString, question_start);
        QFETCH(QString, abort);
        QSettings().setValue("lang", lang);
        const test_support::installed_language catalogues(ondo::get_language_suffix("lang"));
        const QString photo = test_support::make_tagged_photo(dir->path(), "early.jpg",
            test_support::tag_map("ExifIFD:DateTimeOriginal=1960:06:21 18:30:05"));
        window = test_support::open_main_window();

        QAbstractItemModel* model = window->findChild<QAbstractItemView*>("tableView")->model();
        QStringList shown;
        for (int column = 0; column < 3; ++column)
            shown << model->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(shown, headers);
        QVERIFY(window->findChild<QWidget*>("widget")->styleSheet().contains(QString("drop_images_here_%1.png").arg(lang)));

        QVERIFY(test_support::drop_urls(window, {QUrl::fromLocalFile(photo)}));
        QTRY_COMPARE(model->rowCount(), 1);
        const auto question = answer_next_box(abort);
        window->on_button_fix_time_clicked();
        QVERIFY(question->answered);
        QVERIFY2(question->text.startsWith(question_start), qPrintable(question->text));
    }

    // The help page goes through a temporary file to the browser, the control key named as the platform names it.
    void help_page_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("shows");
        QTest::newRow("de") << "de" << ctrl_de + " + Q oder Alt + F4";
        QTest::newRow("en") << "en" << ctrl_en + " + O";
        QTest::newRow("fr has no page: an empty file") << "fr" << "";
    }

    void help_page()
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
        const QString text = read_all(path);
        QVERIFY(shows.isEmpty() ? text.isEmpty() : text.contains(shows));
        for (const QString other : {"Cmd", "Ctrl", "Strg"})
            QVERIFY2(other == ctrl_en || other == ctrl_de || !text.contains(other), qPrintable(other));
    }

    // No URL handler and no launcher on PATH: the page opens in a dark window of the program's own.
    void help_without_a_browser_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("guide_title");
        QTest::newRow("en") << "en" << "Help - Tavimo" << "Introduction to Tavimo";
        QTest::newRow("de") << "de" << "Hilfe - Tavimo" << "Einführung in Tavimo";
    }

    void help_without_a_browser()
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
        QCOMPARE(browser->source().toString(), "file://" + QDir::tempPath() + QString("/tavimo_help_%1.html").arg(lang));
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
    tst_catalogues test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_catalogues.moc"
