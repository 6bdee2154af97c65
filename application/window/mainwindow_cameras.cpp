// Several cameras on one trip: each camera's clock correction, found from a moment two cameras
// shared or from the GPS time their files record, and the picture of their timelines.
#include "mainwindow.h"

#include "camera_clocks.h"
#include "camera_timeline.h"
#include "cameras_panel.h"
#include "datetime_format.h"
#include "dialog_correct_time.h"
#include "run_note.h"
#include "table_data_model.h"
#include "ui_mainwindow.h"

#include <QAction>
#include <QFileInfo>
#include <QGridLayout>
#include <QBoxLayout>
#include <QItemSelectionModel>

namespace {

// Milliseconds between two readings of a clock, as the clock shows them: a summer-time change
// between them doesn't count.
qint64 wall_ms(const QDateTime& from, const QDateTime& to)
{
    return QDateTime(from.date(), from.time(), Qt::UTC).msecsTo(QDateTime(to.date(), to.time(), Qt::UTC));
}

// The cameras panel and the timeline side by side where the window is wide enough for a
// readable timeline beside the panel, else one above the other.
class cameras_row : public QWidget {
public:
    using QWidget::QWidget;
    QBoxLayout* box = new QBoxLayout(QBoxLayout::LeftToRight, this);
    QWidget* panel = nullptr;

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        const bool beside = width() >= panel->sizeHint().width() + 360;
        box->setDirection(beside ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
        QWidget::resizeEvent(event);
    }
};

} // namespace

void MainWindow::setup_cameras()
{
    auto* row = new cameras_row(ui->widget_content);
    cameras_area = row;
    cameras_area->setObjectName("cameras_area");
    row->box->setContentsMargins(0, 0, 0, 0);
    row->box->setSpacing(0);
    cameras = new cameras_panel(model->offsets, cameras_area);
    timeline = new camera_timeline(cameras_area);
    row->panel = cameras;
    row->box->addWidget(cameras);
    row->box->addWidget(timeline, 1);
    // Between the panels and the table, across both columns: the table moves a row down.
    if (auto* grid = qobject_cast<QGridLayout*>(ui->widget_content->layout())) {
        grid->removeWidget(ui->tableView);
        grid->addWidget(cameras_area, 4, 1, 1, 2);
        grid->addWidget(ui->tableView, 5, 1, 1, 2);
        // A larger window is room for more rows, not for the panels.
        for (int row = 0; row < grid->rowCount(); ++row)
            grid->setRowStretch(row, row == 5 ? 1 : 0);
    }
    cameras_area->hide();

    connect(model->offsets, &time_offsets::changed, this, &MainWindow::offsets_changed);
    connect(ui->widget_datetime_format, &datetime_format::format_changed, this, [this](const QString& format) {
        cameras->set_date_format(format);
        timeline->set_date_format(format);
    });
    cameras->set_date_format(model->format);
    timeline->set_date_format(model->format);
    connect(timeline, &camera_timeline::mark_clicked, this, [this](const QString& path) {
        const int row = model->files.indexOf(path);
        if (row < 0)
            return;
        ui->tableView->setCurrentIndex(model->index(row, 0));
        ui->tableView->scrollTo(model->index(row, 0));
    });

    same_moment_action = new QAction(tr("Same moment"), ui->tableView);
    same_moment_action->setObjectName("action_same_moment");
    connect(same_moment_action, &QAction::triggered, this, &MainWindow::same_moment);
    camera_from_gps_action = new QAction(tr("Set this camera's clock from GPS time"), ui->tableView);
    camera_from_gps_action->setObjectName("action_camera_from_gps");
    connect(camera_from_gps_action, &QAction::triggered, this, &MainWindow::camera_from_gps);
    connect(ui->tableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &MainWindow::update_camera_actions);
    connect(ui->tableView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &MainWindow::update_camera_actions);
    update_camera_actions();
}

void MainWindow::cameras_changed()
{
    const QList<camera_summary> loaded = model->cameras();
    cameras->set_cameras(loaded);
    cameras_with_gps.clear();
    for (const camera_summary& summary : loaded)
        if (summary.gps)
            cameras_with_gps.insert(summary.key);
    cameras_area->setVisible(loaded.size() >= 2);
    if (loaded.size() < 2) {
        timeline->set_lanes({});
        lane_photos.clear();
        update_camera_actions();
        return;
    }
    QHash<QString, int> lane_of;
    QVector<timeline_lane> lanes;
    for (const camera_summary& summary : loaded) {
        lane_of.insert(summary.key, lanes.size());
        lanes.append({summary.name, {}, {}});
    }
    // Each lane's photos in order of time.
    QVector<QVector<QPair<qint64, QString>>> photos(lanes.size());
    for (const QString& path : qAsConst(model->files)) {
        const QDateTime time = model->get_dt(path);
        if (time.isValid())
            photos[lane_of.value(model->camera_key(path))].append({QDateTime(time.date(), time.time(), Qt::UTC).toMSecsSinceEpoch(), path});
    }
    for (int lane = 0; lane < lanes.size(); ++lane) {
        std::sort(photos[lane].begin(), photos[lane].end());
        for (const auto& [time, path] : qAsConst(photos[lane])) {
            lanes[lane].times.append(time);
            lanes[lane].paths.append(path);
        }
    }
    timeline->set_lanes(lanes);
    lane_photos.clear();
    for (const timeline_lane& lane : qAsConst(lanes))
        lane_photos << (lane.paths.isEmpty() ? QString() : lane.paths.first());
    offsets_changed();
    update_camera_actions();
}

void MainWindow::offsets_changed()
{
    if (!cameras_area || cameras_area->isHidden())
        return;
    // One photo per lane tells how far its lane moves: all of a camera's photos move alike, and
    // a keystroke costs the same with a hundred photos as with a hundred thousand.
    QVector<qint64> shifts;
    for (const QString& path : qAsConst(lane_photos)) {
        const QDateTime time = model->get_dt(path), moved = model->get_offset_dt(path);
        shifts << (path.isEmpty() || !moved.isValid() ? 0 : wall_ms(time, moved));
    }
    timeline->set_shifts(shifts);
}

void MainWindow::update_camera_actions()
{
    if (!same_moment_action)
        return;
    const QModelIndexList rows = ui->tableView->selectionModel()->selectedRows();
    const QModelIndex current = ui->tableView->currentIndex();
    bool pair = rows.size() == 2 && current.isValid();
    if (pair) {
        const QString first = model->files.value(rows[0].row()), second = model->files.value(rows[1].row());
        pair = model->camera_key(first) != model->camera_key(second)
            && (rows[0].row() == current.row() || rows[1].row() == current.row());
    }
    same_moment_action->setEnabled(pair && runs_under_way == 0);
    const QString path = current.isValid() ? model->files.value(current.row()) : QString();
    camera_from_gps_action->setEnabled(!path.isEmpty() && runs_under_way == 0
                                       && cameras_with_gps.contains(model->camera_key(path)));
}

void MainWindow::same_moment()
{
    update_camera_actions();
    if (!same_moment_action->isEnabled())
        return;
    const QModelIndexList rows = ui->tableView->selectionModel()->selectedRows();
    const int current = ui->tableView->currentIndex().row();
    const QString path = model->files.at(current);
    const QString other = model->files.at(rows[0].row() == current ? rows[1].row() : rows[0].row());
    const QString key = model->camera_key(path);
    // Both read on their zones where both show one; else as their clocks read, as the table shows them.
    const bool zoned = !model->get_timezone_string(path, true).isEmpty() && !model->get_timezone_string(other, true).isEmpty();
    auto apart = [&] {
        return zoned ? model->new_moment(path).msecsTo(model->new_moment(other)) / 1000
                     : wall_ms(model->get_offset_dt(path), model->get_offset_dt(other)) / 1000;
    };
    if (!model->get_offset_dt(path).isValid() || !model->get_offset_dt(other).isValid())
        return;
    // Once more where a change of summer time lies between: a clock moved by real seconds
    // reads an hour apart from one moved by days.
    for (int round = 0; round < 2 && apart() != 0; ++round)
        model->offsets->set_correction(key, model->offsets->correction(key) + apart());
    note->show_text(tr("%1: %2, from the same moment as %3")
                        .arg(model->camera_name(key), camera_clocks::correction_text(model->offsets->correction(key)),
                             QFileInfo(other).fileName()));
}

void MainWindow::camera_from_gps()
{
    update_camera_actions();
    if (!camera_from_gps_action->isEnabled())
        return;
    const QString key = model->camera_key(model->files.at(ui->tableView->currentIndex().row()));
    const auto estimate = camera_clocks::estimate(model->gps_differences(key, true));
    if (!estimate)
        return;
    model->offsets->set_correction(key, model->offsets->correction(key) + estimate->seconds);
    note->show_text(tr("%1: %2, from the GPS time of %n photos", nullptr, estimate->photos)
                        .arg(model->camera_name(key), camera_clocks::correction_text(model->offsets->correction(key))));
}
