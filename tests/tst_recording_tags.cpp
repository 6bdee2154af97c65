#include "test_support.h"

#include <recording_tags.h>

#include <QtTest>

#include <ctime>

using offset = QVector<int>; // year, month, day, hour, minute, second

namespace {

QString joined(const exif_tag_map& map)
{
    QStringList pairs;
    for (const auto& [tag, value] : map)
        pairs << tag + "=" + value;
    return pairs.join(';');
}

recording_tags::shift to_shift(const offset& change, const QString& zone = QString())
{
    return {change.value(0), change.value(1), change.value(2), change.value(3),
            change.value(4), change.value(5), !zone.isEmpty(), zone.toDouble()};
}

} // namespace

// What a shift writes into each time tag of a file, on the Berlin clock; the tags are given as
// ExifTool reads them with groups.
class tst_recording_tags : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void moves_every_tag_from_its_own_value_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<offset>("change");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("file_zone");
        QTest::addColumn<QString>("written");
        const QString exif = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#;"
                             "System:FileModifyDate=#+02:00;System:FileInodeChangeDate=#+02:00;";
        const QString phone = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=2017:06:22 09:00:00;"
                              "ExifIFD:OffsetTimeOriginal=+02:00;ExifIFD:SubSecTimeOriginal=12;XMP-xmp:CreateDate=2017:06:21 18:30:05.12+02:00;"
                              "XMP-exif:DateTimeOriginal=#;XMP-xmp:MetadataDate=2017:06:23 10:00:00+02:00;GPS:GPSDateStamp=2017:06:21;"
                              "GPS:GPSTimeStamp=16:30:05;ICC_Profile:ProfileDateTime=1998:02:09 06:49:00;MakerNotes:TimeStamp=#;";
        const QString movie = "QuickTime:CreateDate=2005:08:11 14:03:54;QuickTime:ModifyDate=2005:08:11 14:03:54;"
                              "Track1:TrackCreateDate=2005:08:11 14:03:54;Track1:MediaCreateDate=2005:08:11 14:03:54;"
                              "Track2:MediaModifyDate=0000:00:00 00:00:00;";
        const QString quicktime_moved = "QuickTime:CreateDate=2005:08:11 15:03:54;QuickTime:ModifyDate=2005:08:11 15:03:54;"
                                        "Track1:MediaCreateDate=2005:08:11 15:03:54;Track1:TrackCreateDate=2005:08:11 15:03:54";
        auto row = [](const char* name, const QString& tags, const offset& change, const char* zone, const char* source,
                       const char* file_zone, const QString& written) {
            QTest::newRow(name) << test_support::with_times(tags) << change << QString(zone) << QString(source)
                                << QString(file_zone) << test_support::with_times(written);
        };
        // Files whose tags all hold one time keep the results they always had, less the
        // file-system times that can't be set here, and with EXIF's own zone tags. An entered zone
        // is the zone of the new times: it replaces the file's, and IPTC is never added.
        row("one time, an hour", exif, {0, 0, 0, 1}, "", "ExifIFD:DateTimeOriginal", "",
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;IFD0:ModifyDate=@;System:FileModifyDate=@");
        row("one time, a zone, no IPTC made", exif, {}, "2", "ExifIFD:DateTimeOriginal", "",
            "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=+02:00;ExifIFD:OffsetTimeDigitized=+02:00;"
            "ExifIFD:OffsetTimeOriginal=+02:00;IFD0:ModifyDate=#;System:FileModifyDate=#+02:00");
        row("a zone no clock has writes nothing", exif, {0, 0, 0, 1}, "99", "ExifIFD:DateTimeOriginal", "", "");
        row("IPTC zone, -1.5 entered replaces it", "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30",
            {0, 0, 0, 1}, "-1.5", "ExifIFD:DateTimeOriginal", "+05:30",
            "ExifIFD:DateTimeOriginal=@;ExifIFD:OffsetTimeOriginal=-01:30;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=@-01:30");
        row("phone: each tag from its own value", phone, {0, 0, 0, 1}, "", "ExifIFD:DateTimeOriginal", "+02:00",
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;IFD0:ModifyDate=2017:06:22 10:00:00;"
            "XMP-exif:DateTimeOriginal=@;XMP-x:XMPToolkit=;XMP-xmp:CreateDate=2017:06:21 19:30:05.12+02:00");
        row("phone at -04:00, 2 entered: +02:00 everywhere, the clock kept",
            "ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTimeOriginal=-04:00;ExifIFD:OffsetTime=-04:00;XMP-xmp:CreateDate=#-04:00;"
            "XMP-x:XMPToolkit=XMP Core 6.0.0;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05-04:00", {}, "2",
            "ExifIFD:DateTimeOriginal", "-04:00",
            "ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=+02:00;ExifIFD:OffsetTimeOriginal=+02:00;IPTC:DateCreated=2017:06:21;"
            "IPTC:TimeCreated=#+02:00;XMP-x:XMPToolkit=XMP Core 6.0.0;XMP-xmp:CreateDate=#+02:00");
        row("a date alone, a day and an hour with a zone: no time, no zone",
            "IPTC:DateCreated=2004:02:26;System:FileModifyDate=2026:11:24 08:00:00+01:00", {0, 0, 1, 1}, "2", "IPTC:DateCreated", "",
            "IPTC:DateCreated=2004:02:27;System:FileModifyDate=2004:02:27 00:00:00");
        row("dates alone move with the recording date",
            "ExifIFD:DateTimeOriginal=2017:06:21 23:30:00;IPTC:DateCreated=2017:06:21;XMP-photoshop:DateCreated=2017:06:20",
            {0, 0, 0, 1}, "", "ExifIFD:DateTimeOriginal", "",
            "ExifIFD:DateTimeOriginal=2017:06:22 00:30:00;IPTC:DateCreated=2017:06:22;XMP-photoshop:DateCreated=2017:06:21;"
            "XMP-x:XMPToolkit=");
        row("XMP alone, a year back", "XMP-xmp:CreateDate=2020:02:29 10:00:00;PNG:CreationTime=2020:03:01 10:00:00", {-1},
            "", "XMP-xmp:CreateDate", "", "PNG:CreationTime=2019:03:01 10:00:00;XMP-x:XMPToolkit=;XMP-xmp:CreateDate=2019:02:28 10:00:00");
        row("XMP alone keeps an entered zone in its date", "XMP-xmp:CreateDate=2020:05:06 07:08:09;XMP-x:XMPToolkit=T", {}, "2",
            "XMP-xmp:CreateDate", "", "XMP-x:XMPToolkit=T;XMP-xmp:CreateDate=2020:05:06 07:08:09+02:00");
        row("movie: UTC dates, zeros left", movie, {0, 0, 0, 1}, "", "QuickTime:CreateDate", "", quicktime_moved);
        row("movie in UTC, a zone: the moment stays", movie, {}, "-5", "QuickTime:CreateDate", "",
            "QuickTime:CreateDate=2005:08:11 14:03:54;QuickTime:ModifyDate=2005:08:11 14:03:54;"
            "Track1:MediaCreateDate=2005:08:11 14:03:54;Track1:TrackCreateDate=2005:08:11 14:03:54");
        row("movie with zoned keys, a zone", movie + "Keys:CreationDate=2005:08:11 16:03:54+02:00", {}, "1", "Keys:CreationDate",
            "+02:00",
            "Keys:CreationDate=2005:08:11 16:03:54+01:00;QuickTime:CreateDate=2005:08:11 15:03:54;"
            "QuickTime:ModifyDate=2005:08:11 15:03:54;Track1:MediaCreateDate=2005:08:11 15:03:54;"
            "Track1:TrackCreateDate=2005:08:11 15:03:54");
        row("garbage is no source and stays", "ExifIFD:DateTimeOriginal=2017:13:45 18:30:05;XMP-exif:DateTimeOriginal=yesterday;"
            "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=25:00:00;ExifIFD:CreateDate=#;ExifIFD:OffsetTimeOriginal=+99:00;"
            "XMP-xmp:CreateDate=#+15:00",
            {0, 0, 0, 1}, "", "ExifIFD:CreateDate", "", "ExifIFD:CreateDate=@");
        row("no date of its own: nothing added", "XMP-dc:Title=T;System:FileModifyDate=#+02:00", {}, "2", "", "",
            "System:FileModifyDate=#+02:00");
        row("an IPTC time gets no file-system date", "IPTC:TimeCreated=18:30:05+02:00;System:FileModifyDate=#+02:00", {}, "-3", "",
            "+02:00", "System:FileModifyDate=#-03:00");
    }

    void moves_every_tag_from_its_own_value()
    {
        QFETCH(QString, tags);
        QFETCH(offset, change);
        QFETCH(QString, zone);
        const exif_tag_map map = test_support::tag_map(tags);
        const recording_tags::shift shift = to_shift(change, zone);
        const recording_tags::source own = recording_tags::recording_time(map);
        QTEST(own.tag, "source");
        QTEST(recording_tags::file_zone(map), "file_zone");

        const bool date_only = !own.tag.isEmpty() && !own.text.contains(' ');
        const QDateTime old_time = own.tag.isEmpty() ? QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5))
                                   : QDateTime::fromString(own.text, date_only ? "yyyy:MM:dd" : "yyyy:MM:dd hh:mm:ss");
        QDateTime utc = QDateTime::fromString(own.utc, "yyyy:MM:dd hh:mm:ss");
        utc.setTimeSpec(Qt::UTC);
        const QDateTime new_time = recording_tags::new_recording_time(old_time, date_only, utc, shift);
        const exif_tag_map values = recording_tags::new_values(map, old_time, new_time, shift);
        QTEST(joined(values), "written");

        // The undo gives every tag its text back exactly and deletes what the run added; a read
        // after the fix shows what was written.
        const exif_tag_map after = recording_tags::after_write(map, values);
        for (const undo_entry& entry : recording_tags::undo_entries(map, {}, values)) {
            QVERIFY(values.count(entry.tag));
            QCOMPARE(entry.value, map.count(entry.tag) ? map.at(entry.tag) : QString());
            QCOMPARE(after.count(entry.tag), size_t(!values.at(entry.tag).isEmpty()));
        }
        if (own.tag == "QuickTime:CreateDate" && !zone.isEmpty())
            QCOMPARE(new_time.toString("hh:mm:ss"), "09:03:54"); // on the entered zone's clock
    }

    // The shown new time: calendar steps keep the clock, the rest goes through Berlin's
    // daylight saving rules.
    void moves_a_time_by_the_clock_rules_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<offset>("change");
        QTest::addColumn<QString>("to");
        QTest::newRow("an hour into the spring gap") << "2017:03:26 01:30:00" << offset{0, 0, 0, 1} << "2017:03:26 03:30:00";
        QTest::newRow("an hour out of the autumn hour") << "2017:10:29 01:30:00" << offset{0, 0, 0, 1} << "2017:10:29 02:30:00";
        QTest::newRow("a day across the autumn change") << "2017:10:28 12:00:00" << offset{0, 0, 1} << "2017:10:29 12:00:00";
        QTest::newRow("a month from the 31st") << "2017:01:31 10:00:00" << offset{0, 1} << "2017:02:28 10:00:00";
        QTest::newRow("a year back from a leap day") << "2020:02:29 10:00:00" << offset{-1} << "2019:02:28 10:00:00";
        QTest::newRow("nothing, in the autumn hour") << "2017:10:29 02:30:00" << offset{0, 0, 0, 0} << "2017:10:29 02:30:00";
        QTest::newRow("back an hour, on half an hour") << "2018:01:01 00:10:00" << offset{0, 0, 0, -1, 30, 5}
                                                       << "2017:12:31 23:40:05";
        QTest::newRow("hours wrap like a 32-bit product") << "2017:06:21 18:30:05" << offset{0, 0, 0, 600000}
                                                          << "1949:10:26 11:01:49";
    }

    void moves_a_time_by_the_clock_rules()
    {
        QFETCH(QString, from);
        QFETCH(offset, change);
        const QString format = "yyyy:MM:dd hh:mm:ss";
        QTEST(recording_tags::moved(QDateTime::fromString(from, format), to_shift(change)).toString(format), "to");
    }

    // The movie's UTC date, read on the file's zone or on the machine's for that date.
    void movie_time_on_the_local_clock_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("shown");
        QTest::newRow("summer, Berlin") << "QuickTime:CreateDate=2005:08:11 14:03:54" << "2005:08:11 16:03:54";
        QTest::newRow("winter, Berlin") << "QuickTime:CreateDate=2005:01:11 14:03:54" << "2005:01:11 15:03:54";
        QTest::newRow("zone from EXIF") << "QuickTime:CreateDate=2005:08:11 14:03:54;ExifIFD:OffsetTimeOriginal=-05:00"
                                        << "2005:08:11 09:03:54";
        QTest::newRow("zeros are no date") << "QuickTime:CreateDate=0000:00:00 00:00:00" << "";
        QTest::newRow("a line break is no date") << "QuickTime:CreateDate=2005:08:11 14:03:54\n" << "";
    }

    void movie_time_on_the_local_clock()
    {
        QFETCH(QString, tags);
        QTEST(recording_tags::recording_time(test_support::tag_map(tags)).text, "shown");
    }
};

QTEST_GUILESS_MAIN(tst_recording_tags)
#include "tst_recording_tags.moc"
