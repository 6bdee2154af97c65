#include "camera.h"
#include "file_identity.h"

#include "processes.h"
#include "window_test.h"

#include <sys/stat.h>

using namespace test_support;
using offset = QVector<int>; // year, month, day, hour, minute, second

namespace {

// What a phone writes: EXIF times with a zone and a fraction, XMP's copies, a GPS stamp; "#" is the recording time.
const QString phone_tags = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=2017:06:22 09:00:00;"
                           "ExifIFD:OffsetTimeOriginal=+02:00;ExifIFD:SubSecTimeOriginal=12;"
                           "XMP-exif:DateTimeOriginal=#;XMP-xmp:CreateDate=2017:06:21 18:30:05.12+02:00;"
                           "XMP-xmp:MetadataDate=2017:06:23 10:00:00+02:00;GPS:GPSDateStamp=2017:06:21;GPS:GPSTimeStamp=16:30:05";

// The listing but for what is derived; IPTC times keep their zones.
QStringList own_lines(const QString& path)
{
    return listing(path).filter(QRegularExpression(
        "^-(?!(System|Composite|ExifTool):|(File:CurrentIPTCDigest|Photoshop:IPTCDigest)=|[^=]*(Offsets|MediaDataSize)=)"));
}

const QString before_time = "2017:06:21 18:30:05";

// Which file each path is and its state to the nanosecond: an unwritten photo shows nothing touched it.
QStringList stamps(const QStringList& paths)
{
    QStringList result;
    for (const QString& path : paths) {
        const file_identity now = file_identity::of(path);
        result << QString("%1 %2 %3 %4").arg(now.device).arg(now.inode).arg(now.size).arg(now.modified_ns);
    }
    return result;
}

} // namespace

// The fix and undo runs: the rules for what a shift writes, on the Berlin clock; the runs end to end with the
// real ExifTool, the tag lines sent taken from its log; the undo information on disk and what the next start
// does with it.
class tst_fix_run : public window_test {
    Q_OBJECT

private slots:
    void moves_every_tag_from_its_own_value_data()
    {
        test_support::columns<QString, offset, QString, QString, QString, QString>(
            {"tags", "change", "zone", "source", "file_zone", "written"});
        const QString phone = phone_tags + ";ICC_Profile:ProfileDateTime=1998:02:09 06:49:00;MakerNotes:TimeStamp=#;";
        const QString movie = "QuickTime:CreateDate=2005:08:11 14:03:54;QuickTime:ModifyDate=2005:08:11 14:03:54;"
                              "Track1:TrackCreateDate=2005:08:11 14:03:54;Track1:MediaCreateDate=2005:08:11 14:03:54;"
                              "Track2:MediaModifyDate=0000:00:00 00:00:00;";
        const QString quicktime_moved = "QuickTime:CreateDate=2005:08:11 15:03:54;QuickTime:ModifyDate=2005:08:11 15:03:54;"
                                        "Track1:MediaCreateDate=2005:08:11 15:03:54;Track1:TrackCreateDate=2005:08:11 15:03:54";
        auto row = [](const char* name, const QString& tags, const offset& change, const char* zone, const char* source,
                       const char* file_zone, const QString& written) {
            QTest::newRow(name) << with_times(tags) << change << QString(zone) << QString(source) << QString(file_zone)
                                << with_times(written);
        };
        // An entered zone is the zone of the new times: it replaces the file's, and IPTC is never added.
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
        row("movie: UTC dates, zeros left", movie, {0, 0, 0, 1}, "", "QuickTime:CreateDate", "", quicktime_moved);
        row("movie in UTC, a zone: the moment stays", movie, {}, "-5", "QuickTime:CreateDate", "",
            QString(quicktime_moved).replace("15:03:54", "14:03:54"));
        row("garbage is no source and stays", "ExifIFD:DateTimeOriginal=2017:13:45 18:30:05;XMP-exif:DateTimeOriginal=yesterday;"
            "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=25:00:00;ExifIFD:CreateDate=#;ExifIFD:OffsetTimeOriginal=+99:00;"
            "XMP-xmp:CreateDate=#+15:00", {0, 0, 0, 1}, "", "ExifIFD:CreateDate", "", "ExifIFD:CreateDate=@");
        row("no date of its own: nothing added", "XMP-dc:Title=T;System:FileModifyDate=#+02:00", {}, "2", "", "",
            "System:FileModifyDate=#+02:00");
        row("an IPTC time gets no file-system date", "IPTC:TimeCreated=18:30:05+02:00;System:FileModifyDate=#+02:00", {}, "-3", "",
            "+02:00", "System:FileModifyDate=#-03:00");
    }

    void moves_every_tag_from_its_own_value()
    {
        const auto [change, zone] = fetched<offset, QString>({"change", "zone"});
        const exif_tag_map map = tag_map(fetched<QString>("tags"));
        const recording_tags::shift shift{change.value(0), change.value(1), change.value(2), change.value(3),
                                          change.value(4), change.value(5), !zone.isEmpty(), zone.toDouble()};
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
        QStringList pairs;
        for (const auto& [tag, value] : values)
            pairs << tag + "=" + value;
        QTEST(pairs.join(';'), "written");

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

    // Files are "name|tags", shifted back a second; `question` is the start of the one text expected.
    void questions_before_the_run_data()
    {
        test_support::columns<QStringList, QString, QString, QString>({"files", "zone", "answer", "question"});
        const QString dto = "ExifIFD:DateTimeOriginal=";
        QTest::newRow("empty table asks nothing") << QStringList() << "" << "" << "";
        QTest::newRow("CR3 with a zone, aborted") << QStringList{"X.CR3|", "b.jpg|" + dto + "#"} << "0" << "Abort"
                                                  << "Trying to alter/set timezone of 1 CR3 images.";
        QTest::newRow("zoneless IPTC counted, aborted")
            << QStringList{"a.jpg|" + dto + "#;IPTC:TimeCreated=18:30:05+02:00", "b.jpg|" + dto + "#;IPTC:TimeCreated=18:30:05",
                   "c.jpg|" + dto + "#;IPTC:DateCreated=2017:06:21", "d.jpg|" + dto + "#",
                   "e.jpg|" + dto + "#;IPTC:TimeCreated=18:30:05;ExifIFD:OffsetTimeOriginal=+02:00"}
            << "" << "Abort" << "2 files do not have any timezone information set";
        QTest::newRow("a second before 1972, continued") << QStringList{"a.jpg|" + dto + "1972:01:01 00:00:00"} << ""
                                                         << "Continue" << "1 files would be assigned";
        QTest::newRow("1965 with a zone, aborted") << QStringList{"a.jpg|" + dto + "1965:06:21 18:30:05"} << "2"
                                                   << "Abort" << "1 files would be assigned a recording time before 1 January 1972.";
        QTest::newRow("a zone that is none, refused") << QStringList{"a.jpg|" + dto + "#"} << "99" << "OK"
                                                      << "The time zone field holds no time zone.";
        // As a termination signal does: every window closes, the box with them; nothing is written.
        QTest::newRow("a second before 1972, program ending") << QStringList{"a.jpg|" + dto + "1972:01:01 00:00:00"} << ""
                                                              << "ending" << "1 files would be assigned";
    }

    void questions_before_the_run()
    {
        const auto [zone, answer, question] = fetched<QString, QString, QString>({"zone", "answer", "question"});
        const QStringList paths = make_files(fetched<QStringList>("files"));
        open_with(paths, zone, "lineedit_second", "-1");
        // Armed even when no question is expected, to catch one that comes.
        const bool ending = answer == "ending";
        QGuiApplication::setQuitOnLastWindowClosed(false);
        const QString reply = answer.isEmpty() ? "Continue" : ending ? "close" : answer;
        const auto shown = answer_next_box(reply, [ending](QDialog*) {
            if (ending)
                QApplication::closeAllWindows();
        });
        const auto writes = press(fix_tip);
        shown->cancelled = true;
        QGuiApplication::setQuitOnLastWindowClosed(true);

        const QString asked = shown->answered ? shown->text.left(question.size()) + " / " + shown->title + " / " + shown->buttons.join(",") : "";
        // The closed box shows its buttons no more.
        const bool refused = answer == "OK";
        QCOMPARE(asked, question.isEmpty() ? QString()
                        : refused          ? question + " / Time zone / OK"
                                           : question + " / Continue? / " + (ending ? "" : "Continue,Abort"));
        const bool aborted = answer == "Abort" || ending || refused;
        QCOMPARE(writes.size(), aborted ? 0 : paths.size());
        QCOMPARE(tip_button(undo_tip)->isEnabled(), !aborted && !paths.isEmpty());
        // An abort leaves the offset as it was; a run ends with it cleared. The table keeps its rows.
        QCOMPARE(rows(), paths.size());
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_second")->text(), aborted ? "-1" : QString());
    }

    // One file of each kind of dating shows its time and zone; a fix of an hour with `zone` changes
    // exactly the tags of `moved`, the undo gives the whole listing back. `sent`: "fix|undo" tag lines.
    void a_fix_moves_its_tags_and_the_undo_gives_all_back_data()
    {
        test_support::columns<QString, QString, QString, QString, QString, QString>(
            {"name", "tags", "zone", "shown", "moved", "sent"});
        auto row = [](const char* row_name, const char* name, const QString& tags, const char* zone, const char* shown,
                       const QString& moved, const QString& sent = QString()) {
            QTest::newRow(row_name) << QString(name) << tags << QString(zone) << QString(shown) << moved << sent;
        };
        const QString exif = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#";
        const QString zones = "ExifIFD:OffsetTime=%1;ExifIFD:OffsetTimeDigitized=%1;ExifIFD:OffsetTimeOriginal=%1";
        // Zones go into EXIF's zone tags, never into a new IPTC block.
        row("a zone goes into EXIF, the undo takes it out again", "a.jpg", exif, "2", "#",
            QString(exif).replace("#", "@") + ";" + zones.arg("+02:00"),
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;" + zones.arg("+02:00")
                + ";IFD0:ModifyDate=@;System:FileModifyDate=@+02:00|"
            "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=;ExifIFD:OffsetTimeDigitized=;"
            "ExifIFD:OffsetTimeOriginal=;IFD0:ModifyDate=#");
        row("an IPTC zone kept, and given back exactly", "a.jpg",
            "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30", "", "# +05:30",
            "ExifIFD:DateTimeOriginal=@;IPTC:TimeCreated=19:30:05+05:30",
            "ExifIFD:DateTimeOriginal=@;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=@+05:30;"
            "System:FileModifyDate=@+05:30|"
            "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30");
        row("a copy in IFD0 is written along", "a.jpg",
            "ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#;IFD0:Make=V", "", "#",
            "ExifIFD:DateTimeOriginal=@;IFD0:DateTimeOriginal=@",
            "ExifIFD:DateTimeOriginal=@;IFD0:DateTimeOriginal=@;System:FileModifyDate=@|"
            "ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#");
        // ExifTool writes no zoneless IPTC time: the undo gives it its day's zone, as the fix warns.
        row("IPTC without a zone", "c.jpg", "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05;IPTC:Keywords=k", "",
            "#", "IPTC:TimeCreated=19:30:05+02:00");
        row("PNG with a chunk after its image", "e.png", "XMP-photoshop:DateCreated=#;XMP-dc:Title=T;chunk=behind", "2",
            "#", "XMP-photoshop:DateCreated=@+02:00");
        // Bytes ExifTool reads but can't write: only the file's time moves.
        row("AVI", "v.avi", "", "", "#", "");
        // The zone entered is the zone of the new times, and no IPTC block is made for it.
        row("phone photo, a zone", "a.jpg", phone_tags, "1", "# +02:00",
            "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;IFD0:ModifyDate=2017:06:22 10:00:00;"
            "XMP-exif:DateTimeOriginal=@;XMP-xmp:CreateDate=2017:06:21 19:30:05.12+01:00;" + zones.arg("+01:00"));
        row("phone HEIC, a zone", "i.heic",
            exif + ";ExifIFD:OffsetTimeOriginal=+02:00;ExifIFD:OffsetTime=+02:00;XMP-xmp:CreateDate=#+02:00;"
                   "XMP-xmp:ModifyDate=#+02:00;XMP-photoshop:DateCreated=#+02:00", "-3", "# +02:00",
            QString(exif).replace("#", "@") + ";" + zones.arg("-03:00")
                + ";XMP-xmp:CreateDate=@-03:00;XMP-xmp:ModifyDate=@-03:00;XMP-photoshop:DateCreated=@-03:00");
        // A CR3's movie dates are read and written on the machine's clock.
        const QString movie_moved = "QuickTime:CreateDate=%1;QuickTime:ModifyDate=%1;Track1:TrackCreateDate=%1;"
                                    "Track1:TrackModifyDate=%1;Track1:MediaCreateDate=%1;Track1:MediaModifyDate=%1";
        row("CR3, a zone", "r.cr3", exif, "1", "#",
            QString(exif).replace("#", "@") + ";" + zones.arg("+01:00") + ";" + movie_moved.arg("2005:08:11 18:03:54+02:00"));
        row("DNG, a zone", "a.dng", "IFD0:DNGVersion=1.4.0.0;ExifIFD:DateTimeOriginal=#;XMP-xmp:CreateDate=#+02:00;"
            "XMP-x:XMPToolkit=Adobe XMP Core 5.6", "1", "# +02:00",
            "ExifIFD:DateTimeOriginal=@;ExifIFD:OffsetTimeOriginal=+01:00;XMP-xmp:CreateDate=@+01:00");
        row("NEF, a zone", "b.nef", "IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#", "-5",
            "#", "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;ExifIFD:OffsetTimeOriginal=-05:00;"
            "ExifIFD:OffsetTimeDigitized=-05:00");
        row("IPTC alone", "b.jpg", "IPTC:DateCreated=2004:02:26;IPTC:TimeCreated=23:30:00+01:00", "",
            "2004:02:26 23:30:00 +01:00", "IPTC:DateCreated=2004:02:27;IPTC:TimeCreated=00:30:00+01:00");
        row("PNG, a zone into its XMP date", "c.png", "XMP-xmp:CreateDate=2020:05:06 07:08:09", "2",
            "2020:05:06 07:08:09", "XMP-xmp:CreateDate=2020:05:06 08:08:09+02:00");
        // The clock reading stays under the new zone; here zone and hour cancel out in UTC.
        row("movie with a zoned date, a zone", "m.mov", "Keys:CreationDate=2005:08:11 16:03:54+02:00", "3",
            "2005:08:11 16:03:54 +02:00", "Keys:CreationDate=2005:08:11 17:03:54+03:00");
        // A moment kept in UTC moves by the offset alone; the zone only says on which clock it shows.
        row("sound in UTC, a zone", "s.m4a", "", "-5", "2005:08:11 16:03:54", movie_moved.arg("2005:08:11 15:03:54"));
    }

    void a_fix_moves_its_tags_and_the_undo_gives_all_back()
    {
        const auto [name, tags, zone, sent] =
            fetched<QString, QString, QString, QString>({"name", "tags", "zone", "sent"});
        if (name.endsWith(".heic") && QStandardPaths::findExecutable("heif-enc").isEmpty())
            QSKIP("heif-enc (libheif-examples) is not installed");
        const QString path = make_file(dir->path(), name + "|" + tags);
        const QStringList before = listing(path);
        QStringList expected = own_lines(path);
        const qint64 made_ns = file_identity::of(path).modified_ns;

        open_with({path}, zone);
        const QAbstractItemModel* model = table()->model();
        const QDateTime old_time = model->data(model->index(0, 1), Qt::UserRole).toDateTime();
        const QString time = old_time.toString("yyyy:MM:dd hh:mm:ss");
        const QString file_zone = model->data(model->index(0, 1)).toString().section("  UTC", 1);
        QCOMPARE(file_zone.isEmpty() ? time : time + " " + file_zone, with_times(fetched<QString>("shown")));
        // The first tag the table holds otherwise than the file, ExifTool's derived ones aside, which
        // the program never reads: after each run the rows show what it wrote, as a new load would.
        auto held_otherwise = [&path] {
            const exif_tag_map now = read_back(path);
            for (const auto& [tag, value] : exif_cache::instance()->of(path).tags.unpacked())
                if (!QRegularExpression("^(Composite:|System:File(Access|InodeChange)Date)").match(tag).hasMatch()
                    && (!now.count(tag) || now.at(tag) != value))
                    return tag + "=" + value;
            return QString();
        };

        // What a loaded file keeps of its tags gives all that every tag gives.
        const exif_tag_map all = ondo::exiftool::read_result(ondo::exiftool::read_tags_async(path, true));
        const exif_tag_map kept = exif_cache::instance()->of(path).tags.unpacked();
        QVERIFY(kept.size() < all.size());
        const QDateTime new_time = model->data(model->index(0, 2), Qt::UserRole).toDateTime();
        const recording_tags::shift shift{0, 0, 0, 1, 0, 0, !zone.isEmpty(), zone.toDouble()};
        const exif_tag_map values = recording_tags::new_values(all, old_time, new_time, shift);
        auto derived = [&](const exif_tag_map& from) {
            const recording_tags::source recorded = recording_tags::recording_time(from);
            QStringList found = {recorded.text, recorded.utc, recording_tags::file_zone(from),
                                 QString::number(recording_tags::holds_exif_zone(from)), camera::of(from).key()};
            for (const undo_entry& entry : recording_tags::undo_entries(from, {}, values))
                found << QString("%1|%2|%3|%4").arg(entry.tag).arg(entry.existed).arg(entry.value, entry.written);
            return found;
        };
        QCOMPARE(recording_tags::new_values(kept, old_time, new_time, shift), values);
        QCOMPARE(recording_tags::expected_before(kept, values, true), recording_tags::expected_before(all, values, true));
        QCOMPARE(derived(kept), derived(all));

        const bool asks = QRegularExpression("IPTC:TimeCreated=[0-9:]+(;|$)").match(tags).hasMatch();
        const auto question = answer_next_box("Continue");
        const QList<QStringList> fixed = press(fix_tip);
        question->cancelled = true;
        QCOMPARE(question->answered, asks);
        QCOMPARE(held_otherwise(), QString());
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_timezone")->text(), QString()); // cleared with the offset
        for (const auto& [tag, value] : tag_map(with_times(fetched<QString>("moved")))) {
            expected = expected.filter(QRegularExpression("^-(?!" + QRegularExpression::escape(tag) + "=)"));
            expected << "-" + tag + "=" + value;
        }
        expected.sort();
        QCOMPARE(own_lines(path), expected);
        QVERIFY(listing(path) != before);

        const QList<QStringList> undone = press(undo_tip);
        QCOMPARE(fixed.size() + undone.size(), 2);
        if (!sent.isEmpty()) {
            QStringList undo_lines = undone.value(0).filter(QRegularExpression("^-(?!System:FileModifyDate)"));
            undo_lines.sort();
            QStringList sent_lines = with_times(sent).split(QRegularExpression("[;|]"));
            QCOMPARE(fixed.value(0) + undo_lines, sent_lines.replaceInStrings(QRegularExpression("^"), "-"));
        }
        QVERIFY(!tip_button(undo_tip)->isEnabled());
        QCOMPARE(held_otherwise(), QString());
        QStringList restored = before, now = listing(path);
        if (asks) {
            restored.replaceInStrings(QRegularExpression("^(-IPTC:TimeCreated=18:30:05|-Composite:DateTime(Created|Original)=.*05)$"), "\\1+02:00");
            for (QStringList* lines : {&restored, &now})
                *lines = lines->filter(QRegularExpression("^-(?!File:CurrentIPTCDigest=)"));
        }
        QCOMPARE(now, restored);

        // From the first cycle on every byte comes back, and the modification time to the nanosecond.
        const QByteArray undone_bytes = contents(path);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), zone);
        click_answering(fix_tip, "Continue");
        QCOMPARE(press(undo_tip).size(), 1);
        QVERIFY(contents(path) == undone_bytes);
        QCOMPARE(file_identity::of(path).modified_ns, made_ns);
        QCOMPARE(bridge_log.filter("isn't writable"), QStringList());
    }

    // A good photo beside others: fine, vanished ("gone"), beside a leftover ("left"), in a skipped
    // hour ("gap"). The note tells what each run did until the next action; the log tells it once.
    void a_note_after_every_run_data()
    {
        test_support::columns<QStringList, QString, QString, QString, QStringList>(
            {"others", "answer", "after_fix", "after_undo", "log"});
        const QString undo_possible = " Undo is possible until Tavimo closes.", failed = " 1 file could not be changed.";
        QTest::newRow("two photos") << QStringList{"b"} << "" << "2 photos changed." + undo_possible << "Undo done: 2 photos as before."
                                    << QStringList();
        QTest::newRow("a failure, undone") << QStringList{"gone"} << "Undo Changes" << "1 photo changed." + undo_possible + failed
                                           << "Undo done: 1 photo as before." << QStringList();
        QTest::newRow("each file counted once, each failure with its reason")
            << QStringList{"left", "gap"} << "Keep changes" << "1 photo changed." + undo_possible + failed + " 1 file left as it was."
            << "Undo done: 1 photo as before."
            << QStringList{"Load: 3 files", "Load ended: 3 rows added, in ", "Fix run: 3 files, offset 0 y 0 mo 0 d 1 h 0 min 0 s, zone none",
                   "Not fixed: %left (an earlier write left", "Fix run ended: 1 written, 1 failed, 1 left as they were, in ",
                   "Undo run: 1 files", "Undo run ended: 1 restored, 0 failed, in "};
    }

    void a_note_after_every_run()
    {
        const auto [others, answer, after_fix] =
            fetched<QStringList, QString, QString>({"others", "answer", "after_fix"});
        log_capture captured;
        const installed_language english("en");
        QStringList paths{make_file(dir->path(), "a.jpg|ExifIFD:DateTimeOriginal=#")};
        for (const QString& other : others)
            paths << make_file(dir->path(), other + ".jpg|ExifIFD:DateTimeOriginal=" + (other == "gap" ? "2017:03:26 02:30:00" : "#"));
        open_with(paths);
        const QString gone = dir->filePath("gone.jpg"), left = dir->filePath("left.jpg");
        QVERIFY(!others.contains("gone") || QFile::remove(gone));
        QFile leftover(left + "_exiftool_tmp");
        QVERIFY(!others.contains("left") || leftover.open(QIODevice::WriteOnly));
        auto* note = window->findChild<QLabel*>("run_note");

        QString during_question;
        const auto shown = answer_next_box(answer.isEmpty() ? "Keep changes" : answer, [&](QDialog*) { during_question = note->text(); });
        press(fix_tip);
        shown->cancelled = true;
        QCOMPARE(during_question, answer.isEmpty() ? QString() : after_fix);
        if (others.contains("gone"))
            QVERIFY2(shown->text.contains(gone), qPrintable(shown->text));
        if (others.contains("left")) {
            QVERIFY2(shown->text.contains(left + " (an earlier write left " + leftover.fileName() + " behind)"), qPrintable(shown->text));
            // Its row keeps its time, marked, and says why; a written row is not marked.
            const QAbstractItemModel* model = table()->model();
            const QModelIndex failed = model->index(column_texts().indexOf("left.jpg"), 0);
            QVERIFY(failed.data(Qt::ForegroundRole).isValid());
            QVERIFY(failed.data(Qt::ToolTipRole).toString().contains("\nNot changed: "));
            QVERIFY(!model->index(column_texts().indexOf("a.jpg"), 0).data(Qt::ForegroundRole).isValid());
        }
        if (answer != "Undo Changes") {
            QCOMPARE(note->text(), after_fix);
            QVERIFY(note->isVisible());
            press(undo_tip);
        }
        QTEST(note->text(), "after_undo");
        for (const QString& line : fetched<QStringList>("log"))
            QVERIFY2(captured.count(QString(line).replace("%left", left)) == 1, qPrintable(line + "\n" + captured.lines().join('\n')));

        window->load_files({paths.first()});
        QCOMPARE(note->text(), QString());
    }

    // The window closed during a run: the run goes on to its last file, the window goes after it. Or
    // the table re-sorted between two files: the run still writes each file once. Either way its
    // dialog goes, as after an empty load and after a run whose last row had no time to write.
    void closing_or_resorting_during_a_run_data()
    {
        test_support::columns<QString, QString>({"run", "during"});
        for (const char* run : {"load", "fix", "undo"})
            QTest::addRow("%s, closing", run) << QString(run) << "closing";
        QTest::newRow("fix, resorting") << "fix" << "resorting";
    }

    void closing_or_resorting_during_a_run()
    {
        const auto [run, during] = fetched<QString, QString>({"run", "during"});
        const QStringList paths = make_photos(6), loaded = paths + QStringList{dir->filePath("zz missing.jpg")};
        QGuiApplication::setQuitOnLastWindowClosed(false);
        open_with({});
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
        if (run != "load")
            window->load_files(loaded);
        window->setAttribute(Qt::WA_DeleteOnClose, true);
        if (run == "undo")
            tip_button(fix_tip)->click();
        auto* header = table()->horizontalHeader();
        int clicks = 0;
        QTimer resort;
        connect(&resort, &QTimer::timeout, &resort, [&] {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(0) + 5, 5));
            ++clicks;
        });
        if (during == "resorting")
            resort.start(0);
        else
            QTimer::singleShot(0, window.data(), [this] { window->close(); });
        if (run == "load")
            window->load_files(loaded);
        else
            tip_button(run == "fix" ? fix_tip : undo_tip)->click();
        resort.stop();
        QVERIFY(window); // still there when the run returns
        QCOMPARE(window->isVisible(), during == "resorting");
        QVERIFY(during == "closing" || clicks >= 2);
        QCOMPARE(rows(), loaded.size());
        for (const QString& path : paths)
            QCOMPARE(read_back(path).at("ExifIFD:DateTimeOriginal"), with_times(run == "fix" ? "@" : "#"));
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
        QTRY_VERIFY(during == "resorting" || !window);
        QGuiApplication::setQuitOnLastWindowClosed(true);
        // A fix the closing window cuts short ends without the user's word: its journal stays for the next start.
        QCOMPARE(journals().size(), int(run == "fix" && during == "closing"));
    }

    // A run that died: this program crashing (written -1) or a made journal. The next start counts what
    // the photos hold, not the lines, and gives back the written ones alone or keeps them. `trouble`: a
    // cut last line, a leftover that fails one undo, damage.
    void an_unfinished_run_is_offered_data()
    {
        test_support::columns<int, int, int, QString, QString>({"photos", "written", "confirmed", "answer", "trouble"});
        QTest::newRow("a crash, undo") << 200 << -1 << 0 << "Undo" << "";
        QTest::newRow("a crash, keep") << 200 << -1 << 0 << "Keep" << "";
        QTest::newRow("a crash, the last line cut") << 200 << -1 << 0 << "Undo" << "cut";
        QTest::newRow("a crash, a line of the journal broken") << 4 << -1 << 0 << "Show list" << "journal";
        QTest::newRow("a crash, a photo touched since") << 4 << -1 << 0 << "Show list" << "touched";
        QTest::newRow("a crash, a photo replaced by a copy") << 4 << -1 << 0 << "Show list" << "replaced";
        QTest::newRow("3 of 10 written, undo") << 10 << 3 << 2 << "Undo" << "";
        QTest::newRow("3 of 10 written, keep") << 10 << 3 << 2 << "Keep" << "";
        QTest::newRow("3 of 10 written, the last line cut") << 10 << 3 << 3 << "Undo" << "cut";
        QTest::newRow("3 of 10 written, by an older version") << 10 << 3 << 3 << "Undo" << "older";
        QTest::newRow("none of 7 written: nothing asked") << 7 << 0 << 0 << "" << "";
        QTest::newRow("one undo fails") << 10 << 3 << 2 << "Undo" << "blocked";
    }

    void an_unfinished_run_is_offered()
    {
        const auto [photos, written, confirmed, answer] =
            fetched<int, int, int, QString>({"photos", "written", "confirmed", "answer"});
        QFETCH(QString, trouble);
        // XMP without a toolkit's name: the fix leaves none, which a crashed run's journal notes as null.
        QStringList paths = make_photos(photos, written < 0 ? ";XMP-exif:DateTimeOriginal=#;XMP-x:XMPToolkit="
                                                            : ";IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+02:00");
        // The first photo's name holds every kind of character a journal line must carry.
        const QString odd = dir->filePath(QString::fromUtf8("a q\"b\\s\x01\x1f\t\x7f \xc3\xa9 \xf0\x9f\x93\xb7 \\u0041 }].jpg"));
        QVERIFY(QFile::rename(paths[0], odd));
        paths[0] = odd;
        const auto before = listings(dir->path());
        QMap<QString, qint64> loaded_ns; // by name: an undo gives the time back to the nanosecond
        for (const QString& path : paths)
            loaded_ns[QFileInfo(path).fileName()] = file_identity::of(path).modified_ns;
        const int crash = qMin(25, photos / 2);
        if (written < 0) {
            QVERIFY(crash_a_fix_run(dir->path(), crash));
        } else {
            // The run wrote `written` photos, `confirmed` of them with their line after the write: an hour later,
            // IPTC in another zone, an EXIF zone added. It is gone without end_run(), as a crash leaves it.
            undo_journal made(undo_journal::default_folder());
            QVERIFY(made.begin_run());
            const exif_tag_map values = tag_map(with_times("ExifIFD:DateTimeOriginal=@;IPTC:TimeCreated=19:30:05+03:00;"
                                                           "ExifIFD:OffsetTimeOriginal=+03:00;System:FileModifyDate=@+03:00"));
            for (int i = 0; i < paths.size(); ++i) {
                const exif_tag_map present = ondo::exiftool::read_tags(paths[i], true, false);
                QList<undo_entry> undo;
                for (const auto& [tag, value] : values)
                    undo << undo_entry{tag, present.count(tag) > 0, present.count(tag) ? present.at(tag) : QString()};
                QVERIFY(made.add(paths[i], file_identity::of(paths[i]), undo));
                QVERIFY(i >= written || ondo::exiftool::write_tags(paths[i], values));
                if (i < confirmed)
                    made.written(paths[i], true);
            }
        }
        const int in_journal = journaled().size();
        const QString failing = paths[1], leftover = failing + "_exiftool_tmp", journal = first_journal();
        QString listed = paths[trouble == "touched" ? 1 : 0] + ": changed since the run";
        QByteArray journal_text = contents(journal);
        if (trouble == "cut") { // the crash came while the last photo's line was written, before its write was sent
            journal_text += "{\"photo\":\"" + paths.last().toUtf8() + "\",\"undo\":[{\"ta";
        } else if (trouble == "older") { // whose lines kept no photo's size and time as loaded
            journal_text = QString::fromUtf8(journal_text).replace(
                QRegularExpression("(\\{\"photo\":[^\\n]*),\"size\":\"\\d+\",\"modified_ns\":\"-?\\d+\""), "\\1").toUtf8();
        } else if (trouble == "journal") {
            listed = "Undo information that can't be read";
            journal_text.replace("\"undo\":[", "\"undo\":[[");
        } else if (trouble == "blocked") {
            listed = failing;
            QVERIFY(QFile::copy(failing, leftover));
        } else if (trouble == "touched") {
            QVERIFY(set_modified_ns(paths[1], Q_INT64_C(1200000000123456789)));
        } else if (trouble == "replaced") {
            QVERIFY(QFile::rename(paths[0], paths[0] + ".was") && QFile::copy(paths[0] + ".was", paths[0]));
        }
        if (trouble == "cut" || trouble == "journal" || trouble == "older")
            QVERIFY(write_file(journal, journal_text));
        const auto crashed = listings(dir->path());
        QStringList untouched; // the photos no undo may touch: those not written, and the one the leftover blocks
        for (const QJsonObject& tags : crashed)
            if (tags.value("ExifIFD:DateTimeOriginal").toString() == before_time)
                untouched << tags.value("SourceFile").toString();
        const int shifted = paths.size() - untouched.size();
        const bool damaged = answer == "Show list";
        if (written == -1) // a run of 200 dies in its middle; one of 4 may have written all
            QVERIFY2(shifted >= crash && (shifted < photos || damaged) && !untouched.contains(failing),
                     qPrintable(QString::number(shifted)));
        else
            QCOMPARE(shifted, written);
        if (trouble == "blocked")
            untouched << failing;
        const QStringList untouched_stamps = stamps(untouched);

        // Damage is shown as a list, a failed undo as its failures, each before the box that follows.
        QSharedPointer<seen_box> second, third;
        if (shifted == 0)
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression("changed no photo"));
        const auto shown = answer_next_box(answer, [&](QDialog*) {
            if (trouble == "blocked" || damaged)
                second = answer_next_box("close", [&](QDialog*) { third = answer_next_box(damaged ? "Keep" : "close"); });
        });
        window = open_main_window();
        QTRY_VERIFY(shifted == 0 ? journals().isEmpty() : second ? third && third->answered : shown->answered);
        shown->cancelled = true;
        QCOMPARE(shown->answered, shifted > 0);
        if (shown->answered) {
            const QString counts = QString("Photos that run had changed: %1\nPhotos it had not written yet: %2\n")
                                       .arg(shifted).arg(in_journal - shifted);
            QVERIFY2(shown->text.contains(damaged ? "can't be applied safely" : counts), qPrintable(shown->text));
            QCOMPARE(shown->buttons, damaged ? QStringList({"Keep", "Show list"}) : QStringList({"Undo", "Keep"}));
        }
        if (second) {
            QVERIFY2(second->text.contains(listed), qPrintable(second->text));
            QVERIFY2(damaged ? third->text == shown->text : third->text.contains("could not be restored: 1\n"),
                     qPrintable(third->text));
        }
        QVERIFY(trouble == "blocked" || !tip_button(undo_tip)->isEnabled());
        const auto after = listings(dir->path());
        QCOMPARE(after.keys(), crashed.keys());
        for (const QString& name : crashed.keys()) {
            const bool given_back = answer == "Undo" && (trouble != "blocked" || !failing.endsWith("/" + name));
            QVERIFY2(after.value(name) == (given_back ? before : crashed).value(name), qPrintable(name));
            // To the nanosecond, but to the second where the journal holds no time for a shifted photo.
            const qint64 loaded = loaded_ns.value(name);
            if (given_back)
                QCOMPARE(file_identity::of(dir->filePath(name)).modified_ns,
                         trouble == "older" && !untouched.contains(dir->filePath(name)) ? loaded - loaded % 1000000000 : loaded);
        }
        QCOMPARE(stamps(untouched), untouched_stamps);
        // The killed run's private names are gone; an unreadable journal names no folder to clean.
        if (trouble != "journal")
            QCOMPARE(QDir(dir->path()).entryList({".tavimo-*"}, QDir::Files | QDir::Hidden), QStringList());
        QCOMPARE(journals().size(), int(trouble == "blocked"));
        if (trouble != "blocked")
            return;

        // The photo the undo could not restore stays in the journal alone; the next start offers it,
        // and its undo then takes the journal away.
        QCOMPARE(journaled(), QStringList({failing}));
        delete window;
        QVERIFY(QFile::remove(leftover));
        const auto again = answer_next_box("Undo");
        window = open_main_window();
        QTRY_VERIFY(again->answered);
        QVERIFY2(again->text.contains("changed: 1\nPhotos it had not written yet: 0\n"), qPrintable(again->text));
        QVERIFY(journals().isEmpty());
        QVERIFY(listings(dir->path()) == before);
    }

    void the_undo_gives_back_the_fraction_data()
    {
        test_support::columns<QString, qint64, qint64, bool, qint64>({"entry", "present", "loaded", "result", "after"});
        const qint64 second = Q_INT64_C(1498062605000000000);
        // -1: ExifTool writes back the whole seconds of the time it read.
        QTest::newRow("after ExifTool wrote the time") << "photo" << qint64(-1) << second + 123456789 << true
                                                       << second + 123456789;
        QTest::newRow("within the second") << "photo" << second + 999999999 << second + 1 << true << second + 1;
        QTest::newRow("another second") << "photo" << second + 1000000000 << second + 999999999 << false
                                        << second + 1000000000;
        QTest::newRow("no fraction to give") << "photo" << second + 500000000 << second << true << second + 500000000;
        QTest::newRow("before 1970") << "photo" << Q_INT64_C(-2000000000) << Q_INT64_C(-1500000000) << true
                                     << Q_INT64_C(-1500000000);
        QTest::newRow("a folder") << "folder" << second << second + 5 << false << second;
        QTest::newRow("a FIFO, never opened") << "fifo" << second << second + 5 << false << second;
    }

    void the_undo_gives_back_the_fraction()
    {
        const auto [entry, present, loaded] = fetched<QString, qint64, qint64>({"entry", "present", "loaded"});
        QString path = dir->filePath(entry);
        if (entry == "photo")
            path = make_photos(1).value(0);
        else if (entry == "folder")
            QVERIFY(QDir(dir->path()).mkdir(entry));
        else
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        if (present == -1) {
            // What a fix keeps as the old file time, put back by ExifTool after the fix moved it.
            QVERIFY(set_modified_ns(path, loaded));
            const QString old = read_back(path)["System:FileModifyDate"];
            QVERIFY(set_modified_ns(path, loaded + Q_INT64_C(3600000000000)));
            QVERIFY(ondo::exiftool::write_tags(path, {{"System:FileModifyDate", old}}));
        } else {
            QVERIFY(set_modified_ns(path, present));
        }
        QTEST(file_identity::restore_modified_time(path, loaded), "result");
        QTEST(file_identity::of(path).modified_ns, "after");
    }

private:
    // Presses `tool_tip` and returns the tag lines of every write it sent, one list per file.
    QList<QStringList> press(const QString& tool_tip)
    {
        log_capture log(true);
        tip_button(tool_tip)->click();
        bridge_log << log.lines();

        QList<QStringList> writes;
        for (const QString& line : log.lines().filter("Writing '").filter("-overwrite_original_in_place")) {
            const QString text = line.section("Writing '", 1).section("' to process.", 0, 0);
            writes << text.split('\n').filter(QRegularExpression("^-[A-Za-z0-9-]+:[A-Za-z]+="));
        }
        return writes;
    }
    int rows() const { return int(exif_cache::instance()->size()); }
    QStringList bridge_log; // everything the bridge logged during the presses
    // The photos in the one journal on disk: those of its whole lines, less the failed ones.
    static QStringList journaled()
    {
        QStringList photos;
        for (const QByteArray& line : contents(first_journal()).split('\n')) {
            const QJsonObject record = QJsonDocument::fromJson(line).object();
            photos << record.value("photo").toString();
            photos.removeAll(record.value("failed").toString());
        }
        photos.removeAll(QString());
        return photos;
    }
    QStringList make_photos(int count, const QString& more = QString())
    {
        return numbered_copies(make_file(dir->path(), "p000.jpg|ExifIFD:DateTimeOriginal=#" + more), "p000.jpg", count);
    }
};

TAVIMO_WINDOW_TEST_MAIN(tst_fix_run)

#include "tst_fix_run.moc"
