#pragma once

#include <QStringList>
#include <QVector>
#include <QWidget>

// One camera's photos on the timeline.
struct timeline_lane {
    QString name;          // the camera's name, drawn at the lane's left
    QVector<qint64> times; // old recording times as wall-clock milliseconds since 1970, read as if UTC (no DST); ascending
    QStringList paths;     // the photo of each time, same order
};

// Several cameras' clocks on one time axis: a lane per camera with a bright mark at each photo's
// new time and a faint one at its old time, so that one sees whether the clocks line up. The
// marks are bucketed per pixel column, so painting costs the width, not the number of photos.
class camera_timeline : public QWidget {
    Q_OBJECT
public:
    explicit camera_timeline(QWidget* parent = nullptr);

    // Once per load: the lanes and their photos. Shifts go back to zero.
    void set_lanes(const QVector<timeline_lane>& lanes);
    // Each lane's new times are its old ones plus shift_ms[lane]; a missing entry counts as zero.
    void set_shifts(const QVector<qint64>& shift_ms);
    // A QDateTime format such as "dd.MM.yyyy - HH:mm:ss"; the axis takes its date part, its time
    // part or both, as the visible span needs.
    void set_date_format(const QString& format);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    // A left click on or a few pixels beside a new-time mark: that photo.
    void mark_clicked(const QString& path);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent*) override;

private:
    struct layout {
        QRect plot; // the marks' area: right of the names, above the axis
        int lane_height = 0;
        bool operator==(const layout& other) const
        {
            return plot == other.plot && lane_height == other.lane_height;
        }
    };
    struct run {
        int first, last; // consecutive pixel columns of the plot that hold marks
    };
    struct tick {
        int x;            // column of the plot
        QString label;    // the time, or the date for steps of a day and more
        QString date;     // under a time: the date, where it changes; else empty
    };
    // What paintEvent draws, rebuilt only when the data, the shifts or the layout change.
    struct picture {
        bool valid = false;
        layout at;
        QVector<QVector<run>> old_marks, new_marks; // per lane
        QVector<tick> ticks;
    };

    layout current_layout() const;
    int preferred_lane_height() const;
    int axis_height() const;
    qint64 shift(int lane) const;
    void update_span();
    double x_of(qint64 time, int width) const;
    QVector<run> runs(const QVector<qint64>& times, qint64 shift, int width) const;
    QVector<tick> ticks(int width) const;
    void rebuild(const layout& at);
    void invalidate();

    QVector<timeline_lane> lanes;
    QVector<qint64> shifts;
    qint64 span_start = 0, span_end = 1;
    QString date_part, time_part;
    picture cache;
};
