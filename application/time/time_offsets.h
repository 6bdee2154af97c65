#pragma once

#include "recording_tags.h"

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

// The offsets a fix applies: the panel's, for every file, and each camera's own clock
// correction. The one place that turns a row's recording time into its new one; the table, the
// fix run, the cameras panel and the timeline all ask it.
class time_offsets : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // The panel's offset and entered zone.
    const recording_tags::shift& panel() const { return panel_shift; }
    void set_panel(const recording_tags::shift& offset);

    // A camera's correction in seconds (days are 86,400 each); 0 for a camera never corrected.
    qint64 correction(const QString& camera) const { return corrections.value(camera); }
    void set_correction(const QString& camera, qint64 seconds);
    bool has_corrections() const { return !corrections.isEmpty(); }
    // The cameras with a correction other than zero.
    QStringList corrected() const { return corrections.keys(); }
    // Every correction back to zero.
    void clear_corrections();

    // The offset a file of `camera` moves by: the panel's, then the camera's correction, its
    // whole days as days and the rest as seconds.
    recording_tags::shift shift_for(const QString& camera) const;
    // The new recording time of a file of `camera` (see recording_tags::new_recording_time).
    QDateTime new_time(const QString& camera, const QDateTime& time, bool date_only, const QDateTime& utc) const;

signals:
    // After any change of the panel's offset or of a correction.
    void changed();

private:
    recording_tags::shift panel_shift;
    QHash<QString, qint64> corrections;
};
