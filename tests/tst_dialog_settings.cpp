#include "dialog_settings.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/language.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QTranslator>
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
        QCOMPARE(QSet<QString>(prompt->buttons.begin(), prompt->buttons.end()),
                 (QSet<QString>{"Continue working", "Quit now"}));
        QCOMPARE(prompt->default_button, QString("Continue working"));
        if (toolkit)
            QCOMPARE(returned, quits);
        // A quit doesn't close the window first.
        QCOMPARE(window->isVisible(), quits);
    }

    void catalogues_data()
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
        const QString photo = test_support::make_tagged_photo(dir->path(), "early.jpg",
            test_support::tag_map("ExifIFD:DateTimeOriginal=1960:06:21 18:30:05"));
        window = test_support::open_main_window();

        QAbstractItemModel* model = window->findChild<QAbstractItemView*>("tableView")->model();
        QStringList shown;
        for (int column = 0; column < 3; ++column)
            shown << model->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(shown, headers);
        QVERIFY(window->findChild<QWidget*>("widget")->styleSheet().contains(
            QString("drop_images_here_%1.png").arg(lang)));

        QVERIFY(test_support::drop_urls(window, {QUrl::fromLocalFile(photo)}));
        QTRY_COMPARE(model->rowCount(), 1);
        const auto question = answer_next_box(abort);
        window->on_button_fix_time_clicked();
        QVERIFY(question->answered);
        QFETCH(QString, question_start);
        QVERIFY2(question->text.startsWith(question_start), qPrintable(question->text));

        // The same source text, two catalogues: the toolkit's, installed last, answers first.
        if (lang == "de") {
            QCOMPARE(QCoreApplication::translate("MainWindow", "Quit now"), QString("Anwendung jetzt beenden"));
            QCOMPARE(QCoreApplication::translate("QObject", "Quit now"), QString("Anwendung jetzt Beenden"));
        }
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
