#include "dialog_settings.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/language.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QProcess>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTimer>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

using test_support::answer_next_box;

// The language choice, the prompt after it, and what the catalogues make of a fresh window.
class tst_dialog_settings : public test_support::window_test {
    Q_OBJECT

private slots:
    void dialog_stores_only_changes_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("selections");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("expected");

        QTest::newRow("opening and closing stores nothing") << "" << QStringList() << "English" << "";
        QTest::newRow("fr set by hand shows English and stays") << "fr" << QStringList() << "English" << "fr";
        QTest::newRow("de shows Deutsch") << "de" << QStringList() << "Deutsch" << "de";
        QTest::newRow("Deutsch is stored at once") << "" << QStringList{"Deutsch"} << "English" << "de";
        QTest::newRow("there and back overwrites fr with en")
            << "fr" << QStringList{"Deutsch", "English"} << "English" << "en";
    }

    void dialog_stores_only_changes()
    {
        QFETCH(QString, stored);
        QFETCH(QStringList, selections);
        QFETCH(QString, shown);
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
        QCOMPARE(seen->title, QString("Settings"));
        QCOMPARE(first_shown, shown);
        QSettings settings;
        QCOMPARE(settings.contains("lang"), !stored.isEmpty() || !selections.isEmpty());
        QTEST(settings.value("lang").toString(), "expected");
    }

    // The window's prompt has "Continue working" on Yes as the default; the toolkit's puts
    // "Quit now" on Yes and defaults to No. In both the default keeps the program running.
    void prompts_data()
    {
        QTest::addColumn<bool>("toolkit");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("quits");

        QTest::newRow("window: continue") << false << "Continue working" << false;
        QTest::newRow("window: closed box") << false << "close" << false;
        QTest::newRow("window: quit") << false << "Quit now" << true;
        QTest::newRow("toolkit: continue") << true << "Continue working" << false;
        QTest::newRow("toolkit: quit") << true << "Quit now" << true;
    }

    void prompts()
    {
        QFETCH(bool, toolkit);
        QFETCH(QString, answer);
        QFETCH(bool, quits);
        window = test_support::open_main_window();
        bool returned = false;
        QSharedPointer<test_support::seen_box> prompt;

        // Both run inside the event loop, so that a quit has a loop to end.
        QTimer::singleShot(0, window, [&]() {
            if (toolkit) {
                QSettings().setValue("lang", "de");
                prompt = answer_next_box(answer);
                returned = ondo::ask_for_application_restart_if_language_changed(window, "en");
            } else {
                answer_next_box("close", [&](QDialog* dialog) {
                    auto* combo = dialog->findChild<QComboBox*>();
                    combo->setCurrentIndex(combo->findData("de"));
                    prompt = answer_next_box(answer);
                });

                window->on_button_settings_clicked();
            }
            // A program that goes on ends its loop by closing the window.
            if (!quits)
                QTimer::singleShot(0, window, &QWidget::close);
        });
        QCOMPARE(QApplication::exec(), 0);

        QVERIFY(prompt && prompt->answered);
        QCOMPARE(prompt->title, QString("Application language changed"));
        QCOMPARE(QSet<QString>(prompt->buttons.begin(), prompt->buttons.end()),
                 (QSet<QString>{"Continue working", "Quit now"}));
        QCOMPARE(prompt->default_button, QString("Continue working"));
        if (toolkit)
            QCOMPARE(returned, quits);
        // A quit doesn't close the window first.
        QCOMPARE(window->isVisible(), quits);
    }

    void unchanged_language_asks_nothing_data()
    {
        QTest::addColumn<bool>("toolkit");
        QTest::newRow("window, selection changed and changed back") << false;
        QTest::newRow("toolkit") << true;
    }

    void unchanged_language_asks_nothing()
    {
        QFETCH(bool, toolkit);
        QSettings().setValue("lang", "en");
        window = test_support::open_main_window();
        QSharedPointer<test_support::seen_box> unexpected;
        if (toolkit) {
            unexpected = answer_next_box("close", {}, 300);
            QVERIFY(!ondo::ask_for_application_restart_if_language_changed(window, "en"));
        } else {
            answer_next_box("close", [&](QDialog* dialog) {
                auto* combo = dialog->findChild<QComboBox*>();
                combo->setCurrentIndex(combo->findData("de"));
                combo->setCurrentIndex(combo->findData("en"));
                unexpected = answer_next_box("close", {}, 300);
            });
            window->on_button_settings_clicked();
        }
        QTest::qWait(400);
        QVERIFY(unexpected && !unexpected->answered);
    }

    void catalogues_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QStringList>("headers");
        QTest::addColumn<QString>("load_tip");
        QTest::addColumn<QString>("drop_picture");
        QTest::addColumn<QString>("year");
        QTest::addColumn<QString>("date_format");
        QTest::addColumn<QString>("question_title");
        QTest::addColumn<QString>("question_start");
        QTest::addColumn<QString>("abort");

        QTest::newRow("de") << "de" << QStringList{"Foto", "Aufnahmezeitpunkt", "Neuer Aufnahmezeitpunkt"}
                            << "Bilder Laden" << "drop_images_here_de.png" << "Jahr" << "TT.MM.JJJJ"
                            << "Fortfahren?" << "1 Dateien würden ein Aufnahmedatum zugewiesen bekommen" << "Abbrechen";
        QTest::newRow("fr: the application speaks English")
            << "fr" << QStringList{"Photos", "Recording Time", "New Recording Time"} << "Load images"
            << "drop_images_here_fr.png" << "Year" << "DD.MM.YYYY" << "Continue?"
            << "1 files would be assigned a recording time prior" << "Abort";
    }

    void catalogues()
    {
        QFETCH(QString, lang);
        QFETCH(QStringList, headers);
        QFETCH(QString, abort);
        QSettings().setValue("lang", lang);
        const QList<QTranslator*> translators = ondo::install_translators(ondo::get_language_suffix("lang"));
        auto uninstall = qScopeGuard([&]() {
            for (QTranslator* translator : translators) {
                QCoreApplication::removeTranslator(translator);
                delete translator;
            }
        });
        const QString photo = test_support::make_tagged_photo(
            dir->path(), "early.jpg",
            test_support::tag_map("ExifIFD:DateTimeOriginal=1960:06:21 18:30:05"));
        window = test_support::open_main_window();

        QAbstractItemModel* model = window->findChild<QAbstractItemView*>("tableView")->model();
        QStringList shown;
        for (int column = 0; column < 3; ++column)
            shown << model->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(shown, headers);
        QFETCH(QString, load_tip);
        QVERIFY(test_support::button(window, load_tip));
        QVERIFY(window->findChild<QWidget*>("widget")->styleSheet().contains(
            QString("drop_images_here_%1.png").arg(lang)));
        QFETCH(QString, year);
        QFETCH(QString, date_format);
        const auto labels = window->findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [&](QLabel* label) { return label->text() == year; }));
        const auto radios = window->findChildren<QRadioButton*>();
        QVERIFY(std::any_of(radios.begin(), radios.end(),
                            [&](QRadioButton* radio) { return radio->text() == date_format; }));

        QVERIFY(test_support::drop_urls(window, {QUrl::fromLocalFile(photo)}));
        QTRY_COMPARE(model->rowCount(), 1);
        const auto question = answer_next_box(abort);
        window->on_button_fix_time_clicked();
        QVERIFY(question->answered);
        QTEST(question->title, "question_title");
        QFETCH(QString, question_start);
        QVERIFY2(question->text.startsWith(question_start), qPrintable(question->text));

        // The same source text, two catalogues: the toolkit's, installed last, answers first.
        if (lang == "de") {
            QCOMPARE(QCoreApplication::translate("MainWindow", "Quit now"), QString("Anwendung jetzt beenden"));
            QCOMPARE(QCoreApplication::translate("QObject", "Quit now"), QString("Anwendung jetzt Beenden"));
            QCOMPARE(QCoreApplication::translate("ondo::application_log", "Application logs saved"),
                     QString("Anwendugsprotokolle gespeichert"));
        }
    }

    // A text given to tr in the sources or forms but missing from the German catalogue would
    // show in English in the German program. lupdate reads them as a translator's tools do.
    void catalogue_covers_every_text_data()
    {
        QTest::addColumn<QString>("sources");
        QTest::addColumn<QString>("catalogue");
        QTest::addColumn<QString>("name_space");

        QTest::newRow("application") << "../application" << ":/translations/de" << "";
        QTest::newRow("toolkit") << "../ondo_toolkit/ondo" << ":/translations/toolkit_de" << "ondo::";
    }

    void catalogue_covers_every_text()
    {
        QFETCH(QString, catalogue);
        QFETCH(QString, name_space);
        const QString lupdate = QLibraryInfo::location(QLibraryInfo::BinariesPath) + "/lupdate";
        if (!QFileInfo::exists(lupdate))
            QSKIP("lupdate is not installed");
        QFETCH(QString, sources);
        sources = QFileInfo(QString(__FILE__)).absoluteDir().filePath(sources);
        const QString extracted = dir->filePath("extracted.ts");
        QProcess run;
        run.start(lupdate, {"-silent", "-no-obsolete", sources, "-ts", extracted});
        QVERIFY(run.waitForFinished(60000));
        QCOMPARE(run.exitCode(), 0);

        QTranslator german;
        QVERIFY(german.load(catalogue));
        QFile file(extracted);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&file);
        QString context;
        QStringList missing;
        int texts = 0;
        while (!xml.atEnd()) {
            xml.readNext();
            if (!xml.isStartElement())
                continue;
            // lupdate names a toolkit class without its namespace; tr uses the full name.
            if (xml.name() == QLatin1String("name")) {
                context = xml.readElementText();
                if (context != "QObject")
                    context.prepend(name_space);
            }
            if (xml.name() != QLatin1String("source"))
                continue;
            const QString source = xml.readElementText();
            ++texts;
            // The program's name and "Version:" stay as they are in every language.
            if (german.translate(context.toUtf8(), source.toUtf8()).isEmpty() && source != "Tavimo"
                && source != "Version:")
                missing << context + ": " + source;
        }
        QVERIFY(texts > 20);
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join("\n")));
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_dialog_settings test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dialog_settings.moc"
