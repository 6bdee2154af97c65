#include "file_identity.h"
#include "table_data_model.h"

#include "processes.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QJsonDocument>
#include <QTimer>
#include <QtTest>

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace test_support;

namespace {

const QString before_time = "2017:06:21 18:30:05";
const QString after_time = "2017:06:21 19:30:05";

// Which file a path is and its state to the nanosecond: an unwritten photo shows nothing touched it.
QString stamp(const QString& path)
{
    const file_identity now = file_identity::of(path);
    return QString("%1 %2 %3 %4").arg(now.device).arg(now.inode).arg(now.size).arg(now.modified_ns);
}

// Gives `path` the modification time `ns`, to the nanosecond.
bool set_modified_ns(const QString& path, qint64 ns)
{
    const qint64 second = ns >= 0 ? ns / 1000000000 : -((-ns - 1) / 1000000000) - 1;
    struct timespec times[2] {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(second);
    times[1].tv_nsec = long(ns - second * 1000000000);
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

// The journal of a fix run over `paths` that died after writing `written` photos, `confirmed` of
// them with their line after the write: an hour later, IPTC in another zone, an EXIF zone added.
bool leave_unfinished_run(const QStringList& paths, int written, int confirmed)
{
    undo_journal journal(undo_journal::default_folder());
    if (!journal.begin_run())
        return false;
    const exif_tag_map values = tag_map("ExifIFD:DateTimeOriginal=" + after_time + ";IPTC:TimeCreated=19:30:05+03:00;"
                                        "ExifIFD:OffsetTimeOriginal=+03:00;System:FileModifyDate=" + after_time + "+03:00");
    for (int i = 0; i < paths.size(); ++i) {
        const exif_tag_map present = ondo::exiftool::read_tags(paths[i], true, false);
        QList<undo_entry> undo;
        for (const auto& [tag, value] : values) {
            const auto found = present.find(tag);
            undo << undo_entry{tag, found != present.end(), found != present.end() ? found->second : QString()};
        }
        if (!journal.add(paths[i], file_identity::of(paths[i]), undo))
            return false;
        if (i < written && !ondo::exiftool::write_tags(paths[i], values))
            return false;
        if (i < confirmed)
            journal.written(paths[i], true);
    }
    // Gone without end_run(), as a crash leaves it.
    return true;
}

} // namespace

// The undo information on disk and what the next start does with it, with the real ExifTool.
class tst_undo_journal : public window_test {
    Q_OBJECT

private slots:
    // A run that died: this program crashing (written -1), its window closed mid-run (-2), or a made
    // journal. The next start counts what the photos hold, not the lines, and gives back the written
    // ones alone or keeps them. `trouble`: a cut last line, a leftover that fails one undo, damage.
    void an_unfinished_run_is_offered_data()
    {
        QTest::addColumn<int>("photos");
        QTest::addColumn<int>("written");
        QTest::addColumn<int>("confirmed");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("trouble");
        QTest::newRow("a crash, undo") << 200 << -1 << 0 << "Undo" << "";
        QTest::newRow("a crash, keep") << 200 << -1 << 0 << "Keep" << "";
        QTest::newRow("a crash, the last line cut") << 200 << -1 << 0 << "Undo" << "cut";
        QTest::newRow("a crash, a line of the journal broken") << 4 << -1 << 0 << "Show list" << "journal";
        QTest::newRow("a crash, a photo touched since") << 4 << -1 << 0 << "Show list" << "touched";
        QTest::newRow("a crash, a photo replaced by a copy") << 4 << -1 << 0 << "Show list" << "replaced";
        QTest::newRow("closed during the run") << 6 << -2 << 0 << "Undo" << "";
        QTest::newRow("3 of 10 written, undo") << 10 << 3 << 2 << "Undo" << "";
        QTest::newRow("3 of 10 written, keep") << 10 << 3 << 2 << "Keep" << "";
        QTest::newRow("3 of 10 written, the last line cut") << 10 << 3 << 3 << "Undo" << "cut";
        QTest::newRow("none of 7 written: nothing asked") << 7 << 0 << 0 << "" << "";
        QTest::newRow("one undo fails") << 10 << 3 << 2 << "Undo" << "blocked";
    }

    void an_unfinished_run_is_offered()
    {
        QFETCH(int, photos);
        QFETCH(int, written);
        QFETCH(int, confirmed);
        QFETCH(QString, answer);
        QFETCH(QString, trouble);
        const QStringList paths = make_photos(photos, written < 0 ? "" : ";IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+02:00");
        const auto before = listings(dir->path());
        const int crash = qMin(25, photos / 2);
        if (written == -1) {
            QVERIFY(crash_a_fix_run(dir->path(), crash));
        } else if (written == -2) {
            // A run the closing window cuts short ends without the user's word: its journal stays.
            QGuiApplication::setQuitOnLastWindowClosed(false);
            open_with(paths);
            window->setAttribute(Qt::WA_DeleteOnClose, true);
            QTimer::singleShot(0, window.data(), [this] { window->close(); });
            tip_button(fix_tip)->click();
            QTRY_VERIFY(!window);
            QGuiApplication::setQuitOnLastWindowClosed(true);
        } else {
            QVERIFY(leave_unfinished_run(paths, written, confirmed));
        }
        QCOMPARE(journals().size(), 1);
        const int in_journal = journaled().size();
        const QString failing = paths[1], leftover = failing + "_exiftool_tmp";
        const QString journal = first_journal();
        QString listed = paths[trouble == "touched" ? 1 : 0] + ": changed since the run";
        if (trouble == "cut") {
            cut_a_last_line(paths.last());
        } else if (trouble == "blocked") {
            QVERIFY(QFile::copy(failing, leftover));
        } else if (trouble == "journal") {
            listed = "Undo information that can't be read";
            QByteArray bytes = contents(journal);
            QFile file(journal);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes.replace("\"undo\":[", "\"undo\":[[")) > 0);
        } else if (trouble == "touched") {
            QFile file(paths[1]);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addDays(-3), QFileDevice::FileModificationTime));
        } else if (trouble == "replaced") {
            QVERIFY(QFile::copy(paths[0], paths[0] + ".copy"));
            QVERIFY(QFile::remove(paths[0]) && QFile::rename(paths[0] + ".copy", paths[0]));
        }
        const auto crashed = listings(dir->path());
        const QString failing_stamp = stamp(failing);
        QStringList unwritten, stamps, given_back;
        for (const QJsonObject& tags : crashed)
            if (tags.value("ExifIFD:DateTimeOriginal").toString() == before_time) {
                unwritten << tags.value("SourceFile").toString();
                stamps << stamp(unwritten.last());
            }
        const int shifted = paths.size() - unwritten.size();
        const bool damaged = answer == "Show list";
        if (written == -1) // a run of 200 dies in its middle; one of 4 may have written all
            QVERIFY2(shifted >= crash && (shifted < photos || damaged) && !unwritten.contains(paths[1]), qPrintable(QString::number(shifted)));
        else
            QCOMPARE(shifted, written == -2 ? photos : written);
        for (const QString& path : paths)
            if (answer == "Undo" && !unwritten.contains(path) && !(trouble == "blocked" && path == failing))
                given_back << QFileInfo(path).fileName();

        QSharedPointer<seen_box> second, third;
        if (shifted == 0)
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression("changed no photo"));
        const auto shown = answer_next_box(answer, [&](QDialog*) {
            if (trouble == "blocked" || damaged)
                second = answer_next_box("close", [&](QDialog*) { third = answer_next_box(damaged ? "Keep" : "close"); });
        });
        window = open_main_window();
        if (shifted == 0) {
            QTRY_VERIFY(journals().isEmpty());
            shown->cancelled = true;
            QVERIFY(!shown->answered);
        } else if (damaged) {
            QTRY_VERIFY(third && third->answered);
            QVERIFY2(shown->text.contains("can't be applied safely"), qPrintable(shown->text));
            QCOMPARE(shown->buttons, QStringList({"Keep", "Show list"}));
            QVERIFY2(second->text.contains(listed), qPrintable(second->text));
            QCOMPARE(third->text, shown->text);
        } else {
            QTRY_VERIFY(shown->answered);
            const QString counts = "Photos that run had changed: %1\nPhotos it had not written yet: %2\n";
            QVERIFY2(shown->text.contains(counts.arg(shifted).arg(in_journal - shifted)), qPrintable(shown->text));
            QCOMPARE(shown->buttons, QStringList({"Undo", "Keep"}));
        }
        QVERIFY(trouble == "blocked" || !tip_button(undo_tip)->isEnabled());
        const auto after = listings(dir->path());
        QCOMPARE(after.keys(), crashed.keys());
        for (const QString& name : crashed.keys())
            QVERIFY2(after.value(name) == (given_back.contains(name) ? before : crashed).value(name), qPrintable(name));
        for (int i = 0; i < unwritten.size(); ++i)
            QCOMPARE(stamp(unwritten[i]), stamps[i]);
        // The killed run's private names are gone; an unreadable journal names no folder to clean.
        if (trouble != "journal")
            QCOMPARE(QDir(dir->path()).entryList({".tavimo-*"}, QDir::Files | QDir::Hidden), QStringList());
        QCOMPARE(QDir(dir->path()).entryList({"*.jpg"}, QDir::Files).size(), paths.size());
        if (trouble != "blocked") {
            QVERIFY(journals().isEmpty());
            return;
        }

        // The photo the undo could not restore stays on disk alone, and the user is told.
        QTRY_VERIFY(third && third->answered);
        QVERIFY2(second->text.contains(failing), qPrintable(second->text));
        QVERIFY2(third->text.contains("could not be restored: 1\n"), qPrintable(third->text));
        QCOMPARE(journaled(), QStringList({failing}));
        QCOMPARE(stamp(failing), failing_stamp);
        // The next start offers it alone, and its undo then takes the journal away.
        delete window;
        QVERIFY(QFile::remove(leftover));
        const auto again = answer_next_box("Undo");
        window = open_main_window();
        QTRY_VERIFY(again->answered);
        QVERIFY2(again->text.contains("changed: 1\nPhotos it had not written yet: 0\n"), qPrintable(again->text));
        QVERIFY(journals().isEmpty());
        QVERIFY(listings(dir->path()) == before);
    }

    // The load's time to the nanosecond passes from the table through the journal, past a confirmed
    // write and a crash ("adopted"); a crashed run of an older version has none.
    void the_load_time_survives_data()
    {
        QTest::addColumn<QString>("how");
        for (const char* how : {"run", "adopted", "older"})
            QTest::newRow(how) << QString(how);
    }

    void the_load_time_survives()
    {
        QFETCH(QString, how);
        const QString path = make_photos(1).value(0);
        const qint64 loaded_ns = Q_INT64_C(1498062605123456789);
        QVERIFY(set_modified_ns(path, loaded_ns));
        table_data_model model;
        model.add_file(path, true);
        const file_identity loaded = exif_cache::instance()->identity(path);
        QCOMPARE(loaded.size, QFileInfo(path).size());
        // A value the photo doesn't hold: a crashed run counts it as written.
        const QList<undo_entry> undo = {{"ExifIFD:DateTimeOriginal", true, "2000:01:01 00:00:00"}};
        if (how == "run") {
            undo_journal journal(undo_journal::default_folder());
            QVERIFY(journal.begin_run() && journal.add(path, loaded, undo));
            QVERIFY(set_modified_ns(path, loaded_ns + Q_INT64_C(3600000000000)));
            journal.written(path, true);
            QCOMPARE(journal.loaded_modified_ns(path), loaded_ns);
            journal.end_run();
            return;
        }
        {
            undo_journal crashed(undo_journal::default_folder());
            QVERIFY(crashed.begin_run() && crashed.add(path, loaded, undo));
        }
        if (how == "older") {
            QFile file(first_journal());
            QVERIFY(file.open(QIODevice::ReadWrite));
            QList<QByteArray> lines = file.readAll().split('\n');
            QJsonObject photo = QJsonDocument::fromJson(lines[1]).object();
            QVERIFY(photo.contains("size") && photo.contains("modified_ns"));
            photo.remove("size");
            photo.remove("modified_ns");
            lines[1] = QJsonDocument(photo).toJson(QJsonDocument::Compact);
            file.resize(0);
            file.write(lines.join('\n'));
        }
        undo_journal journal(undo_journal::default_folder());
        const QList<undo_journal::unfinished_run> runs = journal.unfinished_runs();
        QCOMPARE(runs.size(), 1);
        QVERIFY(runs[0].readable && runs[0].changed.isEmpty());
        QCOMPARE(journal.adopt(runs[0]).keys(), QStringList({path}));
        QCOMPARE(journal.loaded_modified_ns(path), how == "older" ? 0 : loaded_ns);
        journal.discard(runs[0]);
    }

    void the_undo_gives_back_the_fraction_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<qint64>("present");
        QTest::addColumn<qint64>("loaded");
        QTest::addColumn<bool>("result");
        QTest::addColumn<qint64>("after");
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
        QFETCH(QString, entry);
        QFETCH(qint64, present);
        QFETCH(qint64, loaded);
        QFETCH(bool, result);
        QFETCH(qint64, after);
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
            QCOMPARE(file_identity::of(path).modified_ns, loaded - loaded % 1000000000);
        } else {
            QVERIFY(set_modified_ns(path, present));
        }
        QCOMPARE(file_identity::restore_modified_time(path, loaded), result);
        QCOMPARE(file_identity::of(path).modified_ns, after);
    }

    // A folder, or a link to one, is neither read nor written.
    void the_bridge_refuses_folders()
    {
        const QString album = dir->filePath("album");
        QVERIFY(QDir(dir->path()).mkdir("album") && QFile::link(album, dir->filePath("album link")));
        make_tagged_photo(album, "inner.jpg", tag_map("ExifIFD:DateTimeOriginal=" + before_time));
        const auto before = listings(album);
        for (const QString& folder : {album, dir->filePath("album link")}) {
            QVERIFY(ondo::exiftool::read_tags(folder, true, false).empty());
            QVERIFY(!ondo::exiftool::write_tags(folder, {{"ExifIFD:DateTimeOriginal", after_time}}));
        }
        QVERIFY(!before.isEmpty() && listings(album) == before);
    }

private:
    // The photos in the one journal on disk: those of its whole lines, less the failed ones.
    static QStringList journaled()
    {
        QFile file(first_journal());
        QList<QByteArray> lines = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        QStringList photos;
        for (const QByteArray& line : lines) {
            const QJsonObject record = QJsonDocument::fromJson(line).object();
            photos << record.value("photo").toString();
            photos.removeAll(record.value("failed").toString());
        }
        photos.removeAll(QString());
        return photos;
    }
    // The crash came while the line of `path` was being written, before its write was sent.
    static void cut_a_last_line(const QString& path)
    {
        QFile file(first_journal());
        if (file.open(QIODevice::Append))
            file.write("{\"photo\":\"" + path.toUtf8() + "\",\"undo\":[{\"ta");
    }
    QStringList make_photos(int count, const QString& more = QString())
    {
        return numbered_copies(make_file(dir->path(), "p000.jpg|ExifIFD:DateTimeOriginal=#" + more), "p000.jpg", count);
    }
};

int main(int argc, char** argv)
{
    return test_support::main_with_crashing_child(argc, argv, [&] {
        tst_undo_journal test;
        return QTest::qExec(&test, argc, argv);
    });
}

#include "tst_undo_journal.moc"
