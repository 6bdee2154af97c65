#include "test_support.h"

#include <recording_tags.h>

#include <QtTest>

#include <ctime>

using offset = QVector<int>; // year, month, day, hour, minute, second

namespace {

// "#" is 2017:06:21 18:30:05, "@" the same an hour later.
QString expand(QString text)
{
    return text.replace("#", "2017:06:21 18:30:05").replace("@", "2017:06:21 19:30:05");
}

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
            QTest::newRow(name) << expand(tags) << change << QString(zone) << QString(source) << QString(file_zone)
                                << expand(written);
        };
        // Files whose tags all hold one time keep the results they always had, less the
        // file-system times that can't be set here, and with EXIF's own zone tags.
        row("one time, an hour", exif, {0, 0, 0, 1}, "", "ExifIFD:DateTimeOriginal", "",
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;IFD0:ModifyDate=@;System:FileModifyDate=@");
        row("one time, a zone", exif, {}, "2", "ExifIFD:DateTimeOriginal", "",
            "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=+02:00;ExifIFD:OffsetTimeDigitized=+02:00;"
            "ExifIFD:OffsetTimeOriginal=+02:00;IFD0:ModifyDate=#;IPTC:DateCreated=#+02:00;IPTC:TimeCreated=#+02:00;"
            "System:FileModifyDate=#+02:00");
        row("IPTC zone, -1.5 entered", "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30",
            {0, 0, 0, 1}, "-1.5", "ExifIFD:DateTimeOriginal", "+05:30",
            "ExifIFD:DateTimeOriginal=@;ExifIFD:OffsetTimeOriginal=+04:00;IPTC:DateCreated=@+04:00;IPTC:TimeCreated=@+04:00");
        row("phone: each tag from its own value", phone, {0, 0, 0, 1}, "", "ExifIFD:DateTimeOriginal", "+02:00",
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;IFD0:ModifyDate=2017:06:22 10:00:00;"
            "XMP-exif:DateTimeOriginal=@;XMP-xmp:CreateDate=2017:06:21 19:30:05.12+02:00");
        row("phone: a zone relabels every zone", phone, {}, "1", "ExifIFD:DateTimeOriginal", "+02:00",
            "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=+03:00;ExifIFD:OffsetTimeDigitized=+03:00;"
            "ExifIFD:OffsetTimeOriginal=+03:00;IFD0:ModifyDate=2017:06:22 09:00:00;IPTC:DateCreated=#+03:00;"
            "IPTC:TimeCreated=#+03:00;XMP-exif:DateTimeOriginal=#;XMP-xmp:CreateDate=2017:06:21 18:30:05.12+03:00");
        row("IPTC alone: its own date", "IPTC:DateCreated=2004:02:26;System:FileModifyDate=2026:11:24 08:00:00+01:00", {0, 0, 1},
            "", "IPTC:DateCreated", "", "IPTC:DateCreated=2004:02:27 00:00:00;System:FileModifyDate=2004:02:27 00:00:00");
        row("XMP alone, a year back", "XMP-xmp:CreateDate=2020:02:29 10:00:00;PNG:CreationTime=2020:03:01 10:00:00", {-1},
            "", "XMP-xmp:CreateDate", "", "PNG:CreationTime=2019:03:01 10:00:00;XMP-xmp:CreateDate=2019:02:28 10:00:00");
        row("movie: UTC dates, zeros left", movie, {0, 0, 0, 1}, "", "QuickTime:CreateDate", "", quicktime_moved);
        row("movie with zoned keys, a zone", movie + "Keys:CreationDate=2005:08:11 16:03:54+02:00", {}, "1", "Keys:CreationDate",
            "+02:00",
            "Keys:CreationDate=2005:08:11 16:03:54+03:00;QuickTime:CreateDate=2005:08:11 13:03:54;"
            "QuickTime:ModifyDate=2005:08:11 13:03:54;Track1:MediaCreateDate=2005:08:11 13:03:54;"
            "Track1:TrackCreateDate=2005:08:11 13:03:54");
        row("garbage is no source and stays", "ExifIFD:DateTimeOriginal=2017:13:45 18:30:05;XMP-exif:DateTimeOriginal=yesterday;"
            "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=25:00:00;ExifIFD:CreateDate=#;ExifIFD:OffsetTimeOriginal=+99:00",
            {0, 0, 0, 1}, "", "ExifIFD:CreateDate", "", "ExifIFD:CreateDate=@");
        row("no date of its own: nothing added", "XMP-dc:Title=T;System:FileModifyDate=#+02:00", {}, "2", "", "",
            "System:FileModifyDate=#+02:00");
        row("an IPTC time gets no file-system date", "IPTC:TimeCreated=18:30:05+02:00;System:FileModifyDate=#+02:00", {}, "2", "",
            "+02:00", "System:FileModifyDate=#+04:00");
    }

    void moves_every_tag_from_its_own_value()
    {
        QFETCH(QString, tags);
        QFETCH(offset, change);
        QFETCH(QString, zone);
        QFETCH(QString, source);
        QFETCH(QString, file_zone);
        QFETCH(QString, written);
        const exif_tag_map map = test_support::tag_map(tags);
        const recording_tags::shift shift = to_shift(change, zone);
        const recording_tags::source own = recording_tags::recording_time(map);
        QCOMPARE(own.tag, source);
        QCOMPARE(recording_tags::file_zone(map), file_zone);

        const QDateTime old_time = own.tag.isEmpty() ? QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5))
                                                     : QDateTime::fromString(own.text, "yyyy:MM:dd hh:mm:ss");
        const QDateTime new_time = recording_tags::moved(
            old_time.isValid() ? old_time : QDateTime::fromString(own.text, "yyyy:MM:dd"), shift);
        const exif_tag_map values = recording_tags::new_values(map, old_time, new_time, shift);
        QCOMPARE(joined(values), written);

        // The undo gives every tag its text back and deletes what the run added.
        for (const undo_entry& entry : recording_tags::undo_entries(map, {}, values)) {
            QVERIFY(values.count(entry.tag));
            if (entry.tag != "IPTC:TimeCreated")
                QCOMPARE(entry.value, map.count(entry.tag) ? map.at(entry.tag) : QString());
        }
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
        QFETCH(QString, to);
        const QString format = "yyyy:MM:dd hh:mm:ss";
        QCOMPARE(recording_tags::moved(QDateTime::fromString(from, format), to_shift(change)).toString(format), to);
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
        QFETCH(QString, shown);
        QCOMPARE(recording_tags::recording_time(test_support::tag_map(tags)).text, shown);
    }
};

QTEST_GUILESS_MAIN(tst_recording_tags)
#include "tst_recording_tags.moc"
