#include "camera_timeline.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

constexpr qint64 hour = 3600 * 1000;
constexpr qint64 morning = Q_INT64_C(1689321600000); // 2023-07-14 08:00

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
bool bright(QRgb pixel)
{
    const QColor colour(pixel);
    return colour.hsvSaturation() > 90 && colour.value() > 170;
}

bool faint(QRgb pixel) { return !bright(pixel) && QColor(pixel).hsvSaturation() > 40; }

// The middle of each run of true flags.
QVector<int> middles(const QVector<bool>& flags)
{
    QVector<int> result;
    for (int i = 0, start = -1; i <= flags.size(); ++i) {
        const bool set = i < flags.size() && flags.at(i);
        if (set && start < 0)
            start = i;
        if (!set && start >= 0) {
            result << (start + i - 1) / 2;
            start = -1;
        }
    }
    return result;
}

// The middle row of each band of rows that hold bright marks, top to bottom.
QVector<int> mark_rows(const QImage& image)
{
    QVector<bool> marked(image.height(), false);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width() && !marked[y]; ++x)
            marked[y] = bright(image.pixel(x, y));
    return middles(marked);
}

// The middle column of each bright mark on `row`, left to right.
QVector<int> mark_columns(const QImage& image, int row)
{
    QVector<bool> marked(image.width(), false);
    for (int x = 0; x < image.width(); ++x)
        marked[x] = bright(image.pixel(x, row));
    return middles(marked);
}

// `timeline` shown with `lanes` at its usual size, as painted.
QImage show(camera_timeline& timeline, const QVector<timeline_lane>& lanes)
{
    timeline.set_lanes(lanes);
    timeline.resize(400, timeline.sizeHint().height());
    timeline.show();
    return timeline.grab().toImage();
}

} // namespace

class tst_camera_timeline : public QObject {
    Q_OBJECT
private slots:
    void one_lane_per_camera_data()
    {
        QTest::addColumn<int>("cameras");
        QTest::newRow("one") << 1;
        QTest::newRow("two") << 2;
        QTest::newRow("three") << 3;
        QTest::newRow("five") << 5;
    }

    void one_lane_per_camera()
    {
        QFETCH(int, cameras);
        QVector<timeline_lane> lanes;
        for (int i = 0; i < cameras; ++i)
            lanes << lane(QStringLiteral("Camera %1").arg(i), {double(i), i + 2.5, 9});
        camera_timeline timeline;
        QCOMPARE(mark_rows(show(timeline, lanes)).size(), cameras);
    }

    // The first camera's photos fix the axis, so that only the shifted mark may move, by as many
    // pixels as its shift takes on the scale the fixed marks give; its old place stays faintly marked.
    void marks_follow_the_shift_data()
    {
        QTest::addColumn<qint64>("shift");
        QTest::newRow("later") << 5 * hour;
        QTest::newRow("earlier") << -2 * hour;
    }

    void marks_follow_the_shift()
    {
        QFETCH(qint64, shift);
        camera_timeline timeline;
        const QImage before = show(timeline, {lane("A", {0, 10}), lane("B", {3})});
        const QVector<int> rows = mark_rows(before);
        QCOMPARE(rows.size(), 2);
        const QVector<int> frame = mark_columns(before, rows.at(0));
        const QVector<int> old_place = mark_columns(before, rows.at(1));
        QCOMPARE(frame.size(), 2);
        QCOMPARE(old_place.size(), 1);

        timeline.set_shifts({0, shift});
        const QImage after = timeline.grab().toImage();
        QCOMPARE(mark_columns(after, rows.at(0)), frame);
        const QVector<int> new_place = mark_columns(after, rows.at(1));
        QCOMPARE(new_place.size(), 1);
        const double expected = old_place.at(0) + double(shift) / (10 * hour) * (frame.at(1) - frame.at(0));
        QVERIFY(qAbs(new_place.at(0) - expected) <= 2);
        QVERIFY(faint(after.pixel(old_place.at(0), rows.at(1))));
    }

    void click_names_the_photo_data()
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

    void click_names_the_photo()
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
        const QVector<int> rows = mark_rows(image);
        QCOMPARE(rows.size(), 2);
        const QPoint at(mark_columns(image, rows.at(mark_lane)).value(mark, -100) + dx, rows.at(lane));

        QSignalSpy spy(&timeline, &camera_timeline::mark_clicked);
        QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier, at);
        QCOMPARE(spy.count(), expected.isEmpty() ? 0 : 1);
        if (!expected.isEmpty())
            QCOMPARE(spy.at(0).at(0).toString(), expected);
    }
};

QTEST_MAIN(tst_camera_timeline)
#include "tst_camera_timeline.moc"
