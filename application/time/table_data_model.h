#pragma once

#include "recording_tags.h"
#include "time_offsets.h"

#include "camera_clocks.h"
#include "file_identity.h"
#include "photo_family.h"

#include <ondo/exiftool.h>
#include <ondo/packed_tags.h>

#include <QAbstractTableModel>
#include <QDateTime>
#include <QFont>
#include <QHash>
#include <QList>
#include <QVector>
#include <QSet>
#include <QString>
#include <QStringList>

#include <limits>
#include <map>
#include <optional>
#include <memory>

// What is known of every loaded file, keyed by absolute path. Touched on the GUI thread only.
// Look a file up with of() (a path never loaded yields an empty entry) and work on what it gives
// without keeping references across a load or a reset. A library brings a hundred
// thousand files: each keeps what the rows, the fix, the undo, the cameras and the families read,
// in one packed block for its tags and one for its record.
class exif_cache {
public:
    // The program's one cache. A plain pointer: the sorts and the paint ask for it per row, and a
    // shared pointer's count, moved twice a call, cost more than the lookup itself.
    static exif_cache* instance();

    struct entry {
        // The tags as ExifTool returned them, with their groups ("ExifIFD:DateTimeOriginal"), as
        // far as the time rules and the cameras read them (recording_tags::kept_tags).
        ondo::packed_tags tags;
        // Derived: "rec_time" (year, month, day, hour, minute and second, joined by ":"),
        // "rec_source" (the tag the time came from, empty for the file system), "rec_date_only"
        // (the time is a date alone), "rec_utc" (the moment, for a file that keeps it in UTC and
        // states no zone), "file_timezone" (the zone the file states), "run_failure" (why the last
        // run could not write it), "has_data", "has_iptc_date", "has_iptc_time", "ipct_timezone",
        // "iptc_timezone" (IPTC's own zone), "DateTimeOriginalInIFD0", "gps_utc"; and
        // from add_file the file's identity at load ("file_device", "file_inode", "file_type",
        // "file_link").
        ondo::packed_tags record;
        // The recording time on the machine's clock in milliseconds since the epoch, the lowest
        // number for none or one that doesn't exist on the clock: what the time column sorts by.
        qint64 time_key = std::numeric_limits<qint64>::min();
        // The file's camera (its camera::key, empty for an unknown one) and its folder, as numbers
        // of camera_key() and folder(): the camera sort reads them for every row, and a number
        // needs neither a hash nor a comparison of texts.
        quint32 camera = 0;
        quint32 folder = 0;
    };

    const entry& of(const QString& path) const;
    bool contains(const QString& path) const { return entries.contains(path); }
    size_t size() const { return size_t(entries.size()); }
    void erase(const QString& path) { entries.remove(path); }
    void clear()
    {
        entries.clear();
        camera_keys.clear();
        folders.clear();
    }
    // The texts behind an entry's numbers; number 0 is the empty text, that of an entry never loaded.
    const QString& camera_key(quint32 number) const { return camera_keys.text(number); }
    const QString& folder(quint32 number) const { return folders.text(number); }
    quint32 camera_count() const { return camera_keys.count(); }
    quint32 folder_count() const { return folders.count(); }

    // Stores what is kept of `tags` for `path` and derives its record from them anew, keeping the
    // identity the load saw; the recording time falls back to the file-system time when none of
    // its date tags holds a proper date.
    void load(const QString& path, const exif_tag_map& tags);
    // Sets one field of the record, or takes it away with a null `value`.
    void set(const QString& path, const QString& field, const QString& value);
    // The file as the load saw it, or as the last write left it.
    file_identity identity(const QString& path) const { return file_identity::from_record(of(path).record.unpacked()); }
    void set_identity(const QString& path, const file_identity& identity);

private:
    // Texts that many files share, each kept once and known by its number.
    class numbered_texts {
    public:
        quint32 number(const QString& text);
        const QString& text(quint32 number) const { return texts.at(int(number)); }
        quint32 count() const { return quint32(texts.size()); }
        void clear();

    private:
        QStringList texts{QString()};
        QHash<QString, quint32> numbers{{QString(), 0}};
    };

    QHash<QString, entry> entries;
    numbered_texts camera_keys;
    // With the closing slash, as a row's path begins.
    numbered_texts folders;
};

// The nine classic time tags, in that order. For a record with "DateTimeOriginalInIFD0" the
// first gives way to IFD0:DateTimeOriginal at the end. A fix run works on every time tag the file
// has (recording_tags::new_values), of which these are a part.
QStringList time_tags(const exif_tag_map& record);

// The table of loaded files: the file, its recording time, that time moved by the current
// offsets, and its camera. The new time is computed on every request and never stored, so an
// offset change shows through a bare layoutChanged.
class table_data_model : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit table_data_model(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // Columns 0 (name), 1 (recording time) and 3 (camera) sort; the new time is refused with
    // sort_order_override.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    // Appends `path` and reads its tags, and those of its sidecars, blocking until ExifTool has
    // answered. A path already in the table is ignored without reading anything. `notify`
    // announces the new row.
    void add_file(const QString& path, bool notify);
    // Appends files whose records exif_cache holds already, in one reset of the table.
    void add_loaded(const QStringList& paths);
    // add_file(path, true) for each, then one sort with the stored column and order.
    void add_files(const QStringList& paths);
    // Starts the read of `path` ahead of its add_file, so that every ExifTool child has work;
    // add_file then takes its answer. Every read started ahead must end in add_file or in
    // drop_prefetched.
    void prefetch(const QString& path);
    // Waits for the reads started ahead that no add_file took, and drops them.
    void drop_prefetched();
    void resort();
    // Empties the table; exif_cache keeps its records.
    void clear();
    // Takes `paths` out of the table, and their records and their sidecars' out of exif_cache.
    // Nothing is written.
    void remove_files(const QStringList& paths);
    // The sidecars read with the loaded file `path` (photo_family::sidecars_of), whose records
    // exif_cache holds; they are no rows of their own and are written and undone with it.
    QStringList sidecars(const QString& path) const { return sidecar_files.value(path); }
    // The loaded file a sidecar belongs to; empty for any other path.
    QString owner_of(const QString& sidecar) const { return sidecar_owner.value(sidecar); }
    // Whether a sidecar of `path` states a recording time more than a second away from the
    // file's: as moments where both state a zone, else as clock readings; a date alone by its date.
    bool sidecar_disagrees(const QString& path) const;
    // Whether `path` is a row or a row's sidecar: a file whose record exif_cache holds for the table.
    bool holds(const QString& path) const { return loaded.contains(path) || sidecar_owner.contains(path); }
    // The name a row shows: the file's name, led by its folder's where another loaded file has
    // the same name ("100CANON/DSC_0001.JPG").
    QString shown_name(const QString& path) const;

    // The recording time as a local time; invalid when the record has no valid date.
    QDateTime get_dt(const QString& path) const;
    // The recording time moved by the offset; an invalid recording time stays invalid.
    QDateTime get_offset_dt(const QString& path) const;
    // The file's own zone text, or with `with_offset` and an entered zone, that zone moved by it.
    QString get_timezone_string(const QString& path, bool with_offset) const;
    // The offset and zone that move this file: the panel's, then its camera's correction.
    recording_tags::shift shift_for(const QString& path) const;
    // The key of the file's camera (camera::key), empty for an unknown one, and its shown name.
    QString camera_key(const QString& path) const;
    QString camera_name(const QString& key) const;
    // The cameras of the loaded files, in order of their names, each with its count, first and
    // last recording time and GPS estimate. Computed anew on each call: once per load.
    QList<camera_summary> cameras() const;
    // How many cameras the loaded files come from, without going through them.
    int camera_count() const { return camera_files.size(); }
    // For each file of `camera` with a usable GPS stamp: GPS time minus its recording moment, or
    // with `from_new` minus its new moment. Usable: see camera_clocks::gps_difference, which
    // always judges by the recording moment.
    QVector<qint64> gps_differences(const QString& camera, bool from_new) const;
    // The moment the file's recording time names: on the zone shown beside it, else on the
    // machine's clock. The new one, with the offsets applied, on the zone shown beside that.
    QDateTime recorded_moment(const QString& path) const;
    QDateTime new_moment(const QString& path) const;
    // Whether the file's recording time is a date without a time.
    bool date_only(const QString& path) const;

    // After a fix or an undo wrote `values` into `path`: its row shows what the file holds now.
    // With a `failure`, nothing was written: the row keeps its time and is marked with the reason;
    // a sidecar's failure marks its file's row. Paths no longer in the table are passed over. rows_changed() then shows it all.
    void refresh(const QString& path, const exif_tag_map& values, const QString& failure = QString());
    // Takes the marks of the last run's failures away.
    void clear_failures();
    void rows_changed();

    QList<QString> files;
    // The same paths, for the duplicate check of add_file: a list search made a large load quadratic.
    QSet<QString> loaded;
    // Which files of the folders belong together; a load starts it anew.
    photo_family family;
    Qt::SortOrder sort_order = Qt::AscendingOrder;
    int sort_column = -1;
    QString format;
    QFont header_font;
    // The panel's offset and the cameras' corrections; a change shows in the rows at once.
    time_offsets* const offsets;

public slots:
    void datetime_format_changed(const QString& format);
    void datetime_offset_changed(int year, int month, int day, int hour, int minute, int second,
                                 bool has_timezone, double timezone);

signals:
    void sort_order_override(int column, Qt::SortOrder order);

private:
    struct pending_read {
        file_identity identity;
        ondo::exif_response* read;
    };
    std::map<QString, pending_read> prefetched;
    // The files of each camera key, and each key's shown name: a second body of a model gives
    // both of them the end of their serials.
    QHash<QString, int> camera_files;
    // How many loaded files have each name.
    QHash<QString, int> name_files;
    QHash<QString, QString> camera_names;
    QHash<QString, QStringList> sidecar_files;
    QHash<QString, QString> sidecar_owner;
    void forget_sidecars(const QString& path);
    void count_camera(const QString& key);
    // A file whose record is in exif_cache joins the duplicate check and the name and camera counts.
    void count_loaded(const QString& path);
    void forget_counts();
    QDateTime moment_on(const QString& path, const QDateTime& time, bool with_offset) const;
    // One file's part of gps_differences; nothing where it has no usable stamp.
    std::optional<qint64> gps_difference(const QString& path, const QDateTime& now, bool from_new) const;
    QString time_text(const QString& path, const QDateTime& time, const QString& zone) const;
};
