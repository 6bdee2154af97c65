// Tag reading and writing against the real ExifTool, and the tag filter.
#include "test_support.h"

#include <ondo/exiftool.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using ondo::exiftool;
using test_support::make_tagged_photo;
using test_support::read_back;

class tst_exiftool : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { test_support::use_private_settings(); }
    void cleanupTestCase() { exiftool::shutdown(true); }
    // `tags` ("tag=value;...") are written and read back with or without groups; each pair of
    // `read` must come back, a tag that shares its name with one in another group included.
    void read_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("tags");
        QTest::addColumn<bool>("groups");
        QTest::addColumn<QString>("read");
        auto row = [](const char* name, const char* file, const char* tags, bool groups, const char* read) {
            QTest::newRow(name) << QString(file) << QString(tags) << groups << QString(read);
        };
        const char* both_dto = "IFD0:DateTimeOriginal=2017:06:21 18:30:05;ExifIFD:DateTimeOriginal=2017:06:21 18:30:06";
        const char* both_dates = "IPTC:DateCreated=2017:06:21;XMP-photoshop:DateCreated=2017:06:21 18:30:05";
        row("without groups", "b.jpg", "ExifIFD:DateTimeOriginal=2019:07:01 10:11:12", false,
            "DateTimeOriginal=2019:07:01 10:11:12");
        row("non-ASCII file name", "Märchen Ångström.jpg", "IFD0:Make=Canon", true, "IFD0:Make=Canon");
        row("value cut at a further equals sign", "e.jpg", "IFD0:ImageDescription=a=b", false, "ImageDescription=a");
        row("IPTC and XMP creation dates", "g1.jpg", both_dates, true, both_dates);
        row("DateTimeOriginal in IFD0 and ExifIFD", "g2.jpg", both_dto, true, both_dto);
    }

    void read()
    {
        QFETCH(QString, name);
        QFETCH(QString, tags);
        QFETCH(bool, groups);
        QFETCH(QString, read);
        const exif_tag_map got = exiftool::read_tags(make_tagged_photo(dir.path(), name, test_support::tag_map(tags)), groups, true);
        for (const auto& [tag, value] : test_support::tag_map(read))
            QCOMPARE(tag + "=" + (got.count(tag) ? got.at(tag) : "<absent>"), tag + "=" + value);
        QCOMPARE(got.at(groups ? "System:FileName" : "FileName"), name);
    }

    // Chunks behind a PNG's image data stay single over repeated writes of XMP.
    void png_chunks_after_the_image_stay_single()
    {
        const QString path = make_tagged_photo(dir.path(), "after.png");
        test_support::append_png_text(path, "Comment", "after the image");
        for (const QString& date : {"2017:06:21 18:30:05", "2017:06:21 19:30:05", ""})
            QVERIFY(exiftool::write_tags(path, {{"XMP-photoshop:DateCreated", date}}));
        const QString listing = test_support::run(TAVIMO_EXIFTOOL_SCRIPT, {"-a", "-G1", "-args", path});
        QCOMPARE(listing.count("-PNG:Comment=after the image"), 1);
    }

    // A photo tagged IFD0:Make=Canon and IFD0:Model=EOS is written; `expected` is read back with
    // groups, an empty value meaning absent.
    void write_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("expected");
        QTest::newRow("set") << "DateTimeOriginal=2020:01:02 03:04:05;Make=Nikon" << true
                             << "ExifIFD:DateTimeOriginal=2020:01:02 03:04:05;IFD0:Make=Nikon";
        QTest::newRow("empty value deletes") << "Make=" << true << "IFD0:Make=;IFD0:Model=EOS";
        QTest::newRow("value with percent and equals") << "ImageDescription=%1 a=b" << true
                                                       << "IFD0:ImageDescription=%1 a=b";
        QTest::newRow("broken jpeg") << "Make=Nikon" << false << "";
    }

    void write()
    {
        QFETCH(QString, tags);
        QFETCH(QString, expected);
        const QString path = make_tagged_photo(dir.path(), QString("write %1.jpg").arg(QTest::currentDataTag()),
            {{"IFD0:Make", "Canon"}, {"IFD0:Model", "EOS"}});
        if (QByteArray(QTest::currentDataTag()) == "broken jpeg") {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray("\xff\xd8\xff\xe1 not really a jpeg", 22));
        }
        struct stat before {};
        ::stat(QFile::encodeName(path).constData(), &before);

        QTEST(exiftool::write_tags(path, test_support::tag_map(tags)), "result");

        const exif_tag_map after = read_back(path);
        for (const auto& [key, value] : test_support::tag_map(expected))
            QCOMPARE(after.count(key) ? after.at(key) : QString(), value);
        // Written in place: same inode, no backup beside it.
        struct stat now {};
        ::stat(QFile::encodeName(path).constData(), &now);
        QCOMPARE(now.st_ino, before.st_ino);
        QVERIFY(!QFileInfo::exists(path + "_original"));
    }

    void filter_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<bool>("keep_file_tags");
        QTest::addColumn<QString>("expected");
        const QString writable = "DateTimeOriginal=2019:07:01 10:11:12;Make=Canon;FileModifyDate=2019:07:01 10:11:12+02:00;";
        const QString file = "FileName=a.jpg;Directory=/photos;";
        const QString untouched = "IFD0:Compression=x;imagewidth=32;System:FileSize=1";
        QTest::newRow("read-only and derived tags go")
            << writable + "ExifToolVersion=12.57;FileSize=1 kB;FileAccessDate=x;MIMEType=image/jpeg;LookName=x;"
                          "ThumbnailImage=x;ImageWidth=32;ImageHeight=24;Compression=x" << true << writable;
        QTest::newRow("file tags kept") << writable + file << true << writable + file;
        QTest::newRow("file tags dropped") << writable + file << false << writable;
        QTest::newRow("grouped and other-case keys stay") << untouched << false << untouched;
    }

    void filter()
    {
        QFETCH(QString, tags);
        QFETCH(bool, keep_file_tags);
        QFETCH(QString, expected);
        QCOMPARE(exiftool::remove_nonwriteable_tags(test_support::tag_map(tags), keep_file_tags),
            test_support::tag_map(expected));
    }

private:
    QTemporaryDir dir;
};

QTEST_GUILESS_MAIN(tst_exiftool)
#include "tst_exiftool.moc"
