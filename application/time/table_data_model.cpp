#include "table_data_model.h"

#include "camera.h"
#include "entered_zone.h"
#include "file_identity.h"
#include "recording_tags.h"

#include <ondo/misc.h>

#include <ondo/style.h>

#include <QCollator>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSize>
#include <QtDebug>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace {

const QString true_text = QStringLiteral("true");
const QString false_text = QStringLiteral("false");

QString two_digits(int value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

// The file-system time a file without a date of its own shows: the one a fix sets. That is the
// creation time where the system lets it be set; here, as file managers show it, the
// modification time, so that a fixed file shows its new time when it is loaded again.
QDateTime creation_time(const QString& path)
{
    const QFileInfo info(path);
#if defined(Q_OS_MACOS) || defined(Q_OS_WIN)
    const QDateTime birth = info.birthTime();
    return birth.isValid() ? birth : info.lastModified();
#else
    return info.lastModified();
#endif
}

// The recording time's six fields, "year:month:day:hour:minute:second", in one entry: a library
// of a hundred thousand files keeps one small text a file rather than six.
void store_fields(exif_tag_map& record, const QStringList& fields)
{
    record[QStringLiteral("rec_time")] = fields.join(QLatin1Char(':'));
}

void store_file_system_time(const QString& path, exif_tag_map& record)
{
    const QDateTime created = creation_time(path);
    store_fields(record, {QString::number(created.date().year()), two_digits(created.date().month()),
                          two_digits(created.date().day()), two_digits(created.time().hour()),
                          two_digits(created.time().minute()), two_digits(created.time().second())});
}

// ExifTool's "2017:06:21 18:30:05", optionally with a zone, which is dropped. The fields are
// stored as they stand; missing ones are stored empty and later read as 0.
void store_recording_text(const QString& path, const QString& text, exif_tag_map& record)
{
    const QStringList parts = text.split(QLatin1Char(' '), Qt::KeepEmptyParts);
    if (text.isEmpty() || parts.isEmpty()) {
        if (!text.isEmpty())
            qWarning() << path << "Can't parse exif recording date/time..." << text << parts;
        return;
    }

    const QStringList date = parts.at(0).split(QLatin1Char(':'));
    QStringList fields = {date.value(0), date.value(1), date.value(2), QString(), QString(), QString()};
    if (parts.size() > 1) {
        QString time = parts.at(1);
        for (const QChar sign : {QLatin1Char('+'), QLatin1Char('-')}) {
            const int at = time.indexOf(sign);
            if (at >= 0)
                time.truncate(at);
        }
        const QStringList clock = time.split(QLatin1Char(':'));
        for (int i = 0; i < 3; ++i)
            fields[3 + i] = clock.value(i);
    }
    store_fields(record, fields);
}

void store_iptc(const exif_tag_map& tags, exif_tag_map& record)
{
    record[QStringLiteral("has_iptc_date")] = false_text;
    record[QStringLiteral("has_iptc_time")] = false_text;
    // Written under this spelling too, always empty; nothing reads it.
    record[QStringLiteral("ipct_timezone")] = QString();

    if (tags.count(QStringLiteral("IPTC:DateCreated")))
        record[QStringLiteral("has_iptc_date")] = true_text;

    const auto time = tags.find(QStringLiteral("IPTC:TimeCreated"));
    if (time == tags.end())
        return;
    record[QStringLiteral("has_iptc_time")] = true_text;
    int sign = time->second.lastIndexOf(QLatin1Char('+'));
    if (sign < 0)
        sign = time->second.lastIndexOf(QLatin1Char('-'));
    if (sign >= 0)
        record[QStringLiteral("iptc_timezone")] = time->second.mid(sign);
}

// The name of a loaded file's absolute path, without the cost of a QFileInfo: the name sort asks
// for every row's.
QString file_name(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// The time a record's "rec_time" names, on the machine's clock.
QDateTime local_time(const QString& fields_text)
{
    int fields[6] = {};
    int field = 0;
    for (const QStringView part : QStringView(fields_text).split(QLatin1Char(':'))) {
        if (field < 6)
            fields[field++] = part.toInt();
    }
    return QDateTime(QDate(fields[0], fields[1], fields[2]), QTime(fields[3], fields[4], fields[5], 0),
                     Qt::LocalTime);
}

// What the time column sorts by: the moment in milliseconds, computed once a load, since a
// local time costs a conversion; a time that doesn't exist on the clock goes first, as Qt puts it.
qint64 time_key(const QString& fields_text)
{
    const QDateTime time = local_time(fields_text);
    return time.isValid() ? time.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

// The date part of a display format, for a date without a time: "dd.MM.yyyy" of
// "dd.MM.yyyy - HH:mm:ss".
QString date_format(const QString& format)
{
    int end = format.indexOf(QRegularExpression(QStringLiteral("[hH]")));
    if (end < 0)
        return format;
    while (end > 0 && QStringLiteral(" -,").contains(format.at(end - 1)))
        --end;
    return format.left(end);
}

const ondo::packed_tags& record_of(const QString& path)
{
    return exif_cache::instance()->of(path).record;
}

QString value_of(const ondo::packed_tags& record, const QString& key)
{
    return record.value(key);
}

QString value_of(const exif_tag_map& record, const QString& key)
{
    const auto found = record.find(key);
    return found == record.end() ? QString() : found->second;
}

// The satellite time a file records, in UTC: GPS's date and time stamps, else XMP's GPS time.
QDateTime gps_time(const exif_tag_map& tags)
{
    const QDate date = QDate::fromString(value_of(tags, QStringLiteral("GPS:GPSDateStamp")), QStringLiteral("yyyy:MM:dd"));
    const QString clock = value_of(tags, QStringLiteral("GPS:GPSTimeStamp")).left(8);
    const QTime time = QTime::fromString(clock, QStringLiteral("hh:mm:ss"));
    if (date.isValid() && time.isValid())
        return QDateTime(date, time, Qt::UTC);
    const std::optional<recording_tags::stamp> xmp = recording_tags::parse(value_of(tags, QStringLiteral("XMP-exif:GPSDateTime")));
    if (!xmp || !xmp->has_time)
        return QDateTime();
    return QDateTime(xmp->date, xmp->time, Qt::OffsetFromUTC, xmp->has_zone ? xmp->zone_seconds : 0).toUTC();
}

} // namespace

exif_cache* exif_cache::instance()
{
    static exif_cache cache;
    return &cache;
}

void exif_cache::load(const QString& path, const exif_tag_map& all_tags)
{
    // Only what the rows, the fix, the undo and the cameras read: a camera's JPEG brings hundreds
    // of tags, and a library a hundred thousand files.
    const exif_tag_map tags = recording_tags::kept_tags(all_tags);
    entry& kept = entries[path];
    kept.tags = tags;
    // Derived anew each time, also after a fix: only what the load saw of the file itself stays.
    exif_tag_map record;
    if (kept.record.contains(QStringLiteral("file_type")))
        file_identity::from_record(kept.record.unpacked()).store(record);

    // The file's own time, from its first tag that holds a proper date; only a file that dates
    // itself nowhere gets its file-system time.
    const recording_tags::source own = recording_tags::recording_time(tags);
    const QString recording = own.text;
    if (own.tag == QLatin1String("IFD0:DateTimeOriginal"))
        record[QStringLiteral("DateTimeOriginalInIFD0")] = true_text;
    record[QStringLiteral("rec_source")] = own.tag;
    record[QStringLiteral("file_timezone")] = recording_tags::file_zone(tags);
    if (!own.utc.isEmpty())
        record[QStringLiteral("rec_utc")] = own.utc;

    if (recording.isEmpty()) {
        store_file_system_time(path, record);
    } else {
        store_recording_text(path, recording, record);
        if (!recording.contains(QLatin1Char(' ')))
            record[QStringLiteral("rec_date_only")] = true_text;
    }

    store_iptc(tags, record);
    record[QStringLiteral("has_data")] = true_text;

    kept.camera = camera_keys.number(camera::of(tags).key());
    kept.folder = folders.number(path.left(path.lastIndexOf(QLatin1Char('/')) + 1));
    const QDateTime gps = gps_time(tags);
    if (gps.isValid())
        record[QStringLiteral("gps_utc")] = gps.toString(QStringLiteral("yyyy:MM:dd hh:mm:ss"));
    kept.record = record;
    kept.time_key = time_key(value_of(record, QStringLiteral("rec_time")));
}

quint32 exif_cache::numbered_texts::number(const QString& text)
{
    const auto found = numbers.constFind(text);
    if (found != numbers.constEnd())
        return *found;
    texts.append(text);
    return *numbers.insert(text, quint32(texts.size() - 1));
}

void exif_cache::numbered_texts::clear()
{
    texts = QStringList{QString()};
    numbers = {{QString(), 0}};
}

const exif_cache::entry& exif_cache::of(const QString& path) const
{
    static const entry none;
    const auto found = entries.constFind(path);
    return found == entries.constEnd() ? none : *found;
}

void exif_cache::set_identity(const QString& path, const file_identity& identity)
{
    entry& kept = entries[path];
    exif_tag_map record = kept.record.unpacked();
    identity.store(record);
    kept.record = record;
}

void exif_cache::set(const QString& path, const QString& field, const QString& value)
{
    entry& kept = entries[path];
    kept.record = kept.record.with(field, value);
}

QStringList time_tags(const exif_tag_map& record)
{
    QStringList tags = {
        QStringLiteral("ExifIFD:DateTimeOriginal"),
        QStringLiteral("ExifIFD:CreateDate"),
        QStringLiteral("IFD0:ModifyDate"),
        QStringLiteral("XMP-photoshop:DateCreated"),
        QStringLiteral("IPTC:DateCreated"),
        QStringLiteral("IPTC:TimeCreated"),
        QStringLiteral("System:FileModifyDate"),
        QStringLiteral("System:FileInodeChangeDate"),
        QStringLiteral("System:FileCreateDate"),
    };
    if (record.count(QStringLiteral("DateTimeOriginalInIFD0"))) {
        tags.removeFirst();
        tags.append(QStringLiteral("IFD0:DateTimeOriginal"));
    }
    return tags;
}

table_data_model::table_data_model(QObject* parent)
    : QAbstractTableModel(parent)
    , header_font(ondo::design_font(QFont(QStringLiteral("FreeSansBold"), 14, QFont::Bold)))
    , offsets(new time_offsets(this))
{
    connect(offsets, &time_offsets::changed, this, &table_data_model::rows_changed);
}

// A flat table: cells have no children, or views would take every cell for a subtree.
int table_data_model::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : files.size();
}

int table_data_model::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 4;
}

QDateTime table_data_model::get_dt(const QString& path) const
{
    return local_time(value_of(record_of(path), QStringLiteral("rec_time")));
}

QDateTime table_data_model::get_offset_dt(const QString& path) const
{
    const ondo::packed_tags& record = record_of(path);
    QDateTime utc;
    const QString utc_text = value_of(record, QStringLiteral("rec_utc"));
    if (!utc_text.isEmpty()) {
        utc = QDateTime::fromString(utc_text, QStringLiteral("yyyy:MM:dd hh:mm:ss"));
        utc.setTimeSpec(Qt::UTC);
    }
    return offsets->new_time(camera_key(path), get_dt(path), date_only(path), utc);
}

bool table_data_model::date_only(const QString& path) const
{
    return record_of(path).contains(QStringLiteral("rec_date_only"));
}

recording_tags::shift table_data_model::shift_for(const QString& path) const
{
    return offsets->shift_for(camera_key(path));
}

QString table_data_model::camera_key(const QString& path) const
{
    const exif_cache* cache = exif_cache::instance();
    return cache->camera_key(cache->of(path).camera);
}

QString table_data_model::camera_name(const QString& key) const
{
    const auto found = camera_names.constFind(key);
    return found != camera_names.constEnd() ? *found : camera::from_key(key).name();
}

void table_data_model::count_camera(const QString& key)
{
    if (camera_files[key]++ > 0)
        return;
    // A new body: it and any other of its model are named anew.
    const camera body = camera::from_key(key);
    bool shared = false;
    for (auto other = camera_files.constBegin(); other != camera_files.constEnd(); ++other) {
        const camera known = camera::from_key(other.key());
        if (other.key() != key && !body.unknown() && known.make == body.make && known.model == body.model) {
            shared = true;
            camera_names.insert(other.key(), known.name(true));
        }
    }
    camera_names.insert(key, body.name(shared));
}

QList<camera_summary> table_data_model::cameras() const
{
    QHash<QString, camera_summary> found;
    QHash<QString, QVector<qint64>> differences;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QString& path : files) {
        const QString key = camera_key(path);
        // In the same pass: a camera at a time would read every file once per camera.
        if (const auto difference = gps_difference(path, now, false))
            differences[key] << *difference;
        camera_summary& summary = found[key];
        summary.key = key;
        ++summary.files;
        const QDateTime time = get_dt(path);
        if (time.isValid()) {
            if (!summary.first.isValid() || time < summary.first)
                summary.first = time;
            if (!summary.last.isValid() || time > summary.last)
                summary.last = time;
        }
    }
    QList<camera_summary> list;
    for (camera_summary& summary : found) {
        summary.name = camera_name(summary.key);
        summary.gps = camera_clocks::estimate(differences.value(summary.key));
        list << summary;
    }
    std::sort(list.begin(), list.end(), [](const camera_summary& a, const camera_summary& b) {
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    return list;
}

QVector<qint64> table_data_model::gps_differences(const QString& camera, bool from_new) const
{
    QVector<qint64> differences;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QString& path : files)
        if (camera_key(path) == camera)
            if (const auto difference = gps_difference(path, now, from_new))
                differences << *difference;
    return differences;
}

std::optional<qint64> table_data_model::gps_difference(const QString& path, const QDateTime& now, bool from_new) const
{
    const QString gps = value_of(record_of(path), QStringLiteral("gps_utc"));
    if (gps.isEmpty() || date_only(path))
        return std::nullopt;
    QDateTime utc = QDateTime::fromString(gps, QStringLiteral("yyyy:MM:dd hh:mm:ss"));
    utc.setTimeSpec(Qt::UTC);
    const auto difference = camera_clocks::gps_difference(utc, recorded_moment(path), now);
    if (!difference)
        return std::nullopt;
    return from_new ? new_moment(path).secsTo(utc) : *difference;
}

QDateTime table_data_model::recorded_moment(const QString& path) const
{
    return moment_on(path, get_dt(path), false);
}

QDateTime table_data_model::new_moment(const QString& path) const
{
    return moment_on(path, get_offset_dt(path), true);
}

QDateTime table_data_model::moment_on(const QString& path, const QDateTime& time, bool with_offset) const
{
    if (!time.isValid())
        return QDateTime();
    // The clock the time is read on: the zone shown beside it, else the machine's for that date.
    const std::optional<int> zone = entered_zone::minutes(get_timezone_string(path, with_offset));
    if (!zone)
        return time;
    return QDateTime(time.date(), time.time(), Qt::OffsetFromUTC, *zone * 60);
}

QString table_data_model::get_timezone_string(const QString& path, bool with_offset) const
{
    // A date alone has no zone, and gets none.
    if (date_only(path))
        return QString();
    const QString zone = value_of(record_of(path), QStringLiteral("file_timezone"));
    const int entered = qRound(offsets->panel().zone * 60);
    // The entered zone is the zone of the new times; one that is no zone is never shown as one.
    if (!with_offset || !offsets->panel().has_zone || !entered_zone::valid(entered))
        return zone;
    return entered_zone::text(entered);
}

QString table_data_model::time_text(const QString& path, const QDateTime& time, const QString& zone) const
{
    QString text = time.toString(date_only(path) ? date_format(format) : format);
    if (text.isEmpty())
        return QStringLiteral("-");
    if (!zone.isEmpty())
        text += QStringLiteral("  UTC") + zone;
    return text;
}

void table_data_model::refresh(const QString& path, const exif_tag_map& values, const QString& failure)
{
    if (!holds(path))
        return;
    auto cache = exif_cache::instance();
    const QString owner = sidecar_owner.value(path);
    if (failure.isEmpty())
        cache->load(path, recording_tags::after_write(cache->of(path).tags.unpacked(), values));
    else if (owner.isEmpty())
        cache->set(path, QStringLiteral("run_failure"), failure);
    else
        cache->set(owner, QStringLiteral("run_failure"), tr("its sidecar %1: %2").arg(QFileInfo(path).fileName(), failure));
}

void table_data_model::clear_failures()
{
    auto cache = exif_cache::instance();
    for (const QString& path : qAsConst(files))
        if (cache->of(path).record.contains(QStringLiteral("run_failure")))
            cache->set(path, QStringLiteral("run_failure"), QString());
}

void table_data_model::rows_changed()
{
    emit layoutAboutToBeChanged();
    emit layoutChanged();
}

QVariant table_data_model::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= files.size())
        return QVariant();
    const QString& path = files.at(index.row());

    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case 0: {
            // A photo with sidecars says so: they move with it.
            const int sidecar_count = sidecar_files.value(path).size();
            return sidecar_count == 0 ? shown_name(path) : tr("%1  +%n XMP", nullptr, sidecar_count).arg(shown_name(path));
        }
        case 1:
            return time_text(path, get_dt(path), get_timezone_string(path, false));
        case 2:
            return time_text(path, get_offset_dt(path), get_timezone_string(path, true));
        case 3:
            return camera_name(camera_key(path));
        }
    } else if (role == Qt::ForegroundRole || role == Qt::ToolTipRole) {
        // A row the last fix or undo could not write keeps its old time, marked.
        const QString failure = value_of(record_of(path), QStringLiteral("run_failure"));
        if (role == Qt::ForegroundRole)
            return failure.isEmpty() ? QVariant() : QVariant(QColor(255, 110, 90));
        QString tip = path;
        QStringList sidecar_names;
        for (const QString& sidecar : sidecar_files.value(path))
            sidecar_names << QFileInfo(sidecar).fileName();
        if (!sidecar_names.isEmpty())
            tip += QLatin1Char('\n') + tr("Sidecars, moved with it: %1").arg(sidecar_names.join(QStringLiteral(", ")));
        return failure.isEmpty() ? QVariant(tip) : QVariant(tr("%1\nNot changed: %2").arg(tip, failure));
    } else if (role == Qt::UserRole) {
        switch (index.column()) {
        case 0:
            return path;
        case 1:
            return get_dt(path);
        case 2:
            return get_offset_dt(path);
        case 3:
            return camera_key(path);
        }
    }
    return QVariant();
}

QVariant table_data_model::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QAbstractTableModel::headerData(section, orientation, role);

    switch (role) {
    case Qt::DisplayRole:
        switch (section) {
        case 0:
            return tr("Photos");
        case 1:
            return tr("Recording Time");
        case 2:
            return tr("New Recording Time");
        case 3:
            return tr("Camera");
        }
        break;
    case Qt::SizeHintRole: {
        QSize size = QAbstractTableModel::headerData(section, orientation, role).toSize();
        size.setHeight(30);
        // The names and cameras leave the two times room for a zone each at 800 pixels.
        if (section == 0)
            size.setWidth(200);
        else if (section == 3)
            size.setWidth(150);
        return size;
    }
    case Qt::InitialSortOrderRole:
        return 0;
    case Qt::TextAlignmentRole:
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::FontRole:
        return header_font;
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

void table_data_model::sort(int column, Qt::SortOrder order)
{
    if (column != 0 && column != 1 && column != 3) {
        // The new time can't be sorted by: put the header's indicator back where it was.
        emit sort_order_override(sort_column, sort_order);
        return;
    }

    const bool ascending = order == Qt::AscendingOrder;
    emit layoutAboutToBeChanged();

    // Each row's key is computed once per sort and compared as numbers: a table of 100,000 rows
    // would otherwise cost seconds of collation and local time. The keys die with the sort, so
    // nothing outlives a change of the records or of the offset.
    const int count = files.size();
    std::vector<int> rows(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        rows[size_t(i)] = i;
    if (column == 1) {
        std::vector<qint64> moments(static_cast<size_t>(count));
        const auto cache = exif_cache::instance();
        for (int i = 0; i < count; ++i)
            moments[size_t(i)] = cache->of(files.at(i)).time_key;
        std::sort(rows.begin(), rows.end(), [&moments, ascending](int a, int b) {
            return ascending ? moments[size_t(a)] < moments[size_t(b)] : moments[size_t(b)] < moments[size_t(a)];
        });
    } else {
        // As file managers show names: case aside, numbers by value ("photo_2" before "photo_10"),
        // letters as the locale orders them. The C locale has no order of letters of its own; the
        // neutral one stands in, which puts "Ü" beside "U" rather than after "z".
        const QLocale locale;
        QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        // By the shown name, equal ones by the whole path. By camera, then by folder and name: the
        // order of whole paths but for folders whose names differ only in their accents.
        // The shown names of repeated names, which the name sort's keys refer to.
        std::vector<QString> texts(column == 3 ? 0 : static_cast<size_t>(count));
        ondo::natural_keys keys(collator);
        // By camera: the shown camera names, and each row's number of its name and its folder.
        QStringList names;
        std::vector<std::pair<int, quint32>> seen;
        if (column == 3) {
            // The few distinct cameras and folders are put in order once; each row reads the numbers
            // the load gave its camera and folder, and so their places.
            const exif_cache* cache = exif_cache::instance();
            // Cameras of different keys may share a shown name.
            QHash<QString, int> names_seen;
            std::vector<int> name_of(cache->camera_count());
            for (quint32 camera = 0; camera < cache->camera_count(); ++camera) {
                const QString shown = camera_name(cache->camera_key(camera));
                auto number = names_seen.find(shown);
                if (number == names_seen.end()) {
                    number = names_seen.insert(shown, names.size());
                    names << shown;
                }
                name_of[camera] = *number;
            }
            QStringList folders;
            for (quint32 folder = 0; folder < cache->folder_count(); ++folder)
                folders << cache->folder(folder);
            seen.resize(static_cast<size_t>(count));
            for (int i = 0; i < count; ++i) {
                const exif_cache::entry& kept = cache->of(files.at(i));
                seen[size_t(i)] = {name_of[kept.camera], kept.folder};
            }
            auto places = [&collator](const QStringList& distinct) {
                std::vector<int> order(static_cast<size_t>(distinct.size()));
                for (int i = 0; i < distinct.size(); ++i)
                    order[size_t(i)] = i;
                std::sort(order.begin(), order.end(), [&](int a, int b) {
                    return ondo::compare_qstring_naturally(distinct.at(a), distinct.at(b), collator) < 0;
                });
                std::vector<quint64> place_of(order.size());
                for (size_t i = 0; i < order.size(); ++i)
                    place_of[size_t(order[i])] = quint64(i);
                return place_of;
            };
            const std::vector<quint64> name_places = places(names), folder_places = places(folders);
            for (int i = 0; i < count; ++i) {
                const auto [name, folder] = seen[size_t(i)];
                keys.add(files.at(i), name_places[size_t(name)] << 32 | folder_places[folder],
                         int(folders.at(int(folder)).size()));
            }
        } else {
            // A name the table holds once is shown as it stands: its key is made from the path,
            // without a copy or a lookup, as most are.
            QSet<QStringView> repeated;
            for (auto name = name_files.cbegin(); name != name_files.cend(); ++name)
                if (name.value() > 1)
                    repeated.insert(name.key());
            for (int i = 0; i < count; ++i) {
                const QString& path = files.at(i);
                const int slash = path.lastIndexOf(QLatin1Char('/')) + 1;
                if (!repeated.isEmpty() && repeated.contains(QStringView(path).mid(slash))) {
                    texts[size_t(i)] = shown_name(path);
                    keys.add(texts[size_t(i)]);
                } else {
                    keys.add(path, 0, slash);
                }
            }
        }
        struct row_head {
            ondo::natural_keys::head_elements head;
            int row;
        };
        std::vector<row_head> heads(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i)
            heads[size_t(i)] = {keys.head(i), i};
        // Equal keys are rare: texts that differ only in case or in leading zeros, compared in full.
        std::sort(heads.begin(), heads.end(), [&](const row_head& a, const row_head& b) {
            int result = a.head < b.head ? -1 : b.head < a.head ? 1 : keys.compare(a.row, b.row);
            if (result == 0) {
                const auto text = [&](int row) {
                    return column == 3 ? names.at(seen[size_t(row)].first) : shown_name(files.at(row));
                };
                result = ondo::compare_qstring_naturally(text(a.row), text(b.row), collator);
                if (result == 0)
                    result = ondo::compare_qstring_naturally(files.at(a.row), files.at(b.row), collator);
            }
            return ascending ? result < 0 : result > 0;
        });
        for (int i = 0; i < count; ++i)
            rows[size_t(i)] = heads[size_t(i)].row;
    }
    QList<QString> sorted;
    sorted.reserve(count);
    for (const int row : rows)
        sorted.append(files.at(row));
    files = sorted;

    sort_column = column;
    sort_order = order;
    emit layoutChanged();
}

void table_data_model::add_file(const QString& path, bool notify)
{
    if (loaded.contains(path))
        return;
    // Marked before its answer is awaited, so that nothing adds it twice meanwhile.
    loaded.insert(path);

    auto take = [this](const QString& file) {
        prefetch(file);
        const auto ahead = prefetched.find(file);
        const file_identity identity = ahead->second.identity;
        ondo::exif_response* read = ahead->second.read;
        prefetched.erase(ahead);
        exif_cache& cache = *exif_cache::instance();
        cache.load(file, ondo::exiftool::read_result(read));
        cache.set_identity(file, identity);
    };
    take(path);
    for (const QString& sidecar : family.sidecars_of(path)) {
        // A sidecar loaded before as a photo of its own stays one.
        if (loaded.contains(sidecar) || sidecar_owner.contains(sidecar))
            continue;
        take(sidecar);
        sidecar_files[path].append(sidecar);
        sidecar_owner.insert(sidecar, path);
    }

    // Emptied or thinned out while the answers were awaited: the file is no longer asked for.
    if (!loaded.contains(path))
        return;
    // The row comes once its tags are there: a change to a row after its insertion would make the
    // view place every row again, which at 100,000 rows costs more than the read.
    const int row = files.size();
    if (notify)
        beginInsertRows(QModelIndex(), row, row);
    files.append(path);
    ++name_files[file_name(path)];
    if (notify)
        endInsertRows();
    count_camera(camera_key(path));
}

void table_data_model::add_loaded(const QStringList& paths)
{
    beginResetModel();
    for (const QString& path : paths) {
        if (loaded.contains(path))
            continue;
        files.append(path);
        count_loaded(path);
    }
    endResetModel();
}

void table_data_model::count_loaded(const QString& path)
{
    loaded.insert(path);
    ++name_files[file_name(path)];
    count_camera(camera_key(path));
}

void table_data_model::forget_counts()
{
    loaded.clear();
    name_files.clear();
    camera_files.clear();
    camera_names.clear();
}

void table_data_model::add_files(const QStringList& paths)
{
    for (const QString& path : paths)
        add_file(path, true);
    sort(sort_column, sort_order);
}

void table_data_model::prefetch(const QString& path)
{
    // The identity is taken before the read, so that the tags shown and the file later written
    // are one.
    if (!prefetched.count(path)) {
        const file_identity identity = file_identity::of(path);
        prefetched.emplace(path, pending_read{identity, ondo::exiftool::read_tags_async(path, true)});
        // Its sidecars' reads go out with it, so that no child waits for them.
        for (const QString& sidecar : family.sidecars_of(path))
            if (!loaded.contains(sidecar) && !sidecar_owner.contains(sidecar))
                prefetch(sidecar);
    }
}

void table_data_model::drop_prefetched()
{
    // The answers are awaited: the worker holds each response until its task is done.
    while (!prefetched.empty()) {
        ondo::exif_response* read = prefetched.begin()->second.read;
        prefetched.erase(prefetched.begin());
        ondo::exiftool::read_result(read);
    }
}

void table_data_model::resort()
{
    sort(sort_column, sort_order);
}

void table_data_model::clear()
{
    beginResetModel();
    files.clear();
    forget_counts();
    sidecar_files.clear();
    sidecar_owner.clear();
    endResetModel();
}

void table_data_model::remove_files(const QStringList& paths)
{
    const QSet<QString> gone(paths.begin(), paths.end());
    beginResetModel();
    QList<QString> kept;
    kept.reserve(files.size());
    for (const QString& path : qAsConst(files))
        if (!gone.contains(path))
            kept.append(path);
    files = kept;
    forget_counts();
    auto cache = exif_cache::instance();
    for (const QString& path : gone) {
        for (const QString& sidecar : sidecar_files.value(path))
            cache->erase(sidecar);
        forget_sidecars(path);
        cache->erase(path);
    }
    // The counts and names of what is left, as a load of it would give them.
    for (const QString& path : qAsConst(files))
        count_loaded(path);
    endResetModel();
}

bool table_data_model::sidecar_disagrees(const QString& path) const
{
    const QString zone_key = QStringLiteral("file_timezone");
    const QString own_zone = value_of(record_of(path), zone_key);
    for (const QString& sidecar : sidecar_files.value(path)) {
        // A sidecar that states no time has nothing to disagree with.
        if (value_of(record_of(sidecar), QStringLiteral("rec_source")).isEmpty())
            continue;
        if (date_only(path) || date_only(sidecar)) {
            if (get_dt(path).date() != get_dt(sidecar).date())
                return true;
            continue;
        }
        const QString zone = value_of(record_of(sidecar), zone_key);
        const bool zoned = !own_zone.isEmpty() && !zone.isEmpty();
        auto at = [zoned](const QDateTime& time, const QString& zone) {
            return zoned ? recording_tags::moment(time.toString(QStringLiteral("yyyy:MM:dd hh:mm:ss")) + zone)
                         : QDateTime(time.date(), time.time(), Qt::UTC);
        };
        if (qAbs(at(get_dt(path), own_zone).secsTo(at(get_dt(sidecar), zone))) > 1)
            return true;
    }
    return false;
}

void table_data_model::forget_sidecars(const QString& path)
{
    for (const QString& sidecar : sidecar_files.take(path))
        sidecar_owner.remove(sidecar);
}

QString table_data_model::shown_name(const QString& path) const
{
    const QString name = file_name(path);
    if (name_files.value(name) < 2)
        return name;
    return QFileInfo(path).dir().dirName() + QLatin1Char('/') + name;
}

void table_data_model::datetime_format_changed(const QString& text)
{
    emit layoutAboutToBeChanged();
    format = text;
    emit layoutChanged();
}

void table_data_model::datetime_offset_changed(int year, int month, int day, int hour, int minute,
                                               int second, bool timezone_entered, double timezone)
{
    offsets->set_panel({year, month, day, hour, minute, second, timezone_entered, timezone});
}
