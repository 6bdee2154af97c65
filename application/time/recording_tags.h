#pragma once

#include <ondo/exiftool.h>
#include <ondo/packed_tags.h>

#include <QDate>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QTime>

#include <optional>

// One tag's value before the last fix run: what an undo writes back. An empty value removes a
// tag that the run added.
struct undo_entry {
    QString tag;
    bool existed = false;
    QString value;
    // What the fix left in the tag, as a read shows it; null when it left the tag absent. An
    // undo writes only where the file still holds it. Not known (`checked` false) for undo
    // information from before this was kept.
    QString written;
    bool checked = false;
};

// One file's undo entries in one block, as a fix keeps them for each file it wrote.
class packed_undo {
public:
    packed_undo() = default;
    packed_undo(const QList<undo_entry>& entries);
    QList<undo_entry> entries() const;

private:
    ondo::packed_list texts;
};

// The recording-time tags of one file, as read with groups and duplicates ("-G1 -a"): where the
// file's own recording time and zone come from, and what a shift makes of each of its time
// tags. Tag values are untrusted: one that doesn't read as a proper date is never a source and
// is never written.
namespace recording_tags {

// A date and, if the text has one, a time, as a tag holds it; kept so that a moved value keeps
// the form it had.
struct stamp {
    QDate date;
    QTime time; // midnight when the text has none
    bool has_time = false;
    bool has_seconds = false;
    QString fraction; // ".12" as written; a shift by whole seconds leaves it alone
    bool has_zone = false;
    bool zulu = false; // the zone was written as "Z"
    int zone_seconds = 0; // east of UTC
};

// ExifTool's "2017:06:21 18:30:05.12+02:00" and its shorter forms down to the bare date;
// nothing for any other text, for dates of zeros and for impossible dates or zones.
std::optional<stamp> parse(const QString& text);
// The text of `value` in the form it was parsed from.
QString to_text(const stamp& value);

// An offset as the table applies it, and the zone typed beside it, if any.
struct shift {
    int years = 0, months = 0, days = 0, hours = 0, minutes = 0, seconds = 0;
    bool has_zone = false;
    double zone = 0.0;
};

// `time` moved by the offset: years, months (each clamping to the month's last day), days,
// then hours, minutes and seconds; the last three go through the daylight saving rules of a
// local time. Invalid stays invalid.
QDateTime moved(const QDateTime& time, const shift& offset);

struct source {
    QString tag;  // the tag the time came from; empty when the file holds none
    QString text; // wall-clock "yyyy:MM:dd hh:mm:ss" (or the bare date) in the file's zone
    // For a file whose time is a moment kept in UTC and that states no zone: that moment, as
    // "yyyy:MM:dd hh:mm:ss". An entered zone says on which clock it is shown.
    QString utc;
};

// The file's own recording time: the first of its date tags, in a fixed order of preference,
// that holds a proper date. A QuickTime creation date is UTC and is given on the file's own
// zone, or on the machine's zone for that date when the file states none.
source recording_time(const exif_tag_map& tags);

// The new recording time that `offset` gives a file whose recording time reads `time` on the
// local clock. A date without a time (`date_only`) moves by whole years, months and days only. A
// moment kept in UTC (`utc`, valid only for such a file) is read on the entered zone's clock
// first, so that the zone labels the moment and only the offset moves it.
QDateTime new_recording_time(const QDateTime& time, bool date_only, const QDateTime& utc, const shift& offset);

// The zone the file states for its recording time, as "+02:00"; empty when it states none.
QString file_zone(const exif_tag_map& tags);

// Every recording-time tag of the file, with the text a fix writes into it: each moved from its
// own value by `offset`, in its own form. An entered zone is the zone of the new times: it
// replaces every zone the file states, goes into EXIF's zone tags where the file has EXIF, and
// the UTC dates follow; local clock readings stay as they are. A date without a time moves with
// the recording time's date. `old_time` and `new_time` are the recording time before and after,
// as the table shows them. Nothing at all when the entered zone is not one a clock can have.
exif_tag_map new_values(const exif_tag_map& tags, const QDateTime& old_time, const QDateTime& new_time,
                        const shift& offset);

// What a fix writes into a sidecar of a file whose recording time moves from `old_time` to
// `new_time`: its dates, each moved from its own value as new_values() moves a file's XMP, the
// entered zone included. Its file times are not the photo's: they are left to the write.
exif_tag_map sidecar_values(const exif_tag_map& tags, const QDateTime& old_time, const QDateTime& new_time,
                            const shift& offset);
// The undo of a sidecar's `values`: its tags' old texts, and its modification time as it was
// before the write set it to the moment of writing.
QList<undo_entry> sidecar_undo_entries(const exif_tag_map& tags, const exif_tag_map& values);

// What an undo of `values` writes back: each tag's old text exactly as it was read, or an empty
// text (a deletion) for a tag the file didn't have. `record` is unused and kept for callers.
QList<undo_entry> undo_entries(const exif_tag_map& tags, const exif_tag_map& record, const exif_tag_map& values);

// The condition a fix's write of `values` is bound to: every tag it changes still holds the text
// it was computed from, or is still absent. A file whose time is its file-system time
// (`own_time` false) is bound by that too, so that a file put in its place never takes its time.
exif_tag_map expected_before(const exif_tag_map& tags, const exif_tag_map& values, bool own_time);
// The condition of an undo of `entries`: the file still holds what the fix left in its tags, or
// (`before`) still holds what it held before the fix, which a write cut short leaves.
exif_tag_map expected_after(const QList<undo_entry>& entries, bool before = false);

// The tag lines an undo of `entries` writes: each old text, an empty one deleting the tag. An
// IPTC time that had no zone can't get its lack of one back: ExifTool gives every IPTC time a
// zone, here the machine's of the photo's IPTC date.
exif_tag_map undo_values(const QList<undo_entry>& entries);

// The tags as a read of the file would show them after `values` were written into it: what the
// table shows after a fix or an undo without reading the file again. An empty value removes a tag.
exif_tag_map after_write(exif_tag_map tags, const exif_tag_map& values);

// The moment a written or read date text names: on its own zone, else on the machine's clock.
// Invalid for anything that isn't a date and time.
QDateTime moment(const QString& text);

// Whether an entered zone can be written into the file's EXIF (it has an EXIF directory).
bool holds_exif_zone(const exif_tag_map& tags);

// The part of a file's tags that a loaded file keeps: every date and time tag (zones and GPS
// stamps among them), the camera's make, model and serials, the XMP toolkit, and the first tag of
// each EXIF directory, which says the directory is there. Every rule here, and the camera, gives
// the same answer for these as for all the tags; the rest (a camera JPEG has hundreds) is let go.
exif_tag_map kept_tags(const exif_tag_map& tags);

} // namespace recording_tags
