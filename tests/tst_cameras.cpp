#include "camera.h"
#include "camera_clocks.h"
#include "camera_timeline.h"
#include "cameras_panel.h"
#include "table_data_model.h"
#include "time_offsets.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QAction>
#include <QDateTimeEdit>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableView>
#include <QToolButton>
#include <QtTest>

#include <algorithm>

using parts = QList<int>;
Q_DECLARE_METATYPE(gps_estimate)

namespace {

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

// Cameras "cam0", "cam1"... with names in falling order, so that a panel that sorts them shows it.
QList<camera_summary> summaries(int count)
{
    QList<camera_summary> list;
    for (int i = 0; i < count; ++i)
        list.append({QString("cam%1").arg(i), QString("Model %1").arg(char('Z' - i)), 10 + i, {}, {}, {}});
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

parts shown(const QWidget& panel, const QString& key)
{
    parts values;
    for (const char* name : editor_names)
        values.append(in_row<QSpinBox>(panel, key, name)->value());
    return values;
}

} // namespace

// The cameras' names, clocks and corrections, their panel and timeline, and a trip on three cameras.
class tst_cameras : public test_support::window_test {
    Q_OBJECT

private slots:
    void names_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QString>("name");
        QTest::newRow("maker in the model") << "IFD0:Make=NIKON CORPORATION;IFD0:Model=NIKON D70" << false << "NIKON D70";
        QTest::newRow("maker in front") << "IFD0:Make=Apple;IFD0:Model=iPhone 12" << false << "Apple iPhone 12";
        QTest::newRow("model of two bodies") << "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;ExifIFD:SerialNumber=0830501234"
                                             << true << "Canon EOS 40D …1234";
        QTest::newRow("maker note's serial") << "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;Canon:InternalSerialNumber=H9876"
                                             << true << "Canon EOS 40D …9876";
        QTest::newRow("XMP's serial last") << "IFD0:Make=Canon;IFD0:Model=EOS R;XMP-aux:SerialNumber=55;Canon:SerialNumber=77"
                                           << true << "Canon EOS R …77";
        QTest::newRow("a movie's keys") << "Keys:Make=Apple;Keys:Model=iPhone 15 Pro" << false << "Apple iPhone 15 Pro";
        QTest::newRow("none") << "ExifIFD:DateTimeOriginal=2017:06:21 18:30:05" << false << "Unknown camera";
    }

    void names()
    {
        QFETCH(QString, tags);
        QFETCH(bool, shared);
        const camera body = camera::of(test_support::tag_map(tags));
        QTEST(body.name(shared), "name");
        // The key names the same body again.
        QCOMPARE(camera::from_key(body.key()).name(shared), body.name(shared));
    }

    void gps_stamps_data()
    {
        QTest::addColumn<QDateTime>("gps");
        QTest::addColumn<bool>("usable");
        QTest::newRow("an hour late") << recorded.addSecs(3600) << true;
        QTest::newRow("zero: 1970") << QDateTime::fromSecsSinceEpoch(0, Qt::UTC) << false;
        QTest::newRow("1989") << QDateTime(QDate(1989, 12, 31), QTime(23, 0), Qt::UTC) << false;
        QTest::newRow("367 days away") << recorded.addDays(367) << false;
        QTest::newRow("in the future") << QDateTime::currentDateTimeUtc().addDays(2) << false;
    }

    void gps_stamps()
    {
        QFETCH(QDateTime, gps);
        QTEST(camera_clocks::gps_difference(gps, recorded, QDateTime::currentDateTimeUtc()).has_value(), "usable");
    }

    void estimates_data()
    {
        QTest::addColumn<QVector<qint64>>("differences");
        QTest::addColumn<qint64>("median");
        QTest::addColumn<qint64>("spread");
        QTest::newRow("odd count") << QVector<qint64>{-3790, -3795, -3792} << qint64(-3792) << qint64(5);
        QTest::newRow("even count") << QVector<qint64>{10, 14, 12, 100} << qint64(13) << qint64(90);
    }

    void estimates()
    {
        QFETCH(QVector<qint64>, differences);
        const auto found = camera_clocks::estimate(differences);
        QVERIFY(found);
        QTEST(found->seconds, "median");
        QTEST(found->spread, "spread");
        QCOMPARE(found->photos, differences.size());
    }

    // The panel's offset first, then the camera's correction; a date alone moves by its days.
    void offsets_add_up_data()
    {
        QTest::addColumn<qint64>("correction");
        QTest::addColumn<bool>("date_only");
        QTest::addColumn<QString>("moved");
        QTest::newRow("clock") << qint64(-nikon_ahead) << false << "2017-07-21 17:26:53";
        QTest::newRow("days and clock") << qint64(2 * 86400 + 60) << false << "2017-07-23 18:31:05";
        QTest::newRow("date alone") << qint64(2 * 86400 + 60) << true << "2017-07-23 00:00:00";
    }

    void offsets_add_up()
    {
        QFETCH(qint64, correction);
        QFETCH(bool, date_only);
        time_offsets offsets;
        offsets.set_panel({0, 1, 0, 0, 0, 0, false, 0.0});
        offsets.set_correction("nikon", correction);
        const QDateTime time(QDate(2017, 6, 21), date_only ? QTime(0, 0) : QTime(18, 30, 5), Qt::LocalTime);
        QTEST(offsets.new_time("nikon", time, date_only, QDateTime()).toString("yyyy-MM-dd hh:mm:ss"), "moved");
        QCOMPARE(offsets.new_time("canon", time, date_only, QDateTime()), time.addMonths(1));
    }

    // `before` cameras are loaded first: a new load leaves none of their rows behind.
    void panel_has_one_row_per_camera_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("count");
        for (int count : {0, 1, 2, 3, 6})
            QTest::addRow("%d", count) << 0 << count;
        QTest::newRow("3, then 2") << 3 << 2;
        QTest::newRow("3, then 1") << 3 << 1;
    }

    void panel_has_one_row_per_camera()
    {
        QFETCH(int, before);
        QFETCH(int, count);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(summaries(before));
        panel.set_cameras(summaries(count));
        QCOMPARE(panel.isHidden(), count < 2);
        if (count < 2)
            return;
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        // One set of editors per camera, top to bottom in the order given.
        QList<QSpinBox*> days = panel.findChildren<QSpinBox*>("correction_days");
        std::sort(days.begin(), days.end(),
                  [](QSpinBox* a, QSpinBox* b) { return a->mapToGlobal(QPoint()).y() < b->mapToGlobal(QPoint()).y(); });
        QCOMPARE(days.size(), count);
        for (int i = 0; i < count; ++i)
            QCOMPARE(days.at(i)->property("camera").toString(), QString("cam%1").arg(i));
    }

    // A correction typed (days first) or set elsewhere (no `entered`) shows carried, in its own row alone.
    void panel_corrections_data()
    {
        QTest::addColumn<parts>("entered");
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<parts>("shown");
        QTest::newRow("every part back") << parts{-1, -2, -3, -4} << qint64(-93784) << parts{-1, -2, -3, -4};
        QTest::newRow("mixed signs kept as typed") << parts{0, 1, -30, 0} << qint64(1800) << parts{0, 1, -30, 0};
        QTest::newRow("90 minutes carry") << parts{0, 0, 90, 0} << qint64(5400) << parts{0, 1, 30, 0};
        QTest::newRow("a step past 59 s") << parts{0, 0, 0, 60} << qint64(60) << parts{0, 0, 1, 0};
        QTest::newRow("beyond the largest") << parts{3650, 23, 59, 99} << qint64(3650 * 86400LL + 86399)
                                            << parts{3650, 23, 59, 59};
        QTest::newRow("from outside, back 1 h 3 min 12 s") << parts() << qint64(-3792) << parts{0, -1, -3, -12};
        QTest::newRow("from outside, a day back") << parts() << qint64(-86400) << parts{-1, 0, 0, 0};
    }

    void panel_corrections()
    {
        QFETCH(parts, entered);
        QFETCH(qint64, seconds);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(summaries(2));
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        offsets.set_correction("cam0", 120);
        QSignalSpy changes(&offsets, &time_offsets::changed);
        if (entered.isEmpty())
            offsets.set_correction("cam1", seconds);
        for (int i = 0; i < entered.size(); ++i)
            in_row<QSpinBox>(panel, "cam1", editor_names[i])->setValue(entered.at(i));
        if (entered.isEmpty())
            QCOMPARE(changes.count(), 1);
        QCOMPARE(offsets.correction("cam1"), seconds);
        QTEST(shown(panel, "cam1"), "shown");
        QCOMPARE(offsets.correction("cam0"), qint64(120));
        QCOMPARE(shown(panel, "cam0"), (parts{0, 0, 2, 0}));

        QTest::mouseClick(in_row<QToolButton>(panel, "cam1", "correction_clear"), Qt::LeftButton);
        QCOMPARE(offsets.correction("cam1"), qint64(0));
        QCOMPARE(shown(panel, "cam1"), (parts{0, 0, 0, 0}));
        QCOMPARE(offsets.correction("cam0"), qint64(120));
        offsets.clear_corrections();
        QCOMPARE(shown(panel, "cam0"), (parts{0, 0, 0, 0}));
    }

    void panel_gps_line_data()
    {
        QTest::addColumn<int>("estimated");
        QTest::addColumn<gps_estimate>("gps");
        QTest::addColumn<QString>("expected");
        QTest::newRow("first") << 0 << gps_estimate{3782, 12, 3} << "GPS: +1 h 3 min 2 s, 12 photos, spread 3 s";
        QTest::newRow("second, hours of spread")
            << 1 << gps_estimate{-172805, 4, 3725} << "GPS: \u22122 d 0 h 0 min 5 s, 4 photos, spread 1 h 2 min 5 s";
    }

    void panel_gps_line()
    {
        QFETCH(int, estimated);
        QFETCH(gps_estimate, gps);
        QFETCH(QString, expected);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        QList<camera_summary> list = summaries(2);
        list[estimated].gps = gps;
        panel.set_cameras(list);
        for (int i = 0; i < 2; ++i) {
            const QLabel* line = in_row<QLabel>(panel, list.at(i).key, "gps_estimate");
            QCOMPARE(line ? line->text() : QString(), i == estimated ? expected : QString());
        }
    }

    void timeline_has_one_lane_per_camera_data()
    {
        QTest::addColumn<int>("cameras");
        for (int cameras : {1, 2, 3, 5})
            QTest::addRow("%d", cameras) << cameras;
    }

    void timeline_has_one_lane_per_camera()
    {
        QFETCH(int, cameras);
        QVector<timeline_lane> lanes;
        for (int i = 0; i < cameras; ++i)
            lanes << lane(QStringLiteral("Camera %1").arg(i), {double(i), i + 2.5, 9});
        camera_timeline timeline;
        QCOMPARE(marks(show(timeline, lanes)).size(), cameras);
    }

    // The first camera's photos fix the axis; the shifted mark moves by its shift, its old place stays faint.
    void timeline_marks_follow_the_shift_data()
    {
        QTest::addColumn<qint64>("shift");
        QTest::newRow("later") << 5 * hour;
        QTest::newRow("earlier") << -2 * hour;
    }

    void timeline_marks_follow_the_shift()
    {
        QFETCH(qint64, shift);
        camera_timeline timeline;
        const QImage before = show(timeline, {lane("A", {0, 10}), lane("B", {3})});
        const QVector<int> rows = marks(before);
        QCOMPARE(rows.size(), 2);
        const QVector<int> frame = marks(before, rows.at(0));
        const QVector<int> old_place = marks(before, rows.at(1));
        QCOMPARE(frame.size(), 2);
        QCOMPARE(old_place.size(), 1);

        timeline.set_shifts({0, shift});
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
        QTest::addColumn<qint64>("shift");
        QTest::addColumn<int>("lane");
        QTest::addColumn<int>("mark_lane"); // whose mark the click's column comes from
        QTest::addColumn<int>("mark");
        QTest::addColumn<int>("dx");
        QTest::addColumn<QString>("expected");
        QTest::newRow("on a mark") << qint64(0) << 0 << 0 << 1 << 0 << "A1";
        QTest::newRow("just right of a mark") << qint64(0) << 1 << 1 << 1 << 3 << "B1";
        QTest::newRow("just left of a mark") << qint64(0) << 0 << 0 << 0 << -3 << "A0";
        QTest::newRow("well beside a mark") << qint64(0) << 1 << 1 << 1 << 12 << "";
        QTest::newRow("under another camera's mark") << qint64(0) << 1 << 0 << 1 << 0 << "";
        QTest::newRow("on a shifted mark") << hour << 1 << 1 << 0 << 0 << "B0";
    }

    void timeline_click_names_the_photo()
    {
        QFETCH(qint64, shift);
        QFETCH(int, lane);
        QFETCH(int, mark_lane);
        QFETCH(int, mark);
        QFETCH(int, dx);
        QFETCH(QString, expected);
        camera_timeline timeline;
        show(timeline, {::lane("A", {0, 5, 10}), ::lane("B", {2, 8})});
        timeline.set_shifts({0, shift});
        QVERIFY(QTest::qWaitForWindowExposed(&timeline));
        const QImage image = timeline.grab().toImage();
        const QVector<int> rows = marks(image);
        QCOMPARE(rows.size(), 2);
        QSignalSpy spy(&timeline, &camera_timeline::mark_clicked);
        QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier,
                          QPoint(marks(image, rows.at(mark_lane)).value(mark, -100) + dx, rows.at(lane)));
        QCOMPARE(spy.count(), expected.isEmpty() ? 0 : 1);
        if (!expected.isEmpty())
            QCOMPARE(spy.at(0).at(0).toString(), expected);
    }

    // Two bodies of one Canon model, and a Nikon 1 h 3 min 12 s ahead whose files carry GPS time.
    void a_trip_on_three_cameras()
    {
        open_trip();
        QCOMPARE(column_texts(3), (QStringList{"Canon EOS 40D …1111", "Canon EOS 40D …1111", "Canon EOS 40D …2222",
                                              "NIKON D70", "NIKON D70", "NIKON D70"}));
        QVERIFY(window->findChild<QWidget*>("cameras_area")->isVisible());
        table()->sortByColumn(3, Qt::DescendingOrder);
        QCOMPARE(column_texts(0), (QStringList{"nikon_3.jpg", "nikon_2.jpg", "nikon_1.jpg", "canon_3.jpg", "canon_2.jpg",
                                               "canon_1.jpg"}));
        QCOMPARE(table()->horizontalHeader()->sortIndicatorSection(), 3);
        table()->sortByColumn(3, Qt::AscendingOrder);
        QCOMPARE(column_texts(3).first(), QString("Canon EOS 40D …1111"));
        QStringList listings;
        for (const QString& path : paths)
            listings << test_support::listing(path).join('\n');

        // canon_2 and nikon_2 were taken at one moment.
        select_pair("canon_2.jpg", "nikon_2.jpg");
        action("action_same_moment")->trigger();
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 0));
        QCOMPARE(new_time("canon_1.jpg"), at(base, 0));

        // The GPS time gives the same, the 1970 stamp aside.
        offsets()->clear_corrections();
        select_pair("nikon_3.jpg", "nikon_3.jpg");
        QVERIFY(action("action_camera_from_gps")->isEnabled());
        action("action_camera_from_gps")->trigger();
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);

        // The panel's offset adds to every camera.
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_minute"), "10");
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 600));
        QCOMPARE(new_time("canon_3.jpg"), at(base, 2 * 60 + 600));

        // The known time of one photo sets its camera's clock alone, and leaves the panel's offset.
        offsets()->clear_corrections();
        select_pair("nikon_1.jpg", "nikon_1.jpg");
        const QDateTime truth = QDateTime::fromString(at(base, 600), "yyyy:MM:dd hh:mm:ss");
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            dialog->findChild<QDateTimeEdit*>()->setDateTime(truth);
        });
        QTest::keyClick(table(), Qt::Key_F2);
        QTRY_VERIFY(seen->answered);
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 600));
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);
        QCOMPARE(new_time("canon_1.jpg"), at(base, 600));
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_minute")->text(), QString("10"));

        QStringList expected;
        for (const QString& path : paths)
            expected << new_time(QFileInfo(path).fileName());
        tip_button(test_support::fix_tip)->click();
        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(test_support::read_back(paths[i])["ExifIFD:DateTimeOriginal"], expected[i]);
        tip_button(test_support::undo_tip)->click();
        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(test_support::listing(paths[i]).join('\n'), listings[i]);
    }

private:
    const QDateTime recorded = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC);
    const QDateTime base = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::LocalTime);
    QStringList paths;

    void open_trip()
    {
        const QString canon = "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;ExifIFD:SerialNumber=";
        const QString nikon = "IFD0:Make=NIKON CORPORATION;IFD0:Model=NIKON D70;ExifIFD:DateTimeOriginal=";
        auto gps = [this](qint64 seconds) {
            const QDateTime utc = base.addSecs(seconds).toUTC();
            return QString(";GPS:GPSDateStamp=%1;GPS:GPSTimeStamp=%2").arg(utc.toString("yyyy:MM:dd"), utc.toString("hh:mm:ss"));
        };
        const QList<QPair<QString, QString>> files = {
            {"canon_1.jpg", canon + "1111;ExifIFD:DateTimeOriginal=" + at(base, 0)},
            {"canon_2.jpg", canon + "1111;ExifIFD:DateTimeOriginal=" + at(base, 60)},
            {"canon_3.jpg", canon + "2222;ExifIFD:DateTimeOriginal=" + at(base, 120)},
            {"nikon_1.jpg", nikon + at(base, nikon_ahead) + gps(0)},
            {"nikon_2.jpg", nikon + at(base, 60 + nikon_ahead) + gps(60)},
            // A receiver without a fix writes the epoch.
            {"nikon_3.jpg", nikon + at(base, 300 + nikon_ahead) + ";GPS:GPSDateStamp=1970:01:01;GPS:GPSTimeStamp=00:00:00"},
        };
        paths.clear();
        for (const auto& [name, tags] : files)
            paths << test_support::make_tagged_photo(dir->path(), name, test_support::tag_map(tags));
        window = test_support::open_main_window();
        window->load_files(paths);
    }
    table_data_model* model() const { return static_cast<table_data_model*>(table()->model()); }
    time_offsets* offsets() const { return model()->offsets; }
    QAction* action(const QString& name) const { return window->findChild<QAction*>(name); }
    QString nikon_key() const { return model()->camera_key(dir->filePath("nikon_1.jpg")); }
    int row_of(const QString& name) const { return model()->files.indexOf(dir->filePath(name)); }
    QString new_time(const QString& name) const
    {
        return model()->get_offset_dt(dir->filePath(name)).toString("yyyy:MM:dd hh:mm:ss");
    }
    // Selects both rows, the second one current: the one whose camera is set.
    void select_pair(const QString& other, const QString& current)
    {
        auto* selection = table()->selectionModel();
        selection->clearSelection();
        selection->select(model()->index(row_of(other), 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        selection->setCurrentIndex(model()->index(row_of(current), 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        table()->setFocus();
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_cameras test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cameras.moc"
