#include "mainwindow.h"
#include "run_pace.h"
#include "table_data_model.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QAction>
#include <QApplication>
#include <QDateTimeEdit>
#include <QDialog>
#include <QDir>
#include <QFontInfo>
#include <QHeaderView>
#include <QScreen>
#include <QFileDialog>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QWindow>
#include <QtTest>

#include <cmath>

using test_support::make_tagged_photo;

const exif_tag_map recorded{{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}};

// The window with the real ExifTool behind it, on the clock of Europe/Berlin for its known daylight saving.
class tst_main_window : public test_support::window_test {
    Q_OBJECT

private slots:
    // In album: one.jpg, two.png, .hidden.jpg and sub/deep.jpg; beside it notes.xyz.
    void roads_in_data()
    {
        QTest::addColumn<QString>("road");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("drop: a folder one level deep, no extension check")
            << "drop" << QStringList{"album", "https://example.org/photo.jpg", "missing.jpg", "notes.xyz"}
            << QStringList{"notes.xyz", "one.jpg", "two.png"};
        QTest::newRow("folder open event") << "open" << QStringList{"album"} << QStringList{"one.jpg", "two.png"};
        QTest::newRow("open event on a hidden window is lost") << "hidden" << QStringList{"album/one.jpg"} << QStringList();
    }

    void roads_in()
    {
        QFETCH(QString, road);
        QFETCH(QStringList, items);
        QDir root(dir->path());
        QVERIFY(root.mkpath("album/sub"));
        for (const char* name : {"album/one.jpg", "album/two.png", "album/.hidden.jpg", "album/sub/deep.jpg"})
            make_tagged_photo(dir->path(), name, recorded);
        QFile text(root.filePath("notes.xyz"));
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("not a photo"));
        text.close();
        make_window();
        if (road == "hidden")
            window->hide();

        QList<QUrl> urls;
        for (const QString& item : items)
            urls << (item.startsWith("https:") ? QUrl(item) : QUrl::fromLocalFile(root.filePath(item)));
        if (road == "drop")
            QVERIFY(test_support::drop_urls(window, urls));
        else
            open(urls.first().toLocalFile());
        QTEST(column_texts(), "expected");
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    // Ctrl+O opens the file dialog where the last load was; its labels are readable.
    void file_dialog_remembers_the_directory()
    {
        QDir root(dir->path());
        QVERIFY(root.mkpath("shots"));
        const QString shots = root.filePath("shots");
        make_tagged_photo(shots, "a.jpg", recorded);
        make_tagged_photo(shots, "b.jpg", recorded);
        QSettings().setValue("last_load_path", root.path());
        make_window(true);

        QString opened;
        QString name_box = "not looked at";
        double contrast = 0; // of the least readable label
        const auto seen = test_support::answer_next_box("Open", [&](QDialog* box) {
            auto* dialog = qobject_cast<QFileDialog*>(box);
            opened = dialog->directory().absolutePath();
            name_box = dialog->findChild<QLineEdit*>("fileNameEdit")->text();
            const QImage shot = dialog->grab().toImage();
            contrast = 21;
            for (const char* label : {"lookInLabel", "fileNameLabel", "fileTypeLabel"}) {
                auto* w = dialog->findChild<QWidget*>(label);
                contrast = qMin(contrast, text_contrast(shot.copy(QRect(w->mapTo(dialog, QPoint()), w->size()))));
            }
            dialog->setDirectory(shots);
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText("\"a.jpg\" \"b.jpg\"");
        });
        QTest::keyClick(window->findChild<QLineEdit*>("lineedit_year"), Qt::Key_O, Qt::ControlModifier);

        QTRY_VERIFY(seen->answered);
        QCOMPARE(seen->title, QString("Select files"));
        QVERIFY2(contrast >= 4.5, qPrintable(QString::number(contrast)));
        QCOMPARE(name_box, QString());
        QCOMPARE(opened, root.path());
        QCOMPARE(column_texts(), QStringList({"a.jpg", "b.jpg"}));
        QCOMPARE(QSettings().value("last_load_path").toString(), shots);
    }

    // The design's sizes are points on a platform where a point is a pixel.
    void text_has_the_design_faces_and_pixel_sizes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("pixels");
        QTest::addColumn<bool>("bold");
        QTest::newRow("table header") << "header" << 14 << true;
        QTest::newRow("format panel heading") << "label_2" << 11 << true;
    }

    void text_has_the_design_faces_and_pixel_sizes()
    {
        QFETCH(QString, text);
        QVERIFY(QGuiApplication::primaryScreen()->logicalDotsPerInchY() != 72);
        make_window();
        const QFontInfo seen(text == "header" ? table()->model()->headerData(0, Qt::Horizontal, Qt::FontRole).value<QFont>()
                                              : window->findChild<QWidget*>(text)->font());
        QCOMPARE(seen.family(), QString("FreeSans"));
        QTEST(seen.pixelSize(), "pixels");
        QTEST(seen.bold(), "bold");
    }

    // The bar of a long run: its count, then the pace and the time left at it.
    void the_pace_of_a_run_data()
    {
        QTest::addColumn<int>("done");
        QTest::addColumn<int>("total");
        QTest::addColumn<qint64>("elapsed_ms");
        QTest::addColumn<QString>("format");
        QTest::newRow("first half second") << 40 << 1000 << qint64(500) << "%v of %m";
        QTest::newRow("seconds left") << 100 << 1000 << qint64(2000) << "%v of %m, 50 files/s, 18 s left";
        QTest::newRow("minutes left") << 1000 << 100000 << qint64(10000) << "%v of %m, 100 files/s, 16 min 30 s left";
        QTest::newRow("slow and long") << 3 << 20000 << qint64(4000) << "%v of %m, 0.8 files/s, 7 h 24 min left";
        QTest::newRow("done") << 1000 << 1000 << qint64(9000) << "%v of %m";
    }

    void the_pace_of_a_run()
    {
        QFETCH(int, done);
        QFETCH(int, total);
        QFETCH(qint64, elapsed_ms);
        QTEST(run_pace_format(done, total, elapsed_ms), "format");
    }

    // The application hands the window its file-open requests, not its own events.
    void queued_calls_run_once()
    {
        make_window();
        int calls = 0;
        QTimer::singleShot(0, qApp, [&calls] { ++calls; });
        QTRY_COMPARE(calls, 1);
        QTest::qWait(50);
        QCOMPARE(calls, 1);
    }

    // A Wayland compositor places a dialog by the parent it names.
    void dialogs_name_the_window()
    {
        make_window();
        const QList<QDialog*> dialogs = window->findChildren<QDialog*>();
        QVERIFY(dialogs.size() >= 2);
        for (QDialog* dialog : dialogs) {
            dialog->show();
            QVERIFY2(dialog->windowHandle() && dialog->windowHandle()->transientParent() == window->windowHandle(),
                     qPrintable(dialog->objectName() + dialog->windowTitle()));
            dialog->hide();
        }
    }

    // A larger window gives its room to the table, in height and in width.
    void the_table_takes_a_larger_window()
    {
        make_window();
        window->resize(800, 700);
        QApplication::processEvents();
        const QSize before = table()->size();
        window->resize(1200, 1000);
        QApplication::processEvents();
        QCOMPARE(table()->height() - before.height(), 300);
        QCOMPARE(table()->width() - before.width(), 400);
    }

    // Two cameras that both write DSC_0001.JPG; taking rows out writes nothing.
    void repeated_names_and_removed_rows()
    {
        QDir root(dir->path());
        QVERIFY(root.mkpath("100CANON") && root.mkpath("100NIKON"));
        const QStringList paths = {make_tagged_photo(dir->filePath("100CANON"), "DSC_0001.JPG", recorded),
                                   make_tagged_photo(dir->filePath("100NIKON"), "DSC_0001.JPG", recorded),
                                   make_tagged_photo(dir->filePath("100NIKON"), "DSC_0002.JPG", recorded)};
        const QString listing = test_support::listing(paths[1]).join('\n');
        make_window();
        window->load_files(paths);
        QCOMPARE(column_texts(), (QStringList{"100CANON/DSC_0001.JPG", "100NIKON/DSC_0001.JPG", "DSC_0002.JPG"}));
        QCOMPARE(table()->model()->index(2, 0).data(Qt::ToolTipRole).toString(), paths[2]);

        table()->setFocus();
        table()->selectRow(1);
        QTest::keyClick(table(), Qt::Key_Delete);
        QCOMPARE(column_texts(), (QStringList{"DSC_0001.JPG", "DSC_0002.JPG"}));
        table()->selectRow(1);
        window->findChild<QAction*>("action_remove_from_list")->trigger();
        QCOMPARE(column_texts(), QStringList{"DSC_0001.JPG"});
        QCOMPARE(test_support::listing(paths[1]).join('\n'), listing);
    }

    // The undo button is off until a fix; a button reached by Tab must show it, or the keyboard's place is lost.
    void tab_goes_through_the_window_in_reading_order()
    {
        make_window(true);
        auto* help = window->findChild<QPushButton*>("button_help");
        const QImage plain = help->grab().toImage();
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
        help->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(help->hasFocus());
        QVERIFY(help->grab().toImage() != plain);
    }

    // Screen readers name each icon button by its tooltip; docks show the program's icon.
    void the_window_and_its_buttons_are_named()
    {
        make_window();
        const auto buttons = window->findChildren<QPushButton*>(QRegularExpression("^button_"));
        QCOMPARE(buttons.size(), 7);
        for (QPushButton* button : buttons) {
            QVERIFY2(!button->accessibleName().isEmpty(), qPrintable(button->objectName()));
            QCOMPARE(button->accessibleName(), button->toolTip());
        }
        const QList<QSize> sizes = window->windowIcon().availableSizes();
        QVERIFY(sizes.contains(QSize(16, 16)) && sizes.contains(QSize(256, 256)));
    }

    // The second row's dialog, reached by keys alone, sets the offset; a zone typed beforehand is left alone.
    void offset_from_one_known_time_data()
    {
        QTest::addColumn<QString>("recorded");
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QStringList>("fields"); // day, hour, minute, second, zone as the panel shows them
        QTest::addColumn<int>("key");
        auto row = [](const char* name, const char* recorded, const char* entered, const QStringList& fields, int key = Qt::Key_F2) {
            QTest::newRow(name) << recorded << entered << fields << key;
        };
        row("over a month end", "2017:01:31 22:15:00", "2017-02-01 01:20:30", {"", "3", "5", "30", ""});
        row("a month and a day on", "2017:01:31 10:00:00", "2017-03-02 10:00:00", {"30", "", "", "", ""});
        row("onto the leap day", "2016:02:28 20:00:00", "2016-02-29 08:30:00", {"", "12", "30", "", ""});
        row("back over the leap day", "2016:03:01 00:00:10", "2016-02-28 23:00:00", {"-1", "-1", "", "-10", ""});
        row("a day over the spring change", "2018:03:24 12:00:00", "2018-03-25 12:00:00", {"1", "", "", "", ""});
        row("across the skipped hour", "2018:03:25 01:30:00", "2018-03-25 03:30:00", {"", "1", "", "", ""});
        row("across the repeated hour", "2018:10:28 01:30:00", "2018-10-28 03:30:00", {"", "3", "", "", ""});
        row("a year back", "2019:06:01 12:00:00", "2018-06-01 11:00:00", {"-365", "-1", "", "", ""});
        row("Enter, with a zone", "2017:06:21 18:30:05", "2017-06-21 19:35:05", {"", "1", "5", "", "2"}, Qt::Key_Return);
    }

    void offset_from_one_known_time()
    {
        QFETCH(QString, recorded);
        QFETCH(QString, entered);
        QFETCH(QStringList, fields);
        QFETCH(int, key);
        const QDateTime target = QDateTime::fromString(entered, "yyyy-MM-dd HH:mm:ss");
        make_tagged_photo(dir->path(), "a.jpg", {{"ExifIFD:DateTimeOriginal", "2010:05:05 10:00:00"}});
        make_tagged_photo(dir->path(), "b.jpg", {{"ExifIFD:DateTimeOriginal", recorded}});
        make_window(true);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), fields.last());
        open(dir->path());
        QTRY_COMPARE(table()->model()->rowCount(), 2);

        table()->setFocus(Qt::TabFocusReason);
        table()->setCurrentIndex(table()->model()->index(0, 0));
        QTest::keyClick(table(), Qt::Key_Down);
        QCOMPARE(table()->currentIndex().row(), 1);
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            auto* edit = dialog->findChild<QDateTimeEdit*>();
            QCOMPARE(edit->time(), QTime::fromString(recorded.mid(11), "HH:mm:ss"));
            edit->setDate(target.date());
            edit->setTime(target.time());
        });
        QTest::keyClick(table(), Qt::Key(key));
        QTRY_VERIFY(seen->answered);

        QTRY_COMPARE(table()->model()->index(1, 2).data(Qt::UserRole).toDateTime().toString("yyyy-MM-dd HH:mm:ss"), entered);
        QStringList shown;
        for (const char* name : {"lineedit_day", "lineedit_hour", "lineedit_minute", "lineedit_second", "lineedit_timezone"})
            shown << field(name);
        QCOMPARE(shown, fields);
        QCOMPARE(field("lineedit_year") + field("lineedit_month"), QString());
    }

    // The longest texts of a row and of the offset fields fit a window of 800 pixels.
    void the_longest_texts_fit_at_800_pixels()
    {
        QSettings().setValue("date_format", "dd.MM.yyyy"); // chosen, so that no locale's default counts
        make_window();
        QCOMPARE(window->width(), 800);
        window->load_files({make_tagged_photo(dir->path(), "a.jpg",
            test_support::tag_map("ExifIFD:DateTimeOriginal=2017:06:21 18:30:05;IPTC:TimeCreated=18:30:05+04:00"))});
        auto* zone = window->findChild<QLineEdit*>("lineedit_timezone");
        QTest::keyClicks(zone, "-11.5");
        QCOMPARE(column_texts(1), QStringList("21.06.2017 - 18:30:05  UTC+04:00"));
        QApplication::processEvents();
        for (int column : {1, 2}) {
            const int needed = table()->sizeHintForIndex(table()->model()->index(0, column)).width();
            const int has = table()->horizontalHeader()->sectionSize(column);
            QVERIFY2(needed <= has, qPrintable(QString("column %1: %2 > %3").arg(column).arg(needed).arg(has)));
        }
        // A six-character signed value, with the field's frame and inner margins beside it.
        for (auto* field : window->findChild<QWidget*>("widget_time_adjust")->findChildren<QLineEdit*>())
            QVERIFY2(field->fontMetrics().horizontalAdvance("-86400") + 2 * (1 + 2) <= field->width(),
                qPrintable(field->objectName()));
    }

    // Each panel's edges in a picture of the window are those of its border image, stretched.
    void panels_show_their_frames_data()
    {
        QTest::addColumn<QString>("panel");
        QTest::addColumn<QString>("image");
        QTest::newRow("offset") << "widget_time_adjust" << ":/gui/panel/border_topless.png";
        QTest::newRow("display format") << "widget_datetime_format" << ":/gui/panel/border.png";
    }

    void panels_show_their_frames()
    {
        QFETCH(QString, panel);
        QFETCH(QString, image);
        make_window();
        const QImage shot = window->grab().toImage();
        const QImage border(image);
        QVERIFY(!border.isNull());
        auto* w = window->findChild<QWidget*>(panel);
        const QRect r(w->mapTo(window, QPoint()), w->size());
        const int middle = border.width() / 2;
        // Left and top edges: the right and bottom ones come from the same stretched image.
        for (const auto& edge : {qMakePair(QPoint(r.left(), r.center().y()), QPoint(0, middle)),
                 qMakePair(QPoint(r.center().x(), r.top()), QPoint(middle, 0))}) {
            const QColor seen = shot.pixelColor(edge.first), drawn = border.pixelColor(edge.second);
            // Stretching may round a channel by one.
            const int off = qAbs(seen.red() - drawn.red()) + qAbs(seen.green() - drawn.green()) + qAbs(seen.blue() - drawn.blue());
            QVERIFY2(off <= 6, qPrintable(panel + ": " + seen.name() + ", image " + drawn.name()));
        }
    }

private:
    // Contrast ratio, as for web text, between a label's corner and the colour furthest from it in lightness.
    static double text_contrast(const QImage& picture)
    {
        auto luminance = [](QRgb c) {
            auto channel = [](int v) {
                const double s = v / 255.0;
                return s <= 0.03928 ? s / 12.92 : std::pow((s + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * channel(qRed(c)) + 0.7152 * channel(qGreen(c)) + 0.0722 * channel(qBlue(c));
        };
        const double back = luminance(picture.pixel(0, 0));
        double text = back;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if (std::abs(luminance(picture.pixel(x, y)) - back) > std::abs(text - back))
                    text = luminance(picture.pixel(x, y));
        return (qMax(text, back) + 0.05) / (qMin(text, back) + 0.05);
    }

    void make_window(bool active = false)
    {
        window = test_support::open_main_window();
        if (active)
            QVERIFY(QTest::qWaitForWindowActive(window));
    }
    static void open(const QString& path)
    {
        QFileOpenEvent event(path);
        QApplication::sendEvent(qApp, &event);
    }
    QString field(const char* name) const { return window->findChild<QLineEdit*>(name)->text(); }
};

int main(int argc, char** argv)
{
    // Before anything reads the local clock.
    qputenv("TZ", "Europe/Berlin");
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_main_window test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_main_window.moc"
