#include "camera.h"
#include "camera_clocks.h"
#include "camera_timeline.h"
#include "cameras_panel.h"
#include "datetime_format.h"
#include "run_pace.h"
#include "time_adjustment.h"
#include "time_offsets.h"

#include "processes.h"
#include "window_test.h"

#include <ondo/application_information_box.h>
#include <ondo/button_dark.h>
#include <ondo/git_version.h>
#include <ondo/language.h>
#include <ondo/message_box.h>
#include <ondo/qt_compat.h>
#include <ondo/widgets.h>

#include <cmath>

using test_support::answer_next_box;
using test_support::make_tagged_photo;
using test_support::fetched;
using offset = QList<QVariant>;
using parts = QList<int>;
Q_DECLARE_METATYPE(QMessageBox::StandardButtons)

namespace {

// The control key as the help pages name it on this platform, in English and in German.
#ifdef Q_OS_MACOS
const QString ctrl_en = "Cmd", ctrl_de = "Cmd";
#else
const QString ctrl_en = "Ctrl", ctrl_de = "Strg";
#endif

// A report of the zone field alone: whether it holds a zone, and that zone in hours.
offset zone(bool stated, double hours) { return offset{0, 0, 0, 0, 0, 0, stated, hours}; }

// The lightest pixel inside the frame of `edit`: the core of its glyphs.
QRgb lightest_inside(QWidget& edit)
{
    const QImage image = edit.grab().toImage();
    QRgb lightest = 0;
    for (int y = 2; y < image.height() - 2; ++y)
        for (int x = 2; x < image.width() - 2; ++x)
            if (qGray(image.pixel(x, y)) > qGray(lightest))
                lightest = image.pixel(x, y);
    return lightest;
}

const qint64 nikon_ahead = 3600 + 3 * 60 + 12;
constexpr qint64 hour = 3600 * 1000;
constexpr qint64 morning = Q_INT64_C(1689321600000); // 2023-07-14 08:00
const char* const editor_names[] = {"correction_days", "correction_hours", "correction_minutes", "correction_seconds"};

QString at(const QDateTime& base, qint64 seconds) { return base.addSecs(seconds).toString("yyyy:MM:dd hh:mm:ss"); }

// A camera with photos at `hours` after the morning, named after the camera and their order.
timeline_lane lane(const QString& name, const QVector<double>& hours)
{
    timeline_lane result{name, {}, {}};
    for (const double h : hours) {
        result.times << morning + qint64(h * hour);
        result.paths << QStringLiteral("%1%2").arg(name).arg(result.paths.size());
    }
    return result;
}

// A new-time mark's pixel; text, rules, background and the faint old marks are dimmer or grey.
bool bright(QRgb pixel) { return QColor(pixel).hsvSaturation() > 90 && QColor(pixel).value() > 170; }
bool faint(QRgb pixel) { return !bright(pixel) && QColor(pixel).hsvSaturation() > 40; }

// The middle of each run of bright marks: of rows that hold any, or of the columns along `row`.
QVector<int> marks(const QImage& image, int row = -1)
{
    const int size = row < 0 ? image.height() : image.width();
    QVector<int> result;
    for (int i = 0, start = -1; i <= size; ++i) {
        bool set = i < size && row >= 0 && bright(image.pixel(i, row));
        for (int x = 0; i < size && row < 0 && x < image.width() && !set; ++x)
            set = bright(image.pixel(x, i));
        if (set && start < 0)
            start = i;
        if (!set && start >= 0) {
            result << (start + i - 1) / 2;
            start = -1;
        }
    }
    return result;
}

// `timeline` shown with `lanes` at its usual size, as painted.
QImage show(camera_timeline& timeline, const QVector<timeline_lane>& lanes)
{
    timeline.set_lanes(lanes);
    timeline.resize(400, timeline.sizeHint().height());
    timeline.show();
    return timeline.grab().toImage();
}

// Cameras "cam0", "cam1"... with names in falling order, so that a panel that sorts them shows it; cam0 and
// cam2 with GPS estimates.
QList<camera_summary> summaries(int count)
{
    QList<camera_summary> list;
    for (int i = 0; i < count; ++i)
        list.append({QString("cam%1").arg(i), QString("Model %1").arg(char('Z' - i)), 10 + i, {}, {}, {}});
    if (count > 0)
        list[0].gps = gps_estimate{3782, 12, 3};
    if (count > 2)
        list[2].gps = gps_estimate{-172805, 4, 3725};
    return list;
}

// The widget `name` in the panel's row of camera `key`.
template <typename T>
T* in_row(const QWidget& panel, const QString& key, const char* name)
{
    for (T* widget : panel.findChildren<T*>(name))
        if (widget->property("camera") == key)
            return widget;
    return nullptr;
}

// Each camera's correction and what its row shows, days first: "cam0 120 = 0 0 2 0, cam1 ...".
QString corrections(const time_offsets& offsets, const QWidget& panel)
{
    QStringList rows;
    for (const QString& key : {QString("cam0"), QString("cam1")}) {
        QStringList row{key, QString::number(offsets.correction(key)), "="};
        for (const char* name : editor_names)
            row << QString::number(in_row<QSpinBox>(panel, key, name)->value());
        rows << row.join(' ');
    }
    return rows.join(", ");
}

} // namespace

// Catches what would go to the browser.
class url_catcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls << url; }
};

// The window with the real ExifTool behind it, on the clock of Europe/Berlin for its known daylight saving;
// its panels, the cameras' names, clocks and corrections with their panel and timeline, the toolkit's
// widgets and boxes, and the catalogues.
class tst_main_window : public test_support::window_test {
    Q_OBJECT
public:
    ~tst_main_window() override { QDesktopServices::unsetUrlHandler("file"); }

private slots:
    void initTestCase()
    {
        // A temporary folder of this test's own, so that no help page of another run is read back.
        qputenv("TMPDIR", temp.path().toLocal8Bit());
        QDesktopServices::setUrlHandler("file", &catcher, "open");
    }

    // In album: one.jpg, two.png, .hidden.jpg and sub/deep.jpg; beside it notes.xyz.
    void roads_in_data()
    {
        test_support::columns<QString, QStringList, QStringList>({"road", "items", "expected"});
        QTest::newRow("drop: a folder one level deep, no extension check")
            << "drop" << QStringList{"album", "https://example.org/photo.jpg", "missing.jpg", "notes.xyz"}
            << QStringList{"notes.xyz", "one.jpg", "two.png"};
        QTest::newRow("folder open event") << "open" << QStringList{"album"} << QStringList{"one.jpg", "two.png"};
        QTest::newRow("open event on a hidden window is lost") << "hidden" << QStringList{"album/one.jpg"} << QStringList();
    }

    void roads_in()
    {
        QFETCH(QString, road);
        QVERIFY(QDir(dir->path()).mkpath("album/sub"));
        for (const char* name : {"album/one.jpg", "album/two.png", "album/.hidden.jpg", "album/sub/deep.jpg"})
            make_tagged_photo(dir->path(), name);
        QVERIFY(test_support::write_file(dir->filePath("notes.xyz"), "not a photo"));
        make_window();
        if (road == "hidden")
            window->hide();
        QList<QUrl> urls;
        for (const QString& item : fetched<QStringList>("items"))
            urls << (item.startsWith("https:") ? QUrl(item) : QUrl::fromLocalFile(dir->filePath(item)));
        if (road == "drop")
            QVERIFY(test_support::drop_urls(window, urls));
        else
            open(urls.first().toLocalFile());
        QTEST(column_texts(), "expected");
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    // A fresh window: the design's faces (points, where a point is a pixel) and panel borders; screen readers
    // name each icon button by its tooltip; Tab goes in reading order and shows where it is; dialogs name the
    // window, as a Wayland compositor places them by it; a larger window's room goes to the table, and at 800
    // pixels the longest texts fit. The application hands the window file-open requests, not its own events.
    void a_fresh_window()
    {
        QVERIFY(QGuiApplication::primaryScreen()->logicalDotsPerInchY() != 72);
        QSettings().setValue("date_format", "dd.MM.yyyy"); // chosen, so that no locale's default counts
        make_window(true);
        auto face = [](const QFont& font) {
            const QFontInfo seen(font);
            return QString("%1 %2%3").arg(seen.family()).arg(seen.pixelSize()).arg(seen.bold() ? " bold" : "");
        };
        const QFont header_font = table()->model()->headerData(0, Qt::Horizontal, Qt::FontRole).value<QFont>();
        QCOMPARE(face(header_font) + ", " + face(window->findChild<QWidget*>("label_2")->font()),
                 QString("FreeSans 14 bold, FreeSans 11 bold"));

        const QImage shot = window->grab().toImage();
        for (const QString& panel : {"widget_time_adjust", "widget_datetime_format"}) {
            const QImage border(panel == "widget_time_adjust" ? ":/gui/panel/border_topless.png"
                                                               : ":/gui/panel/border.png");
            QVERIFY(!border.isNull());
            auto* w = window->findChild<QWidget*>(panel);
            const QRect r(w->mapTo(window, QPoint()), w->size());
            const int middle = border.width() / 2;
            // Left and top edges (the right and bottom ones come from the same image); stretching may round a
            // channel by one.
            for (const auto& [place, source] : {qMakePair(QPoint(r.left(), r.center().y()), QPoint(0, middle)),
                     qMakePair(QPoint(r.center().x(), r.top()), QPoint(middle, 0))}) {
                const QColor seen = shot.pixelColor(place), drawn = border.pixelColor(source);
                const int off = qAbs(seen.red() - drawn.red()) + qAbs(seen.green() - drawn.green())
                    + qAbs(seen.blue() - drawn.blue());
                QVERIFY2(off <= 6, qPrintable(panel + ": " + seen.name() + ", image " + drawn.name()));
            }
        }

        const auto buttons = window->findChildren<QPushButton*>(QRegularExpression("^button_"));
        QCOMPARE(buttons.size(), 7);
        for (QPushButton* button : buttons)
            QVERIFY2(!button->accessibleName().isEmpty() && button->accessibleName() == button->toolTip(),
                qPrintable(button->objectName()));
        const QList<QSize> sizes = window->windowIcon().availableSizes();
        QVERIFY(sizes.contains(QSize(16, 16)) && sizes.contains(QSize(256, 256)));

        // The undo button is off until a fix; a button reached by Tab must show it, or the keyboard's place is lost.
        auto* help = window->findChild<QPushButton*>("button_help");
        const QImage plain = help->grab().toImage();
        QStringList order{"button_settings"};
        window->findChild<QWidget*>(order.first())->setFocus(Qt::TabFocusReason);
        for (int i = 0; i < 30 && (order.size() == 1 || order.last() != order.first()); ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            order << QApplication::focusWidget()->objectName();
        }
        QCOMPARE(order.join(' '), QString("button_settings button_about button_help button_fix_time button_load_images "
            "button_reset lineedit_year lineedit_month lineedit_day lineedit_hour lineedit_minute lineedit_second "
            "lineedit_timezone rb_ddmmyyyy_slash rb_hhmmss tableView button_settings"));
        help->setFocus(Qt::TabFocusReason);
        QVERIFY(help->grab().toImage() != plain);

        const QList<QDialog*> dialogs = window->findChildren<QDialog*>();
        QVERIFY(dialogs.size() >= 2);
        for (QDialog* dialog : dialogs) {
            dialog->show();
            QVERIFY2(dialog->windowHandle() && dialog->windowHandle()->transientParent() == window->windowHandle(),
                     qPrintable(dialog->objectName() + dialog->windowTitle()));
            dialog->hide();
        }

        auto table_at = [this](int width, int height) {
            window->resize(width, height);
            QApplication::processEvents();
            return table()->size();
        };
        const QSize large = table_at(1200, 1000);
        QCOMPARE(large - table_at(800, 700), QSize(400, 300));
        window->load_files(make_files({"a.jpg|ExifIFD:DateTimeOriginal=#;IPTC:TimeCreated=18:30:05+04:00"}));
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "-11.5");
        QCOMPARE(column_texts(1), QStringList("21.06.2017 - 18:30:05  UTC+04:00"));
        QApplication::processEvents();
        for (int column : {1, 2}) {
            const int needed = table()->sizeHintForIndex(table()->model()->index(0, column)).width();
            QVERIFY2(needed <= table()->horizontalHeader()->sectionSize(column), qPrintable(QString::number(column)));
        }
        // A six-character signed value, with the field's frame and inner margins beside it.
        for (auto* field : window->findChild<QWidget*>("widget_time_adjust")->findChildren<QLineEdit*>())
            QVERIFY2(field->fontMetrics().horizontalAdvance("-86400") + 2 * (1 + 2) <= field->width(),
                qPrintable(field->objectName()));

        int calls = 0;
        QTimer::singleShot(0, qApp, [&calls] { ++calls; });
        QTRY_COMPARE(calls, 1);
        QTest::qWait(50);
        QCOMPARE(calls, 1);
    }

    // The bar of a long run: its count, then the pace and the time left at it.
    void the_pace_of_a_run_data()
    {
        test_support::columns<int, int, qint64, QString>({"done", "total", "elapsed_ms", "format"});
        QTest::newRow("first half second") << 40 << 1000 << qint64(500) << "%v of %m";
        QTest::newRow("seconds left") << 100 << 1000 << qint64(2000) << "%v of %m, 50 files/s, 18 s left";
        QTest::newRow("minutes left") << 1000 << 100000 << qint64(10000) << "%v of %m, 100 files/s, 16 min 30 s left";
        QTest::newRow("slow and long") << 3 << 20000 << qint64(4000) << "%v of %m, 0.8 files/s, 7 h 24 min left";
        QTest::newRow("done") << 1000 << 1000 << qint64(9000) << "%v of %m";
    }

    void the_pace_of_a_run()
    {
        QTEST(run_pace_format(fetched<int>("done"), fetched<int>("total"), fetched<qint64>("elapsed_ms")), "format");
    }

    // Two cameras that both write DSC_0001.JPG; taking rows out writes nothing.
    void repeated_names_and_removed_rows()
    {
        QVERIFY(QDir(dir->path()).mkpath("100CANON") && QDir(dir->path()).mkpath("100NIKON"));
        const QStringList paths = make_files({"100CANON/DSC_0001.JPG|ExifIFD:DateTimeOriginal=#",
            "100NIKON/DSC_0001.JPG|ExifIFD:DateTimeOriginal=#", "100NIKON/DSC_0002.JPG|ExifIFD:DateTimeOriginal=#"});
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

    // The second row's dialog, reached by keys alone, sets the offset; a zone typed beforehand is left alone.
    void offset_from_one_known_time_data()
    {
        // fields: day, hour, minute, second, zone as the panel shows them
        test_support::columns<QString, QString, QStringList, int>({"recorded", "entered", "fields", "key"});
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
        make_files({"a.jpg|ExifIFD:DateTimeOriginal=2010:05:05 10:00:00",
                    "b.jpg|ExifIFD:DateTimeOriginal=" + recorded});
        make_window(true);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), fields.last());
        open(dir->path());
        QTRY_COMPARE(table()->model()->rowCount(), 2);
        table()->setFocus(Qt::TabFocusReason);
        table()->setCurrentIndex(table()->model()->index(0, 0));
        QTest::keyClick(table(), Qt::Key_Down);
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            auto* edit = dialog->findChild<QDateTimeEdit*>();
            QCOMPARE(edit->time(), QTime::fromString(recorded.mid(11), "HH:mm:ss"));
            edit->setDate(QDate::fromString(entered.left(10), "yyyy-MM-dd"));
            edit->setTime(QTime::fromString(entered.mid(11), "HH:mm:ss"));
        });
        QTest::keyClick(table(), Qt::Key(fetched<int>("key")));
        QTRY_VERIFY(seen->answered);
        QTRY_COMPARE(table()->model()->index(1, 2).data(Qt::UserRole).toDateTime().toString("yyyy-MM-dd HH:mm:ss"), entered);
        QStringList shown; // year, month, then what `fields` holds
        for (auto* edit : window->findChild<QWidget*>("widget_time_adjust")->findChildren<QLineEdit*>())
            shown << edit->text();
        QCOMPARE(shown, QStringList({"", ""}) + fields);
    }

    // `shown`: what the validator leaves of the keys; `refused`: no zone, and it must look so.
    void typing_reports_the_whole_offset_data()
    {
        test_support::columns<QString, QString, QString, QString, offset, bool>(
            {"locale", "field", "keys", "shown", "expected", "refused"});
        QTest::newRow("negative month") << "C" << "lineedit_month" << "-14" << "-14"
                                        << offset{0, -14, 0, 0, 0, 0, false, 0.0} << false;
        QTest::newRow("lone minus is 0") << "C" << "lineedit_hour" << "-" << "-" << zone(false, 0.0) << false;
        // Either decimal sign in either locale: C is what containers and many sessions run under.
        const QList<QPair<QString, double>> zones{
            {"2", 2.0},      {"+2", 2.0},      {"-3.5", -3.5},     {"-3,5", -3.5},   {"\u22123,5", -3.5},
            {"+02:00", 2.0}, {"5:30", 5.5},    {"-03:30", -3.5},   {"5,75", 5.75},   {"-0.25", -0.25},
            {"+14:00", 14.0}, {"-12", -12.0},  {"0", 0.0}};
        for (const char* locale : {"C", "de_DE"}) {
            for (const auto& typed : zones)
                QTest::addRow("zone %s under %s", qUtf8Printable(typed.first), locale)
                    << locale << "lineedit_timezone" << typed.first << typed.first << zone(true, typed.second) << false;
            QTest::addRow("no zone -12,5 under %s", locale) << locale << "lineedit_timezone" << "-12,5" << "-12,5"
                                                         << zone(false, 0.0) << true;
        }
        for (const char* wrong : {"99", "+15", "-12.5", "5.3", "5:20", "+14:30", "-", "+02:", "+0530"})
            QTest::addRow("no zone %s", wrong) << "C" << "lineedit_timezone" << wrong << wrong << zone(false, 0.0) << true;
        QTest::newRow("letters dropped") << "C" << "lineedit_timezone" << "abc" << "" << zone(false, 0.0) << false;
        QTest::newRow("blank and letter dropped") << "C" << "lineedit_timezone" << "+ 2h" << "+2" << zone(true, 2.0) << false;
        QTest::newRow("second decimal sign dropped") << "C" << "lineedit_timezone" << "1.5.5" << "1.55" << zone(false, 0.0) << true;
        QTest::newRow("long text cut") << "C" << "lineedit_timezone" << "-3.500000" << "-3.5000" << zone(true, -3.5) << false;
    }

    void typing_reports_the_whole_offset()
    {
        const auto [field, shown, expected, refused] =
            fetched<QString, QString, offset, bool>({"field", "shown", "expected", "refused"});
        const auto restore = qScopeGuard([before = QLocale()] { QLocale::setDefault(before); });
        QLocale::setDefault(QLocale(fetched<QString>("locale"))); // before the validators take their locale
        time_adjustment panel;
        panel.setWidgetsToolTip("offset tip");
        QSignalSpy spy(&panel, &time_adjustment::time_offset_changed);
        auto* edit = panel.findChild<QLineEdit*>(field);
        // One key at a time; keyClicks sends Latin-1 only, which has no minus sign (U+2212).
        for (QChar key : fetched<QString>("keys"))
            QTest::sendKeyEvent(QTest::Click, edit, Qt::Key(key.toUpper().unicode()), QString(key), Qt::NoModifier);

        auto* year = panel.findChild<QLineEdit*>("lineedit_year");
        const QString zone_tip = panel.findChild<QWidget*>("label_timezone")->toolTip();
        QVERIFY(zone_tip != "offset tip");
        // The zone held, refused, looking so, and the start of the field's tooltip: a refused zone says why.
        auto state = [&](QLineEdit* typed, const QString& tip) {
            typed->ensurePolished();
            year->ensurePolished();
            return QVariantList{panel.has_timezone_offset(), panel.zone_refused(),
                typed->palette().color(QPalette::Text) != year->palette().color(QPalette::Text),
                typed->toolTip().left(tip.size())};
        };
        const QString tip = refused ? '"' + shown + "\" is not a time zone."
                                    : field == "lineedit_timezone" ? zone_tip : QString("offset tip");
        QCOMPARE(edit->text(), shown);
        QCOMPARE(spy.count(), shown.size()); // each key that landed reported once
        if (!spy.isEmpty())
            QCOMPARE(spy.last(), expected);
        QCOMPARE(state(edit, tip), (QVariantList{expected.at(6).toBool(), refused, refused, tip}));

        panel.clear();
        if (!shown.isEmpty())
            QCOMPARE(spy.last(), zone(false, 0.0));
        auto* zone_edit = panel.findChild<QLineEdit*>("lineedit_timezone");
        QCOMPARE(state(zone_edit, zone_tip), (QVariantList{false, false, false, zone_tip}));
    }

    // Until a choice is stored, the row nearest the locale's short date; a click stores before it reports
    // ("format | date | time" as stored then).
    void date_format_data()
    {
        test_support::columns<QString, QString, QString, QString, QString, QString>(
            {"locale", "stored", "radio", "format", "click", "reported"});
        QTest::newRow("en_US") << "en_US" << "" << "rb_mmddyyyy_slash" << "MM/dd/yyyy" << "" << "";
        QTest::newRow("de_DE") << "de_DE" << "" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "" << "";
        QTest::newRow("C") << "C" << "" << "rb_yyyymmdd_dash" << "yyyy-MM-dd" << "" << "";
        QTest::newRow("en_GB: day first, slashes") << "en_GB" << "" << "rb_ddmmyyyy_slash" << "dd/MM/yyyy" << "" << "";
        QTest::newRow("nl_NL: day first, dashes") << "nl_NL" << "" << "rb_ddmmyyyy_dash" << "dd-MM-yyyy" << "" << "";
        QTest::newRow("ja_JP: year first, slashes") << "ja_JP" << "" << "rb_yyyymmdd_slash" << "yyyy/MM/dd" << "" << "";
        QTest::newRow("ko_KR: year first, dots and blanks") << "ko_KR" << "" << "rb_yyyymmdd_dot" << "yyyy.MM.dd" << "" << "";
        QTest::newRow("ar_EG: marks between the fields") << "ar_EG" << "" << "rb_ddmmyyyy_slash" << "dd/MM/yyyy" << "" << "";
        QTest::newRow("en_US, DD.MM.YYYY chosen") << "en_US" << "dd.MM.yyyy" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "" << "";
        QTest::newRow("C, MM/DD/YYYY chosen") << "C" << "MM/dd/yyyy" << "rb_mmddyyyy_slash" << "MM/dd/yyyy" << "" << "";
        QTest::newRow("HH:mm clicked") << "de_DE" << "" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "rb_hhmm"
                                       << "dd.MM.yyyy - HH:mm | dd.MM.yyyy | HH:mm";
        QTest::newRow("stored format that is no row, replaced") << "de_DE" << "yyyy+MM+dd" << "" << "yyyy+MM+dd"
                                                               << "rb_ddmmyyyy_dot" << "dd.MM.yyyy - HH:mm:ss | dd.MM.yyyy | HH:mm:ss";
    }

    void date_format()
    {
        const auto [stored, radio, click, reported] =
            fetched<QString, QString, QString, QString>({"stored", "radio", "click", "reported"});
        const auto restore = qScopeGuard([before = QLocale()] { QLocale::setDefault(before); });
        QLocale::setDefault(QLocale(fetched<QString>("locale")));
        if (!stored.isEmpty())
            QSettings().setValue("date_format", stored);
        auto settings = [] { return QSettings().value("date_format").toString() + " | " + QSettings().value("time_format").toString(); };

        datetime_format panel;
        QCOMPARE(panel.get_datetime_format(), fetched<QString>("format") + " - HH:mm:ss");
        for (QRadioButton* button : panel.findChildren<QRadioButton*>(QRegularExpression("^rb_[dmy]")))
            QVERIFY2(button->isChecked() == (button->objectName() == radio), qPrintable(button->objectName()));
        QCOMPARE(settings(), stored + " | ");
        if (click.isEmpty())
            return;

        QStringList reports; // each with what the store held at that moment
        connect(&panel, &datetime_format::format_changed, this, [&](const QString& text) { reports << text + " | " + settings(); });
        panel.findChild<QRadioButton*>(click)->click();
        QCOMPARE(reports, QStringList{reported});
        datetime_format again;
        QCOMPARE(again.get_datetime_format(), reported.section(" | ", 0, 0));
        QVERIFY(again.findChild<QRadioButton*>(click)->isChecked());
    }

    // Counted texts in both forms by their starts, with the words that were corrected in each.
    void counted_texts_data()
    {
        test_support::columns<QString, QString, QString, QStringList>({"lang", "context", "source", "expected"});
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
            QTest::addRow("en %s", name) << "en" << context << source << en;
            QTest::addRow("de %s", name) << "de" << context << source << de;
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
        // Texts without a count that were corrected or are easily lost, in German: as they stand.
        auto de = [](const char* name, const char* context, const char* source, const char* expected) {
            QTest::newRow(name) << "de" << context << source << QStringList{expected};
        };
        de("log saved", "ondo::application_log", "Application logs saved", "Anwendungsprotokolle gespeichert");
        de("clear log", "ondo::application_log", "Clear application logs", "Anwendungsprotokolle leeren");
        de("clear question", "ondo::application_log", "Do you really want to clear the application logs?",
           "Möchten Sie die Anwendungsprotokolle wirklich leeren?");
        de("credits", "ondo::dialog_about", "Click here for 3rd party library information",
           "Klicken Sie hier, um Informationen über Bibliotheken von Drittanbietern zu erhalten");
        QTest::newRow("website en") << "en" << "ondo::dialog_about" << "Website:" << QStringList{"Website:"};
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

    void counted_texts()
    {
        const auto [source, expected] = fetched<QString, QStringList>({"source", "expected"});
        const test_support::installed_language catalogues(fetched<QString>("lang"));
        const QByteArray context = fetched<QString>("context").toLatin1();
        const bool counted = source.contains("%n");
        for (int n : {1, 2}) {
            const QString text = QCoreApplication::translate(context, source.toUtf8(), nullptr, counted ? n : -1);
            const QString start = expected.at(counted ? n - 1 : 0);
            QVERIFY2((counted ? text.startsWith(start) : text == start) && text.contains(expected.value(2)),
                qPrintable(text));
        }
    }

    // German speaks to the user with "Sie" everywhere: no "du", "dein" or familiar command.
    void german_is_polite_data()
    {
        QTest::addColumn<QString>("file");
        for (const char* file : {"resources/translations/de.ts", "ondo_toolkit/translations/toolkit_de.ts",
                                 "resources/help/index_de.html", "resources/help/guide_de.html"})
            QTest::newRow(file) << file;
    }

    void german_is_polite()
    {
        QFETCH(QString, file);
        const QString text = QString::fromUtf8(test_support::contents(QFINDTESTDATA("../" + file)));
        QVERIFY2(!text.isEmpty(), qPrintable(file));
        const QRegularExpression familiar("\\b(du|dich|dir|dein\\w*|[Kk]licke|[Dd]rücke|[Zz]iehe|[Ww]ähle|[Tt]rage)\\b",
                                          QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpressionMatch found = familiar.match(text);
        QVERIFY2(!found.hasMatch(), qPrintable(found.captured(0) + " in " + file));
    }

    // The language dialog stores a choice at once, and nothing when nothing was chosen; after a new language a
    // prompt keeps the program running by default (inside the event loop, so that a quit would have a loop to end).
    void language_dialog_data()
    {
        test_support::columns<QString, QStringList, QString>({"stored", "selections", "expected"});
        QTest::newRow("opening and closing stores nothing") << "" << QStringList() << "";
        QTest::newRow("Deutsch is stored at once") << "" << QStringList{"Deutsch"} << "de";
        QTest::newRow("fr shows English; there and back stores en") << "fr" << QStringList{"Deutsch", "English"} << "en";
    }

    void language_dialog()
    {
        const auto [stored, expected] = fetched<QString, QString>({"stored", "expected"});
        if (!stored.isEmpty())
            QSettings().setValue("lang", stored);
        make_window();
        QString first_shown;
        QSharedPointer<test_support::seen_box> prompt;
        QTimer::singleShot(0, window, [&]() {
            answer_next_box("close", [&](QDialog* dialog) {
                auto* combo = dialog->findChild<QComboBox*>();
                first_shown = combo->currentText();
                for (const QString& selection : fetched<QStringList>("selections"))
                    combo->setCurrentIndex(combo->findText(selection));
                prompt = answer_next_box("Continue working");
            });
            window->on_button_settings_clicked();
            QTimer::singleShot(0, window, &QWidget::close);
        });
        QCOMPARE(QApplication::exec(), 0);
        prompt->cancelled = true;
        QCOMPARE(QSettings().value("lang"), expected.isEmpty() ? QVariant() : QVariant(expected));
        prompt->buttons.sort();
        QCOMPARE(first_shown + " | " + prompt->buttons.join(", ") + " / " + prompt->default_button,
                 QString(expected != stored ? "English | Continue working, Quit now / Continue working"
                                            : "English |  / "));
    }

    // A window in the stored language: headers, drop picture; Ctrl+O's file dialog where the last load was, in
    // Qt's words, readable and fitting; a counted question; the help page through a temporary file to the browser,
    // or, with no URL handler or launcher, in a dark window of the program's own. French has no catalogue.
    void the_window_speaks_the_language_data()
    {
        // question: its start; dialog: title, load button's tip, look-in label, filter, open, cancel; help: a part of
        // the page, its title, the guide's title
        test_support::columns<QString, QStringList, QString, QStringList, QStringList>(
            {"lang", "headers", "question", "dialog", "help"});
        const QStringList english{"Photos", "Recording Time", "New Recording Time"};
        const QString early = "1 file would be assigned a recording time before";
        QTest::newRow("en") << "en" << english << early
            << QStringList{"Select files", "Load images", "Look in:", "Supported Files (*.", "Open", "Cancel"}
            << QStringList{ctrl_en + " + O", "Help - Tavimo", "Introduction to Tavimo"};
        QTest::newRow("de") << "de" << QStringList{"Foto", "Aufnahmezeitpunkt", "Neuer Aufnahmezeitpunkt"}
            << "1 Datei würde eine Aufnahmezeit vor dem 1. Januar 1972"
            << QStringList{"Dateien auswählen", "Bilder Laden", "Suchen in:", "Unterstützte Dateitypen (*.", "Öffnen",
                           "Abbrechen"}
            << QStringList{ctrl_de + " + Q oder Alt + F4", "Hilfe - Tavimo", "Einführung in Tavimo"};
        QTest::newRow("fr") << "fr" << english << early << QStringList() << QStringList{"", "", ""};
    }

    void the_window_speaks_the_language()
    {
        const auto [lang, help] = fetched<QString, QStringList>({"lang", "help"});
        QFETCH(QStringList, dialog);
        QSettings().setValue("lang", lang);
        const test_support::installed_language catalogues(ondo::get_language_suffix("lang"));
        QVERIFY(QDir(dir->path()).mkpath("shots"));
        const QString shots = dir->filePath("shots");
        const QString photo = make_files({"shots/a.jpg|ExifIFD:DateTimeOriginal=#",
            "shots/b.jpg|ExifIFD:DateTimeOriginal=#", "early.jpg|ExifIFD:DateTimeOriginal=1960:06:21 18:30:05"}).last();
        QVERIFY(test_support::write_file(dir->filePath("big.jpg"), QByteArray(10 * 1024 + 500, 'x')));
        QSettings().setValue("last_load_path", dir->path());
        make_window(true);

        QStringList shown;
        for (int column = 0; column < 3; ++column)
            shown << table()->model()->headerData(column, Qt::Horizontal).toString();
        QTEST(shown, "headers");
        QVERIFY(window->findChild<QWidget*>("widget")->styleSheet().contains(QString("drop_images_here_%1.png").arg(lang)));

        if (lang == "de" && !QFile::exists(ondo::qt_compat::translations_path() + "/qtbase_de.qm"))
            qWarning("Qt's German catalogue (qttranslations5-l10n) is not installed: no German file dialog");
        else if (!dialog.isEmpty()) {
            QVERIFY(tip_button(dialog[1]));
            // Title and what `dialog` names, folder and file name; then the detail texts cut and the labels too
            // faint to read.
            QStringList shown_in_dialog{"not looked at"};
            const auto seen = answer_next_box(dialog[4], [&](QDialog* box) {
                auto* file_dialog = qobject_cast<QFileDialog*>(box);
                shown_in_dialog = QStringList{file_dialog->windowTitle(),
                    file_dialog->findChild<QLabel*>("lookInLabel")->text(),
                    file_dialog->selectedNameFilter().left(dialog[3].size()), file_dialog->directory().absolutePath(),
                    file_dialog->findChild<QLineEdit*>("fileNameEdit")->text()};
                auto* tree = file_dialog->findChild<QTreeView*>("treeView");
                QTRY_COMPARE(tree->model()->rowCount(tree->rootIndex()), 3);
                for (int row = 0; row < 3; ++row)
                    for (int column : {1, 3}) {
                        const QString text = tree->model()->index(row, column, tree->rootIndex()).data().toString();
                        if (tree->header()->sectionSize(column) < tree->fontMetrics().horizontalAdvance(text) + 8)
                            shown_in_dialog << text;
                    }
                const QImage shot = file_dialog->grab().toImage();
                for (const char* label : {"lookInLabel", "fileNameLabel", "fileTypeLabel"}) {
                    auto* w = file_dialog->findChild<QWidget*>(label);
                    if (text_contrast(shot.copy(QRect(w->mapTo(file_dialog, QPoint()), w->size()))) < 4.5)
                        shown_in_dialog << label;
                }
                file_dialog->setDirectory(shots);
                file_dialog->findChild<QLineEdit*>("fileNameEdit")->setText("\"a.jpg\" \"b.jpg\"");
            });
            QTest::keyClick(window->findChild<QLineEdit*>("lineedit_year"), Qt::Key_O, Qt::ControlModifier);
            QTRY_VERIFY(seen->answered);
            QCOMPARE(shown_in_dialog, (QStringList{dialog[0], dialog[2], dialog[3], dir->path(), ""}));
            QVERIFY2(seen->buttons.contains(dialog[4]) && seen->buttons.contains(dialog[5]),
                qPrintable(seen->buttons.join(", ")));
            QCOMPARE(column_texts(), QStringList({"a.jpg", "b.jpg"}));
            QCOMPARE(QSettings().value("last_load_path").toString(), shots);
        }
        const int rows = table()->model()->rowCount();
        QVERIFY(test_support::drop_urls(window, {QUrl::fromLocalFile(photo)}));
        QTRY_COMPARE(table()->model()->rowCount(), rows + 1);
        const auto asked = answer_next_box(lang == "de" ? "Abbrechen" : "Abort");
        window->on_button_fix_time_clicked();
        QVERIFY2(asked->text.startsWith(fetched<QString>("question")), qPrintable(asked->text));

        catcher.urls.clear();
        window->on_button_help_clicked();
        const QString path = QDir::tempPath() + QString("/tavimo_help_%1.html").arg(lang);
        // Three slashes before /tmp.
        QCOMPARE(QUrl::toStringList(catcher.urls, QUrl::None), QStringList("file://" + path));
        const QString text = QString::fromUtf8(test_support::contents(path));
        QVERIFY(help[0].isEmpty() ? text.isEmpty() : text.contains(help[0]));
        for (const QString other : {"Cmd", "Ctrl", "Strg"})
            QVERIFY2(other == ctrl_en || other == ctrl_de || !text.contains(other), qPrintable(other));
        if (text.isEmpty())
            return;

        QDesktopServices::unsetUrlHandler("file");
        const QByteArray search_path = qgetenv("PATH");
        qputenv("PATH", dir->path().toLocal8Bit());
        auto restore = qScopeGuard([&] {
            qputenv("PATH", search_path);
            QDesktopServices::setUrlHandler("file", &catcher, "open");
        });
        window->on_button_help_clicked();
        window->on_button_help_clicked(); // the second shows the same window again
        const QList<QTextBrowser*> browsers = window->findChildren<QTextBrowser*>("help_browser");
        QCOMPARE(browsers.size(), 1);
        QTextBrowser* browser = browsers.first();
        QVERIFY(browser->isWindow() && QTest::qWaitForWindowExposed(browser));
        QCOMPARE(QStringList({browser->source().toString(), browser->documentTitle(), browser->windowTitle()}),
                 QStringList({"file://" + path, help[1], help[1]}));

        // Dark behind light text, in the browser's empty corner as on its page.
        const QImage shot = browser->viewport()->grab().toImage();
        for (const QPoint& at : {QPoint(2, 2), QPoint(shot.width() - 3, shot.height() - 3)})
            QVERIFY2(qGray(shot.pixel(at)) < 60, qPrintable(QColor(shot.pixel(at)).name()));
        QVERIFY(qGray(browser->palette().color(QPalette::Text).rgb()) > 160);

        // The first link is the guide's; the keyboard reaches and follows it.
        browser->setFocus();
        QTest::keyClick(browser, Qt::Key_Tab);
        QTest::keyClick(browser, Qt::Key_Return);
        QCOMPARE(browser->source().fileName() + " | " + browser->windowTitle(),
                 QString("tavimo_guide_%1.html | %2").arg(lang, help[2]));
    }

    // The settings dialog's language box (the plain constructor) takes the wheel as any combo box does; the
    // gallery's boxes ignore it.
    void combobox_wheel_data()
    {
        test_support::columns<bool, int>({"ignore_wheel", "expected_index"});
        QTest::newRow("taking") << false << 2;
        QTest::newRow("ignoring") << true << 1;
    }

    void combobox_wheel()
    {
        const std::unique_ptr<ondo::combobox> box(fetched<bool>("ignore_wheel") ? new ondo::combobox(true, nullptr)
                                                                                : new ondo::combobox);
        box->addItems({"a", "b", "c"});
        box->setCurrentIndex(1);
        box->show();
        const QPoint centre = box->rect().center();
        QWheelEvent wheel(centre, box->mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(box.get(), &wheel);
        QTEST(box->currentIndex(), "expected_index");
    }

    // An empty field's placeholder looks like the same text typed, in each state and after the
    // sheet is built anew for a new border colour.
    void lineedit_placeholder_data()
    {
        test_support::columns<bool, bool>({"enabled", "restyled"});
        for (bool restyled : {false, true})
            for (bool enabled : {true, false})
                QTest::addRow("%s%s", enabled ? "enabled" : "disabled", restyled ? ", restyled" : "") << enabled << restyled;
    }

    void lineedit_placeholder()
    {
        const auto [enabled, restyled] = fetched<bool, bool>({"enabled", "restyled"});
        ondo::lineedit typed;
        typed.setText("0");
        ondo::lineedit empty;
        empty.setPlaceholderText("0");
        for (ondo::lineedit* edit : {&typed, &empty}) {
            edit->resize(60, 22);
            edit->setEnabled(enabled);
            edit->show();
            QVERIFY(QTest::qWaitForWindowExposed(edit));
            if (restyled) {
                edit->border = QColor(200, 0, 0);
                edit->update_style();
            }
        }
        const QRgb text = lightest_inside(typed);
        QVERIFY(qGray(text) > 90);
        QCOMPARE(QColor(lightest_inside(empty)), QColor(text));
    }

    // Art takes the colours given at its own alpha; disabled art is half as opaque.
    void recolour()
    {
        const QVector<QRgb> pixels{qRgba(10, 20, 30, 255), qRgba(200, 0, 0, 128), qRgba(0, 0, 0, 1), 0};
        const QRgb normal = qRgb(129, 136, 133), light = qRgb(240, 241, 242);
        auto with_alpha = [](QRgb c, int alpha) { return qRgba(qRed(c), qGreen(c), qBlue(c), alpha); };
        ondo::button_dark::img_highlighter h;
        h.normal = ondo::pixel_argb(normal);
        h.highlight = ondo::pixel_argb(light);
        QImage n =
            QImage(reinterpret_cast<const uchar*>(pixels.constData()), pixels.size(), 1, QImage::Format_ARGB32).copy();
        QImage hi = n, d = n;
        h.create_images(n, hi, d);
        for (int x = 0; x < pixels.size(); ++x) {
            QCOMPARE(n.pixel(x, 0), with_alpha(normal, qAlpha(pixels[x])));
            QCOMPARE(hi.pixel(x, 0), with_alpha(light, qAlpha(pixels[x])));
            QCOMPARE(d.pixel(x, 0), with_alpha(normal, qAlpha(pixels[x]) >> 1)); // 1 becomes 0
        }
    }

    // A warning's default button where none or an absent one is given; a question's relabelled yes, its
    // default, and its window control taken for cancel (no buttons given: the question; no result: not
    // looked at).
    void message_box_data()
    {
        using box = QMessageBox;
        test_support::columns<box::StandardButtons, int, QString, QString, int>(
            {"buttons", "default_button", "answer", "shown_default", "result"});
        QTest::newRow("none given, cancel first in mask order")
            << (box::Cancel | box::Ok) << int(box::NoButton) << "close" << "OK" << -1;
        QTest::newRow("none given, no accepting button")
            << (box::No | box::Cancel) << int(box::NoButton) << "close" << "" << -1;
        QTest::newRow("chosen one absent") << box::StandardButtons(box::Ok) << int(box::Cancel) << "close" << "" << -1;
        QTest::newRow("relabelled yes")
            << box::StandardButtons() << 0 << "Keep changes" << "Keep changes" << int(box::Yes);
        QTest::newRow("window control on yes/no")
            << box::StandardButtons() << 0 << "close" << "Keep changes" << int(box::Cancel);
    }

    void message_box()
    {
        const auto [buttons, result] = fetched<QMessageBox::StandardButtons, int>({"buttons", "result"});
        auto seen = answer_next_box(fetched<QString>("answer"));
        const auto default_button = QMessageBox::StandardButton(fetched<int>("default_button"));
        const int got = buttons ? ondo::message_box::warning(nullptr, "Title", "Text", buttons, default_button)
                                : ondo::message_box::question(nullptr, "Fix", "Some files failed.", "Keep changes",
                                                              "Undo Changes");
        QVERIFY(seen->answered);
        QTEST(seen->default_button, "shown_default");
        if (result >= 0)
            QCOMPARE(got, result);
    }

    // All three components come from this one repository, so they carry one revision, which the about box shows;
    // the credits open from its line to the left button alone. The information box's versions stand in one
    // column, whatever the length of the component's name.
    void about_and_information_boxes()
    {
        const QString revision = QString::fromStdString(git_version::version());
        QVERIFY(!revision.isEmpty());
        const QString versions = QString::fromStdString(git_version::versions_formatted());
        QCOMPARE(versions, QString("Component: application\tVersion: %1\nComponent: ondo_infrastructure\tVersion: %1\n"
                                   "Component: ondo_toolkit\tVersion: %1\n").arg(revision));

        make_window();
        auto label_texts = [](QDialog* dialog) {
            QStringList texts;
            for (QLabel* label : dialog->findChildren<QLabel*>())
                texts << label->text();
            return texts;
        };
        QStringList about_texts, credits;
        bool right_button_opened = false;
        const auto about = answer_next_box("close", [&](QDialog* dialog) {
            about_texts = label_texts(dialog);
            answer_next_box("close", [&](QDialog* shown) { credits = label_texts(shown); });
            auto* line = dialog->findChild<ondo::clickable_label*>();
            QTest::mouseClick(line, Qt::RightButton);
            right_button_opened = !credits.isEmpty();
            if (!right_button_opened)
                QTest::mouseClick(line, Qt::LeftButton);
        });
        window->on_button_about_clicked();
        QVERIFY(about->answered && !right_button_opened);
        QVERIFY2(about_texts.filter("(" + revision + ")").size() == 1, qPrintable(about_texts.join('|')));
        QVERIFY(credits.contains(QString("Qt ") + qVersion()));

        QWidget parent;
        ondo::application_information_box::install(&parent, {{"b", "2"}, {"a", "1"}});
        auto* shortcut = parent.findChild<QShortcut*>();
        QVector<qreal> columns; // where the text after each tab begins, per line
        const auto seen = answer_next_box("OK", [&](QDialog* box) {
            auto* label = box->findChild<QLabel*>("qt_msgbox_label");
            const QTextDocument* document = label ? label->findChild<QTextDocument*>() : nullptr;
            for (QTextBlock block = document ? document->begin() : QTextBlock(); block.isValid(); block = block.next())
                if (block.text().startsWith("Component: ") && block.text().contains('\t'))
                    columns << block.layout()->lineAt(0).cursorToX(block.text().indexOf('\t') + 1);
        });
        QMetaObject::invokeMethod(shortcut, "activated");
        QCOMPARE(columns, QVector<qreal>(3, columns.value(0)));
        QCOMPARE(seen->title, QString("Application Information"));
        const QRegularExpression text("^OS: " + QRegularExpression::escape(QSysInfo::prettyProductName()) + "\nABI: "
            + QRegularExpression::escape(QSysInfo::buildAbi()) + "\n(gcc|clang) Version: \"\\d+\\.\\d+\\.\\d+\"\n\n"
            "Application: Tavimo\nVersion: 2\\.1\\.2\nBuild: [A-Z][a-z]{2} [ 1-3]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d\n\n"
            + QRegularExpression::escape(versions) + "\na:\t\t1\nb:\t\t2\n$");
        QVERIFY2(text.match(seen->text).hasMatch(), qPrintable(seen->text));
    }

    void names_data()
    {
        test_support::columns<QString, bool, QString>({"tags", "shared", "name"});
        QTest::newRow("maker in front") << "IFD0:Make=Apple;IFD0:Model=iPhone 12" << false << "Apple iPhone 12";
        QTest::newRow("maker note's serial") << "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;Canon:InternalSerialNumber=H9876"
                                             << true << "Canon EOS 40D …9876";
        QTest::newRow("XMP's serial last") << "IFD0:Make=Canon;IFD0:Model=EOS R;XMP-aux:SerialNumber=55;Canon:SerialNumber=77"
                                           << true << "Canon EOS R …77";
        QTest::newRow("a movie's keys") << "Keys:Make=Apple;Keys:Model=iPhone 15 Pro" << false << "Apple iPhone 15 Pro";
        QTest::newRow("none") << "ExifIFD:DateTimeOriginal=2017:06:21 18:30:05" << false << "Unknown camera";
    }

    void names()
    {
        QFETCH(bool, shared);
        const camera body = camera::of(test_support::tag_map(fetched<QString>("tags")));
        QTEST(body.name(shared), "name");
        // The key names the same body again.
        QCOMPARE(camera::from_key(body.key()).name(shared), body.name(shared));
    }

    // A clock's offset from the GPS stamps that count: their median, its spread and their number. A
    // receiver without a fix writes 1970, and a clock is wrong by days, not by more than a year.
    void clock_from_gps_data()
    {
        test_support::columns<QVector<qint64>, QVector<qint64>>({"seconds_after", "median_spread_photos"});
        QTest::newRow("an hour late") << QVector<qint64>{3600} << QVector<qint64>{3600, 0, 1};
        QTest::newRow("odd count") << QVector<qint64>{-3790, -3795, -3792} << QVector<qint64>{-3792, 5, 3};
        QTest::newRow("even count, one 367 days away") << QVector<qint64>{10, 14, 12, 100, 367 * 86400}
                                                       << QVector<qint64>{13, 90, 4};
    }

    void clock_from_gps()
    {
        // Stamps of 1970, of 1989 and from the future never count, however near their recording time.
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (const QDateTime& gps : {QDateTime::fromSecsSinceEpoch(0, Qt::UTC), QDateTime(QDate(1989, 12, 31), QTime(23, 0), Qt::UTC),
                 now.addSecs(60)})
            QVERIFY2(!camera_clocks::gps_difference(gps, gps.addSecs(-30), now), qPrintable(gps.toString(Qt::ISODate)));
        QVector<qint64> differences;
        for (const qint64 seconds : fetched<QVector<qint64>>("seconds_after"))
            if (const auto difference = camera_clocks::gps_difference(recorded_at.addSecs(seconds), recorded_at, now))
                differences << *difference;
        const auto found = camera_clocks::estimate(differences);
        QVERIFY(found);
        QTEST((QVector<qint64>{found->seconds, found->spread, found->photos}), "median_spread_photos");
    }

    // The panel's offset first, then the camera's correction; a date alone moves by its days.
    void offsets_add_up_data()
    {
        test_support::columns<qint64, bool, QString>({"correction", "date_only", "moved"});
        QTest::newRow("clock") << qint64(-nikon_ahead) << false << "2017-07-21 17:26:53";
        QTest::newRow("days and clock") << qint64(2 * 86400 + 60) << false << "2017-07-23 18:31:05";
        QTest::newRow("date alone") << qint64(2 * 86400 + 60) << true << "2017-07-23 00:00:00";
    }

    void offsets_add_up()
    {
        QFETCH(bool, date_only);
        time_offsets offsets;
        offsets.set_panel({0, 1, 0, 0, 0, 0, false, 0.0});
        offsets.set_correction("nikon", fetched<qint64>("correction"));
        const QDateTime time(QDate(2017, 6, 21), date_only ? QTime(0, 0) : QTime(18, 30, 5), Qt::LocalTime);
        QTEST(offsets.new_time("nikon", time, date_only, QDateTime()).toString("yyyy-MM-dd hh:mm:ss"), "moved");
        QCOMPARE(offsets.new_time("canon", time, date_only, QDateTime()), time.addMonths(1));
    }

    // `before` cameras are loaded first: a new load leaves none of their rows behind.
    void panel_has_one_row_per_camera_data()
    {
        test_support::columns<int, int>({"before", "count"});
        for (int count : {0, 1, 2, 3, 6})
            QTest::addRow("%d", count) << 0 << count;
        QTest::newRow("3, then 2") << 3 << 2;
        QTest::newRow("3, then 1") << 3 << 1;
    }

    void panel_has_one_row_per_camera()
    {
        QFETCH(int, count);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(summaries(fetched<int>("before")));
        panel.set_cameras(summaries(count));
        QCOMPARE(panel.isHidden(), count < 2);
        if (count < 2)
            return;
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        // One set of editors per camera, top to bottom in the order given, each with its GPS line.
        QMap<int, QString> rows; // by their place on the screen
        for (QSpinBox* days : panel.findChildren<QSpinBox*>("correction_days")) {
            const QString key = days->property("camera").toString();
            const QLabel* line = in_row<QLabel>(panel, key, "gps_estimate");
            rows.insert(days->mapToGlobal(QPoint()).y(), key + ": " + (line ? line->text() : QString()));
        }
        QStringList expected{"cam0: GPS: +1 h 3 min 2 s, 12 photos, spread 3 s", "cam1: "};
        for (int i = 2; i < count; ++i)
            expected << QString("cam%1: ").arg(i);
        if (count > 2)
            expected[2] += "GPS: \u22122 d 0 h 0 min 5 s, 4 photos, spread 1 h 2 min 5 s";
        QCOMPARE(rows.values(), expected);
    }

    // A correction typed (days first) or set elsewhere (no `entered`) shows carried, in its own row alone.
    void panel_corrections_data()
    {
        test_support::columns<parts, qint64, QString>({"entered", "seconds", "shown"});
        QTest::newRow("every part back") << parts{-1, -2, -3, -4} << qint64(-93784) << "-1 -2 -3 -4";
        QTest::newRow("mixed signs kept as typed") << parts{0, 1, -30, 0} << qint64(1800) << "0 1 -30 0";
        QTest::newRow("90 minutes carry") << parts{0, 0, 90, 0} << qint64(5400) << "0 1 30 0";
        QTest::newRow("a step past 59 s") << parts{0, 0, 0, 60} << qint64(60) << "0 0 1 0";
        QTest::newRow("beyond the largest")
            << parts{3650, 23, 59, 99} << qint64(3650 * 86400LL + 86399) << "3650 23 59 59";
        QTest::newRow("from outside, back 1 h 3 min 12 s") << parts() << qint64(-3792) << "0 -1 -3 -12";
        QTest::newRow("from outside, a day back") << parts() << qint64(-86400) << "-1 0 0 0";
    }

    void panel_corrections()
    {
        const auto [entered, seconds, shown] = fetched<parts, qint64, QString>({"entered", "seconds", "shown"});
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(summaries(2));
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        offsets.set_correction("cam0", 120);
        QSignalSpy changes(&offsets, &time_offsets::changed);
        if (entered.isEmpty()) {
            offsets.set_correction("cam1", seconds);
            QCOMPARE(changes.count(), 1);
        }
        for (int i = 0; i < entered.size(); ++i)
            in_row<QSpinBox>(panel, "cam1", editor_names[i])->setValue(entered.at(i));
        QCOMPARE(corrections(offsets, panel), QString("cam0 120 = 0 0 2 0, cam1 %1 = %2").arg(seconds).arg(shown));
        QTest::mouseClick(in_row<QToolButton>(panel, "cam1", "correction_clear"), Qt::LeftButton);
        QCOMPARE(corrections(offsets, panel), QString("cam0 120 = 0 0 2 0, cam1 0 = 0 0 0 0"));
        offsets.clear_corrections();
        QCOMPARE(corrections(offsets, panel), QString("cam0 0 = 0 0 0 0, cam1 0 = 0 0 0 0"));
    }

    // One lane per camera; the first camera's photos fix the axis; the shifted mark moves by its shift, its old
    // place stays faint.
    void timeline_marks_follow_the_shift_data()
    {
        test_support::columns<int, qint64>({"cameras", "shift"});
        QTest::newRow("two, later") << 2 << 5 * hour;
        QTest::newRow("five, earlier") << 5 << -2 * hour;
    }

    void timeline_marks_follow_the_shift()
    {
        const auto [cameras, shift] = fetched<int, qint64>({"cameras", "shift"});
        QVector<timeline_lane> lanes{lane("A", {0, 10}), lane("B", {3})};
        for (int i = 2; i < cameras; ++i)
            lanes << lane(QStringLiteral("Camera %1").arg(i), {double(i), i + 2.5, 9});
        camera_timeline timeline;
        const QImage before = show(timeline, lanes);
        const QVector<int> rows = marks(before);
        QCOMPARE(rows.size(), cameras);
        const QVector<int> frame = marks(before, rows.at(0));
        const QVector<int> old_place = marks(before, rows.at(1));
        QCOMPARE(frame.size(), 2);
        QCOMPARE(old_place.size(), 1);

        timeline.set_shifts(QVector<qint64>{0, shift} + QVector<qint64>(cameras - 2, 0));
        const QImage after = timeline.grab().toImage();
        QCOMPARE(marks(after, rows.at(0)), frame);
        const QVector<int> new_place = marks(after, rows.at(1));
        QCOMPARE(new_place.size(), 1);
        const double expected = old_place.at(0) + double(shift) / (10 * hour) * (frame.at(1) - frame.at(0));
        QVERIFY(qAbs(new_place.at(0) - expected) <= 2);
        QVERIFY(faint(after.pixel(old_place.at(0), rows.at(1))));
    }

    void timeline_click_names_the_photo_data()
    {
        // mark_lane: whose mark the click's column comes from
        test_support::columns<qint64, int, int, int, int, QString>(
            {"shift", "lane", "mark_lane", "mark", "dx", "expected"});
        QTest::newRow("on a mark") << qint64(0) << 0 << 0 << 1 << 0 << "A1";
        QTest::newRow("just right of a mark") << qint64(0) << 1 << 1 << 1 << 3 << "B1";
        QTest::newRow("just left of a mark") << qint64(0) << 0 << 0 << 0 << -3 << "A0";
        QTest::newRow("well beside a mark") << qint64(0) << 1 << 1 << 1 << 12 << "";
        QTest::newRow("under another camera's mark") << qint64(0) << 1 << 0 << 1 << 0 << "";
        QTest::newRow("on a shifted mark") << hour << 1 << 1 << 0 << 0 << "B0";
    }

    void timeline_click_names_the_photo()
    {
        QFETCH(QString, expected);
        camera_timeline timeline;
        show(timeline, {lane("A", {0, 5, 10}), lane("B", {2, 8})});
        timeline.set_shifts({0, fetched<qint64>("shift")});
        QVERIFY(QTest::qWaitForWindowExposed(&timeline));
        const QImage image = timeline.grab().toImage();
        const QVector<int> rows = marks(image);
        QCOMPARE(rows.size(), 2);
        QSignalSpy spy(&timeline, &camera_timeline::mark_clicked);
        const int x = marks(image, rows.at(fetched<int>("mark_lane"))).value(fetched<int>("mark"), -100);
        const QPoint click(x + fetched<int>("dx"), rows.at(fetched<int>("lane")));
        QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier, click);
        QCOMPARE(spy.count(), expected.isEmpty() ? 0 : 1);
        if (!expected.isEmpty())
            QCOMPARE(spy.at(0).at(0).toString(), expected);
    }

    // Two bodies of one Canon model, and a Nikon 1 h 3 min 12 s ahead whose files carry GPS time.
    void a_trip_on_three_cameras()
    {
        const QString canon =
            "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;ExifIFD:SerialNumber=%1;ExifIFD:DateTimeOriginal=%2";
        // A receiver without a fix writes the epoch.
        auto nikon = [this](qint64 seconds, bool fix) {
            const QDateTime utc = fix ? base.addSecs(seconds).toUTC() : QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
            return QString("IFD0:Make=NIKON CORPORATION;IFD0:Model=NIKON D70;ExifIFD:DateTimeOriginal=%1;"
                           "GPS:GPSDateStamp=%2;GPS:GPSTimeStamp=%3")
                .arg(at(base, seconds + nikon_ahead), utc.toString("yyyy:MM:dd"), utc.toString("hh:mm:ss"));
        };
        const QStringList paths = make_files({"canon_1.jpg|" + canon.arg("1111", at(base, 0)),
            "canon_2.jpg|" + canon.arg("1111", at(base, 60)), "canon_3.jpg|" + canon.arg("2222", at(base, 120)),
            "nikon_1.jpg|" + nikon(0, true), "nikon_2.jpg|" + nikon(60, true), "nikon_3.jpg|" + nikon(300, false)});
        make_window();
        window->load_files(paths);
        QCOMPARE(column_texts(3), (QStringList{"Canon EOS 40D …1111", "Canon EOS 40D …1111", "Canon EOS 40D …2222",
                                              "NIKON D70", "NIKON D70", "NIKON D70"}));
        QVERIFY(window->findChild<QWidget*>("cameras_area")->isVisible());
        table()->sortByColumn(3, Qt::DescendingOrder);
        QCOMPARE(column_texts(0), (QStringList{"nikon_3.jpg", "nikon_2.jpg", "nikon_1.jpg", "canon_3.jpg", "canon_2.jpg",
                                               "canon_1.jpg"}));
        table()->sortByColumn(3, Qt::AscendingOrder);
        QCOMPARE(column_texts(3).first(), QString("Canon EOS 40D …1111"));
        const auto listings = test_support::listings(dir->path());

        // The Nikon's correction, and the new times of nikon_1, canon_1 and canon_3, with the panel's offset.
        const QString nikon_key = model()->camera_key(dir->filePath("nikon_1.jpg"));
        auto state = [&] {
            return QStringList{QString::number(offsets()->correction(nikon_key)), new_time("nikon_1.jpg"),
                               new_time("canon_1.jpg"), new_time("canon_3.jpg")};
        };
        auto expected = [this](qint64 panel) {
            return QStringList{QString::number(-nikon_ahead), at(base, panel), at(base, panel), at(base, panel + 120)};
        };
        // canon_2 and nikon_2 were taken at one moment; the GPS time gives the same, the 1970 stamp aside.
        for (const QStringList& step : {QStringList{"canon_2.jpg", "nikon_2.jpg", "action_same_moment"},
                                        QStringList{"nikon_3.jpg", "nikon_3.jpg", "action_camera_from_gps"}}) {
            offsets()->clear_corrections();
            select_pair(step[0], step[1]);
            window->findChild<QAction*>(step[2])->trigger();
            QCOMPARE(state(), expected(0));
        }
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_minute"), "10");
        QCOMPARE(state(), expected(600));

        // The known time of one photo sets its camera's clock alone, and leaves the panel's offset.
        offsets()->clear_corrections();
        select_pair("nikon_1.jpg", "nikon_1.jpg");
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            dialog->findChild<QDateTimeEdit*>()->setDate(base.date());
            dialog->findChild<QDateTimeEdit*>()->setTime(base.time().addSecs(600));
        });
        QTest::keyClick(table(), Qt::Key_F2);
        QTRY_VERIFY(seen->answered);
        QCOMPARE(state(), expected(600));
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_minute")->text(), QString("10"));

        QStringList moved, written;
        for (const QString& path : paths)
            moved << new_time(QFileInfo(path).fileName());
        tip_button(test_support::fix_tip)->click();
        for (const QString& path : paths)
            written << test_support::original_time(path);
        QCOMPARE(written, moved);
        tip_button(test_support::undo_tip)->click();
        QCOMPARE(test_support::listings(dir->path()), listings);
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
    const QDateTime recorded_at = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC);
    const QDateTime base = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::LocalTime);
    table_data_model* model() const { return static_cast<table_data_model*>(table()->model()); }
    time_offsets* offsets() const { return model()->offsets; }
    QString new_time(const QString& name) const
    {
        return model()->get_offset_dt(dir->filePath(name)).toString("yyyy:MM:dd hh:mm:ss");
    }
    // Selects both rows, the second one current: the one whose camera is set.
    void select_pair(const QString& other, const QString& current)
    {
        auto* selection = table()->selectionModel();
        selection->clearSelection();
        const auto rows = QItemSelectionModel::Select | QItemSelectionModel::Rows;
        selection->select(model()->index(model()->files.indexOf(dir->filePath(other)), 0), rows);
        selection->setCurrentIndex(model()->index(model()->files.indexOf(dir->filePath(current)), 0), rows);
        table()->setFocus();
    }
    QTemporaryDir temp;
    url_catcher catcher;
};

TAVIMO_WINDOW_TEST_MAIN(tst_main_window)

#include "tst_main_window.moc"
