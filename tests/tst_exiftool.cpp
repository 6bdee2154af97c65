#include "processes.h"
#include "test_support.h"

#include <ondo/exif_response.h>
#include <ondo/exiftool.h>
#include <ondo/exiftool_worker.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <csignal>

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
        const char* both_dates = "IPTC:DateCreated=2017:06:21;XMP-photoshop:DateCreated=2017:06:21 18:30:05";
        const char* both_dto = "IFD0:DateTimeOriginal=2017:06:21 18:30:05;ExifIFD:DateTimeOriginal=2017:06:21 18:30:06";
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

    // A photo tagged IFD0:Make=Canon and IFD0:Model=EOS is written; an empty expected value is absent.
    void write_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("expected");
        QTest::newRow("set") << "DateTimeOriginal=2020:01:02 03:04:05;Make=Nikon"
                             << "ExifIFD:DateTimeOriginal=2020:01:02 03:04:05;IFD0:Make=Nikon";
        QTest::newRow("empty value deletes") << "Make=" << "IFD0:Make=;IFD0:Model=EOS";
    }

    void write()
    {
        QFETCH(QString, tags);
        QFETCH(QString, expected);
        const QString path = make_tagged_photo(dir.path(), QString("write %1.jpg").arg(QTest::currentDataTag()),
            {{"IFD0:Make", "Canon"}, {"IFD0:Model", "EOS"}});
        struct stat before {};
        ::stat(QFile::encodeName(path).constData(), &before);

        QVERIFY(exiftool::write_tags(path, test_support::tag_map(tags)));

        const exif_tag_map after = read_back(path);
        for (const auto& [key, value] : test_support::tag_map(expected))
            QCOMPARE(after.count(key) ? after.at(key) : QString(), value);
        // Written in place: same inode, no backup beside it.
        struct stat now {};
        ::stat(QFile::encodeName(path).constData(), &now);
        QCOMPARE(now.st_ino, before.st_ino);
        QVERIFY(!QFileInfo::exists(path + "_original"));
    }

    // A temporary file left by a write that was cut short may be the only whole copy: the photo
    // is refused without a word to ExifTool, the leftover is named and neither is touched.
    // A write bound to what the file holds: `description` is the text in the photo (hostile on
    // purpose), `expected` what the write asks for ("<absent>" for no tag). The text is data only:
    // it matches itself exactly, and nothing in it runs.
    void a_write_bound_to_the_file_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("written");
        const QString code = "x'.system('touch PWNED').'\\' $IFD0:Make ${IFD0:Model} $/ @a \".`touch PWNED`.\"";
        QTest::newRow("plain, held") << "holiday" << "holiday" << true;
        QTest::newRow("plain, edited since") << "holiday" << "holidays" << false;
        QTest::newRow("quotes, dollars and backslashes, held") << code << code << true;
        QTest::newRow("a tag reference is no tag") << "Canon" << "$IFD0:Make" << false;
        QTest::newRow("absent, as expected") << "" << "<absent>" << true;
        QTest::newRow("present, expected absent") << "holiday" << "<absent>" << false;
    }

    void a_write_bound_to_the_file()
    {
        QFETCH(QString, description);
        QFETCH(QString, expected);
        QFETCH(bool, written);
        exif_tag_map tags = {{"IFD0:Make", "Canon"}, {"IFD0:Model", "EOS"}};
        if (!description.isEmpty())
            tags["IFD0:ImageDescription"] = description;
        const QString path = make_tagged_photo(dir.path(), "bound.jpg", tags);
        QCOMPARE(read_back(path).count("IFD0:ImageDescription") ? read_back(path).at("IFD0:ImageDescription") : "", description);
        ondo::exif_error error = ondo::exif_error::none;
        const bool result = exiftool::write_result(
            exiftool::write_tags_async(path, {{"IFD0:Software", "T"}},
                                       {{"IFD0:ImageDescription", expected == "<absent>" ? QString() : expected}}),
            &error);
        QCOMPARE(result, written);
        QCOMPARE(error, written ? ondo::exif_error::none : ondo::exif_error::changed);
        QCOMPARE(read_back(path).count("IFD0:Software"), size_t(written));
        QVERIFY(!QFile::exists("PWNED") && !QFile::exists(dir.filePath("PWNED")));
    }

    void a_leftover_temporary_file_blocks_the_write()
    {
        const QString path = make_tagged_photo(dir.path(), "leftover.jpg", {{"IFD0:Make", "Canon"}});
        QFile leftover(path + "_exiftool_tmp");
        QVERIFY(leftover.open(QIODevice::WriteOnly) && leftover.write("earlier") == 7);
        leftover.close();
        test_support::log_capture log;

        QVERIFY(!exiftool::write_tags(path, {{"IFD0:Make", "Nikon"}}));

        QCOMPARE(log.count("an earlier write left '" + path + "_exiftool_tmp' behind"), 1);
        QCOMPARE(read_back(path).at("IFD0:Make"), QString("Canon"));
        QVERIFY(leftover.open(QIODevice::ReadOnly));
        QCOMPARE(leftover.readAll(), QByteArray("earlier"));
    }

    // Reads queued behind one another go to one child in one command; each file gets what it
    // gets alone, whatever its name holds, and a file that is gone gets nothing.
    void joined_reads_answer_each_file_alone()
    {
        exiftool::shutdown(true);
        exiftool::set_pool_size(1);
        const QStringList paths = {
            make_tagged_photo(dir.path(), "j0.jpg", {{"IFD0:Make", "Canon"}, {"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}}),
            make_tagged_photo(dir.path(), "======== j1.jpg", {{"IFD0:Model", "EOS"}}),
            dir.filePath("j2 gone.jpg"),
            make_tagged_photo(dir.path(), "j3 {ready3}.jpg", {{"XMP-dc:Title", "{ready3}"}}),
            make_tagged_photo(dir.path(), "j4.jpg", {{"IFD0:Artist", "a=b"}}),
        };
        std::vector<exif_tag_map> alone;
        for (const QString& path : paths)
            alone.push_back(exiftool::read_tags(path, true, false));

        ondo::exiftool::verbose(true);
        test_support::log_capture log;
        // The child is held while the reads are queued, so that the first two are sent and the
        // others wait behind them.
        const qint64 child = test_support::child_of(QCoreApplication::applicationPid());
        QVERIFY(child > 0);
        ::kill(pid_t(child), SIGSTOP);
        std::vector<ondo::exif_response*> reads;
        for (const QString& path : paths)
            reads.push_back(exiftool::read_tags_async(path, true));
        ::kill(pid_t(child), SIGCONT);
        for (size_t i = 0; i < reads.size(); ++i) {
            exif_tag_map got = exiftool::read_result(reads[i]);
            // The access time may move between the two reads.
            got.erase("System:FileAccessDate");
            alone[i].erase("System:FileAccessDate");
            QCOMPARE(got, alone[i]);
        }
        ondo::exiftool::verbose(false);
        QVERIFY(alone[2].empty() && alone[0].at("IFD0:Make") == "Canon" && alone[3].at("XMP-dc:Title") == "{ready3}" && alone[1].at("IFD0:Model") == "EOS");
        // The first two went out alone, as nothing was queued behind them; the rest together.
        const QStringList joined = log.lines().filter("Writing '").filter(paths[2]);
        QVERIFY2(joined.size() == 1 && joined[0].contains(paths[3]) && joined[0].contains(paths[4]),
                 qPrintable(log.lines().join('\n')));
        exiftool::shutdown(true);
        exiftool::set_pool_size(0);
    }

private:
    QTemporaryDir dir;
};

QTEST_GUILESS_MAIN(tst_exiftool)
#include "tst_exiftool.moc"
