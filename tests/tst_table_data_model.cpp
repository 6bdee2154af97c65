#include "test_support.h"

#include <table_data_model.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>

using offset = QVector<int>; // year, month, day, hour, minute, second
Q_DECLARE_METATYPE(exif_tag_map)

namespace {

void use_time_zone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    tzset();
}

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
        qRegisterMetaType<QList<QPersistentModelIndex>>();
        qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>();
    }

    void init()
    {
        test_support::forget_files();
        use_time_zone("Europe/Berlin");
    }

    void format_utc_offset_data()
    {
        QTest::addColumn<float>("hours");
        QTest::addColumn<QString>("expected");
        QTest::newRow("half hour") << 5.5f << "+05:30";
        QTest::newRow("negative half hour") << -3.5f << "-03:30";
        QTest::newRow("zero") << 0.0f << "+00:00";
        QTest::newRow("under an hour west") << -0.5f << "-00:30";
        QTest::newRow("truncated, not rounded") << 5.1f << "+05:05";
        QTest::newRow("far east") << 14.0f << "+14:00";
    }

    void format_utc_offset()
    {
        QFETCH(float, hours);
        QTEST(::format_utc_offset(hours), "expected");
    }

    void new_time_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("recording");
        QTest::addColumn<offset>("change");
        QTest::addColumn<QString>("expected");

        const QByteArray berlin = "Europe/Berlin", new_york = "America/New_York";
        QTest::newRow("31 January plus a month and a day") << berlin << "2017:01:31 10:00:00" << offset{0, 1, 1, 0, 0, 0}
                                                           << "2017-03-01 10:00:00";
        QTest::newRow("months clamp before days are added") << berlin << "2017:01:30 10:00:00" << offset{0, 1, 1, 0, 0, 0}
                                                            << "2017-03-01 10:00:00";
        QTest::newRow("years before months") << berlin << "2015:01:29 10:00:00" << offset{1, 1, 0, 0, 0, 0}
                                             << "2016-02-29 10:00:00";
        QTest::newRow("leap day plus a year") << berlin << "2016:02:29 12:00:00" << offset{1, 0, 0, 0, 0, 0}
                                              << "2017-02-28 12:00:00";
        QTest::newRow("an hour across the spring change") << berlin << "2017:03:26 01:30:00" << offset{0, 0, 0, 1, 0, 0}
                                                          << "2017-03-26 03:30:00";
        QTest::newRow("a day keeps the wall clock") << berlin << "2017:03:25 12:00:00" << offset{0, 0, 1, 0, 0, 0}
                                                    << "2017-03-26 12:00:00";
        QTest::newRow("skipped hour is invalid") << berlin << "2017:03:26 02:30:00" << offset{0, 0, 0, 1, 0, 0} << "-";
        QTest::newRow("back across new year") << new_york << "2017:01:01 00:10:00" << offset{0, 0, 0, -1, -15, -1}
                                              << "2016-12-31 22:54:59";
        QTest::newRow("negative year, month and days") << new_york << "2017:01:15 12:00:00" << offset{-1, -1, -15, 0, 0, 0}
                                                       << "2015-11-30 12:00:00";
        QTest::newRow("400 days") << new_york << "2017:06:21 18:30:05" << offset{0, 0, 400, 0, 0, 0} << "2018-07-26 18:30:05";
        QTest::newRow("-5000 minutes across the spring change") << new_york << "2017:03:14 12:00:00"
                                                                << offset{0, 0, 0, 0, -5000, 0} << "2017-03-10 23:40:00";
        QTest::newRow("seconds across the autumn change") << new_york << "2017:11:05 00:30:00" << offset{0, 0, 0, 0, 0, 7200}
                                                          << "2017-11-05 01:30:00";
    }

    void new_time()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QString, recording);
        QFETCH(offset, change);
        QFETCH(QString, expected);

        use_time_zone(zone);
        table_data_model model;
        model.datetime_format_changed("yyyy-MM-dd HH:mm:ss");
        load_by_hand(model, "/photos/a.jpg", {{"ExifIFD:DateTimeOriginal", recording}});
        QAbstractItemModelTester tester(&model);
        QSignalSpy layout_changed(&model, &QAbstractItemModel::layoutChanged);

        model.datetime_offset_changed(change[0], change[1], change[2], change[3], change[4], change[5], false, 0.0);

        QCOMPARE(layout_changed.count(), 1);
        QCOMPARE(shown(model, 0, 2), expected);
        QCOMPARE(model.data(model.index(0, 2), Qt::UserRole).toDateTime().isValid(), expected != "-");
    }

    // Tags as ExifTool would report them; a zone entered (or not) with a zero offset.
    void by_hand_data()
    {
        QTest::addColumn<exif_tag_map>("tags");
        QTest::addColumn<bool>("has_timezone");
        QTest::addColumn<double>("timezone");
        QTest::addColumn<QString>("recording");
        QTest::addColumn<QString>("new_time");
        QTest::addColumn<bool>("in_ifd0");

        const QString exif = "ExifIFD:DateTimeOriginal", ifd0 = "IFD0:DateTimeOriginal", iptc = "IPTC:TimeCreated";
        const QString when = "2017:06:21 18:30:05", at = "21.06.2017 - 18:30:05", old = "01.01.2001 - 01:01:01";
        QTest::newRow("no zone anywhere") << exif_tag_map{{exif, when}} << false << 0.0 << at << at << false;
        QTest::newRow("entered zone alone") << exif_tag_map{{exif, when}} << true << 2.0 << at << at + "  UTC+02:00" << false;
        QTest::newRow("entered zero is a zone") << exif_tag_map{{exif, when}} << true << 0.0 << at << at + "  UTC+00:00"
                                                << false;
        QTest::newRow("zone behind the recording text is dropped") << exif_tag_map{{exif, when + "+02:00"}} << false << 0.0
                                                                   << at << at << false;
        QTest::newRow("IPTC time without zone") << exif_tag_map{{exif, when}, {iptc, "18:30:05"}} << true << 1.0 << at
                                                << at + "  UTC+01:00" << false;
        QTest::newRow("file zone, nothing entered") << exif_tag_map{{exif, when}, {iptc, "18:30:05+05:30"}} << false << 3.0
                                                    << at + "  UTC+05:30" << at + "  UTC+05:30" << false;
        QTest::newRow("+05:30 with 1.5") << exif_tag_map{{exif, when}, {iptc, "18:30:05+05:30"}} << true << 1.5
                                         << at + "  UTC+05:30" << at + "  UTC+07:00" << false;
        QTest::newRow("west zone moved east") << exif_tag_map{{exif, when}, {iptc, "18:30:05-03:30"}} << true << 1.0
                                              << at + "  UTC-03:30" << at + "  UTC-02:30" << false;
        QTest::newRow("invalid time shows no zone") << exif_tag_map{{exif, "0000:00:00 00:00:00"}, {iptc, "18:30:05+02:00"}}
                                                    << true << 1.0 << "-" << "-" << false;
        QTest::newRow("ExifIFD wins over IFD0") << exif_tag_map{{exif, when}, {ifd0, "2001:01:01 01:01:01"}} << false << 0.0
                                                << at << at << false;
        QTest::newRow("other time tags never count")
            << exif_tag_map{{"ExifIFD:CreateDate", "2010:10:10 10:10:10"}, {"IPTC:DateCreated", "2011:11:11"},
                   {"XMP-photoshop:DateCreated", "2012:12:12 12:12:12"}, {ifd0, "2001:01:01 01:01:01"}}
            << false << 0.0 << old << old << true;
        QTest::newRow("short date fields are empty") << exif_tag_map{{exif, "2017:06 10:11"}} << false << 0.0 << "-" << "-"
                                                     << false;
    }

    void by_hand()
    {
        QFETCH(exif_tag_map, tags);
        QFETCH(bool, has_timezone);
        QFETCH(double, timezone);
        QFETCH(bool, in_ifd0);

        table_data_model model;
        model.datetime_format_changed("dd.MM.yyyy - HH:mm:ss");
        load_by_hand(model, "/photos/a.jpg", tags);
        model.datetime_offset_changed(0, 0, 0, 0, 0, 0, has_timezone, timezone);

        QTEST(shown(model, 0, 1), "recording");
        QTEST(shown(model, 0, 2), "new_time");
        const exif_tag_map record = exif_cache::instance()->file_data["/photos/a.jpg"];
        QCOMPARE(record.count("DateTimeOriginalInIFD0") == 1, in_ifd0);
        QCOMPARE(time_tags(record).contains("IFD0:DateTimeOriginal"), in_ifd0);
    }

    void read_files_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<exif_tag_map>("tagging");
        QTest::addColumn<QString>("recording");
        QTest::addColumn<bool>("in_ifd0");
        QTest::addColumn<QString>("zone");

        const QString exif = "ExifIFD:DateTimeOriginal", ifd0 = "IFD0:DateTimeOriginal";
        // Without -a ExifTool lists a tag name once, and of the two DateTimeOriginal it keeps the IFD0 one.
        QTest::newRow("ExifIFD and IFD0: ExifTool reports IFD0")
            << "both.jpg" << exif_tag_map{{exif, "2017:06:21 18:30:05"}, {ifd0, "2001:01:01 01:01:01"}}
            << "2001-01-01 01:01:01" << true << "";
        QTest::newRow("only IFD0") << "ifd0.jpg" << exif_tag_map{{ifd0, "2001:01:01 01:01:01"}} << "2001-01-01 01:01:01"
                                   << true << "";
        QTest::newRow("PNG") << "photo.png" << exif_tag_map{{exif, "2016:02:29 23:59:59"}} << "2016-02-29 23:59:59" << false
                             << "";
        QTest::newRow("IPTC time with zone")
            << "iptc.jpg" << exif_tag_map{{exif, "2017:06:21 18:30:05"}, {"IPTC:TimeCreated", "18:30:05-05:00"}}
            << "2017-06-21 18:30:05  UTC-05:00" << false << "-05:00";
        // ExifTool reports a zone of its own (marked "?") for an IPTC time stored without one.
        QTest::newRow("IPTC time stored without zone")
            << "iptc_plain.jpg" << exif_tag_map{{exif, "2017:06:21 18:30:05"}, {"IPTC:TimeCreated#", "183005"}}
            << "2017-06-21 18:30:05  UTC" << false << "?";
        QTest::newRow("date without time") << "date.jpg" << exif_tag_map{{exif + "#", "2017:06:21"}}
                                           << "2017-06-21 00:00:00" << false << "";
        QTest::newRow("zeros") << "zeros.jpg" << exif_tag_map{{exif + "#", "0000:00:00 00:00:00"}} << "-" << false << "";
        QTest::newRow("unparsable text") << "garbage.jpg" << exif_tag_map{{exif + "#", "garbage"}} << "-" << false << "";
        QTest::newRow("fractional seconds read as 0") << "fraction.jpg" << exif_tag_map{{exif + "#", "2017:06:21 18:30:05.123"}}
                                                      << "2017-06-21 18:30:00" << false << "";
    }

    void read_files()
    {
        QFETCH(QString, name);
        QFETCH(exif_tag_map, tagging);
        QFETCH(QString, recording);
        QFETCH(bool, in_ifd0);
        QFETCH(QString, zone);

        QTemporaryDir dir;
        const QString path = test_support::make_tagged_photo(dir.path(), name, tagging);
        if (zone == "?") {
            zone = test_support::read_back(path).at("IPTC:TimeCreated").right(6);
            recording += zone;
        }
        table_data_model model;
        model.datetime_format_changed("yyyy-MM-dd HH:mm:ss");
        QAbstractItemModelTester tester(&model);

        model.add_file(path, true);

        QCOMPARE(shown(model, 0, 1), recording);
        QCOMPARE(shown(model, 0, 2), recording);
        const exif_tag_map record = exif_cache::instance()->file_data[path];
        QCOMPARE(record.count("iptc_timezone") ? record.at("iptc_timezone") : QString(), zone);
        const QStringList tags = time_tags(record); // one DateTimeOriginal of the two, IFD0's last
        QCOMPARE(tags.size(), 9);
        QCOMPARE(tags.last(), QString(in_ifd0 ? "IFD0:DateTimeOriginal" : "System:FileCreateDate"));
    }

    void file_system_time_data()
    {
        QTest::addColumn<exif_tag_map>("extra_tags");
        QTest::newRow("no metadata at all") << exif_tag_map();
        // A present but empty ExifIFD tag still shuts out the IFD0 one.
        QTest::newRow("empty ExifIFD tag")
            << exif_tag_map{{"ExifIFD:DateTimeOriginal", ""}, {"IFD0:DateTimeOriginal", "2001:01:01 01:01:01"}};
    }

    void file_system_time()
    {
        QFETCH(exif_tag_map, extra_tags);

        QTemporaryDir dir;
        const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
        const QString path = test_support::make_tagged_photo(dir.path(), "plain.png");
        const QDateTime after = QDateTime::currentDateTime().addSecs(2);
        table_data_model model;
        model.add_file(path, false);
        if (!extra_tags.empty())
            exif_cache::instance()->load(path, extra_tags);

        const QDateTime recorded = model.data(model.index(0, 1), Qt::UserRole).toDateTime();
        QVERIFY2(recorded >= before && recorded <= after, qPrintable(recorded.toString(Qt::ISODate)));
        QVERIFY(!exif_cache::instance()->file_data[path].count("DateTimeOriginalInIFD0"));
        QCOMPARE(exif_cache::instance()->file_data[path].at("rec_month").size(), 2);
    }

    void sort_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<Qt::SortOrder>("order");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("name ascending, equal names by folder")
            << 0 << Qt::AscendingOrder << QStringList{"/p/2/a.jpg", "/p/1/b.jpg", "/p/2/b.jpg", "/p/1/c.jpg"};
        QTest::newRow("name descending")
            << 0 << Qt::DescendingOrder << QStringList{"/p/1/c.jpg", "/p/2/b.jpg", "/p/1/b.jpg", "/p/2/a.jpg"};
        QTest::newRow("time ascending across seasons")
            << 1 << Qt::AscendingOrder << QStringList{"/p/1/c.jpg", "/p/2/a.jpg", "/p/2/b.jpg", "/p/1/b.jpg"};
        QTest::newRow("time descending")
            << 1 << Qt::DescendingOrder << QStringList{"/p/1/b.jpg", "/p/2/b.jpg", "/p/2/a.jpg", "/p/1/c.jpg"};
        QTest::newRow("unsorted: resort refused") << -1 << Qt::AscendingOrder
                                                  << QStringList{"/p/2/b.jpg", "/p/1/c.jpg", "/p/1/b.jpg", "/p/2/a.jpg"};
    }

    void sort()
    {
        QFETCH(int, column);
        QFETCH(Qt::SortOrder, order);
        QFETCH(QStringList, expected);

        table_data_model model;
        // Around the spring change: 01:45 CET and 03:10 CEST are 25 minutes apart.
        load_by_hand(model, "/p/2/b.jpg", {{"ExifIFD:DateTimeOriginal", "2017:03:26 03:10:00"}});
        load_by_hand(model, "/p/1/c.jpg", {{"ExifIFD:DateTimeOriginal", "2016:12:31 23:59:59"}});
        load_by_hand(model, "/p/1/b.jpg", {{"ExifIFD:DateTimeOriginal", "2017:07:01 00:00:00"}});
        load_by_hand(model, "/p/2/a.jpg", {{"ExifIFD:DateTimeOriginal", "2017:03:26 01:45:00"}});
        QAbstractItemModelTester tester(&model);
        QSignalSpy refused(&model, &table_data_model::sort_order_override);

        if (column >= 0) {
            model.sort(column, order);
            QCOMPARE(QStringList(model.files), expected);
            // Column 2 is refused: rows stay, and the indicator is sent back to the last real sort.
            model.sort(2, order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder);
        }
        model.resort();

        QCOMPARE(QStringList(model.files), expected);
        QCOMPARE(refused.count(), 1);
        QCOMPARE(refused.at(0).at(0).toInt(), column);
        if (column >= 0)
            QCOMPARE(refused.at(0).at(1).value<Qt::SortOrder>(), order);
    }

    void duplicate_path_adds_nothing()
    {
        QTemporaryDir dir;
        const QString b = test_support::make_tagged_photo(dir.path(), "b.jpg", {{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}});
        const QString a = test_support::make_tagged_photo(dir.path(), "a.jpg", {{"ExifIFD:DateTimeOriginal", "2018:01:01 08:00:00"}});
        table_data_model model;
        model.sort(0, Qt::AscendingOrder);
        QAbstractItemModelTester tester(&model);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

        model.add_files({b, a});
        QCOMPARE(QStringList(model.files), QStringList({a, b}));
        // Without its tags the file would read as unloaded again, had it been read anew.
        exif_cache::instance()->file_tags.erase(b);
        model.add_file(b, true);
        model.add_files({a});

        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(inserted.count(), 2);
        QCOMPARE(exif_cache::instance()->file_tags.count(b), size_t(0));
        model.clear(); // the records outlive the table
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(exif_cache::instance()->file_data.count(a), size_t(1));
    }
};

QTEST_MAIN(tst_table_data_model)
#include "tst_table_data_model.moc"
