#include "recording_tags.h"

#include "table_data_model.h"

#include <QRegularExpression>
#include <QTimeZone>

namespace recording_tags {

namespace {

const QString file_time_format = QStringLiteral("yyyy:MM:dd hh:mm:ss");
const QString iptc_date = QStringLiteral("IPTC:DateCreated");
const QString iptc_time = QStringLiteral("IPTC:TimeCreated");

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

// Every date tag below has "Date" or "Time" in its name; most of a photo's tags have neither,
// and are let go without splitting their names.
bool may_be_date_tag(const QString& tag)
{
    return tag.contains(QLatin1String("Date")) || tag.contains(QLatin1String("Time"));
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

// "+05:30" in seconds east of UTC; nothing unless the text is a zone a clock can have.
std::optional<int> zone_seconds(const QString& text)
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral("([+-])(\\d\\d):(\\d\\d)")));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const int hours = match.captured(2).toInt();
    const int minutes = match.captured(3).toInt();
    if (hours > 14 || minutes > 59)
        return std::nullopt;
    const int seconds = hours * 3600 + minutes * 60;
    return match.captured(1) == QLatin1String("-") ? -seconds : seconds;
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

// IPTC:TimeCreated is read as a time alone but written as a date and time, so the old value is
// rebuilt on the recording date. A stored zone such as "+02:00" doesn't convert to a number and
// comes back as +00:00; a file without a zone gets the machine's zone. Undo can't remove a zone.
QString rebuilt_time_created(const exif_tag_map& record, QString text)
{
    const QDate date(value_of(record, QStringLiteral("rec_year")).toInt(),
                     value_of(record, QStringLiteral("rec_month")).toInt(),
                     value_of(record, QStringLiteral("rec_day")).toInt());
    const QString zone = value_of(record, QStringLiteral("iptc_timezone"));
    const int hours = zone.toInt(nullptr, 10);

    int sign = text.lastIndexOf(QLatin1Char('+'));
    if (sign < 0)
        sign = text.lastIndexOf(QLatin1Char('-'));
    if (sign >= 0)
        text.truncate(sign);
    const QTime time = QTime::fromString(text, QStringLiteral("hh:mm:ss"));

    const QDateTime when(date, time, zone.isEmpty() ? Qt::LocalTime : Qt::OffsetFromUTC, hours * 3600);
    return when.toString(file_time_format)
        + format_utc_offset(float(when.timeZone().offsetFromUtc(when) / 3600.0));
}

} // namespace

std::optional<stamp> parse(const QString& text)
{
    // Anchored at the very end: "$" would also let a line break through.
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral(
        "(\\d{4}):(\\d\\d):(\\d\\d)(?:[ T](\\d\\d):(\\d\\d)(?::(\\d\\d)(\\.\\d{1,9})?)?)?(Z|[+-]\\d\\d:\\d\\d)?")));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    stamp value;
    value.date = QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    value.has_time = match.capturedLength(4) > 0;
    value.has_seconds = match.capturedLength(6) > 0;
    value.fraction = match.captured(7);
    if (value.has_time)
        value.time = QTime(match.captured(4).toInt(), match.captured(5).toInt(), match.captured(6).toInt());
    else
        value.time = QTime(0, 0);
    const QString zone = match.captured(8);
    value.has_zone = !zone.isEmpty();
    value.zulu = zone == QLatin1String("Z");
    if (value.has_zone && !value.zulu) {
        const std::optional<int> seconds = zone_seconds(zone);
        if (!seconds)
            return std::nullopt;
        value.zone_seconds = *seconds;
    }
    if (!value.date.isValid() || !value.time.isValid())
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
            return {tag, wall_clock(instant_of(*value), file_zone(tags)).toString(file_time_format)};
        }
        QString text = value->date.toString(QStringLiteral("yyyy:MM:dd"));
        if (value->has_time)
            text += value->time.toString(QStringLiteral(" hh:mm:ss"));
        return {tag, text};
    }
    return {};
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
    if (!new_time.isValid())
        return values;

    // The file's zone plus the entered one; with no zone of its own, the entered zone alone.
    const QString zone = file_zone(tags);
    const bool zoned = offset.has_zone || !zone.isEmpty();
    const QString label = format_utc_offset(float(double(utc_offset_hours(zone)) + (offset.has_zone ? offset.zone : 0.0)));
    const int label_seconds = zone_seconds(label).value_or(0);

    for (const auto& [tag, text] : tags) {
        const bool local = local_date_tag(tag);
        if (!local && !utc_date_tag(tag))
            continue;
        std::optional<stamp> value = parse(text);
        if (!value)
            continue;
        if (local) {
            const QDateTime wall = moved_wall(value->date, value->time, offset);
            if (!writable_year(wall.date()))
                continue;
            value->date = wall.date();
            value->time = wall.time();
            if (value->has_zone && offset.has_zone) {
                value->zulu = false;
                value->zone_seconds = label_seconds;
            }
        } else {
            if (!value->has_time)
                continue;
            // Moved on the clock it was recorded by, and put back into UTC by the zone it has now.
            const QDateTime old_wall = wall_clock(instant_of(*value), zone);
            const QDateTime wall = moved_wall(old_wall.date(), old_wall.time(), offset);
            const QDateTime instant = zoned ? QDateTime(wall.date(), wall.time(), Qt::OffsetFromUTC, label_seconds)
                                            : QDateTime(wall.date(), wall.time(), Qt::LocalTime);
            const QDateTime written = instant.toOffsetFromUtc(value->has_zone ? value->zone_seconds : 0);
            if (!instant.isValid() || !writable_year(written.date()))
                continue;
            value->date = written.date();
            value->time = written.time();
        }
        values[tag] = to_text(*value);
    }

    const QString new_text = new_time.toString(file_time_format);
    const QString zone_suffix = zoned ? label : QString();

    // The IPTC pair moves as one value; a zone entered adds it, but only to a file that dates
    // itself and that can hold IPTC. A time without a date stands on the recording date, if that
    // is the file's own.
    const bool dates_itself = !recording_time(tags).tag.isEmpty();
    const bool has_iptc = tags.count(iptc_date) || tags.count(iptc_time);
    if (has_iptc) {
        if (const std::optional<stamp> value = iptc_stamp(tags, dates_itself ? old_time.date() : QDate())) {
            const QDateTime wall = moved_wall(value->date, value->time, offset);
            if (writable_year(wall.date())) {
                for (const QString& tag : {iptc_date, iptc_time})
                    if (tags.count(tag) || offset.has_zone)
                        values[tag] = wall.toString(file_time_format) + zone_suffix;
            }
        }
    } else if (offset.has_zone && dates_itself && !has_group(tags, QStringLiteral("QuickTime"))) {
        values[iptc_date] = new_text + zone_suffix;
        values[iptc_time] = new_text + zone_suffix;
    }

    // EXIF keeps the zone of each of its three dates in a tag of its own.
    if (offset.has_zone && holds_exif_zone(tags)) {
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
                values[offset_tag] = label;
        }
    }

    for (const QString& tag : {QStringLiteral("System:FileModifyDate"), QStringLiteral("System:FileCreateDate")})
        if (tags.count(tag) && settable_file_time(tag))
            values[tag] = new_text + zone_suffix;
    return values;
}

QList<undo_entry> undo_entries(const exif_tag_map& tags, const exif_tag_map& record, const exif_tag_map& values)
{
    QList<undo_entry> entries;
    for (const auto& written : values) {
        undo_entry entry{written.first, false, QString()};
        const auto found = tags.find(written.first);
        if (found != tags.end()) {
            entry.existed = true;
            entry.value = written.first == iptc_time ? rebuilt_time_created(record, found->second) : found->second;
        }
        entries << entry;
    }
    return entries;
}

bool holds_exif_zone(const exif_tag_map& tags)
{
    return has_group(tags, QStringLiteral("ExifIFD"));
}

} // namespace recording_tags
