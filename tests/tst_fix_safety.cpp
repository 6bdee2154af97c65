#include "file_identity.h"
#include "photo_family.h"
#include "photo_lock.h"
#include "recording_tags.h"

#include "processes.h"
#include "window_test.h"

#include <cerrno>
#include <sys/mount.h>

using namespace test_support;

namespace {

const QString before = "2017:06:21 18:30:05";
const QString after = "2017:06:21 19:30:05";
const QString others = "2001:02:03 04:05:06"; // what another program writes

// Another program's edit of `tag`, into the file itself: the path still leads to the file loaded. With
// `keep_time` it puts the file's modification time back to the nanosecond, and its size stays.
bool edit_in_place(const QString& path, bool keep_time = false, const QString& tag = "ExifIFD:DateTimeOriginal")
{
    const qint64 modified_ns = file_identity::of(path).modified_ns;
    return run(TAVIMO_EXIFTOOL_SCRIPT, {"-overwrite_original_in_place", "-" + tag + "=" + others, path})
               .contains("1 image files updated")
        && (!keep_time || set_modified_ns(path, modified_ns));
}

// A photo of noise that validates cleanly and ends a few bytes before a 4 KiB page, so that the
// zone tags a fix adds take it onto one more page of a tmpfs.
QString noisy_photo(const QString& dir)
{
    const QString path = QDir(dir).filePath("noise.jpg");
    QImage image(400, 300, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, random.generate() | 0xff000000u);
    if (!image.save(path, "JPG", 95))
        return QString();
    for (int round = 0, padding = 16; round < 3; ++round) {
        const QStringList arguments = {"-overwrite_original", "-ExifIFD:DateTimeOriginal=" + before, "-ExifIFD:ExifImageWidth=400",
                                       "-ExifIFD:ExifImageHeight=300", "-Comment=" + QString(padding, 'x'), path};
        if (!run(TAVIMO_EXIFTOOL_SCRIPT, arguments).contains("1 image files updated"))
            return QString();
        const int missing = int((4096 - 6 - QFileInfo(path).size() % 4096 + 4096) % 4096);
        if (missing == 0)
            return path;
        padding += missing;
    }
    return QString();
}

// A RAW shooter's folder: a DNG with both forms of sidecar, a NEF with its darktable-style
// sidecar, a RAW+JPEG pair, a NEF and sidecar spelt in different case, and an XMP file of no image.
const QStringList family_folder = {
    "IMG_1001.dng|IFD0:DNGVersion=1.4.0.0;IFD0:Make=Canon;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#",
    "IMG_1001.xmp|XMP-exif:DateTimeOriginal=#;XMP-xmp:CreateDate=#;XMP-photoshop:DateCreated=#;"
    "XMP-xmp:ModifyDate=2020:01:02 03:04:05;XMP-x:XMPToolkit=Adobe XMP Core 5.6-c140",
    "IMG_1001.dng.xmp|XMP-exif:DateTimeOriginal=#;XMP-xmp:CreateDate=#;XMP-x:XMPToolkit=XMP Core 4.4.0-Exiv2",
    "DSC_2002.NEF|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#",
    "DSC_2002.NEF.xmp|XMP-exif:DateTimeOriginal=#;XMP-xmp:CreateDate=#",
    "DSC_3003.NEF|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#",
    "DSC_3003.JPG|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#",
    "dsc_4004.nef|ExifIFD:DateTimeOriginal=#",
    "DSC_4004.NEF.XMP|XMP-exif:DateTimeOriginal=#",
    "notes.xmp|XMP-xmp:CreateDate=2019:01:01 10:00:00",
};

} // namespace

// The fix and its undo when other programs, other copies, renames or a full card get in their way,
// and for photo families: sidecars, RAW+JPEG pairs and Live Photos.
class tst_fix_safety : public window_test {
    Q_OBJECT

private slots:
    // Before the fix or its undo the middle of three photos is edited, held by another copy, or
    // becomes a folder or a link: it alone is refused with its reason; nothing behind it changes.
    void something_gets_in_the_way_data()
    {
        // middle: its time after the undo
        test_support::columns<QString, QString, QString, QString, QString, QString>(
            {"what", "when", "answer", "box", "reason", "middle"});
        const QString failures = "Continue?|Keep changes,Undo Changes", changed = " (changed since it was loaded)",
                      held = " (being changed by another copy of Tavimo)", undo_failures = "Undo|OK";
        QTest::newRow("edited before the fix") << "edited" << "fix" << "Keep changes" << failures << changed << others;
        QTest::newRow("edited before the fix, its time put back") << "edited, time kept" << "fix" << "Keep changes" << failures
                                                                  << changed << others;
        QTest::newRow("edited before the undo, left") << "edited" << "undo" << "Leave them" << "Undo|Overwrite,Leave them" << "" << others;
        QTest::newRow("edited before the undo, overwritten") << "edited" << "undo" << "Overwrite" << "Undo|Overwrite,Leave them" << ""
                                                             << before;
        QTest::newRow("held before the fix") << "held" << "fix" << "Keep changes" << failures << held << before;
        QTest::newRow("held before the undo") << "held" << "undo" << "close" << undo_failures << held << after;
        QTest::newRow("a folder before the fix") << "folder" << "fix" << "Keep changes" << failures << changed << "";
        QTest::newRow("a link before the fix") << "link" << "fix" << "Keep changes" << failures << changed << "";
        QTest::newRow("a folder before the undo") << "folder" << "undo" << "close" << undo_failures << changed << "";
        QTest::newRow("a link before the undo") << "link" << "undo" << "close" << undo_failures << changed << "";
    }

    void something_gets_in_the_way()
    {
        QFETCH(QString, what);
        const auto [when, answer] = fetched<QString, QString>({"when", "answer"});
        const QStringList paths = make_files({"a.jpg|ExifIFD:DateTimeOriginal=#", "b.jpg|ExifIFD:DateTimeOriginal=#",
                                              "c.jpg|ExifIFD:DateTimeOriginal=#"});
        const QString middle = paths[1];
        QVERIFY(QDir(dir->path()).mkdir("aside"));
        const QString other = make_tagged_photo(dir->filePath("aside"), "other.jpg", {{"ExifIFD:DateTimeOriginal", before}});
        const QString victim = what == "link" ? other : middle + "/inner.jpg";
        QMap<QString, QJsonObject> victim_before;
        std::unique_ptr<photo_lock> lock;
        auto get_in_the_way = [&] {
            if (what.startsWith("edited")) {
                QVERIFY(edit_in_place(middle, what.endsWith("kept")));
            } else if (what == "held") {
                lock = photo_lock::try_lock(middle);
                QVERIFY(lock);
            } else {
                QVERIFY(QFile::remove(middle));
                QVERIFY(what == "link" ? QFile::link(other, middle)
                                       : QDir(dir->path()).mkdir("b.jpg") && QFile::copy(other, victim));
                victim_before = listings(QFileInfo(victim).path());
            }
        };
        const QByteArray loaded = contents(middle), first = contents(paths[0]), last = contents(paths[2]);
        open_with(paths);
        if (when == "fix")
            get_in_the_way();
        // Armed for both runs, so that a box where none belongs is caught too.
        const auto fix_box = click_answering(fix_tip, answer);
        QCOMPARE(original_time(paths[0]) + " " + original_time(paths[2]), after + " " + after);
        QVERIFY(journals().isEmpty()); // the run ended: its undo is in memory alone
        const QByteArray fixed = contents(middle);
        if (when == "undo")
            get_in_the_way();
        const auto undo_box = click_answering(undo_tip, answer);

        // One box, of the run that met the trouble.
        QVERIFY(!(when == "fix" ? undo_box : fix_box)->answered);
        const seen_box& seen = when == "fix" ? *fix_box : *undo_box;
        QTEST(seen.title + "|" + seen.buttons.join(','), "box");
        QVERIFY2(seen.text.contains(middle + fetched<QString>("reason")), qPrintable(seen.text));
        QVERIFY(!seen.text.contains(paths[0]) && !seen.text.contains(paths[2]));
        QVERIFY(contents(paths[0]) == first && contents(paths[2]) == last);
        if (what == "folder" || what == "link") {
            QVERIFY(!victim_before.isEmpty() && listings(QFileInfo(victim).path()) == victim_before);
            return;
        }
        QTEST(original_time(middle), "middle");
        if (what == "held") {
            QVERIFY(contents(middle) == (when == "fix" ? loaded : fixed));
            lock.reset(); // given back, the next undo takes it
            tip_button(undo_tip)->click();
            QVERIFY(contents(middle) == loaded);
        }
    }

    // 100 photos renumbered during the fix (p000 goes, p001 becomes p000...), a rename every
    // `interval` ms: after the fix and the undo each photo is there once, at its time or an hour on.
    void renumbering_during_a_fix_data()
    {
        test_support::columns<int, QString>({"interval", "answer"});
        QTest::newRow("a rename whenever events run, overwrite") << 0 << "Overwrite";
        QTest::newRow("a rename whenever events run, leave them") << 0 << "Leave them";
        QTest::newRow("a rename every 5 ms, overwrite") << 5 << "Overwrite";
        QTest::newRow("a rename every 20 ms, overwrite") << 20 << "Overwrite";
    }

    void renumbering_during_a_fix()
    {
        constexpr int count = 100;
        const QStringList paths = numbered_copies(make_tagged_photo(dir->path(), "p000.jpg"), "p000.jpg", count);
        QList<QPair<QString, exif_tag_map>> files;
        for (int i = 0; i < count; ++i)
            files.append({paths[i], {{"ExifIFD:DateTimeOriginal", own_time(i, 0)}, {"IFD0:ImageDescription", QString("photo %1").arg(i)}}});
        tag_files(files);
        open_with(paths);

        int next = 0;
        QTimer renumber;
        connect(&renumber, &QTimer::timeout, &renumber, [&] {
            QVERIFY(next == 0 ? QFile::remove(paths[0]) : QFile::rename(paths[next], paths[next - 1]));
            if (++next == count)
                renumber.stop();
        });
        // Every box is answered: the fix's list of refused photos, the undo's question and its list.
        const QStringList answers = {"Keep changes", fetched<QString>("answer"), "OK"};
        QTimer answering;
        connect(&answering, &QTimer::timeout, &answering, [&answers] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                for (QAbstractButton* button : box->buttons())
                    if (answers.contains(button->text().remove('&')))
                        return button->click();
        });
        answering.start(10);
        renumber.start(fetched<int>("interval"));
        tip_button(fix_tip)->click();
        renumber.stop();
        QVERIFY2(next > 1, "the renumbering never ran during the fix");
        each_photo_once(count - 1, "after the fix");
        tip_button(undo_tip)->click();
        each_photo_once(count - 1, "after the undo");
    }

    // Photos on a card: a tmpfs with `room` pages free beside the photo's own, or FAT or exFAT
    // through FUSE (no hard links, inodes that change with a name's case; opened in upper case).
    // A fixed photo keeps its name and gets every tag back; a refused one stays byte for byte.
    void a_card_data()
    {
        test_support::columns<QString, int, QString>({"mount", "room", "outcome"});
        QTest::newRow("room to grow in place") << "tmpfs" << 2 << "in place";
        QTest::newRow("room for the copy alone") << "tmpfs" << 1 << "replaced";
        QTest::newRow("a page short of the copy") << "tmpfs" << 0 << "refused";
        QTest::newRow("less room than the photo") << "tmpfs" << -1 << "refused";
        QTest::newRow("FAT") << "fusefat" << 0 << "fixed";
        QTest::newRow("exFAT") << "mount.exfat-fuse" << 0 << "fixed";
    }

    void a_card()
    {
        QFETCH(QString, mount);
        const auto [room, outcome] = fetched<int, QString>({"room", "outcome"});
        const QString card = dir->filePath("card"), image = dir->filePath("card.img");
        const QByteArray card_name = QFile::encodeName(card);
        QVERIFY(QDir(dir->path()).mkpath("card"));
        QString device = image;
        const auto detach = qScopeGuard([&] {
            // A busy card is detached all the same, so that no test leaves a mount behind.
            if (mount == "tmpfs")
                ::umount2(card_name.constData(), MNT_DETACH);
            else
                QProcess::execute("fusermount", {"-u", "-z", card});
            if (device != image)
                QProcess::execute("losetup", {"-d", device});
        });
        QStringList stored, opened;
        qint64 pages = 0;
        if (mount == "tmpfs") {
            const QString made = noisy_photo(dir->path());
            QVERIFY(!made.isEmpty());
            if (::mount("tmpfs", card_name.constData(), "tmpfs", 0, "size=2m") != 0)
                QSKIP(qPrintable(QString("no tmpfs could be mounted: %1").arg(qt_error_string(errno))));
            stored << card + "/photo.jpg";
            QVERIFY(QFile::copy(made, stored[0]));
            opened = stored;
            pages = (QFileInfo(stored[0]).size() + 4095) / 4096;
            const qint64 fill = QStorageInfo(card).bytesAvailable() - (pages + room) * 4096;
            QVERIFY(write_file(card + "/filler", QByteArray(int(fill), '\0')));
            QCOMPARE(QStorageInfo(card).bytesAvailable(), (pages + room) * 4096);
        } else {
            const QString format = mount == "fusefat" ? "mkfs.vfat" : "mkfs.exfat";
            if (QStandardPaths::findExecutable(format).isEmpty() || QStandardPaths::findExecutable(mount).isEmpty()
                || !QFileInfo::exists("/dev/fuse"))
                QSKIP(qPrintable(format + " or " + mount + " or /dev/fuse is missing"));
            QVERIFY(write_file(image, {}) && QFile::resize(image, 64 << 20));
            QVERIFY(!run(format, {image}).isNull());
            if (mount == "mount.exfat-fuse") { // it takes only a block device
                QProcess loop;
                loop.start("losetup", {"-f", "--show", image});
                if (!loop.waitForFinished() || loop.exitCode() != 0)
                    QSKIP("no loop device");
                device = QString::fromUtf8(loop.readAllStandardOutput()).trimmed();
            }
            if (QProcess::execute(mount, (mount == "fusefat" ? QStringList{"-o", "rw+"} : QStringList()) + QStringList{device, card}) != 0)
                QSKIP(qPrintable(mount + " could not mount the card"));
            for (int photo = 0; photo < 3; ++photo) {
                const QString name = QString("img_%1.jpg").arg(photo);
                QVERIFY(QFile::copy(make_tagged_photo(dir->path(), name, {{"ExifIFD:DateTimeOriginal", own_time(photo, 0)}}), card + "/" + name));
                stored << card + "/" + name;
                opened << card + "/" + name.toUpper();
            }
        }
        // FAT through FUSE sets a file's time to the moment of each write, whatever it is given.
        auto card_state = [&] {
            QStringList state = QDir(card).entryList(QDir::Files | QDir::Hidden);
            for (const QString& path : stored)
                state << listing(path).filter(
                    QRegularExpression(mount == "tmpfs" ? "" : "^(?!-System:FileModifyDate=)"));
            return state;
        };
        const QStringList names = QDir(card).entryList(QDir::Files | QDir::Hidden), loaded_state = card_state();
        const QByteArray bytes = contents(stored[0]);
        const quint64 loaded = file_identity::of(stored[0]).inode;

        open_with(opened, mount == "tmpfs" ? "2" : "");
        const auto shown = click_answering(fix_tip, "Keep changes");
        QCOMPARE(shown->answered, outcome == "refused");
        QCOMPARE(QDir(card).entryList(QDir::Files | QDir::Hidden), names);
        if (mount == "tmpfs") // made to validate cleanly
            QCOMPARE(run(TAVIMO_EXIFTOOL_SCRIPT, {"-validate", "-warning", "-a", "-s3", stored[0]}).trimmed(), QString("OK"));
        if (outcome == "refused") {
            QVERIFY(shown->text.contains(stored[0]));
            QVERIFY(contents(stored[0]) == bytes);
            return;
        }
        for (int photo = 0; photo < stored.size(); ++photo)
            QCOMPARE(original_time(stored[photo]), own_time(photo, 1));
        if (mount == "tmpfs") {
            // The premise of the row: the zone tags took the photo onto a page of its own.
            QVERIFY(QFileInfo(stored[0]).size() > pages * 4096);
            QCOMPARE(file_identity::of(stored[0]).inode == loaded, outcome == "in place");
        }
        tip_button(undo_tip)->click();
        QCOMPARE(card_state(), loaded_state);
    }

    // Sidecars, RAW+JPEG pairs and Live Photos: a photo's files move together and come back together.
    void which_files_belong_together_data()
    {
        // names apart by spaces
        test_support::columns<QString, QString, QString, QString>({"folder", "file", "sidecars", "companions"});
        QTest::newRow("both sidecar forms") << "a.dng A.XMP a.dng.xmp a.dng.xmp.bak" << "a.dng" << "A.XMP a.dng.xmp" << "";
        // Raw developers keep "base.xmp" beside the RAW; the JPEG taken with it has its own only.
        QTest::newRow("RAW+JPEG, the JPEG") << "b.CR3 b.jpg b.xmp b.jpg.xmp" << "b.jpg" << "b.jpg.xmp" << "b.CR3";
        QTest::newRow("RAW+JPEG, the RAW") << "b.CR3 b.jpg b.xmp" << "b.CR3" << "b.xmp" << "b.jpg";
        QTest::newRow("Live Photo") << "IMG_7.HEIC IMG_7.MOV IMG_7.xmp" << "IMG_7.MOV" << "" << "IMG_7.HEIC";
        QTest::newRow("Live Photo, the still") << "IMG_7.HEIC IMG_7.MOV IMG_7.xmp" << "IMG_7.HEIC" << "IMG_7.xmp" << "IMG_7.MOV";
        // A RAW and a movie of one name are no pair, nor are files that only begin alike.
        QTest::newRow("no family") << "c.nef c.mov c2.jpg c.nef.txt" << "c.nef" << "" << "";
    }

    void which_files_belong_together()
    {
        const auto [file, sidecars] = fetched<QString, QString>({"file", "sidecars"});
        for (const QString& path : in_dir(fetched<QString>("folder")))
            QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        photo_family family;
        QCOMPARE(family.sidecars_of(dir->filePath(file)), in_dir(sidecars));
        QCOMPARE(family.companions_of(dir->filePath(file)), in_dir(fetched<QString>("companions")));
        for (const QString& sidecar : in_dir(sidecars))
            QCOMPARE(family.image_of(sidecar), dir->filePath(file));
    }

    void one_row_per_image_data()
    {
        // loaded: names apart by spaces; "/" is the folder, dropped
        test_support::columns<QString, QStringList>({"loaded", "rows"});
        QTest::newRow("the folder dropped") << "/" << QStringList{"DSC_2002.NEF  +1 XMP", "DSC_3003.JPG", "DSC_3003.NEF",
                                                                 "dsc_4004.nef  +1 XMP", "IMG_1001.dng  +2 XMP", "notes.xmp"};
        QTest::newRow("a selection of an image and its sidecars") << "IMG_1001.xmp IMG_1001.dng IMG_1001.dng.xmp"
                                                                  << QStringList{"IMG_1001.dng  +2 XMP"};
        QTest::newRow("a sidecar alone stands for its image") << "DSC_2002.NEF.xmp" << QStringList{"DSC_2002.NEF  +1 XMP"};
        QTest::newRow("an XMP file of no image") << "notes.xmp" << QStringList{"notes.xmp"};
    }

    void one_row_per_image()
    {
        QFETCH(QString, loaded);
        QCOMPARE(make_files(family_folder).size(), family_folder.size());
        window = open_main_window();
        if (loaded == "/")
            QVERIFY(drop_urls(window, {QUrl::fromLocalFile(dir->path())}));
        else
            window->load_files(in_dir(loaded));
        QStringList shown = column_texts();
        shown.sort(Qt::CaseInsensitive);
        QTEST(shown, "rows");
        const int row = column_texts().indexOf("IMG_1001.dng  +2 XMP");
        const QString tip = table()->model()->index(row, 0).data(Qt::ToolTipRole).toString();
        if (row >= 0)
            QVERIFY2(tip.contains("IMG_1001.xmp, IMG_1001.dng.xmp"), qPrintable(tip));
    }

    // A fix of an hour with a zone moves every date of the RAWs, their sidecars and the JPEG the
    // question brings in by that hour, zoned where a zone goes; the undo gives every file back.
    void a_family_moves_as_one_and_comes_back()
    {
        QCOMPARE(make_files(family_folder).size(), family_folder.size());
        const QStringList files = {"IMG_1001.dng", "IMG_1001.xmp", "IMG_1001.dng.xmp", "DSC_2002.NEF", "DSC_2002.NEF.xmp",
                                   "DSC_3003.NEF", "DSC_3003.JPG"};
        const QStringList before = listing_of(files);
        QMap<QString, exif_tag_map> tags_before;
        for (const QString& name : files)
            tags_before[name] = read_back(dir->filePath(name));
        open_with(in_dir("IMG_1001.dng DSC_2002.NEF DSC_3003.NEF"), "2");
        const auto asked = click_answering(fix_tip, "Include them");
        QVERIFY2(asked->text.startsWith("1 file taken together with the loaded photos was left out")
                     && asked->text.contains("DSC_3003.JPG"), qPrintable(asked->text));
        QCOMPARE(asked->buttons, QStringList({"Include them", "Only the loaded files"}));
        QCOMPARE(column_texts().size(), 4);
        QCOMPARE(window->findChild<QLabel*>("run_note")->text().section(' ', 0, 5), "4 photos and 3 sidecars changed.");

        for (const QString& name : files) {
            const exif_tag_map after = read_back(dir->filePath(name));
            int moved = 0;
            for (const auto& [tag, text] : tags_before[name]) {
                const auto was = recording_tags::parse(text);
                if (tag.startsWith("System:") || !was || !was->has_time)
                    continue;
                const auto now = recording_tags::parse(after.at(tag));
                QVERIFY2(now, qPrintable(name + " " + tag));
                const QDateTime wall_before(was->date, was->time, Qt::UTC), wall_after(now->date, now->time, Qt::UTC);
                QVERIFY2(wall_before.secsTo(wall_after) == 3600, qPrintable(name + " " + tag + " " + after.at(tag)));
                // The sidecars hold no EXIF: their dates carry the zone.
                QCOMPARE(now->has_zone ? now->zone_seconds : -1, name.endsWith(".xmp") ? 7200 : -1);
                ++moved;
            }
            QVERIFY2(moved >= 1, qPrintable(name));
        }
        // The RAWs and the JPEG hold the zone in EXIF; the toolkit a sidecar names stays its own.
        const QStringList fixed = listing_of(files);
        const QString zone = "-ExifIFD:OffsetTimeOriginal=+02:00";
        QCOMPARE(fixed.filter("-ExifIFD:OffsetTimeOriginal="), QStringList({zone, zone, zone, zone}));
        QCOMPARE(fixed.filter("-XMP-x:XMPToolkit="), before.filter("-XMP-x:XMPToolkit="));

        tip_button(undo_tip)->click();
        QCOMPARE(listing_of(files), before);
    }

    void a_sidecar_data()
    {
        // photo: its tags beyond its time; later: what becomes of the sidecar after the load;
        // answer: empty when no box comes
        test_support::columns<QString, QString, QString, QString>({"photo", "sidecar", "later", "answer"});
        const QString five_minutes_on = "XMP-exif:DateTimeOriginal=2017:06:21 18:35:05";
        QTest::newRow("five minutes apart, cancelled") << "" << five_minutes_on << "" << "Cancel";
        QTest::newRow("five minutes apart, continued") << "" << five_minutes_on << "" << "Continue";
        QTest::newRow("a second apart") << "" << "XMP-exif:DateTimeOriginal=2017:06:21 18:30:06" << "" << "";
        // The same moment, told in UTC by the sidecar and on the local clock by the photo.
        QTest::newRow("one moment in two zones") << ";ExifIFD:OffsetTimeOriginal=+02:00"
                                                 << "XMP-exif:DateTimeOriginal=2017:06:21 16:30:05Z" << "" << "";
        QTest::newRow("a sidecar without a date") << "" << "XMP-dc:Title=Harbour" << "" << "";
        QTest::newRow("replaced by a folder after the load") << "" << "XMP-exif:DateTimeOriginal=#" << "folder"
                                                             << "Keep changes";
        QTest::newRow("edited after the load") << "" << "XMP-exif:DateTimeOriginal=#" << "edited" << "Keep changes";
    }

    // A sidecar that states another time than its photo is asked about. One no longer as loaded fails
    // its row by name: found before the writes it keeps the photo unwritten; found by its write's
    // condition the photo is written and the row stays marked.
    void a_sidecar()
    {
        const auto [photo, sidecar, later, answer] =
            fetched<QString, QString, QString, QString>({"photo", "sidecar", "later", "answer"});
        const QString nef = "a.nef|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#";
        const QStringList paths = make_files({nef + photo, "a.nef.xmp|" + sidecar});
        QCOMPARE(paths.size(), 2);
        const QStringList before = listing_of({"a.nef", "a.nef.xmp"}), photo_before = listing(paths[0]);
        open_with({paths[0]});
        if (later == "folder")
            QVERIFY(QFile::remove(paths[1]) && QDir().mkdir(paths[1]));
        else if (later == "edited") // as an editor that keeps the file does: the same file, other values
            QVERIFY(edit_in_place(paths[1], false, "XMP-exif:DateTimeOriginal"));
        const auto asked = click_answering(fix_tip, answer.isEmpty() ? "close" : answer);
        if (!later.isEmpty()) {
            QVERIFY2(asked->text.contains(paths[1] + " (changed since it was loaded)"), qPrintable(asked->text));
            QCOMPARE(listing(paths[0]) == photo_before, later == "folder");
            if (later == "folder")
                QVERIFY(QFileInfo(paths[1]).isDir());
            else
                QCOMPARE(read_back(paths[1]).at("XMP-exif:DateTimeOriginal"), others);
            const QString tip = table()->model()->index(0, 0).data(Qt::ToolTipRole).toString();
            QVERIFY2(tip.contains("its sidecar a.nef.xmp"), qPrintable(tip));
            return;
        }
        const QString question = "The sidecar of 1 photo states another recording time than the photo. Both will be "
                                 "moved by the same offset.|Continue,Cancel";
        QCOMPARE(asked->text + "|" + asked->buttons.join(','), answer.isEmpty() ? "|" : question);
        if (answer == "Cancel")
            QCOMPARE(listing_of({"a.nef", "a.nef.xmp"}), before);
        else if (answer == "Continue")
            QCOMPARE(read_back(paths[1]).at("XMP-exif:DateTimeOriginal"), "2017:06:21 19:35:05");
        else
            QCOMPARE(original_time(paths[0]), after);
    }

    // A run killed after its writes: the next start's undo gives the sidecars back too.
    void a_killed_run_is_undone_with_its_sidecars()
    {
        QCOMPARE(make_files(family_folder.mid(0, 5)).size(), 5);
        const QStringList names = QDir(dir->path()).entryList(QDir::Files), before = listing_of(names);

        QVERIFY(crash_a_fix_run(dir->path()));
        QCOMPARE(read_back(dir->filePath("IMG_1001.dng.xmp")).at("XMP-exif:DateTimeOriginal"), "2017:06:21 19:30:05");

        const auto offered = answer_next_box("Undo");
        window = open_main_window();
        QTRY_VERIFY(offered->answered);
        QVERIFY2(offered->text.contains("Photos that run had changed: 5"), qPrintable(offered->text));
        QCOMPARE(listing_of(names), before);
    }

private:
    const installed_language english{"en"}; // for the singular forms the user reads
    // The paths of `names`, apart by spaces, in the test's folder.
    QStringList in_dir(const QString& names) const
    {
        QStringList paths;
        for (const QString& name : names.split(' ', Qt::SkipEmptyParts))
            paths << dir->filePath(name);
        return paths;
    }
    static QString own_time(int photo, int hours)
    {
        return QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5)).addDays(photo).addSecs(3600 * hours).toString("yyyy:MM:dd hh:mm:ss");
    }
    // Photos 1 to `last` each once, at their own time or an hour on, and no copy ExifTool left.
    void each_photo_once(int last, const QString& when)
    {
        QSet<int> seen;
        QStringList wrong;
        const QString listed = run(TAVIMO_EXIFTOOL_SCRIPT, {"-T", "-FileName", "-IFD0:ImageDescription", "-ExifIFD:DateTimeOriginal", dir->path()});
        for (const QString& line : listed.split('\n', Qt::SkipEmptyParts)) {
            const int photo = line.section('\t', 1, 1).section(' ', 1).toInt();
            const QString time = line.section('\t', 2);
            if (seen.contains(photo) || (time != own_time(photo, 0) && time != own_time(photo, 1)))
                wrong << line;
            seen.insert(photo);
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(when + ", photo and time of each file that is wrong:\n" + wrong.join('\n')));
        QCOMPARE(seen.size(), last);
        QVERIFY(!seen.contains(0));
        const QStringList left = QDir(dir->path()).entryList({"*_exiftool_tmp"}, QDir::Files | QDir::Hidden);
        QVERIFY2(left.isEmpty(), qPrintable(when + ": " + left.join(' ')));
    }
};

TAVIMO_WINDOW_TEST_MAIN(tst_fix_safety)

#include "tst_fix_safety.moc"
