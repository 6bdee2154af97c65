#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/language.h>

#include <QDateTimeEdit>
#include <QDialog>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTranslator>
#include <QtTest>

using test_support::make_tagged_photo;

namespace {

QTableView* table_of(QWidget* window) { return window->findChild<QTableView*>("tableView"); }

QString field(QWidget* window, const char* name) { return window->findChild<QLineEdit*>(name)->text(); }

} // namespace

// The window by keyboard alone, and the offset worked out from one photo's true time. The test
// runs on the clock of Europe/Berlin, so that its daylight saving changes are known.
class tst_keyboard : public test_support::window_test {
    Q_OBJECT

private slots:
    void ctrl_o_opens_the_file_dialog()
    {
        window = test_support::open_main_window();
        QVERIFY(QTest::qWaitForWindowActive(window));
        auto seen = test_support::answer_next_box("close");
        QTest::keyClick(window->findChild<QLineEdit*>("lineedit_year"), Qt::Key_O, Qt::ControlModifier);
        QTRY_VERIFY(seen->answered);
        QCOMPARE(seen->title, QString("Select files"));
    }

    // From the first button round to it again; the undo button is off until a fix, and each group
    // of radio buttons is one stop, inside which the arrow keys go.
    void tab_goes_through_the_window_in_reading_order()
    {
        window = test_support::open_main_window();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QWidget* first = window->findChild<QPushButton*>("button_settings");
        first->setFocus(Qt::TabFocusReason);
        QStringList order;
        for (int i = 0; i < 30 && (order.isEmpty() || QApplication::focusWidget() != first); ++i) {
            order << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order, (QStringList{"button_settings", "button_about", "button_help", "button_fix_time",
                                     "button_load_images", "button_reset", "lineedit_year", "lineedit_month",
                                     "lineedit_day", "lineedit_hour", "lineedit_minute", "lineedit_second",
                                     "lineedit_timezone", "rb_ddmmyyyy_slash", "rb_hhmmss", "tableView"}));
    }

    // A button reached by Tab must show it, or the keyboard's place is lost.
    void a_focused_button_looks_different()
    {
        window = test_support::open_main_window();
        QVERIFY(QTest::qWaitForWindowActive(window));
        auto* button = window->findChild<QPushButton*>("button_help");
        const QImage plain = button->grab().toImage();
        button->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(button->hasFocus());
        QVERIFY(button->grab().toImage() != plain);
    }

    void icon_buttons_have_names_for_screen_readers()
    {
        window = test_support::open_main_window();
        const auto buttons = window->findChildren<QPushButton*>(QRegularExpression("^button_"));
        QCOMPARE(buttons.size(), 7);
        for (QPushButton* button : buttons) {
            QVERIFY2(!button->accessibleName().isEmpty(), qPrintable(button->objectName()));
            QCOMPARE(button->accessibleName(), button->toolTip());
        }
    }

    void window_has_the_programs_icon()
    {
        window = test_support::open_main_window();
        const QList<QSize> sizes = window->windowIcon().availableSizes();
        QVERIFY(sizes.contains(QSize(16, 16)));
        QVERIFY(sizes.contains(QSize(256, 256)));
    }

    // The second row is reached by the arrow key and its dialog by F2; after OK that row's new
    // time is the entered one to the second, and the other row moves by the same offset.
    void offset_from_one_known_time_data()
    {
        QTest::addColumn<QString>("recorded");
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QStringList>("fields"); // day, hour, minute, second as the panel shows them

        QTest::newRow("over a month end") << "2017:01:31 22:15:00" << "2017-02-01 01:20:30"
                                          << QStringList{"", "3", "5", "30"};
        QTest::newRow("a month and a day on") << "2017:01:31 10:00:00" << "2017-03-02 10:00:00"
                                              << QStringList{"30", "", "", ""};
        QTest::newRow("onto the leap day") << "2016:02:28 20:00:00" << "2016-02-29 08:30:00"
                                           << QStringList{"", "12", "30", ""};
        QTest::newRow("back over the leap day") << "2016:03:01 00:00:10" << "2016-02-28 23:00:00"
                                                << QStringList{"-1", "-1", "", "-10"};
        QTest::newRow("a day over the spring change") << "2018:03:24 12:00:00" << "2018-03-25 12:00:00"
                                                      << QStringList{"1", "", "", ""};
        QTest::newRow("across the skipped hour") << "2018:03:25 01:30:00" << "2018-03-25 03:30:00"
                                                 << QStringList{"", "1", "", ""};
        QTest::newRow("across the repeated hour") << "2018:10:28 01:30:00" << "2018-10-28 03:30:00"
                                                  << QStringList{"", "3", "", ""};
        QTest::newRow("a year back") << "2019:06:01 12:00:00" << "2018-06-01 11:00:00"
                                     << QStringList{"-365", "-1", "", ""};
    }

    void offset_from_one_known_time()
    {
        QFETCH(QString, recorded);
        QFETCH(QString, entered);
        QFETCH(QStringList, fields);
        const QDateTime target = QDateTime::fromString(entered, "yyyy-MM-dd HH:mm:ss");
        make_tagged_photo(dir->path(), "a.jpg", {{"ExifIFD:DateTimeOriginal", "2010:05:05 10:00:00"}});
        make_tagged_photo(dir->path(), "b.jpg", {{"ExifIFD:DateTimeOriginal", recorded}});
        window = test_support::open_main_window();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QFileOpenEvent open(dir->path());
        QApplication::sendEvent(qApp, &open);
        QTableView* table = table_of(window);
        QTRY_COMPARE(table->model()->rowCount(), 2);

        table->setFocus(Qt::TabFocusReason);
        table->setCurrentIndex(table->model()->index(0, 0));
        QTest::keyClick(table, Qt::Key_Down);
        QCOMPARE(table->currentIndex().row(), 1);
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            auto* edit = dialog->findChild<QDateTimeEdit*>();
            QCOMPARE(edit->time(), QTime::fromString(recorded.mid(11), "HH:mm:ss"));
            edit->setDate(target.date());
            edit->setTime(target.time());
        });
        QTest::keyClick(table, Qt::Key_F2);
        QTRY_VERIFY(seen->answered);

        QTRY_COMPARE(table->model()->index(1, 2).data(Qt::UserRole).toDateTime().toString("yyyy-MM-dd HH:mm:ss"),
                     entered);
        QCOMPARE((QStringList{field(window, "lineedit_day"), field(window, "lineedit_hour"),
                              field(window, "lineedit_minute"), field(window, "lineedit_second")}),
                 fields);
        QCOMPARE(field(window, "lineedit_year") + field(window, "lineedit_month"), QString());
    }

    // Enter does the same as F2; the zone field is left alone.
    void enter_opens_it_too_and_the_zone_stays()
    {
        make_tagged_photo(dir->path(), "a.jpg", {{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}});
        window = test_support::open_main_window();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "2");
        QFileOpenEvent open(dir->filePath("a.jpg"));
        QApplication::sendEvent(qApp, &open);
        QTableView* table = table_of(window);
        QTRY_COMPARE(table->model()->rowCount(), 1);
        table->setFocus(Qt::TabFocusReason);
        table->setCurrentIndex(table->model()->index(0, 0));
        auto seen = test_support::answer_next_box("OK", [](QDialog* dialog) {
            dialog->findChild<QDateTimeEdit*>()->setTime(QTime(19, 35, 5));
        });
        QTest::keyClick(table, Qt::Key_Return);
        QTRY_VERIFY(seen->answered);
        QTRY_COMPARE(field(window, "lineedit_minute"), QString("5"));
        QCOMPARE(field(window, "lineedit_hour"), QString("1"));
        QCOMPARE(field(window, "lineedit_timezone"), QString("2"));
    }

    void german_texts_data()
    {
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("german");
        QTest::newRow("menu") << "MainWindow" << "Set the correct time of this photo…"
                              << "Richtige Zeit dieses Fotos einstellen…";
        QTest::newRow("not loaded") << "MainWindow" << "Not loaded" << "Nicht geladen";
        QTest::newRow("dialog") << "dialog_correct_time" << "Correct time:" << "Richtige Zeit:";
        QTest::newRow("usage") << "command_line" << "[FILE|FOLDER]..." << "[DATEI|ORDNER]...";
        // Qt's own catalogue names a wrong option.
        QTest::newRow("Qt's") << "QCommandLineParser" << "Unknown option '%1'." << "Unbekannte Option '%1'.";
    }

    void german_texts()
    {
        QFETCH(QString, context);
        QFETCH(QString, source);
        const QList<QTranslator*> translators = ondo::install_translators("de");
        const QString text = QCoreApplication::translate(qPrintable(context), qPrintable(source));
        for (QTranslator* translator : translators)
            QCoreApplication::removeTranslator(translator);
        QTEST(text, "german");
    }

    void cleanupTestCase() { ondo::exiftool::shutdown(true); }
};

int main(int argc, char** argv)
{
    // Before anything reads the local clock.
    qputenv("TZ", "Europe/Berlin");
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_keyboard test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keyboard.moc"
