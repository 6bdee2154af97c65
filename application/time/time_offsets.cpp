#include "time_offsets.h"

namespace {

constexpr qint64 seconds_per_day = 86400;

} // namespace

void time_offsets::set_panel(const recording_tags::shift& offset)
{
    panel_shift = offset;
    emit changed();
}

void time_offsets::set_correction(const QString& camera, qint64 seconds)
{
    if (correction(camera) == seconds)
        return;
    if (seconds == 0)
        corrections.remove(camera);
    else
        corrections.insert(camera, seconds);
    emit changed();
}

void time_offsets::clear_corrections()
{
    if (corrections.isEmpty())
        return;
    corrections.clear();
    emit changed();
}

recording_tags::shift time_offsets::shift_for(const QString& camera) const
{
    recording_tags::shift offset = panel_shift;
    const qint64 seconds = correction(camera);
    if (seconds == 0)
        return offset;
    // Whole days move a date alone too; the rest moves the clock. Both add to the panel's own
    // days and seconds, which the offset rule applies after its years and months.
    offset.days += int(seconds / seconds_per_day);
    offset.seconds += int(seconds % seconds_per_day);
    return offset;
}

QDateTime time_offsets::new_time(const QString& camera, const QDateTime& time, bool date_only, const QDateTime& utc) const
{
    return recording_tags::new_recording_time(time, date_only, utc, shift_for(camera));
}
