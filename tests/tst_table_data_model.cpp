#include "test_support.h"

#include <ondo/exiftool.h>

#include <table_data_model.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>

using offset = QVector<int>; // year, month, day, hour, minute, second
using test_support::tag_map;

namespace {

// Puts a file into the model as if ExifTool had returned `tags` for it.
void load_by_hand(table_data_model& model, const QString& path, const exif_tag_map& tags)
{
    exif_cache::instance()->load(path, tags);
    model.files.append(path);
}

QString shown(const table_data_model& model, int row, int column)
{
    return model.data(model.index(row, column)).toString();
}

} // namespace

class tst_table_data_model : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        test_support::use_private_settings();
        qputenv("TZ", "Europe/Berlin");
        tzset();
        qRegisterMetaType<QList<QPersistentModelIndex>>();
        qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>();
    }
    void cleanupTestCase() { ondo::exiftool::shutdown(false); }

    void init() { test_support::forget_files(); }

    // Tags loaded by hand or, given a file, by ExifTool. "@" is 2017-06-21 18:30:05; an IPTC zone of "?" is the
    // one ExifTool reports for an IPTC time stored without one.
    void shown_times_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<offset>("change");
        QTest::addColumn<QString>("recording");
        QTest::addColumn<QString>("new_time");
        QTest::addColumn<QString>("iptc_zone");
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
    }

    void shown_times()
    {
        QFETCH(QString, file);
        QFETCH(QString, tags);
        QFETCH(QString, zone);
        QFETCH(offset, change);
        QFETCH(QString, recording);
        QFETCH(QString, new_time);
        QFETCH(QString, iptc_zone);
        QTemporaryDir dir;
        table_data_model model;
        model.datetime_format_changed("yyyy-MM-dd HH:mm:ss");
        QAbstractItemModelTester tester(&model);
        QString path = "/photos/a.jpg";
        if (file.isEmpty()) {
            load_by_hand(model, path, tag_map(tags));
        } else {
            path = test_support::make_tagged_photo(dir.path(), file, tag_map(tags));
            model.add_file(path, true);
        }
        if (iptc_zone == "?") {
            iptc_zone = test_support::read_back(path).at("IPTC:TimeCreated").right(6);
            recording += iptc_zone;
            new_time += iptc_zone;
        }
        QSignalSpy layout_changed(&model, &QAbstractItemModel::layoutChanged);
        model.datetime_offset_changed(change.value(0), change.value(1), change.value(2), change.value(3), change.value(4),
            change.value(5), !zone.isEmpty(), zone.toDouble());

        QCOMPARE(layout_changed.count(), 1);
        QCOMPARE(shown(model, 0, 1), recording.replace("@", "2017-06-21 18:30:05"));
        QCOMPARE(shown(model, 0, 2), new_time.replace("@", "2017-06-21 18:30:05"));
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
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("expected");
        QTest::newRow("name, equal names by folder") << 0 << "2/a 1/b 2/b 1/c";
        QTest::newRow("time descending across seasons") << 1 << "1/b 2/b 2/a 1/c";
        QTest::newRow("unsorted: resort refused") << -1 << "2/b 1/c 1/b 2/a";
    }

    void sort()
    {
        QFETCH(int, column);
        const Qt::SortOrder order = column == 1 ? Qt::DescendingOrder : Qt::AscendingOrder;
        QFETCH(QString, expected);
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

    // By name as file managers sort: case aside, numbers by value, letters by the locale.
    void names_sort_as_in_a_file_manager_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::newRow("C") << "C";
        QTest::newRow("de_DE") << "de_DE";
    }

    void names_sort_as_in_a_file_manager()
    {
        QFETCH(QString, locale);
        QLocale::setDefault(QLocale(locale));
        auto restore = qScopeGuard([] { QLocale::setDefault(QLocale::c()); });
        table_data_model model;
        for (const char* name : {"photo_10.jpg", "Strand Ü 01.jpg", "Zebra.jpg", "photo_2.jpg", "Äpfel.jpg", "iptc_zone.jpg"})
            load_by_hand(model, QString("/p/") + name, {{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}});

        model.sort(0, Qt::AscendingOrder);
        QCOMPARE(QStringList(model.files).join(" ").remove("/p/").remove(".jpg"), QString("Äpfel iptc_zone photo_2 photo_10 Strand Ü 01 Zebra"));
        model.sort(0, Qt::DescendingOrder);
        QCOMPARE(model.files.first(), QString("/p/Zebra.jpg"));
    }

    void duplicate_path_adds_nothing()
    {
        QTemporaryDir dir;
        const exif_tag_map when = tag_map("ExifIFD:DateTimeOriginal=2017:06:21 18:30:05");
        const QString b = test_support::make_tagged_photo(dir.path(), "b.jpg", when);
        const QString a = test_support::make_tagged_photo(dir.path(), "a.jpg", when);
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
};

QTEST_MAIN(tst_table_data_model)
#include "tst_table_data_model.moc"
