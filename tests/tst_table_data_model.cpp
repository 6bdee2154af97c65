#include "processes.h"
#include "window_test.h"

#include <recording_tags.h>
#include <table_data_model.h>

#include <ondo/misc.h>
#include <ondo/packed_tags.h>

#include <malloc.h>
#include <unistd.h>

using offset = QVector<int>; // year, month, day, hour, minute, second
using namespace test_support;

namespace {

// Puts a file into the model as if ExifTool had returned `tags` for it.
void load_by_hand(table_data_model& model, const QString& path, const exif_tag_map& tags)
{
    exif_cache::instance()->load(path, tags);
    model.files.append(path);
}

// Texts as a comparison shows them, a null one apart from an empty one.
QStringList marked(const QStringList& texts)
{
    QStringList marked_texts;
    for (const QString& text : texts)
        marked_texts << (text.isNull() ? "<null>" : "'" + text + "'");
    return marked_texts;
}

// Children the bridge runs here, and the files of one read (up to four joined, exiftool_worker.h).
constexpr int exiftool_children = 2;
constexpr int files_per_read = 4;

QStringList linked_photos(const QString& dir, int count)
{
    const QString photo = make_file(
        dir, "camera.jpg|ExifIFD:DateTimeOriginal=2019:04:02 10:11:12;IFD0:Make=Velmora;IFD0:Model=Bench 1");
    return numbered_copies(photo, "IMG_00000.jpg", count, true);
}

qint64 resident_bytes()
{
    // Freed blocks that malloc still holds would hide what a load keeps.
    malloc_trim(0);
    QFile statm("/proc/self/statm");
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    return statm.readAll().split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

// How often a file of `folder` was named in the commands sent to ExifTool.
int files_sent(const log_capture& log, const QString& folder)
{
    return log.lines().filter("Writing '").join('\n').count(folder);
}

} // namespace

// What the table keeps of each file and shows, how it sorts, and what a library's worth of files costs it: packed
// records must give back every text exactly, the sort keys must order as the comparison they stand for.
class tst_table_data_model : public window_test {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        ondo::exiftool::set_pool_size(exiftool_children);
        qRegisterMetaType<QList<QPersistentModelIndex>>();
        qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>();
    }

    // Tags loaded by hand or, given a file, by ExifTool. "@" is 2017-06-21 18:30:05; an IPTC zone of "?" is the
    // one ExifTool reports for an IPTC time stored without one.
    void shown_times_data()
    {
        test_support::columns<QString, QString, QString, offset, QString, QString, QString>(
            {"file", "tags", "zone", "change", "recording", "new_time", "iptc_zone"});
        auto row = [](const char* name, const char* file, const QString& tags, const char* zone, const offset& change,
                       const char* recording, const char* new_time, const char* iptc_zone = "") {
            QTest::newRow(name) << QString(file) << tags << QString(zone) << change << QString(recording) << QString(new_time)
                                << QString(iptc_zone);
        };
        const QString dto = "ExifIFD:DateTimeOriginal=2017:06:21 18:30:05;", old = "IFD0:DateTimeOriginal=2001:01:01 01:01:01";
        const QString month_end = "ExifIFD:DateTimeOriginal=2017:01:31 10:00:00", spring = "ExifIFD:DateTimeOriginal=2017:03:26 0";
        row("31 January plus a month and a day", "", month_end, "", {0, 1, 1, 0, 0, 0}, "2017-01-31 10:00:00", "2017-03-01 10:00:00");
        row("an hour across the spring change", "", spring + "1:30:00", "", {0, 0, 0, 1, 0, 0}, "2017-03-26 01:30:00", "2017-03-26 03:30:00");
        row("a day keeps the wall clock", "", "ExifIFD:DateTimeOriginal=2017:03:25 12:00:00", "", {0, 0, 1, 0, 0, 0},
            "2017-03-25 12:00:00", "2017-03-26 12:00:00");
        row("skipped hour is invalid", "", spring + "2:30:00", "", {0, 0, 0, 1, 0, 0}, "-", "-");
        row("entered zero is a zone", "", dto, "0", {}, "@", "@  UTC+00:00");
        row("zone behind the recording text is dropped", "", "ExifIFD:DateTimeOriginal=2017:06:21 18:30:05+02:00", "", {}, "@", "@");
        row("+05:30, 1.5 entered is the new zone", "", dto + "IPTC:TimeCreated=18:30:05+05:30", "1.5", {}, "@  UTC+05:30", "@  UTC+01:30");
        row("invalid time shows no zone", "", "ExifIFD:DateTimeOriginal=0000:00:00 00:00:00;IPTC:TimeCreated=18:30:05+02:00", "1",
            {}, "-", "-");
        row("DateTimeOriginal before the other dates", "", "ExifIFD:CreateDate=2010:10:10 10:10:10;IPTC:DateCreated=2011:11:11;"
            "XMP-photoshop:DateCreated=2012:12:12 12:12:12;IFD0:DateTimeOriginal=2017:06:21 18:30:05", "", {}, "@", "@");
        row("zeros give way, zone of a date", "", "ExifIFD:DateTimeOriginal=0000:00:00 00:00:00;"
            "XMP-xmp:CreateDate=2017:06:21 18:30:05.25-03:30", "", {}, "@  UTC-03:30", "@  UTC-03:30");
        row("zone from EXIF, 1 entered", "", dto + "ExifIFD:OffsetTimeOriginal=+02:00", "1", {0, 0, 0, 1}, "@  UTC+02:00",
            "2017-06-21 19:30:05  UTC+01:00");
        row("ExifIFD and IFD0: the ExifIFD one counts", "both.jpg", dto + old, "", {}, "@", "@");
        row("only IFD0", "ifd0.jpg", old, "", {}, "2001-01-01 01:01:01", "2001-01-01 01:01:01");
        row("IPTC time with zone", "iptc.jpg", dto + "IPTC:TimeCreated=18:30:05-05:00", "", {}, "@  UTC-05:00", "@  UTC-05:00", "-05:00");
        row("IPTC time stored without zone", "iptc_plain.jpg", dto + "IPTC:TimeCreated#=183005", "", {}, "@  UTC", "@  UTC", "?");
        row("date without time", "date.jpg", "ExifIFD:DateTimeOriginal#=2017:06:21", "", {}, "2017-06-21", "2017-06-21");
        row("a date alone moves by days only, with no zone", "", "IPTC:DateCreated=2004:02:26", "2", {0, 0, 1, 1, 0, 0},
            "2004-02-26", "2004-02-27");
        // Calendar steps keep the clock, the rest goes through Berlin's daylight saving rules.
        row("an hour out of the autumn hour", "", "ExifIFD:DateTimeOriginal=2017:10:29 01:30:00", "", {0, 0, 0, 1},
            "2017-10-29 01:30:00", "2017-10-29 02:30:00");
        row("a day across the autumn change", "", "ExifIFD:DateTimeOriginal=2017:10:28 12:00:00", "", {0, 0, 1},
            "2017-10-28 12:00:00", "2017-10-29 12:00:00");
        row("a year back from a leap day", "", "ExifIFD:DateTimeOriginal=2020:02:29 10:00:00", "", {-1},
            "2020-02-29 10:00:00", "2019-02-28 10:00:00");
        row("nothing, in the autumn hour", "", "ExifIFD:DateTimeOriginal=2017:10:29 02:30:00", "", {},
            "2017-10-29 02:30:00", "2017-10-29 02:30:00");
        row("back an hour, on half an hour", "", "ExifIFD:DateTimeOriginal=2018:01:01 00:10:00", "",
            {0, 0, 0, -1, 30, 5}, "2018-01-01 00:10:00", "2017-12-31 23:40:05");
        row("hours wrap like a 32-bit product", "", dto, "", {0, 0, 0, 600000}, "@", "1949-10-26 11:01:49");
        // A movie's UTC date, read on the file's zone or on the machine's for that date.
        row("movie in winter, Berlin", "", "QuickTime:CreateDate=2005:01:11 14:03:54", "", {}, "2005-01-11 15:03:54",
            "2005-01-11 15:03:54");
        row("movie, zone from EXIF", "", "QuickTime:CreateDate=2005:08:11 14:03:54;ExifIFD:OffsetTimeOriginal=-05:00",
            "", {}, "2005-08-11 09:03:54  UTC-05:00", "2005-08-11 09:03:54  UTC-05:00");
        row("movie zeros are no date", "", "QuickTime:CreateDate=0000:00:00 00:00:00", "", {}, "-", "-");
        row("a line break is no date", "", "QuickTime:CreateDate=2005:08:11 14:03:54\n", "", {}, "-", "-");
    }

    void shown_times()
    {
        auto [file, tags, zone, change, recording, new_time, iptc_zone] =
            fetched<QString, QString, QString, offset, QString, QString, QString>(
                {"file", "tags", "zone", "change", "recording", "new_time", "iptc_zone"});
        table_data_model model;
        model.datetime_format_changed("yyyy-MM-dd HH:mm:ss");
        QAbstractItemModelTester tester(&model);
        const QString path = file.isEmpty() ? "/photos/a.jpg" : make_tagged_photo(dir->path(), file, tag_map(tags));
        if (file.isEmpty())
            load_by_hand(model, path, tag_map(tags));
        else
            model.add_file(path, true);
        if (iptc_zone == "?") {
            iptc_zone = read_back(path).at("IPTC:TimeCreated").right(6);
            recording += iptc_zone;
            new_time += iptc_zone;
        }
        QSignalSpy layout_changed(&model, &QAbstractItemModel::layoutChanged);
        model.datetime_offset_changed(change.value(0), change.value(1), change.value(2), change.value(3), change.value(4),
            change.value(5), !zone.isEmpty(), zone.toDouble());

        QCOMPARE(layout_changed.count(), 1);
        QCOMPARE(model.data(model.index(0, 1)).toString(), recording.replace("@", "2017-06-21 18:30:05"));
        QCOMPARE(model.data(model.index(0, 2)).toString(), new_time.replace("@", "2017-06-21 18:30:05"));
        QCOMPARE(model.data(model.index(0, 2), Qt::UserRole).toDateTime().isValid(), new_time != "-");
        if (file.isEmpty())
            return;
        const exif_tag_map record = exif_cache::instance()->of(path).record.unpacked();
        QCOMPARE(record.count("iptc_timezone") ? record.at("iptc_timezone") : QString(), iptc_zone);
        // Only one DateTimeOriginal of the two is a time tag: IFD0's goes last when it is the only one.
        const QStringList time = time_tags(record);
        QCOMPARE(time.size(), 9);
        QCOMPARE(time.last(), QString(tags.startsWith("IFD0:") ? "IFD0:DateTimeOriginal" : "System:FileCreateDate"));
    }

    void sort_data()
    {
        test_support::columns<int, QString>({"column", "expected"});
        QTest::newRow("name, equal names by folder") << 0 << "2/a 1/b 2/b 1/c";
        QTest::newRow("time descending across seasons") << 1 << "1/b 2/b 2/a 1/c";
        QTest::newRow("camera, then folder and name") << 3 << "1/b 1/c 2/a 2/b";
        QTest::newRow("unsorted: resort refused") << -1 << "2/b 1/c 1/b 2/a";
    }

    void sort()
    {
        const auto [column, expected] = fetched<int, QString>({"column", "expected"});
        const Qt::SortOrder order = column == 1 ? Qt::DescendingOrder : Qt::AscendingOrder;
        table_data_model model;
        // Around the spring change: 01:45 CET and 03:10 CEST are 25 minutes apart.
        load_by_hand(model, "/p/2/b.jpg", {{"ExifIFD:DateTimeOriginal", "2017:03:26 03:10:00"}});
        load_by_hand(model, "/p/1/c.jpg", {{"ExifIFD:DateTimeOriginal", "2016:12:31 23:59:59"}});
        load_by_hand(model, "/p/1/b.jpg", {{"ExifIFD:DateTimeOriginal", "2017:07:01 00:00:00"}});
        load_by_hand(model, "/p/2/a.jpg", {{"ExifIFD:DateTimeOriginal", "2017:03:26 01:45:00"}});
        QAbstractItemModelTester tester(&model);
        QSignalSpy refused(&model, &table_data_model::sort_order_override);
        auto order_shown = [&] { return QStringList(model.files).join(" ").remove("/p/").remove(".jpg"); };

        if (column >= 0) {
            model.sort(column, order);
            QCOMPARE(order_shown(), expected);
            // Column 2 is refused: rows stay, and the indicator is sent back to the last real sort.
            model.sort(2, order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder);
        }
        model.resort();

        QCOMPARE(order_shown(), expected);
        QCOMPARE(refused.count(), 1);
        QCOMPARE(refused.at(0).at(0).toInt(), column);
        if (column >= 0)
            QCOMPARE(refused.at(0).at(1).value<Qt::SortOrder>(), order);
    }

    void duplicate_path_adds_nothing()
    {
        const exif_tag_map when = tag_map("ExifIFD:DateTimeOriginal=2017:06:21 18:30:05");
        const QString b = make_tagged_photo(dir->path(), "b.jpg", when);
        const QString a = make_tagged_photo(dir->path(), "a.jpg", when);
        table_data_model model;
        model.sort(0, Qt::AscendingOrder);
        QAbstractItemModelTester tester(&model);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

        model.add_files({b, a});
        QCOMPARE(QStringList(model.files), QStringList({a, b}));
        // Without its tags the file would read as unloaded again, had it been read anew.
        exif_cache::instance()->erase(b);
        model.add_file(b, true);
        model.add_files({a});

        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(inserted.count(), 2);
        QVERIFY(!exif_cache::instance()->contains(b));
    }

    void packing_gives_back_every_text_data()
    {
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("dates") << QStringList{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05",
                                              "System:FileModifyDate", "2017:06:21 18:30:05+02:00"};
        QTest::newRow("null beside empty") << QStringList{"a", QString(), "b", ""};
        QTest::newRow("beyond Latin-1") << QStringList{"IPTC:City", QString(QChar(0xD800)), "XMP-dc:Title", "Straße Ü 日本 😀"};
        QTest::newRow("long") << QStringList{"XMP-x:Date", QString(300, QChar(0xFF)), "XMP-x:Other", QString(200, 'x')};
    }

    void packing_gives_back_every_text()
    {
        QFETCH(QStringList, texts);
        exif_tag_map tags;
        QList<undo_entry> undo;
        for (int i = 0; i + 1 < texts.size(); i += 2) {
            tags[texts.at(i)] = texts.at(i + 1);
            undo.append({texts.at(i), i % 4 == 0, texts.at(i + 1), i % 4 == 0 ? QString() : texts.at(i), i > 0});
        }
        const ondo::packed_tags packed(tags);
        QStringList unpacked, by_tag;
        for (const auto& [tag, value] : packed.unpacked())
            unpacked << tag << value;
        for (const auto& [tag, value] : tags)
            by_tag << tag << (packed.contains(tag) ? packed.value(tag) : "<missing>");
        QCOMPARE(marked(unpacked), marked(texts));
        QCOMPARE(marked(by_tag), marked(texts));
        QCOMPARE(packed.size(), int(tags.size()));
        QVERIFY(!packed.contains("never:Seen"));
        const ondo::packed_tags changed = packed.with(texts.first(), QString()).with("new:Tag", "1");
        QVERIFY(!changed.contains(texts.first()) && changed.value("new:Tag") == "1");
        QCOMPARE(marked(ondo::packed_list(texts).unpacked()), marked(texts));
        auto fields = [](const QList<undo_entry>& entries) {
            QStringList parts;
            for (const undo_entry& entry : entries)
                parts << entry.tag << QString::number(entry.existed) << entry.value << entry.written
                      << QString::number(entry.checked);
            return marked(parts);
        };
        QCOMPARE(fields(packed_undo(undo).entries()), fields(undo));
    }

    // The table sorts by name as file managers do: case aside, numbers by value at any length and
    // with leading zeros, letters by the locale, and what that leaves equal by UTF-16 value
    // (`sorted`, and `sorted` backwards). For every pair of names, where the sort keys tell two
    // apart, they say what the comparison says, and so do their heads.
    void names_sort_as_in_a_file_manager_data()
    {
        test_support::columns<QString, QString>({"locale", "sorted"});
        const QString sorted = "A1 a1 a002b a10b Äpfel iptc_zone photo_2 photo_10 Strand Ü 01 Ü V x2 x100000000000000000001 Zebra";
        QTest::newRow("C") << "C" << sorted;
        QTest::newRow("de_DE") << "de_DE" << sorted;
        // Ü is Y in Swedish, and Ä comes after Z.
        QTest::newRow("sv_SE") << "sv_SE"
                               << "A1 a1 a002b a10b iptc_zone photo_2 photo_10 Strand Ü 01 V x2 x100000000000000000001 Ü Zebra Äpfel";
    }

    void names_sort_as_in_a_file_manager()
    {
        QFETCH(QString, locale);
        QLocale::setDefault(QLocale(locale));
        auto restore = qScopeGuard([] { QLocale::setDefault(QLocale::c()); });
        table_data_model model;
        for (const char* name : {"photo_10", "Strand Ü 01", "a1", "Zebra", "x100000000000000000001", "V", "photo_2", "a10b",
                 "Äpfel", "A1", "iptc_zone", "Ü", "x2", "a002b"})
            load_by_hand(model, QString("/p/%1.jpg").arg(name), {{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}});
        model.sort(0, Qt::AscendingOrder);
        QTEST(QStringList(model.files).join(" ").remove("/p/").remove(".jpg"), "sorted");
        const QStringList ascending(model.files);
        model.sort(0, Qt::DescendingOrder);
        QCOMPARE(QStringList(model.files), QStringList(ascending.rbegin(), ascending.rend()));

        QCollator collator{QLocale(locale)};
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        const QStringList names = {"photo_10.jpg", "photo_2.jpg", "Photo_2.jpg", "photo_02.jpg", "IMG_0001.JPG",
                                   "img_1.jpg", "Äpfel.jpg", "apfel.jpg", "Zebra", "_x", "1abc", "abc", "abc1", "abc01",
                                   "a002b", "a10b", "a 1", "a1", "a-1", "12345678901234567890123", "12345678901234567890124",
                                   "x\u0663", "", "DSC_0001.NEF", "DSC_0001.JPG", "Strand Ü 01", "Ödland", "zz", "0",
                                   "/trip/2024-06-21 Strand/IMG_7.JPG", "/trip/2024-06-21/IMG_7.JPG", "9", "10"};
        ondo::natural_keys keys(collator);
        for (const QString& name : names)
            keys.add(name);
        for (int a = 0; a < names.size(); ++a) {
            for (int b = 0; b < names.size(); ++b) {
                const int by_keys = keys.compare(a, b);
                const int expected = ondo::compare_qstring_naturally(names.at(a), names.at(b), collator);
                const QString pair = names.at(a) + " | " + names.at(b);
                if (by_keys != 0)
                    QCOMPARE(pair + QString::number(by_keys), pair + QString::number(expected < 0 ? -1 : 1));
                if (keys.head(a) != keys.head(b))
                    QCOMPARE(keys.head(a) < keys.head(b), by_keys < 0);
            }
        }
    }

    // 2,000 files cost at most 16 KB each in this process: far above the 2 KB the benchmark holds
    // the program to, so that only keeping every tag of every file again, or a leak per file, fails it.
    void a_loaded_file_costs_little_memory()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("A sanitizer's shadow memory and quarantine hide what a load keeps");
#endif
        const int count = 2000;
        const QStringList paths = linked_photos(dir->path(), count);
        window = open_main_window();
        // Starts the children, their threads and the table's first row outside the figure.
        window->load_files({dir->filePath("camera.jpg")});
        const qint64 before = resident_bytes();
        window->load_files(paths);
        const qint64 growth = resident_bytes() - before;
        QCOMPARE(table()->model()->rowCount(), count + 1);
        QVERIFY2(before > 0 && growth <= qint64(count) * 16 * 1024,
                 qPrintable(QString("%1 bytes a file").arg(growth / count)));
    }

    // Stop in the middle of a load of 3,000 files: the load ends after the file under way, its rows
    // stay, what was queued ahead is not read, and the window took no other input meanwhile. Then a
    // click on a column that can't be sorted by.
    void stop_keeps_the_rows_read_so_far()
    {
        const QStringList paths = linked_photos(dir->path(), 3000);
        window = open_main_window();
        ondo::exiftool::read_tags(dir->filePath("camera.jpg"), true, false); // the children are up
        QAbstractItemModel* model = table()->model();
        auto* hour = window->findChild<QLineEdit*>("lineedit_hour");
        QProgressDialog* progress = nullptr;
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            if (dialog->labelText() == "Loading files")
                progress = dialog;
        QVERIFY(progress);

        const log_capture log(true);
        int rows_at_stop = -1, sent_at_stop = -1;
        QTimer stopper;
        connect(&stopper, &QTimer::timeout, &stopper, [&] {
            if (rows_at_stop >= 0 || model->rowCount() < 300)
                return;
            QTest::keyClick(hour, Qt::Key_5);
            auto* stop = progress->findChild<QPushButton*>();
            if (!stop || !stop->isVisible() || stop->text() != "Stop")
                return;
            rows_at_stop = model->rowCount();
            sent_at_stop = files_sent(log, dir->path());
            QTest::mouseClick(stop, Qt::LeftButton);
        });
        stopper.start(5);
        window->load_files(paths);
        stopper.stop();

        QVERIFY(rows_at_stop > 0 && rows_at_stop < paths.size());
        // One more read a child may go out before the drop reaches its worker; after the load none.
        const int sent = files_sent(log, dir->path());
        QVERIFY2(sent - sent_at_stop <= exiftool_children * files_per_read,
                 qPrintable(QString("%1 files sent after Stop").arg(sent - sent_at_stop)));
        QTest::qWait(500);
        // The file whose answer was awaited at the click gets its row too.
        const int rows = model->rowCount();
        QVERIFY2(rows - rows_at_stop <= 1,
                 qPrintable(QString("%1 rows at Stop, %2 after").arg(rows_at_stop).arg(rows)));
        const QVariantList rows_cached_hour_progress{int(exif_cache::instance()->size()), hour->text(),
                                                     progress->isVisible()};
        QCOMPARE(rows_cached_hour_progress, (QVariantList{rows, QString(), false}));
        QCOMPARE(files_sent(log, dir->path()), sent);
        QCOMPARE(log.count(QString("Load ended: %1 rows added, stopped, in ").arg(rows)), 1);
        ondo::exiftool::shutdown(false);
        QTRY_COMPARE(child_of(QCoreApplication::applicationPid()), qint64(0));

        // A click on the new-time column, which can't be sorted by, leaves the rows and the indicator
        // as they were without sorting again: at 100,000 rows a sort is felt.
        QHeaderView* header = table()->horizontalHeader();
        QSignalSpy sorts(model, &QAbstractItemModel::layoutChanged);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(2) + 5, 5));
        QCOMPARE(sorts.count(), 0);
        QCOMPARE(header->sortIndicatorSection(), 0);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(1) + 5, 5));
        QCOMPARE(sorts.count(), 1);
        QCOMPARE(header->sortIndicatorSection(), 1);
    }
};

TAVIMO_WINDOW_TEST_MAIN(tst_table_data_model)

#include "tst_table_data_model.moc"
