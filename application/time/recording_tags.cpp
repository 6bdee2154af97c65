#include "recording_tags.h"

#include "entered_zone.h"
#include "table_data_model.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <cmath>
#include <tuple>

packed_undo::packed_undo(const QList<undo_entry>& entries)
{
    QStringList fields;
    for (const undo_entry& entry : entries)
        fields << entry.tag << QString(QLatin1Char(entry.existed ? '1' : '0')) + QLatin1Char(entry.checked ? '1' : '0')
               << entry.value << entry.written;
    texts = ondo::packed_list(fields, 4);
}

QList<undo_entry> packed_undo::entries() const
{
    const QStringList fields = texts.unpacked();
    QList<undo_entry> entries;
    for (int i = 0; i + 3 < fields.size(); i += 4) {
        const QString& flags = fields.at(i + 1);
        entries.append({fields.at(i), flags.startsWith(QLatin1Char('1')), fields.at(i + 2), fields.at(i + 3),
                        flags.endsWith(QLatin1Char('1'))});
    }
    return entries;
}

namespace recording_tags {

namespace {

const QString file_time_format = QStringLiteral("yyyy:MM:dd hh:mm:ss");
const QString iptc_date = QStringLiteral("IPTC:DateCreated");
const QString iptc_time = QStringLiteral("IPTC:TimeCreated");
const QString xmp_toolkit = QStringLiteral("XMP-x:XMPToolkit");

QString value_of(const exif_tag_map& map, const QString& key)
{
    const auto found = map.find(key);
    return found == map.end() ? QString() : found->second;
}

bool has_group(const exif_tag_map& tags, const QString& group)
{
    const QString prefix = group + QLatin1Char(':');
    const auto first = tags.lower_bound(prefix);
    return first != tags.end() && first->first.startsWith(prefix);
}

bool exif_directory(const QString& group)
{
    static const QRegularExpression directory(
        QStringLiteral("^(IFD\\d+|ExifIFD|SubIFD\\d*|InteropIFD|GlobParamIFD)$"));
    return directory.match(group).hasMatch();
}

// Every date tag below has "Date" or "Time" in its name; most of a photo's tags have neither.
// The group doesn't count: "QuickTime" would keep every tag of a movie or a HEIC, among them
// tags that its items repeat with other values.
bool may_be_date_tag(const QString& tag)
{
    const QStringView name = QStringView(tag).mid(tag.indexOf(QLatin1Char(':')) + 1);
    return name.contains(QLatin1String("Date")) || name.contains(QLatin1String("Time"));
}

// Dates that read as the local clock, zoned or not.
bool local_date_tag(const QString& tag)
{
    if (!may_be_date_tag(tag))
        return false;
    static const QStringList named = {
        QStringLiteral("XMP-exif:DateTimeOriginal"), QStringLiteral("XMP-exif:DateTimeDigitized"),
        QStringLiteral("XMP-xmp:CreateDate"),        QStringLiteral("XMP-xmp:ModifyDate"),
        QStringLiteral("XMP-photoshop:DateCreated"), QStringLiteral("Keys:CreationDate"),
        QStringLiteral("PNG:CreationTime"),
    };
    static const QStringList exif_names = {QStringLiteral("DateTimeOriginal"), QStringLiteral("CreateDate"),
                                           QStringLiteral("ModifyDate")};
    return named.contains(tag)
        || (exif_names.contains(tag.section(QLatin1Char(':'), 1)) && exif_directory(tag.section(QLatin1Char(':'), 0, 0)));
}

// The movie's and every track's dates, which the format keeps in UTC.
bool utc_date_tag(const QString& tag)
{
    if (!may_be_date_tag(tag))
        return false;
    static const QRegularExpression track(QStringLiteral("^Track\\d+$"));
    static const QStringList movie_names = {QStringLiteral("CreateDate"), QStringLiteral("ModifyDate")};
    static const QStringList track_names = {QStringLiteral("TrackCreateDate"), QStringLiteral("TrackModifyDate"),
                                            QStringLiteral("MediaCreateDate"), QStringLiteral("MediaModifyDate")};
    const QString group = tag.section(QLatin1Char(':'), 0, 0);
    const QString name = tag.section(QLatin1Char(':'), 1);
    return (group == QLatin1String("QuickTime") && movie_names.contains(name))
        || (track.match(group).hasMatch() && track_names.contains(name));
}

// The `count` ASCII digits at `at` in `text` as a number; -1 when they aren't there.
int digits_at(QStringView text, int at, int count)
{
    if (at + count > text.size())
        return -1;
    int value = 0;
    for (int i = at; i < at + count; ++i) {
        const int digit = text[i].unicode() - '0';
        if (digit < 0 || digit > 9)
            return -1;
        value = value * 10 + digit;
    }
    return value;
}

// "+05:30" in seconds east of UTC; nothing unless the text is a zone a clock can have.
std::optional<int> zone_seconds(QStringView text)
{
    if (text.size() != 6 || (text[0] != QLatin1Char('+') && text[0] != QLatin1Char('-')) || text[3] != QLatin1Char(':'))
        return std::nullopt;
    const int hours = digits_at(text, 1, 2);
    const int minutes = digits_at(text, 4, 2);
    if (hours < 0 || minutes < 0 || minutes > 59)
        return std::nullopt;
    const int east = (text[0] == QLatin1Char('-') ? -1 : 1) * (hours * 60 + minutes);
    // No clock is further from UTC: a zone outside is no zone, and is never copied anywhere.
    if (east < -12 * 60 || east > 14 * 60)
        return std::nullopt;
    return east * 60;
}

// The entered zone in seconds east of UTC; nothing when none was entered or it is not a zone.
std::optional<int> entered_seconds(const shift& offset)
{
    if (!offset.has_zone)
        return std::nullopt;
    const double minutes = offset.zone * 60.0;
    if (!std::isfinite(minutes) || std::fabs(minutes) > 24 * 60 || minutes != std::round(minutes)
        || !entered_zone::valid(int(minutes)))
        return std::nullopt;
    return int(minutes) * 60;
}

// The calendar part of an offset: what moves a date that has no time.
shift date_part(shift offset)
{
    offset.hours = offset.minutes = offset.seconds = 0;
    return offset;
}

QDate moved_date(const QDate& date, const shift& offset)
{
    return date.addYears(offset.years).addMonths(offset.months).addDays(offset.days);
}

QString zone_text(int seconds)
{
    const int minutes = qAbs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(seconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

// IPTC keeps the date and the time with its zone in two tags. A time without a date stands on
// `fallback`; a date without a time is midnight. Nothing when either holds anything else.
std::optional<stamp> iptc_stamp(const exif_tag_map& tags, const QDate& fallback)
{
    const auto date_tag = tags.find(iptc_date);
    const auto time_tag = tags.find(iptc_time);
    if (date_tag == tags.end() && time_tag == tags.end())
        return std::nullopt;
    QDate date = fallback;
    if (date_tag != tags.end()) {
        const auto read = parse(date_tag->second);
        if (!read || read->has_time)
            return std::nullopt;
        date = read->date;
    }
    if (!date.isValid())
        return std::nullopt;
    if (time_tag == tags.end()) {
        stamp midnight;
        midnight.date = date;
        return midnight;
    }
    return parse(date.toString(QStringLiteral("yyyy:MM:dd")) + QLatin1Char(' ') + time_tag->second);
}

// The instant a UTC date names; one that carries a zone says so itself.
QDateTime instant_of(const stamp& value)
{
    return QDateTime(value.date, value.time, Qt::OffsetFromUTC, value.has_zone ? value.zone_seconds : 0);
}

// Clock readings are carried as UTC values, which every reading is, also one that the local
// clock skips at a spring change.
QDateTime reading(const QDate& date, const QTime& time)
{
    return QDateTime(date, time, Qt::UTC);
}

// The clock reading of `instant` in `zone`, or on the machine's clock when the file states none.
QDateTime wall_clock(const QDateTime& instant, const QString& zone)
{
    const std::optional<int> seconds = zone_seconds(zone);
    const QDateTime there = seconds ? instant.toOffsetFromUtc(*seconds) : instant.toLocalTime();
    return reading(there.date(), there.time());
}

// A clock reading moved the table's way. One that the local clock skips is moved as plain
// clock arithmetic instead of being lost.
QDateTime moved_wall(const QDate& date, const QTime& time, const shift& offset)
{
    const QDateTime local(date, time, Qt::LocalTime);
    const QDateTime result = moved(local.isValid() ? local : reading(date, time), offset);
    return result.isValid() ? reading(result.date(), result.time()) : QDateTime();
}

bool writable_year(const QDate& date)
{
    return date.isValid() && date.year() >= 1 && date.year() <= 9999;
}

// The file-system times ExifTool can set here: never the inode change time, and a creation time
// only where the system keeps one that can be set.
bool settable_file_time(const QString& tag)
{
    const QString name = tag.section(QLatin1Char(':'), 1);
    if (name == QLatin1String("FileCreateDate")) {
#if defined(Q_OS_MACOS) || defined(Q_OS_WIN)
        return true;
#else
        return false;
#endif
    }
    return !ondo::exiftool::remove_nonwriteable_tags({{name, QString()}}, true).empty();
}

} // namespace

std::optional<stamp> parse(const QString& text)
{
    // "yyyy:MM:dd", then " hh:mm" (or "Thh:mm"), ":ss", a fraction of 1 to 9 digits, and "Z" or
    // "+hh:mm", each only after the one before it; nothing else, not even a line break at the end.
    // Read by hand: a fix and a load parse each date of every file several times.
    const QStringView view(text);
    const int year = digits_at(view, 0, 4);
    const int month = digits_at(view, 5, 2);
    const int day = digits_at(view, 8, 2);
    if (year < 0 || month < 0 || day < 0 || view[4] != QLatin1Char(':') || view[7] != QLatin1Char(':'))
        return std::nullopt;
    stamp value;
    value.date = QDate(year, month, day);
    value.time = QTime(0, 0);
    const int size = view.size();
    int at = 10;
    if (at < size && (view[at] == QLatin1Char(' ') || view[at] == QLatin1Char('T'))) {
        const int hour = digits_at(view, at + 1, 2);
        const int minute = digits_at(view, at + 4, 2);
        if (hour < 0 || minute < 0 || view[at + 3] != QLatin1Char(':'))
            return std::nullopt;
        int second = 0;
        at += 6;
        value.has_time = true;
        if (at < size && view[at] == QLatin1Char(':')) {
            second = digits_at(view, at + 1, 2);
            if (second < 0)
                return std::nullopt;
            at += 3;
            value.has_seconds = true;
            if (at < size && view[at] == QLatin1Char('.')) {
                int end = at + 1;
                while (end < size && end - at <= 9 && digits_at(view, end, 1) >= 0)
                    ++end;
                if (end == at + 1)
                    return std::nullopt;
                value.fraction = text.mid(at, end - at);
                at = end;
            }
        }
        value.time = QTime(hour, minute, second);
    }
    if (at < size && view[at] == QLatin1Char('Z')) {
        value.has_zone = value.zulu = true;
        ++at;
    } else if (at < size) {
        const std::optional<int> seconds = zone_seconds(view.right(size - at));
        if (!seconds)
            return std::nullopt;
        value.has_zone = true;
        value.zone_seconds = *seconds;
        at = size;
    }
    if (at != size || !value.date.isValid() || !value.time.isValid())
        return std::nullopt;
    return value;
}

QString to_text(const stamp& value)
{
    QString text = QStringLiteral("%1:%2:%3")
                       .arg(value.date.year(), 4, 10, QLatin1Char('0'))
                       .arg(value.date.month(), 2, 10, QLatin1Char('0'))
                       .arg(value.date.day(), 2, 10, QLatin1Char('0'));
    if (value.has_time) {
        text += value.time.toString(QStringLiteral(" hh:mm"));
        if (value.has_seconds)
            text += value.time.toString(QStringLiteral(":ss")) + value.fraction;
    }
    if (value.has_zone)
        text += value.zulu ? QStringLiteral("Z") : zone_text(value.zone_seconds);
    return text;
}

QDateTime moved(const QDateTime& time, const shift& offset)
{
    if (!time.isValid())
        return time;
    // Each step of a local time asks the C library for the zone; parts that are zero are skipped.
    QDateTime result = time;
    if (offset.years)
        result = result.addYears(offset.years);
    if (offset.months)
        result = result.addMonths(offset.months);
    if (offset.days)
        result = result.addDays(offset.days);
    // The hours wrap like a 32-bit product; seconds added in steps or at once come out the same.
    const qint64 seconds = qint32(qint64(offset.hours) * 3600) + qint64(offset.minutes) * 60 + offset.seconds;
    return seconds ? result.addSecs(seconds) : result;
}

source recording_time(const exif_tag_map& tags)
{
    static const QStringList order = {
        QStringLiteral("ExifIFD:DateTimeOriginal"), QStringLiteral("IFD0:DateTimeOriginal"),
        QStringLiteral("XMP-exif:DateTimeOriginal"), QStringLiteral("XMP-photoshop:DateCreated"),
        iptc_date,                                   QStringLiteral("XMP-xmp:CreateDate"),
        QStringLiteral("ExifIFD:CreateDate"),        QStringLiteral("Keys:CreationDate"),
        QStringLiteral("QuickTime:CreateDate"),      QStringLiteral("PNG:CreationTime"),
    };
    for (const QString& tag : order) {
        // IPTC counts only with its date: a time alone says nothing of the day.
        const std::optional<stamp> value = tag == iptc_date ? (tags.count(iptc_date) ? iptc_stamp(tags, QDate()) : std::nullopt)
                                                            : parse(value_of(tags, tag));
        if (!value)
            continue;
        if (utc_date_tag(tag)) {
            if (!value->has_time)
                continue;
            const QString zone = file_zone(tags);
            const QDateTime instant = instant_of(*value);
            return {tag, wall_clock(instant, zone).toString(file_time_format),
                    zone.isEmpty() ? instant.toUTC().toString(file_time_format) : QString()};
        }
        QString text = value->date.toString(QStringLiteral("yyyy:MM:dd"));
        if (value->has_time)
            text += value->time.toString(QStringLiteral(" hh:mm:ss"));
        return {tag, text, QString()};
    }
    return {};
}

QDateTime new_recording_time(const QDateTime& time, bool date_only, const QDateTime& utc, const shift& offset)
{
    if (date_only)
        return moved(time, date_part(offset));
    const std::optional<int> zone = entered_seconds(offset);
    if (!utc.isValid() || !zone || !time.isValid())
        return moved(time, offset);
    const QDateTime there = utc.toOffsetFromUtc(*zone);
    const QDateTime result = moved_wall(there.date(), there.time(), offset);
    const QDateTime local(result.date(), result.time(), Qt::LocalTime);
    return local.isValid() ? local : result;
}

QString file_zone(const exif_tag_map& tags)
{
    // IPTC's zone first, as it always was, then EXIF's, then one written into a date.
    const QString time = value_of(tags, iptc_time);
    int sign = time.lastIndexOf(QLatin1Char('+'));
    if (sign < 0)
        sign = time.lastIndexOf(QLatin1Char('-'));
    if (sign >= 0 && zone_seconds(time.mid(sign)))
        return zone_text(*zone_seconds(time.mid(sign)));

    if (const auto exif = zone_seconds(value_of(tags, QStringLiteral("ExifIFD:OffsetTimeOriginal"))))
        return zone_text(*exif);

    static const QStringList zoned = {
        QStringLiteral("XMP-exif:DateTimeOriginal"), QStringLiteral("XMP-photoshop:DateCreated"),
        QStringLiteral("XMP-xmp:CreateDate"),        QStringLiteral("XMP-exif:DateTimeDigitized"),
        QStringLiteral("XMP-xmp:ModifyDate"),        QStringLiteral("Keys:CreationDate"),
    };
    for (const QString& tag : zoned) {
        const std::optional<stamp> value = parse(value_of(tags, tag));
        if (value && value->has_zone)
            return zone_text(value->zone_seconds);
    }
    return {};
}

exif_tag_map new_values(const exif_tag_map& tags, const QDateTime& old_time, const QDateTime& new_time,
                        const shift& offset)
{
    exif_tag_map values;
    // A zone no clock can have is never written, whatever asked for it.
    if (!new_time.isValid() || (offset.has_zone && !entered_seconds(offset)))
        return values;

    const source own = recording_time(tags);
    const bool dates_itself = !own.tag.isEmpty();
    // A date without a time gets neither a time nor a zone: only the calendar part moves it.
    const bool date_only = dates_itself && !own.text.contains(QLatin1Char(' '));
    const shift moving = date_only ? date_part(offset) : offset;
    const std::optional<int> entered = date_only ? std::nullopt : entered_seconds(offset);
    const QString zone = file_zone(tags);
    // The zone of the new times: the one entered, else the file's own.
    const std::optional<int> label_seconds = entered ? entered : zone_seconds(zone);
    const QString label = label_seconds ? zone_text(*label_seconds) : QString();
    const bool has_exif = holds_exif_zone(tags);
    // The clock the UTC dates are read on: the file's zone; for a file whose time is a UTC moment
    // and that states no zone, the entered one; else the machine's.
    const QString utc_clock = !zone.isEmpty() ? zone : (!own.utc.isEmpty() && entered) ? label : QString();
    // A date alone moves as the recording time's date does, a day carried over by the clock included.
    auto moved_day = [&](const QDate& date) {
        const QDate day = moved_date(date, moving);
        if (date_only || !old_time.isValid())
            return day;
        return day.addDays(moved_date(old_time.date(), moving).daysTo(new_time.date()));
    };

    // A file's dates are mostly one moment written several times, and each move asks the C library
    // for the zone several times: the last move is kept.
    std::optional<std::tuple<QDate, QTime, QDateTime>> last_move;
    auto moved_clock = [&](const QDate& date, const QTime& time) {
        if (!last_move || std::get<0>(*last_move) != date || std::get<1>(*last_move) != time)
            last_move = std::make_tuple(date, time, moved_wall(date, time, moving));
        return std::get<2>(*last_move);
    };

    for (const auto& [tag, text] : tags) {
        const bool local = local_date_tag(tag);
        if (!local && !utc_date_tag(tag))
            continue;
        std::optional<stamp> value = parse(text);
        if (!value)
            continue;
        if (local && !value->has_time) {
            const QDate day = moved_day(value->date);
            if (!writable_year(day))
                continue;
            value->date = day;
        } else if (local) {
            const QDateTime wall = moved_clock(value->date, value->time);
            if (!writable_year(wall.date()))
                continue;
            value->date = wall.date();
            value->time = wall.time();
            // The entered zone replaces the one a date states; a file without EXIF keeps it in its
            // XMP dates, having nowhere else.
            if (entered && (value->has_zone || (!has_exif && tag.startsWith(QLatin1String("XMP-"))))) {
                value->has_zone = true;
                value->zulu = false;
                value->zone_seconds = *entered;
            }
        } else {
            if (!value->has_time)
                continue;
            // Moved on the clock it was recorded by, and put back into UTC by the zone it has now.
            const QDateTime old_wall = wall_clock(instant_of(*value), utc_clock);
            const QDateTime wall = moved_clock(old_wall.date(), old_wall.time());
            const QDateTime instant = label_seconds ? QDateTime(wall.date(), wall.time(), Qt::OffsetFromUTC, *label_seconds)
                                                    : QDateTime(wall.date(), wall.time(), Qt::LocalTime);
            const QDateTime written = instant.toOffsetFromUtc(value->has_zone ? value->zone_seconds : 0);
            if (!instant.isValid() || !writable_year(written.date()))
                continue;
            value->date = written.date();
            value->time = written.time();
        }
        values[tag] = to_text(*value);
    }

    // IPTC is written only where the file has it, each of its two tags only if present: a zone
    // entered goes into EXIF and the dates the file has, and never makes a block of its own. A
    // time without a date stands on the recording date, if that is the file's own.
    if (tags.count(iptc_date) || tags.count(iptc_time)) {
        if (const std::optional<stamp> value = iptc_stamp(tags, dates_itself ? old_time.date() : QDate())) {
            if (!tags.count(iptc_time)) {
                const QDate day = moved_day(value->date);
                if (writable_year(day))
                    values[iptc_date] = day.toString(QStringLiteral("yyyy:MM:dd"));
            } else {
                const QDateTime wall = moved_clock(value->date, value->time);
                if (writable_year(wall.date())) {
                    if (tags.count(iptc_date))
                        values[iptc_date] = wall.toString(QStringLiteral("yyyy:MM:dd"));
                    // With its date, so that ExifTool gives a time without a zone the machine's
                    // zone of that day.
                    values[iptc_time] = wall.toString(file_time_format) + label;
                }
            }
        }
    }

    // EXIF keeps the zone of each of its three dates in a tag of its own.
    if (entered && has_exif) {
        static const std::pair<QString, QString> pairs[] = {
            {QStringLiteral("OffsetTime"), QStringLiteral("ModifyDate")},
            {QStringLiteral("OffsetTimeOriginal"), QStringLiteral("DateTimeOriginal")},
            {QStringLiteral("OffsetTimeDigitized"), QStringLiteral("CreateDate")},
        };
        for (const auto& [offset_name, date_name] : pairs) {
            const QString offset_tag = QStringLiteral("ExifIFD:") + offset_name;
            bool wanted = tags.count(offset_tag) > 0;
            for (auto it = tags.begin(); !wanted && it != tags.end(); ++it)
                wanted = it->first.section(QLatin1Char(':'), 1) == date_name
                    && exif_directory(it->first.section(QLatin1Char(':'), 0, 0)) && values.count(it->first);
            if (wanted)
                values[offset_tag] = zone_text(*entered);
        }
    }

    // ExifTool names itself the XMP's toolkit whenever it rewrites the XMP. A fix changes nothing
    // but times, so the toolkit stays what it was, or absent.
    const auto first_xmp = values.lower_bound(QStringLiteral("XMP-"));
    if (first_xmp != values.end() && first_xmp->first.startsWith(QLatin1String("XMP-")))
        values[xmp_toolkit] = value_of(tags, xmp_toolkit);

    const QString new_text = new_time.toString(file_time_format);
    for (const QString& tag : {QStringLiteral("System:FileModifyDate"), QStringLiteral("System:FileCreateDate")})
        if (tags.count(tag) && settable_file_time(tag))
            values[tag] = new_text + label;
    return values;
}

QList<undo_entry> undo_entries(const exif_tag_map& tags, const exif_tag_map&, const exif_tag_map& values)
{
    const exif_tag_map after = after_write(tags, values);
    QList<undo_entry> entries;
    for (const auto& written : values) {
        const auto found = tags.find(written.first);
        const auto left = after.find(written.first);
        undo_entry entry{written.first, found != tags.end(), found != tags.end() ? found->second : QString(),
                         left != after.end() ? left->second : QString(), true};
        entries << entry;
    }
    return entries;
}

exif_tag_map sidecar_values(const exif_tag_map& tags, const QDateTime& old_time, const QDateTime& new_time,
                            const shift& offset)
{
    exif_tag_map values = new_values(tags, old_time, new_time, offset);
    for (auto it = values.begin(); it != values.end();)
        it = it->first.startsWith(QLatin1String("System:")) ? values.erase(it) : std::next(it);
    // Nothing but the toolkit's own name left means no date to move: the sidecar isn't touched.
    if (values.size() == 1 && values.count(xmp_toolkit))
        values.clear();
    return values;
}

QList<undo_entry> sidecar_undo_entries(const exif_tag_map& tags, const exif_tag_map& values)
{
    QList<undo_entry> entries = undo_entries(tags, {}, values);
    const QString file_time = QStringLiteral("System:FileModifyDate");
    if (!values.empty() && tags.count(file_time))
        entries << undo_entry{file_time, true, tags.at(file_time), QString(), true};
    return entries;
}

namespace {

// File-system times change with every copy and backup; they say nothing of whose photo a file is.
bool file_time(const QString& tag)
{
    return tag.startsWith(QLatin1String("System:"));
}

} // namespace

exif_tag_map expected_before(const exif_tag_map& tags, const exif_tag_map& values, bool own_time)
{
    exif_tag_map expected;
    for (const auto& written : values) {
        if (file_time(written.first) && (own_time || written.first != QLatin1String("System:FileModifyDate")))
            continue;
        const auto found = tags.find(written.first);
        expected[written.first] = found != tags.end() ? found->second : QString();
    }
    return expected;
}

exif_tag_map expected_after(const QList<undo_entry>& entries, bool before)
{
    exif_tag_map expected;
    for (const undo_entry& entry : entries)
        if (entry.checked && !file_time(entry.tag))
            expected[entry.tag] = before ? (entry.existed ? entry.value : QString()) : entry.written;
    return expected;
}

exif_tag_map undo_values(const QList<undo_entry>& entries)
{
    static const QRegularExpression zoneless(QRegularExpression::anchoredPattern(QStringLiteral("\\d\\d:\\d\\d:\\d\\d")));
    exif_tag_map values;
    QString iptc_day;
    for (const undo_entry& entry : entries) {
        values[entry.tag] = entry.value;
        if (entry.tag == iptc_date)
            iptc_day = entry.value;
    }
    // ExifTool writes no IPTC time without a zone: one that had none gets the machine's zone of
    // its own day rather than of today.
    const auto time = values.find(iptc_time);
    if (time != values.end() && zoneless.match(time->second).hasMatch() && parse(iptc_day))
        time->second = iptc_day + QLatin1Char(' ') + time->second;
    return values;
}

exif_tag_map after_write(exif_tag_map tags, const exif_tag_map& values)
{
    for (const auto& [tag, text] : values) {
        if (text.isEmpty()) {
            tags.erase(tag);
            continue;
        }
        QString read = text;
        const std::optional<stamp> value = parse(text);
        if (tag == iptc_date && value) {
            read = value->date.toString(QStringLiteral("yyyy:MM:dd"));
        } else if ((tag == iptc_time || tag.startsWith(QLatin1String("System:"))) && value && value->has_time) {
            // IPTC keeps the zone it was given, else the machine's of that day; the file system
            // keeps the moment, which ExifTool shows on the machine's clock.
            const QDateTime local = value->has_zone ? instant_of(*value).toLocalTime()
                                                    : QDateTime(value->date, value->time, Qt::LocalTime);
            if (tag == iptc_time)
                read = value->time.toString(QStringLiteral("hh:mm:ss"))
                    + zone_text(value->has_zone ? value->zone_seconds : local.offsetFromUtc());
            else
                read = local.toString(file_time_format) + zone_text(local.offsetFromUtc());
        } else if (tag == iptc_time && QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d$")).match(text).hasMatch()) {
            // A time alone without a zone: ExifTool gives it the machine's zone of today.
            read = text + zone_text(QDateTime::currentDateTime().offsetFromUtc());
        }
        tags[tag] = read;
    }
    return tags;
}

QDateTime moment(const QString& text)
{
    const std::optional<stamp> value = parse(text);
    if (!value || !value->has_time)
        return QDateTime();
    return value->has_zone ? instant_of(*value) : QDateTime(value->date, value->time, Qt::LocalTime);
}

exif_tag_map kept_tags(const exif_tag_map& tags)
{
    static const QStringList named = {QStringLiteral("Make"), QStringLiteral("Model"), QStringLiteral("SerialNumber"),
                                      QStringLiteral("InternalSerialNumber"), QStringLiteral("XMPToolkit")};
    exif_tag_map kept;
    QStringView last_group;
    for (const auto& [tag, value] : tags) {
        const int colon = tag.indexOf(QLatin1Char(':'));
        const QStringView group = QStringView(tag).left(qMax(colon, 0));
        const bool first_of_group = group != last_group;
        last_group = group;
        if (may_be_date_tag(tag) || named.contains(QStringView(tag).mid(colon + 1))
            || (first_of_group && exif_directory(group.toString())))
            kept.emplace_hint(kept.end(), tag, value);
    }
    return kept;
}

bool holds_exif_zone(const exif_tag_map& tags)
{
    // Any EXIF directory will do: ExifTool makes the ExifIFD for the zone tags if there is none.
    for (const QString& group : {QStringLiteral("ExifIFD"), QStringLiteral("IFD0")})
        if (has_group(tags, group))
            return true;
    return false;
}

} // namespace recording_tags
