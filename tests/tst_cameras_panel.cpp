#include "cameras_panel.h"
#include "time_offsets.h"

#include <QLabel>
#include <QSpinBox>
#include <QToolButton>
#include <QtTest>

#include <algorithm>

using parts = QList<int>;
Q_DECLARE_METATYPE(gps_estimate)

namespace {

const char* const editor_names[] = {"correction_days", "correction_hours", "correction_minutes", "correction_seconds"};

// Cameras "cam0", "cam1"... with names in falling order, so that a panel that sorts them shows it.
QList<camera_summary> cameras(int count)
{
    QList<camera_summary> list;
    for (int i = 0; i < count; ++i)
        list.append({QString("cam%1").arg(i), QString("Model %1").arg(char('Z' - i)), 10 + i, {}, {}, {}});
    return list;
}

// The widget `name` in the row of camera `key`.
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

class tst_cameras_panel : public QObject {
    Q_OBJECT

private slots:
    // `before` cameras are loaded first: a new load leaves none of their rows behind.
    void one_row_per_camera_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("count");
        for (int count : {0, 1, 2, 3, 6})
            QTest::addRow("%d", count) << 0 << count;
        QTest::newRow("3, then 2") << 3 << 2;
        QTest::newRow("3, then 1") << 3 << 1;
    }

    void one_row_per_camera()
    {
        QFETCH(int, before);
        QFETCH(int, count);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(cameras(before));
        panel.set_cameras(cameras(count));
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

    // The editors are set in order, days first; `shown` is what they hold after a carry.
    void editing_in_place_data()
    {
        QTest::addColumn<parts>("entered");
        QTest::addColumn<qint64>("expected");
        QTest::addColumn<parts>("shown");
        QTest::newRow("every part back") << parts{-1, -2, -3, -4} << qint64(-93784) << parts{-1, -2, -3, -4};
        QTest::newRow("mixed signs kept as typed") << parts{0, 1, -30, 0} << qint64(1800) << parts{0, 1, -30, 0};
        QTest::newRow("90 minutes carry") << parts{0, 0, 90, 0} << qint64(5400) << parts{0, 1, 30, 0};
        QTest::newRow("a step past 59 s") << parts{0, 0, 0, 60} << qint64(60) << parts{0, 0, 1, 0};
        QTest::newRow("beyond the largest") << parts{3650, 23, 59, 99} << qint64(3650 * 86400LL + 86399)
                                            << parts{3650, 23, 59, 59};
    }

    void editing_in_place()
    {
        QFETCH(parts, entered);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(cameras(2));
        for (int i = 0; i < 4; ++i)
            in_row<QSpinBox>(panel, "cam1", editor_names[i])->setValue(entered.at(i));
        QTEST(offsets.correction("cam1"), "expected");
        QTEST(shown(panel, "cam1"), "shown");
        QCOMPARE(offsets.correction("cam0"), qint64(0));
        QCOMPARE(shown(panel, "cam0"), (parts{0, 0, 0, 0}));
    }

    // A correction set elsewhere shows without being written back; the camera's clear button
    // takes its own to zero.
    void correction_from_outside_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<parts>("shown");
        QTest::newRow("back 1 h 3 min 12 s") << qint64(-3792) << parts{0, -1, -3, -12};
        QTest::newRow("a day back") << qint64(-86400) << parts{-1, 0, 0, 0};
    }

    void correction_from_outside()
    {
        QFETCH(qint64, seconds);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        panel.set_cameras(cameras(2));
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QSignalSpy changes(&offsets, &time_offsets::changed);
        offsets.set_correction("cam0", seconds);
        offsets.set_correction("cam1", 120);
        QCOMPARE(changes.count(), 2);
        QTEST(shown(panel, "cam0"), "shown");

        QTest::mouseClick(in_row<QToolButton>(panel, "cam0", "correction_clear"), Qt::LeftButton);
        QCOMPARE(offsets.correction("cam0"), qint64(0));
        QCOMPARE(shown(panel, "cam0"), (parts{0, 0, 0, 0}));
        QCOMPARE(offsets.correction("cam1"), qint64(120));
        offsets.clear_corrections();
        QCOMPARE(shown(panel, "cam1"), (parts{0, 0, 0, 0}));
    }

    void gps_line_data()
    {
        QTest::addColumn<int>("estimated");
        QTest::addColumn<gps_estimate>("gps");
        QTest::addColumn<QString>("expected");
        QTest::newRow("first") << 0 << gps_estimate{3782, 12, 3} << "GPS: +1 h 3 min 2 s, 12 photos, spread 3 s";
        QTest::newRow("second, hours of spread")
            << 1 << gps_estimate{-172805, 4, 3725} << "GPS: \u22122 d 0 h 0 min 5 s, 4 photos, spread 1 h 2 min 5 s";
    }

    void gps_line()
    {
        QFETCH(int, estimated);
        QFETCH(gps_estimate, gps);
        QFETCH(QString, expected);
        time_offsets offsets;
        cameras_panel panel(&offsets);
        QList<camera_summary> list = cameras(2);
        list[estimated].gps = gps;
        panel.set_cameras(list);
        for (int i = 0; i < 2; ++i) {
            const QLabel* line = in_row<QLabel>(panel, list.at(i).key, "gps_estimate");
            QCOMPARE(line ? line->text() : QString(), i == estimated ? expected : QString());
        }
    }
};

QTEST_MAIN(tst_cameras_panel)
#include "tst_cameras_panel.moc"
