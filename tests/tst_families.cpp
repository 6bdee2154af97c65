#include "photo_family.h"
#include "recording_tags.h"

#include "processes.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QLabel>
#include <QtTest>

#include <ctime>

using namespace test_support;

namespace {

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

// Sidecars, RAW+JPEG pairs and Live Photos: a photo's files move together and come back together.
class tst_families : public window_test {
    Q_OBJECT

private slots:
    void which_files_belong_together_data()
    {
        QTest::addColumn<QStringList>("folder");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("sidecars");
        QTest::addColumn<QStringList>("companions");
        QTest::newRow("both sidecar forms") << QStringList{"a.dng", "A.XMP", "a.dng.xmp", "a.dng.xmp.bak"} << "a.dng"
                                            << QStringList{"A.XMP", "a.dng.xmp"} << QStringList{};
        // Raw developers keep "base.xmp" beside the RAW; the JPEG taken with it has its own only.
        QTest::newRow("RAW+JPEG, the JPEG") << QStringList{"b.CR3", "b.jpg", "b.xmp", "b.jpg.xmp"} << "b.jpg"
                                            << QStringList{"b.jpg.xmp"} << QStringList{"b.CR3"};
        QTest::newRow("RAW+JPEG, the RAW") << QStringList{"b.CR3", "b.jpg", "b.xmp"} << "b.CR3" << QStringList{"b.xmp"}
                                           << QStringList{"b.jpg"};
        QTest::newRow("Live Photo") << QStringList{"IMG_7.HEIC", "IMG_7.MOV", "IMG_7.xmp"} << "IMG_7.MOV" << QStringList{}
                                    << QStringList{"IMG_7.HEIC"};
        QTest::newRow("Live Photo, the still") << QStringList{"IMG_7.HEIC", "IMG_7.MOV", "IMG_7.xmp"} << "IMG_7.HEIC"
                                               << QStringList{"IMG_7.xmp"} << QStringList{"IMG_7.MOV"};
        // A RAW and a movie of one name are no pair, nor are files that only begin alike.
        QTest::newRow("no family") << QStringList{"c.nef", "c.mov", "c2.jpg", "c.nef.txt"} << "c.nef" << QStringList{}
                                   << QStringList{};
    }

    void which_files_belong_together()
    {
        QFETCH(QStringList, folder);
        QFETCH(QString, file);
        QFETCH(QStringList, sidecars);
        QFETCH(QStringList, companions);
        for (const QString& name : folder) {
            QFile made(dir->filePath(name));
            QVERIFY(made.open(QIODevice::WriteOnly));
        }
        auto in_dir = [this](QStringList names) {
            for (QString& name : names)
                name = dir->filePath(name);
            return names;
        };
        photo_family family;
        QCOMPARE(family.sidecars_of(dir->filePath(file)), in_dir(sidecars));
        QCOMPARE(family.companions_of(dir->filePath(file)), in_dir(companions));
        for (const QString& sidecar : in_dir(sidecars))
            QCOMPARE(family.image_of(sidecar), dir->filePath(file));
    }

    void one_row_per_image_data()
    {
        QTest::addColumn<QStringList>("loaded"); // names; "/" is the folder, dropped
        QTest::addColumn<QStringList>("rows");
        const QStringList rows_of_all = {"DSC_2002.NEF  +1 XMP", "DSC_3003.JPG", "DSC_3003.NEF", "dsc_4004.nef  +1 XMP",
                                         "IMG_1001.dng  +2 XMP", "notes.xmp"};
        QTest::newRow("the folder dropped") << QStringList{"/"} << rows_of_all;
        QTest::newRow("a selection of an image and its sidecars")
            << QStringList{"IMG_1001.xmp", "IMG_1001.dng", "IMG_1001.dng.xmp"} << QStringList{"IMG_1001.dng  +2 XMP"};
        QTest::newRow("a sidecar alone stands for its image") << QStringList{"DSC_2002.NEF.xmp"}
                                                              << QStringList{"DSC_2002.NEF  +1 XMP"};
        QTest::newRow("an XMP file of no image") << QStringList{"notes.xmp"} << QStringList{"notes.xmp"};
    }

    void one_row_per_image()
    {
        QFETCH(QStringList, loaded);
        make_folder(family_folder);
        window = open_main_window();
        if (loaded == QStringList{"/"}) {
            QVERIFY(drop_urls(window, {QUrl::fromLocalFile(dir->path())}));
        } else {
            QStringList paths;
            for (const QString& name : loaded)
                paths << dir->filePath(name);
            window->load_files(paths);
        }
        QTEST(rows(), "rows");
        const QString tip = table()->model()->index(rows().indexOf("IMG_1001.dng  +2 XMP"), 0).data(Qt::ToolTipRole).toString();
        if (rows().contains("IMG_1001.dng  +2 XMP"))
            QVERIFY2(tip.contains("IMG_1001.xmp, IMG_1001.dng.xmp"), qPrintable(tip));
    }

    // A fix of an hour with a zone moves every date of the RAWs, their sidecars and the JPEG the
    // question brings in by that hour, zoned where a zone goes; the undo gives every file back.
    void a_family_moves_as_one_and_comes_back()
    {
        make_folder(family_folder);
        const QStringList files = {"IMG_1001.dng", "IMG_1001.xmp", "IMG_1001.dng.xmp", "DSC_2002.NEF", "DSC_2002.NEF.xmp",
                                   "DSC_3003.NEF", "DSC_3003.JPG"};
        QMap<QString, QStringList> before;
        QMap<QString, exif_tag_map> tags_before;
        for (const QString& name : files) {
            before[name] = listing(dir->filePath(name));
            tags_before[name] = read_back(dir->filePath(name));
        }
        open_with({dir->filePath("IMG_1001.dng"), dir->filePath("DSC_2002.NEF"), dir->filePath("DSC_3003.NEF")}, "2");
        const auto asked = click_answering(fix_tip, "Include them");
        QVERIFY2(asked->text.startsWith("1 file taken together with the loaded photos was left out"), qPrintable(asked->text));
        QVERIFY(asked->text.contains("DSC_3003.JPG"));
        QCOMPARE(asked->buttons, QStringList({"Include them", "Only the loaded files"}));
        QCOMPARE(rows().size(), 4);
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
                // The sidecars hold no EXIF: their dates carry the zone; the RAWs and the JPEG keep it in EXIF.
                QCOMPARE(now->has_zone, name.endsWith(".xmp"));
                if (now->has_zone)
                    QCOMPARE(now->zone_seconds, 7200);
                ++moved;
            }
            QVERIFY2(moved >= 1, qPrintable(name));
            if (!name.endsWith(".xmp"))
                QCOMPARE(after.at("ExifIFD:OffsetTimeOriginal"), "+02:00");
            // The toolkit the sidecar names stays its own.
            QCOMPARE(after.count("XMP-x:XMPToolkit") ? after.at("XMP-x:XMPToolkit") : QString(),
                     tags_before[name].count("XMP-x:XMPToolkit") ? tags_before[name].at("XMP-x:XMPToolkit") : QString());
        }

        tip_button(undo_tip)->click();
        for (const QString& name : files)
            QCOMPARE(listing(dir->filePath(name)), before[name]);
    }

    void a_disagreeing_sidecar_is_asked_about_data()
    {
        QTest::addColumn<QString>("photo");
        QTest::addColumn<QString>("sidecar");
        QTest::addColumn<QString>("answer"); // empty: no question
        const QString nef = "a.nef|IFD0:Make=NIKON CORPORATION;ExifIFD:DateTimeOriginal=#";
        QTest::newRow("five minutes apart, cancelled") << nef << "a.nef.xmp|XMP-exif:DateTimeOriginal=2017:06:21 18:35:05"
                                                       << "Cancel";
        QTest::newRow("five minutes apart, continued") << nef << "a.nef.xmp|XMP-exif:DateTimeOriginal=2017:06:21 18:35:05"
                                                       << "Continue";
        QTest::newRow("a second apart") << nef << "a.nef.xmp|XMP-exif:DateTimeOriginal=2017:06:21 18:30:06" << "";
        // The same moment, told in UTC by the sidecar and on the local clock by the photo.
        QTest::newRow("one moment in two zones") << nef + ";ExifIFD:OffsetTimeOriginal=+02:00"
                                                 << "a.nef.xmp|XMP-exif:DateTimeOriginal=2017:06:21 16:30:05Z" << "";
        QTest::newRow("a sidecar without a date") << nef << "a.nef.xmp|XMP-dc:Title=Harbour" << "";
    }

    void a_disagreeing_sidecar_is_asked_about()
    {
        QFETCH(QString, photo);
        QFETCH(QString, sidecar);
        QFETCH(QString, answer);
        make_folder({photo, sidecar});
        const QString xmp = dir->filePath("a.nef.xmp");
        const QStringList before = listing(xmp) + listing(dir->filePath("a.nef"));
        open_with({dir->filePath("a.nef")});
        const auto asked = click_answering(fix_tip, answer.isEmpty() ? "close" : answer);
        if (answer.isEmpty()) {
            QVERIFY(!asked->answered);
            QCOMPARE(read_back(dir->filePath("a.nef")).at("ExifIFD:DateTimeOriginal"), "2017:06:21 19:30:05");
            return;
        }
        QVERIFY(asked->answered);
        QCOMPARE(asked->text, "The sidecar of 1 photo states another recording time than the photo. Both will be moved "
                              "by the same offset.");
        QCOMPARE(asked->buttons, QStringList({"Continue", "Cancel"}));
        if (answer == "Cancel")
            QCOMPARE(listing(xmp) + listing(dir->filePath("a.nef")), before);
        else
            QCOMPARE(read_back(xmp).at("XMP-exif:DateTimeOriginal"), "2017:06:21 19:35:05");
    }

    void a_sidecar_that_cant_be_written_fails_its_row_data()
    {
        QTest::addColumn<bool>("folder"); // replaced by a folder; else edited by another program
        QTest::newRow("replaced by a folder") << true;
        QTest::newRow("edited after the load") << false;
    }

    // A sidecar no longer as loaded fails its row by name. Found before the writes it keeps the photo
    // unwritten; found by its write's condition the photo is written and the row stays marked.
    void a_sidecar_that_cant_be_written_fails_its_row()
    {
        QFETCH(bool, folder);
        make_folder({family_folder[0], family_folder[2]});
        const QString photo = dir->filePath("IMG_1001.dng"), xmp = dir->filePath("IMG_1001.dng.xmp");
        const QStringList before = listing(photo);
        open_with({photo});
        if (folder)
            QVERIFY(QFile::remove(xmp) && QDir().mkdir(xmp));
        else
            // In place, as an editor that keeps the file does: the same file, other values.
            run(TAVIMO_EXIFTOOL_SCRIPT,
                {"-overwrite_original_in_place", "-XMP-exif:DateTimeOriginal=2017:06:21 18:31:00", xmp});
        const auto failed = click_answering(fix_tip, "Keep changes");
        QVERIFY2(failed->text.contains(xmp + " (changed since it was loaded)"), qPrintable(failed->text));
        QCOMPARE(listing(photo) == before, folder);
        if (folder)
            QVERIFY(QFileInfo(xmp).isDir());
        else
            QCOMPARE(read_back(xmp).at("XMP-exif:DateTimeOriginal"), "2017:06:21 18:31:00");
        const QString tip = table()->model()->index(0, 0).data(Qt::ToolTipRole).toString();
        QVERIFY2(tip.contains("its sidecar IMG_1001.dng.xmp"), qPrintable(tip));
    }

    // A run killed after its writes: the next start's undo gives the sidecars back too.
    void a_killed_run_is_undone_with_its_sidecars()
    {
        make_folder(family_folder.mid(0, 5));
        QMap<QString, QStringList> before;
        for (const QString& name : QDir(dir->path()).entryList(QDir::Files))
            before[name] = listing(dir->filePath(name));

        QVERIFY(crash_a_fix_run(dir->path()));
        QCOMPARE(read_back(dir->filePath("IMG_1001.dng.xmp")).at("XMP-exif:DateTimeOriginal"), "2017:06:21 19:30:05");

        const auto offered = answer_next_box("Undo");
        window = open_main_window();
        QTRY_VERIFY(offered->answered);
        QVERIFY2(offered->text.contains("Photos that run had changed: 5"), qPrintable(offered->text));
        for (auto file = before.cbegin(); file != before.cend(); ++file)
            QCOMPARE(listing(dir->filePath(file.key())), file.value());
    }

private:
    void make_folder(const QStringList& specs)
    {
        for (const QString& spec : specs)
            QVERIFY2(!make_file(dir->path(), spec).isEmpty(), qPrintable(spec));
    }
    QStringList rows() const
    {
        QStringList names;
        for (int row = 0; row < table()->model()->rowCount(); ++row)
            names << table()->model()->index(row, 0).data().toString();
        names.sort(Qt::CaseInsensitive);
        return names;
    }
};

int main(int argc, char** argv)
{
    return test_support::main_with_crashing_child(argc, argv, [&] {
        // The English catalogue, for the singular forms the user reads.
        const installed_language english("en");
        tst_families test;
        return QTest::qExec(&test, argc, argv);
    });
}

#include "tst_families.moc"
