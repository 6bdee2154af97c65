#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QVector>

#include <optional>

// A camera's clock error as the satellite time of its files tells it: the median over its files
// of GPS time minus recording time, and how far the files' own differences spread (largest minus
// smallest).
struct gps_estimate {
    qint64 seconds = 0;
    int photos = 0;
    qint64 spread = 0;
};

// One loaded camera, as the cameras panel lists it.
struct camera_summary {
    QString key;  // camera::key()
    QString name; // camera::name(), with the serial's end where two bodies share a model
    int files = 0;
    QDateTime first, last; // the earliest and latest recording time of its files
    std::optional<gps_estimate> gps;
};

namespace camera_clocks {

// The difference in seconds between a file's GPS time (UTC) and its recording time `recorded`, a
// moment; nothing where the stamp is zero, before 1990, after `now`, or more than 366 days away.
std::optional<qint64> gps_difference(const QDateTime& gps_utc, const QDateTime& recorded, const QDateTime& now);
// The median and spread of `differences`; nothing for none.
std::optional<gps_estimate> estimate(QVector<qint64> differences);

// "+1 h 3 min 12 s", "−2 d 0 h 0 min 5 s", "0 s": a correction as the panel and the note show it.
QString correction_text(qint64 seconds);

} // namespace camera_clocks
