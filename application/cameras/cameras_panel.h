#pragma once

#include "camera_clocks.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QWidget>

#include <array>
#include <vector>

class QGridLayout;
class QLabel;
class QScrollArea;
class QSpinBox;
class time_offsets;

// The cameras of a trip side by side: each with its files, its first and last recording time and
// its clock correction, which is edited in place and lives in `offsets`. Every widget of a
// camera's row carries the property "camera" with the camera's key.
class cameras_panel : public QWidget {
    Q_OBJECT
public:
    // `offsets` must outlive the panel.
    explicit cameras_panel(time_offsets* offsets, QWidget* parent = nullptr);

    // The loaded cameras. With fewer than two the panel hides itself; with two or more it shows
    // one row per camera, in the given order.
    void set_cameras(const QList<camera_summary>& cameras);
    // A QDateTime format for the first and last recording times.
    void set_date_format(const QString& format);

private:
    struct row {
        QString key;
        QDateTime first, last;
        QLabel* first_label = nullptr;
        QLabel* last_label = nullptr;
        // Days, hours, minutes and seconds.
        std::array<QSpinBox*, 4> parts{};
    };

    void add_header(QGridLayout* grid);
    void add_row(QGridLayout* grid, const camera_summary& camera);
    void edited(const row& edited_row);
    void show_corrections();
    void show_times();
    void fit_height(QGridLayout* grid);

    time_offsets* offsets;
    QString date_format;
    QScrollArea* scroll;
    std::vector<row> rows;
    // The grid row each camera starts on, for the height of the first few.
    std::vector<int> grid_rows;
};
