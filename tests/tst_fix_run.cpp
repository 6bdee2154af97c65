#include "camera.h"
#include "file_identity.h"
#include "table_data_model.h"

#include "window_test.h"

#include <ondo/application.h>

#include <QCryptographicHash>
#include <QFileOpenEvent>
#include <QHeaderView>
#include <QLabel>
#include <QProgressDialog>
#include <QSettings>
#include <QtTest>

#include <ctime>

using namespace test_support;

namespace {

// The sorted listing but for what moves by itself or is derived; IPTC times keep their zones.
QStringList own_lines(const QString& path)
{
    static const QRegularExpression derived("^-((System|Composite|ExifTool):|(File:CurrentIPTCDigest|Photoshop:IPTCDigest)=|"
                                            "[^=]*(Offsets?|Start|MediaDataSize)=)");
    QStringList lines;
    for (const QString& line : run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-args", path}).split('\n', Qt::SkipEmptyParts))
        if (!derived.match(line).hasMatch())
            lines << line;
    lines.sort();
    return lines;
}

// "A=1;B=2" gives "-A=1", "-B=2".
QStringList lines(const QString& text)
{
    QStringList result;
    for (const QString& part : with_times(text).split(';', Qt::SkipEmptyParts))
        result << "-" + part;
    return result;
}

} // namespace

// The fix and undo runs end to end with the real ExifTool; the tag lines sent come from its log.
class tst_fix_run : public window_test {
    Q_OBJECT

private slots:
    // Files are "name|tags", shifted back a second; `question` is the start of the one text expected.
    void questions_before_the_run_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("question");
        const QString dto = "ExifIFD:DateTimeOriginal=";
        QTest::newRow("empty table asks nothing") << QStringList() << "" << "" << "";
        QTest::newRow("CR3 with EXIF takes a zone without asking") << QStringList{"Y.cr3|" + dto + "#"} << "0" << "" << "";
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
        QFETCH(QStringList, files);
        QFETCH(QString, zone);
        QFETCH(QString, answer);
        QFETCH(QString, question);
        QStringList paths;
        for (const QString& entry : files)
            paths << make_file(dir->path(), entry);
        open_with(paths, zone, "lineedit_second", "-1");
        // Armed even when no question is expected, to catch one that comes.
        const bool ending = answer == "ending";
        QGuiApplication::setQuitOnLastWindowClosed(false);
        const auto shown = answer_next_box(
            answer.isEmpty() ? "Continue" : ending ? "close" : answer,
            [ending](QDialog*) {
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
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("moved");
        QTest::addColumn<QString>("sent");
        const QString exif = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#";
        const QString phone = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=2017:06:22 09:00:00;"
                              "ExifIFD:OffsetTimeOriginal=+02:00;ExifIFD:SubSecTimeOriginal=12;XMP-exif:DateTimeOriginal=#;"
                              "XMP-xmp:CreateDate=2017:06:21 18:30:05.12+02:00;XMP-xmp:MetadataDate=2017:06:23 10:00:00+02:00;"
                              "GPS:GPSDateStamp=2017:06:21;GPS:GPSTimeStamp=16:30:05";
        const QString phone_moved = "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;IFD0:ModifyDate=2017:06:22 10:00:00;"
                                    "XMP-exif:DateTimeOriginal=@;";
        const QString movie_moved = "QuickTime:CreateDate=2005:08:11 15:03:54;QuickTime:ModifyDate=2005:08:11 15:03:54;"
                                    "Track1:TrackCreateDate=2005:08:11 15:03:54;Track1:TrackModifyDate=2005:08:11 15:03:54;"
                                    "Track1:MediaCreateDate=2005:08:11 15:03:54;Track1:MediaModifyDate=2005:08:11 15:03:54";
        // Zones go into EXIF's zone tags, never into a new IPTC block.
        QTest::newRow("a zone goes into EXIF, the undo takes it out again") << "a.jpg" << exif << "2" << "#"
            << QString(exif).replace("#", "@") + ";ExifIFD:OffsetTime=+02:00;ExifIFD:OffsetTimeDigitized=+02:00;ExifIFD:OffsetTimeOriginal=+02:00"
            << "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;ExifIFD:OffsetTime=+02:00;ExifIFD:OffsetTimeDigitized=+02:00;"
               "ExifIFD:OffsetTimeOriginal=+02:00;IFD0:ModifyDate=@;System:FileModifyDate=@+02:00|"
               "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=;ExifIFD:OffsetTimeDigitized=;"
               "ExifIFD:OffsetTimeOriginal=;IFD0:ModifyDate=#";
        QTest::newRow("an IPTC zone kept, and given back exactly")
            << "a.jpg" << "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30" << "" << "# +05:30"
            << "ExifIFD:DateTimeOriginal=@;IPTC:TimeCreated=19:30:05+05:30"
            << "ExifIFD:DateTimeOriginal=@;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=@+05:30;System:FileModifyDate=@+05:30|"
               "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30";
        QTest::newRow("a copy in IFD0 is written along") << "a.jpg" << "ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#;IFD0:Make=V"
            << "" << "#" << "ExifIFD:DateTimeOriginal=@;IFD0:DateTimeOriginal=@"
            << "ExifIFD:DateTimeOriginal=@;IFD0:DateTimeOriginal=@;System:FileModifyDate=@|ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#";
        QTest::newRow("the original time, not a differing creation date") << "a.jpg"
            << "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=2017:06:21 18:00:00" << "" << "#"
            << "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=2017:06:21 19:00:00" << "";
        QTest::newRow("IPTC and XMP creation dates")
            << "b.jpg" << "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+02:00;XMP-photoshop:DateCreated=#;ExifIFD:DateTimeOriginal=#"
            << "" << "# +02:00" << "IPTC:TimeCreated=19:30:05+02:00;XMP-photoshop:DateCreated=@;ExifIFD:DateTimeOriginal=@" << "";
        // ExifTool writes no zoneless IPTC time: the undo gives it its day's zone, as the fix warns.
        QTest::newRow("IPTC without a zone") << "c.jpg" << "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05;IPTC:Keywords=k" << ""
                                             << "#" << "IPTC:TimeCreated=19:30:05+02:00" << "";
        QTest::newRow("PNG with a chunk after its image") << "e.png" << "XMP-photoshop:DateCreated=#;XMP-dc:Title=T;chunk=behind"
                                                          << "2" << "#" << "XMP-photoshop:DateCreated=@+02:00" << "";
        // Bytes ExifTool reads but can't write: only the file's time moves.
        QTest::newRow("AVI") << "v.avi" << "" << "" << "#" << "" << "";
        QTest::newRow("phone photo") << "a.jpg" << phone << "" << "# +02:00"
                                     << phone_moved + "XMP-xmp:CreateDate=2017:06:21 19:30:05.12+02:00" << "";
        // The zone entered is the zone of the new times, and no IPTC block is made for it.
        QTest::newRow("phone photo, a zone") << "a.jpg" << phone << "1" << "# +02:00"
            << phone_moved + "XMP-xmp:CreateDate=2017:06:21 19:30:05.12+01:00;ExifIFD:OffsetTimeOriginal=+01:00;"
                             "ExifIFD:OffsetTime=+01:00;ExifIFD:OffsetTimeDigitized=+01:00" << "";
        QTest::newRow("phone HEIC, a zone")
            << "i.heic" << "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#;ExifIFD:OffsetTimeOriginal=+02:00;"
                           "ExifIFD:OffsetTime=+02:00;XMP-xmp:CreateDate=#+02:00;XMP-xmp:ModifyDate=#+02:00;XMP-photoshop:DateCreated=#+02:00"
            << "-3" << "# +02:00"
            << "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;IFD0:ModifyDate=@;ExifIFD:OffsetTimeOriginal=-03:00;"
               "ExifIFD:OffsetTime=-03:00;ExifIFD:OffsetTimeDigitized=-03:00;XMP-xmp:CreateDate=@-03:00;XMP-xmp:ModifyDate=@-03:00;"
               "XMP-photoshop:DateCreated=@-03:00" << "";
        // A CR3's movie dates are read and written on the machine's clock.
        QTest::newRow("CR3, a zone") << "r.cr3" << "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#" << "1" << "#"
            << "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;IFD0:ModifyDate=@;ExifIFD:OffsetTimeOriginal=+01:00;"
               "ExifIFD:OffsetTime=+01:00;ExifIFD:OffsetTimeDigitized=+01:00;QuickTime:CreateDate=2005:08:11 18:03:54+02:00;"
               "QuickTime:ModifyDate=2005:08:11 18:03:54+02:00;Track1:TrackCreateDate=2005:08:11 18:03:54+02:00;"
               "Track1:TrackModifyDate=2005:08:11 18:03:54+02:00;Track1:MediaCreateDate=2005:08:11 18:03:54+02:00;"
               "Track1:MediaModifyDate=2005:08:11 18:03:54+02:00" << "";
        QTest::newRow("DNG, a zone") << "a.dng" << "IFD0:DNGVersion=1.4.0.0;ExifIFD:DateTimeOriginal=#;XMP-xmp:CreateDate=#+02:00;"
                                                   "XMP-x:XMPToolkit=Adobe XMP Core 5.6"
                                     << "1" << "# +02:00"
                                     << "ExifIFD:DateTimeOriginal=@;ExifIFD:OffsetTimeOriginal=+01:00;XMP-xmp:CreateDate=@+01:00" << "";
        QTest::newRow("NEF, a zone") << "b.nef" << "IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#"
                                     << "-5" << "#"
                                     << "ExifIFD:DateTimeOriginal=@;ExifIFD:CreateDate=@;ExifIFD:OffsetTimeOriginal=-05:00;"
                                        "ExifIFD:OffsetTimeDigitized=-05:00" << "";
        QTest::newRow("IPTC date alone, an hour and a zone: no time added") << "d.jpg" << "IPTC:DateCreated=2004:02:26" << "2"
                                                                            << "2004:02:26 00:00:00" << "" << "";
        QTest::newRow("IPTC alone") << "b.jpg" << "IPTC:DateCreated=2004:02:26;IPTC:TimeCreated=23:30:00+01:00" << ""
                                    << "2004:02:26 23:30:00 +01:00" << "IPTC:DateCreated=2004:02:27;IPTC:TimeCreated=00:30:00+01:00" << "";
        QTest::newRow("XMP alone") << "c.png" << "XMP-xmp:CreateDate=2020:05:06 07:08:09" << "" << "2020:05:06 07:08:09"
                                   << "XMP-xmp:CreateDate=2020:05:06 08:08:09" << "";
        QTest::newRow("PNG, a zone into its XMP date") << "c.png" << "XMP-xmp:CreateDate=2020:05:06 07:08:09" << "2"
                                                       << "2020:05:06 07:08:09" << "XMP-xmp:CreateDate=2020:05:06 08:08:09+02:00" << "";
        QTest::newRow("movie") << "m.mov" << "" << "" << "2005:08:11 16:03:54" << movie_moved << "";
        // The clock reading stays under the new zone; here zone and hour cancel out in UTC.
        QTest::newRow("movie with a zoned date, a zone") << "m.mov" << "Keys:CreationDate=2005:08:11 16:03:54+02:00" << "3"
                                                         << "2005:08:11 16:03:54 +02:00" << "Keys:CreationDate=2005:08:11 17:03:54+03:00" << "";
        // A moment kept in UTC moves by the offset alone; the zone only says on which clock it shows.
        QTest::newRow("sound in UTC, a zone") << "s.m4a" << "" << "-5" << "2005:08:11 16:03:54" << movie_moved << "";
    }

    void a_fix_moves_its_tags_and_the_undo_gives_all_back()
    {
        QFETCH(QString, name);
        QFETCH(QString, tags);
        QFETCH(QString, zone);
        QFETCH(QString, shown);
        QFETCH(QString, moved);
        QFETCH(QString, sent);
        if (name.endsWith(".heic") && QStandardPaths::findExecutable("heif-enc").isEmpty())
            QSKIP("heif-enc (libheif-examples) is not installed");
        const QString path = make_file(dir->path(), name + "|" + tags);
        QVERIFY(!path.isEmpty());
        // Sorted whole: ExifTool may store a HEIC's image properties in another order.
        auto sorted_listing = [&path] {
            QStringList lines = listing(path);
            lines.sort();
            return lines;
        };
        const QStringList before = sorted_listing();
        const QStringList own_before = own_lines(path);

        open_with({path}, zone);
        const QAbstractItemModel* model = table()->model();
        const QString time = model->data(model->index(0, 1), Qt::UserRole).toDateTime().toString("yyyy:MM:dd hh:mm:ss");
        const QString file_zone = model->data(model->index(0, 1)).toString().section("  UTC", 1);
        QCOMPARE(file_zone.isEmpty() ? time : time + " " + file_zone, with_times(shown));
        same_from_the_kept_tags(path, model, zone);

        const bool asks = QRegularExpression("IPTC:TimeCreated=[0-9:]+(;|$)").match(tags).hasMatch();
        const auto question = answer_next_box("Continue");
        auto writes = press(fix_tip);
        question->cancelled = true;
        QCOMPARE(question->answered, asks);
        QCOMPARE(writes.size(), 1);
        if (!sent.isEmpty())
            QCOMPARE(writes.first(), lines(sent.section('|', 0, 0)));
        QStringList expected = own_before;
        for (const auto& [tag, value] : tag_map(with_times(moved))) {
            expected = expected.filter(QRegularExpression("^-(?!" + QRegularExpression::escape(tag) + "=)"));
            expected << "-" + tag + "=" + value;
        }
        expected.sort();
        QCOMPARE(own_lines(path), expected);
        QVERIFY(sorted_listing() != before);
        QCOMPARE(last_log.filter("isn't writable"), QStringList());
        QVERIFY(tip_button(undo_tip)->isEnabled());

        writes = press(undo_tip);
        QCOMPARE(writes.size(), 1);
        if (!sent.isEmpty()) {
            QStringList undone = writes.first().filter(QRegularExpression("^-(?!System:FileModifyDate)"));
            undone.sort();
            QCOMPARE(undone, lines(sent.section('|', 1)));
        }
        QCOMPARE(last_log.filter("isn't writable"), QStringList());
        QVERIFY(!tip_button(undo_tip)->isEnabled());
        QStringList restored = before, now = sorted_listing();
        if (asks) {
            restored.replaceInStrings(QRegularExpression("^(-IPTC:TimeCreated=18:30:05|-Composite:DateTime(Created|Original)=.*05)$"), "\\1+02:00");
            for (QStringList* lines : {&restored, &now})
                *lines = lines->filter(QRegularExpression("^-(?!File:CurrentIPTCDigest=)"));
        }
        QCOMPARE(now, restored);
    }

    // Crafted names and a vanished file beside a good photo, in a folder dropped or asked to open.
    void crafted_names_change_no_command_data()
    {
        QTest::addColumn<QString>("road");
        QTest::addColumn<QString>("answer");
        QTest::newRow("drop, keep changes") << "drop" << "Keep changes";
        QTest::newRow("open request, undo changes") << "open" << "Undo Changes";
    }

    void crafted_names_change_no_command()
    {
        QFETCH(QString, road);
        QFETCH(QString, answer);
        QVERIFY(QDir(dir->path()).mkpath("album"));
        const QDir album(dir->filePath("album"));
        const QString good = make_file(album.path(), "good.jpg|ExifIFD:DateTimeOriginal=#;IFD0:Make=V");
        const QStringList crafted = {"\n-if\nsystem('touch X') || 1", "\n-all=\n-overwrite_original", "\n-w!\n%d%f.%e",
                                     "a.jpg\n-stay_open\n0", "b.jpg\r"};
        for (const QString& name : crafted + QStringList{"gone.jpg"})
            QVERIFY(QFile::copy(good, album.filePath(name)));

        window = open_main_window();
        if (road == "drop") {
            QVERIFY(drop_urls(window, {QUrl::fromLocalFile(album.path())}));
        } else {
            QFileOpenEvent open(album.path());
            QApplication::sendEvent(qApp, &open);
        }
        QCOMPARE(rows(), crafted.size() + 2);
        for (const QString& name : crafted) // refused at load: nothing read of them
            QVERIFY(exif_cache::instance()->of(album.filePath(name)).tags.empty());
        QVERIFY(QFile::remove(album.filePath("gone.jpg")));
        const QStringList names_before = album.entryList(QDir::Files | QDir::Hidden);

        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        const auto shown = click_answering(fix_tip, answer);
        QVERIFY(shown->answered);
        QCOMPARE(shown->buttons, QStringList({"Keep changes", "Undo Changes"}));
        QVERIFY(shown->text.startsWith(QString("The following %1 files could not be fixed:").arg(crafted.size() + 1)));
        for (const QString& name : crafted + QStringList{"gone.jpg"})
            QVERIFY(shown->text.contains(album.filePath(name)));
        const exif_tag_map now = read_back(good);
        QCOMPARE(now.at("ExifIFD:DateTimeOriginal"), with_times(answer == "Keep changes" ? "@" : "#"));
        QCOMPARE(now.at("IFD0:Make"), QString("V"));
        QCOMPARE(tip_button(undo_tip)->isEnabled(), answer == "Keep changes");
        QCOMPARE(album.entryList(QDir::Files | QDir::Hidden), names_before);
        QVERIFY(!QFile::exists("X") && !QFile::exists(dir->filePath("X")) && !album.exists("X"));
    }

    // A good photo beside others: fine, vanished ("gone"), beside a leftover ("left"), in a skipped
    // hour ("gap"). The note tells what each run did until the next action; the log tells it once.
    void a_note_after_every_run_data()
    {
        QTest::addColumn<QStringList>("others");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("after_fix");
        QTest::addColumn<QString>("after_undo");
        QTest::addColumn<QStringList>("log");
        const QString undo_possible = " Undo is possible until Tavimo closes.", failed = " 1 file could not be changed.";
        QTest::newRow("two photos") << QStringList{"b"} << "" << "2 photos changed." + undo_possible << "Undo done: 2 photos as before."
                                    << QStringList();
        QTest::newRow("a failure, kept") << QStringList{"gone"} << "Keep changes" << "1 photo changed." + undo_possible + failed
                                         << "Undo done: 1 photo as before." << QStringList();
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
        QFETCH(QStringList, others);
        QFETCH(QString, answer);
        QFETCH(QString, after_fix);
        QFETCH(QStringList, log);
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
        QVERIFY(note);

        QString during_question;
        const auto shown = answer_next_box(answer.isEmpty() ? "Keep changes" : answer, [&](QDialog*) { during_question = note->text(); });
        press(fix_tip);
        shown->cancelled = true;
        QCOMPARE(shown->answered, !answer.isEmpty());
        if (shown->answered)
            QCOMPARE(during_question, after_fix);
        if (others.contains("gone"))
            QVERIFY2(shown->text.contains(gone), qPrintable(shown->text));
        if (others.contains("left"))
            QVERIFY2(shown->text.contains(left + " (an earlier write left " + leftover.fileName() + " behind)"), qPrintable(shown->text));
        if (answer != "Undo Changes") {
            QCOMPARE(note->text(), after_fix);
            QVERIFY(note->isVisible());
            press(undo_tip);
        }
        QTEST(note->text(), "after_undo");
        for (const QString& line : log)
            QVERIFY2(captured.count(QString(line).replace("%left", left)) == 1, qPrintable(line + "\n" + captured.lines().join('\n')));

        window->load_files({paths.first()});
        QCOMPARE(note->text(), QString());
    }

    // The table shows what the fix wrote, as a new load would; a failed row keeps its time, marked.
    void the_table_shows_what_was_written()
    {
        QSettings().setValue("date_format", "dd.MM.yyyy"); // chosen, so that no locale's default counts
        const QString good = make_file(dir->path(), "a.jpg|ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05-04:00");
        const QString gone = make_file(dir->path(), "b.jpg|ExifIFD:DateTimeOriginal=#");
        open_with({good, gone}, "+02:00");
        QVERIFY(QFile::remove(gone));
        click_answering(fix_tip, "Keep changes");
        const QAbstractItemModel* model = table()->model();
        auto rows_shown = [model] {
            QStringList shown;
            for (int row = 0; row < model->rowCount(); ++row)
                shown << QStringList{model->index(row, 0).data().toString(), model->index(row, 1).data().toString(),
                                     model->index(row, 2).data().toString(),
                                     model->index(row, 0).data(Qt::ForegroundRole).isValid() ? "marked" : ""}.join('|');
            return shown;
        };
        QCOMPARE(rows_shown(), QStringList({"a.jpg|21.06.2017 - 19:30:05  UTC+02:00|21.06.2017 - 19:30:05  UTC+02:00|",
                                            "b.jpg|21.06.2017 - 18:30:05|21.06.2017 - 18:30:05|marked"}));
        QVERIFY(model->index(1, 0).data(Qt::ToolTipRole).toString().contains("Not changed"));
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_timezone")->text(), QString());
        // What the row was derived from is what the file holds.
        const exif_tag_map now = read_back(good);
        for (const auto& [tag, value] : exif_cache::instance()->of(good).tags.unpacked())
            if (QRegularExpression("^(ExifIFD|IPTC|System:FileModify)").match(tag).hasMatch())
                QCOMPARE(tag + "=" + value, tag + "=" + now.at(tag));

        press(undo_tip);
        QCOMPARE(rows_shown().first(), QString("a.jpg|21.06.2017 - 18:30:05  UTC-04:00|21.06.2017 - 18:30:05  UTC-04:00|"));
    }

    // Ten fixes with a zone, each undone: from the first cycle on every byte comes back, and the
    // modification times to the nanosecond.
    void ten_cycles_give_back_every_byte()
    {
        const QStringList files = {
            "a.jpg|ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTimeOriginal=-04:00;XMP-xmp:CreateDate=2017:06:21 18:30:05.12-04:00;"
            "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05-04:00;GPS:GPSTimeStamp=22:30:05",
            "i.heic|ExifIFD:DateTimeOriginal=#;ExifIFD:OffsetTime=+02:00;XMP-photoshop:DateCreated=#+02:00",
            "c.png|XMP-xmp:CreateDate=2020:05:06 07:08:09", "m.mov|", "r.cr3|ExifIFD:DateTimeOriginal=#",
            "a.dng|IFD0:DNGVersion=1.4.0.0;ExifIFD:DateTimeOriginal=#;XMP-xmp:CreateDate=#+02:00",
            "b.nef|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#"};
        QStringList paths;
        for (const QString& file : files)
            if (const QString path = make_file(dir->path(), file); !path.isEmpty())
                paths << path;
        auto state = [&paths] {
            QStringList states;
            for (const QString& path : paths) {
                QFile file(path);
                states << (file.open(QIODevice::ReadOnly) ? QCryptographicHash::hash(file.readAll(), QCryptographicHash::Md5).toHex() : "")
                              + " " + QString::number(file_identity::of(path).modified_ns);
            }
            return states;
        };
        const QStringList made = state();
        window = open_main_window();
        window->load_files(paths);
        QStringList first;
        for (int cycle = 0; cycle < 10; ++cycle) {
            QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
            QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "2");
            QCOMPARE(press(fix_tip).size(), paths.size());
            QCOMPARE(press(undo_tip).size(), paths.size());
            const QStringList now = state();
            if (cycle == 0)
                first = now;
            QCOMPARE(now, first);
        }
        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(first[i].section(' ', 1), made[i].section(' ', 1));
    }

    // The window closed during a run: the run goes on to its last file, the window goes after it.
    void closing_during_a_run_data()
    {
        QTest::addColumn<QString>("run");
        for (const char* run : {"load", "fix", "undo"})
            QTest::newRow(run) << QString(run);
    }

    void closing_during_a_run()
    {
        QFETCH(QString, run);
        const QStringList paths = six_photos();
        QGuiApplication::setQuitOnLastWindowClosed(false);
        open_with(run == "load" ? QStringList() : paths);
        window->setAttribute(Qt::WA_DeleteOnClose, true);
        if (run == "undo")
            tip_button(fix_tip)->click();
        QTimer::singleShot(0, window.data(), [this] { window->close(); });
        if (run == "load")
            window->load_files(paths);
        else
            tip_button(run == "fix" ? fix_tip : undo_tip)->click();
        QVERIFY(window); // still there when the run returns
        QVERIFY(!window->isVisible());
        QCOMPARE(rows(), paths.size());
        for (const QString& path : paths)
            QCOMPARE(read_back(path).at("ExifIFD:DateTimeOriginal"), with_times(run == "fix" ? "@" : "#"));
        QTRY_VERIFY(!window);
        QGuiApplication::setQuitOnLastWindowClosed(true);
    }

    // Re-sorting between two files: the run still writes each file once, and its dialog goes, as
    // after an empty load and after a run whose last row had no time to write.
    void runs_survive_resorting_and_hide_their_dialogs()
    {
        const QStringList paths = six_photos();
        window = open_main_window();
        window->load_files({});
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
        window->load_files(paths + QStringList{dir->filePath("zz missing.jpg")});
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");

        auto* header = table()->horizontalHeader();
        int clicks = 0;
        QTimer resort;
        connect(&resort, &QTimer::timeout, &resort, [&] {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(0) + 5, 5));
            ++clicks;
        });
        resort.start(0);
        const auto writes = press(fix_tip);
        resort.stop();
        QVERIFY(clicks >= 2);
        QCOMPARE(writes.size(), paths.size());
        for (const QString& path : paths)
            QCOMPARE(read_back(path).at("ExifIFD:DateTimeOriginal"), with_times("@"));
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
    }

private:
    QStringList six_photos()
    {
        QStringList paths;
        for (int i = 0; i < 6; ++i)
            paths << make_file(dir->path(), QString("p%1.jpg|ExifIFD:DateTimeOriginal=#").arg(i));
        return paths;
    }
    // Presses `tool_tip` and returns the tag lines of every write it sent, one list per file.
    QList<QStringList> press(const QString& tool_tip)
    {
        ondo::exiftool::verbose(true);
        log_capture log;
        tip_button(tool_tip)->click();
        ondo::exiftool::verbose(false);
        last_log = log.lines();

        QList<QStringList> writes;
        for (const QString& line : log.lines().filter("Writing '").filter("-overwrite_original_in_place")) {
            const QString text = line.section("Writing '", 1).section("' to process.", 0, 0);
            writes << text.split('\n').filter(QRegularExpression("^-[A-Za-z0-9-]+:[A-Za-z]+="));
        }
        return writes;
    }
    int rows() const { return int(exif_cache::instance()->size()); }
    // What a loaded file keeps of its tags gives all that every tag gives.
    static void same_from_the_kept_tags(const QString& path, const QAbstractItemModel* model, const QString& zone)
    {
        const exif_tag_map all = ondo::exiftool::read_result(ondo::exiftool::read_tags_async(path, true));
        // What the cache holds is what the rules keep of a full read; reading sets the access time.
        const exif_tag_map kept = exif_cache::instance()->of(path).tags.unpacked();
        auto listed = [](const exif_tag_map& tags) {
            QStringList lines;
            for (const auto& [tag, value] : tags)
                if (tag != "System:FileAccessDate")
                    lines << tag + "=" + value;
            return lines;
        };
        QCOMPARE(listed(kept), listed(recording_tags::kept_tags(all)));
        QVERIFY(kept.size() < all.size());
        const QDateTime time = model->data(model->index(0, 1), Qt::UserRole).toDateTime();
        const QDateTime new_time = model->data(model->index(0, 2), Qt::UserRole).toDateTime();
        const recording_tags::shift shift{0, 0, 0, 1, 0, 0, !zone.isEmpty(), zone.toDouble()};
        const exif_tag_map values = recording_tags::new_values(all, time, new_time, shift);
        auto derived = [&](const exif_tag_map& tags) {
            const recording_tags::source recorded = recording_tags::recording_time(tags);
            QStringList lines = {recorded.text, recorded.utc, recording_tags::file_zone(tags),
                                 QString::number(recording_tags::holds_exif_zone(tags)), camera::of(tags).key()};
            for (const undo_entry& entry : recording_tags::undo_entries(tags, {}, values))
                lines << QString("%1|%2|%3|%4").arg(entry.tag).arg(entry.existed).arg(entry.value, entry.written);
            return lines;
        };
        QCOMPARE(recording_tags::new_values(kept, time, new_time, shift), values);
        QCOMPARE(recording_tags::expected_before(kept, values, true), recording_tags::expected_before(all, values, true));
        QCOMPARE(derived(kept), derived(all));
    }
    QStringList last_log; // everything the bridge logged during the last press
};

int main(int argc, char** argv)
{
    // Before any date is touched: every expectation above is on the Berlin clock.
    qputenv("TZ", "Europe/Berlin");
    tzset();
    use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_fix_run test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fix_run.moc"
