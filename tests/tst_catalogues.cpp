#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/language.h>
#include <ondo/qt_compat.h>

#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTranslator>
#include <QTreeView>
#include <QtTest>

namespace {

// The catalogues of `lang` installed as main installs them, for one test.
struct installed_catalogues {
    explicit installed_catalogues(const QString& lang) : translators(ondo::install_translators(lang)) {}
    ~installed_catalogues()
    {
        for (QTranslator* translator : translators)
            QCoreApplication::removeTranslator(translator);
    }
    QList<QTranslator*> translators;
};

} // namespace

// What the catalogues make of the texts a user reads: counts in the singular and the plural in
// both languages, the polite form of address in German, and Qt's own texts in its file dialog.
class tst_catalogues : public test_support::window_test {
    Q_OBJECT

private slots:
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
        auto row = [](const char* name, const char* lang, const char* context, const QString& source, const char* one,
                      const char* two, const char* also) {
            QTest::newRow(name) << lang << context << source << one << two << also;
        };
        row("en zoneless", "en", "MainWindow", zoneless, "1 file does not have any timezone information",
            "2 files do not have any timezone information", "your computer's local timezone");
        row("de zoneless", "de", "MainWindow", zoneless, "1 Datei hat keine Zeitzoneninformationen",
            "2 Dateien haben keine Zeitzoneninformationen", "Wenn Sie fortfahren, wird die Zeitzone Ihres Computers");
        row("en early", "en", "MainWindow", early, "1 file would be assigned", "2 files would be assigned",
            "a FAT or exFAT memory card");
        row("de early", "de", "MainWindow", early, "1 Datei würde eine Aufnahmezeit", "2 Dateien würden eine Aufnahmezeit",
            "Eine FAT- oder exFAT-Speicherkarte");
        row("en CR3", "en", "MainWindow", cr3, "Trying to alter/set timezone of 1 CR3 image.\n",
            "Trying to alter/set timezone of 2 CR3 images.\n", "");
        row("de CR3", "de", "MainWindow", cr3, "Die Zeitzone von 1 Bild im CR3 Format",
            "Die Zeitzone von 2 Bildern im CR3 Format", "");
        row("en failed", "en", "MainWindow", failed, "The following file could not be fixed:\n%1",
            "The following 2 files could not be fixed:\n%1", "");
        row("de failed", "de", "MainWindow", failed, "Die folgende Datei konnte nicht angepasst werden:\n%1",
            "Die folgenden 2 Dateien konnten nicht angepasst werden:\n%1", "Möchten Sie");
        row("en changed", "en", "run_note", "%n photos changed.", "1 photo changed.", "2 photos changed.", "");
        row("de changed", "de", "run_note", "%n photos changed.", "1 Foto geändert.", "2 Fotos geändert.", "");
        row("en not changed", "en", "run_note", "%n files could not be changed.", "1 file could not be changed.",
            "2 files could not be changed.", "");
        row("de not changed", "de", "run_note", "%n files could not be changed.", "1 Datei konnte nicht geändert werden.",
            "2 Dateien konnten nicht geändert werden.", "");
        row("en undone", "en", "run_note", "Undo done: %n photos as before.", "Undo done: 1 photo as before.",
            "Undo done: 2 photos as before.", "");
        row("de undone", "de", "run_note", "Undo done: %n photos as before.", "Rückgängig gemacht: 1 Foto wie zuvor.",
            "Rückgängig gemacht: 2 Fotos wie zuvor.", "");
        row("en not restored", "en", "run_note", "%n files could not be restored.", "1 file could not be restored.",
            "2 files could not be restored.", "");
        row("de not restored", "de", "run_note", "%n files could not be restored.",
            "1 Datei konnte nicht zurückgesetzt werden.", "2 Dateien konnten nicht zurückgesetzt werden.", "");
    }

    void counted_texts()
    {
        QFETCH(QString, lang);
        QFETCH(QString, context);
        QFETCH(QString, source);
        QFETCH(QString, also);
        const installed_catalogues catalogues(lang);
        const QByteArray context_name = context.toLatin1();
        const QByteArray text = source.toUtf8();
        const QString one = QCoreApplication::translate(context_name, text, nullptr, 1);
        const QString two = QCoreApplication::translate(context_name, text, nullptr, 2);
        QFETCH(QString, one_start);
        QFETCH(QString, two_start);
        QVERIFY2(one.startsWith(one_start), qPrintable(one));
        QVERIFY2(two.startsWith(two_start), qPrintable(two));
        QVERIFY2(one.contains(also) && two.contains(also), qPrintable(also));
    }

    // Texts without a count that were corrected, and the German catalogue's form of address.
    void corrected_texts_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("expected");
        QTest::newRow("log saved") << "de" << "ondo::application_log" << "Application logs saved"
                                   << "Anwendungsprotokolle gespeichert";
        QTest::newRow("clear log") << "de" << "ondo::application_log" << "Clear application logs"
                                   << "Anwendungsprotokolle leeren";
        QTest::newRow("clear question") << "de" << "ondo::application_log" << "Do you really want to clear the application logs?"
                                        << "Möchten Sie die Anwendungsprotokolle wirklich leeren?";
        QTest::newRow("credits") << "de" << "ondo::dialog_about" << "Click here for 3rd party library information"
                                 << "Klicken Sie hier, um Informationen über Bibliotheken von Drittanbietern zu erhalten";
        QTest::newRow("website en") << "en" << "ondo::dialog_about" << "Website:" << "Website:";
        QTest::newRow("website de") << "de" << "ondo::dialog_about" << "Website:" << "Webseite:";
        QTest::newRow("file dialog title") << "de" << "MainWindow" << "Select files" << "Dateien auswählen";
        QTest::newRow("camera column") << "de" << "table_data_model" << "Camera" << "Kamera";
        QTest::newRow("unknown camera") << "de" << "camera" << "Unknown camera" << "Unbekannte Kamera";
        QTest::newRow("same moment") << "de" << "MainWindow" << "Same moment" << "Gleicher Moment";
        QTest::newRow("clock from GPS") << "de" << "MainWindow" << "Set this camera's clock from GPS time"
                                        << "Uhr dieser Kamera nach GPS-Zeit stellen";
    }

    void corrected_texts()
    {
        QFETCH(QString, lang);
        QFETCH(QString, context);
        QFETCH(QString, source);
        const installed_catalogues catalogues(lang);
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
        QFile source(QString(TAVIMO_SOURCE_DIR "/") + file);
        QVERIFY2(source.open(QIODevice::ReadOnly), qPrintable(file));
        const QString text = QString::fromUtf8(source.readAll());
        const QRegularExpression familiar("\\b(du|dich|dir|dein\\w*|[Kk]licke|[Dd]rücke|[Zz]iehe|[Ww]ähle|[Tt]rage)\\b",
                                          QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpressionMatch found = familiar.match(text);
        QVERIFY2(!found.hasMatch(), qPrintable(found.captured(0) + " in " + file));
    }

    // Qt's own catalogue gives the German file dialog German buttons and labels; the detail
    // columns are wide enough for what they show, and the filter has its blank before the list.
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
        QFETCH(QStringList, buttons);
        if (lang == "de" && !QFile::exists(ondo::qt_compat::translations_path() + "/qtbase_de.qm"))
            QSKIP("Qt's German catalogue (qttranslations5-l10n) is not installed");
        QSettings().setValue("lang", lang);
        const installed_catalogues catalogues(lang);
        QFile photo(dir->filePath("big.jpg"));
        QVERIFY(photo.open(QIODevice::WriteOnly) && photo.write(QByteArray(10 * 1024 + 500, 'x')));
        photo.close();
        QSettings().setValue("last_load_path", dir->path());
        window = test_support::open_main_window();

        QString look_in, shown_filter;
        QStringList cut;
        const auto seen = test_support::answer_next_box(buttons.last(), [&](QDialog* box) {
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
        QFETCH(QString, tool_tip);
        test_support::button(window, tool_tip)->click();

        QVERIFY(seen->answered);
        for (const QString& button : buttons)
            QVERIFY2(seen->buttons.contains(button), qPrintable(seen->buttons.join(", ")));
        QTEST(look_in, "look_in");
        QFETCH(QString, filter);
        QVERIFY2(shown_filter.startsWith(filter), qPrintable(shown_filter.left(40)));
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(", ")));
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_catalogues test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_catalogues.moc"
