#include "file_identity.h"
#include "photo_lock.h"

#include "window_test.h"

#include <ondo/application.h>

#include <QAbstractButton>
#include <QImage>
#include <QMessageBox>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QtTest>

#include <cerrno>
#include <sys/mount.h>

using namespace test_support;

namespace {

const QString before = "2017:06:21 18:30:05";
const QString after = "2017:06:21 19:30:05";
const QString others = "2001:02:03 04:05:06"; // what another program writes

// Another program's edit, into the file itself: the path still leads to the file loaded. With
// `keep_time` it puts the file's modification time back, and its size stays.
bool edit_in_place(const QString& path, bool keep_time = false)
{
    return run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-overwrite_original_in_place", "-ExifIFD:DateTimeOriginal=" + others, path}
                                           + (keep_time ? QStringList{"-P"} : QStringList{}))
        .contains("1 image files updated");
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

} // namespace

// The fix and its undo when other programs, other copies, renames or a full card get in their way.
class tst_fix_safety : public window_test {
    Q_OBJECT

private slots:
    // Before the fix or its undo the middle of three photos is edited, held by another copy, or
    // becomes a folder or a link: it alone is refused with its reason; nothing behind it changes.
    void something_gets_in_the_way_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("when");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("middle"); // its time after the undo
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
        QFETCH(QString, when);
        QFETCH(QString, answer);
        QFETCH(QString, reason);
        QStringList paths;
        for (const QString name : {"a.jpg", "b.jpg", "c.jpg"})
            paths << make_tagged_photo(dir->path(), name, {{"ExifIFD:DateTimeOriginal", before}});
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
        QCOMPARE(original_time(paths[0]), after);
        QCOMPARE(original_time(paths[2]), after);
        QVERIFY(journals().isEmpty()); // the run ended: its undo is in memory alone
        const QByteArray fixed = contents(middle);
        if (when == "undo") {
            QCOMPARE(original_time(middle), after);
            get_in_the_way();
        }
        const auto undo_box = click_answering(undo_tip, answer);

        QCOMPARE(fix_box->answered, when == "fix");
        QCOMPARE(undo_box->answered, when == "undo");
        const seen_box& seen = when == "fix" ? *fix_box : *undo_box;
        QTEST(seen.title + "|" + seen.buttons.join(','), "box");
        QVERIFY2(seen.text.contains(middle + reason), qPrintable(seen.text));
        QVERIFY(!seen.text.contains(paths[0]) && !seen.text.contains(paths[2]));
        QVERIFY(contents(paths[0]) == first && contents(paths[2]) == last);
        if (what == "folder" || what == "link") {
            QVERIFY(!victim_before.isEmpty());
            QVERIFY(listings(QFileInfo(victim).path()) == victim_before);
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
        QTest::addColumn<int>("interval");
        QTest::addColumn<QString>("answer");
        QTest::newRow("a rename whenever events run, overwrite") << 0 << "Overwrite";
        QTest::newRow("a rename whenever events run, leave them") << 0 << "Leave them";
        QTest::newRow("a rename every 5 ms, overwrite") << 5 << "Overwrite";
        QTest::newRow("a rename every 20 ms, overwrite") << 20 << "Overwrite";
    }

    void renumbering_during_a_fix()
    {
        QFETCH(int, interval);
        QFETCH(QString, answer);
        constexpr int count = 100;
        auto name = [this](int i) { return dir->filePath(QString("p%1.jpg").arg(i, 3, 10, QChar('0'))); };
        const QStringList paths = numbered_copies(make_tagged_photo(dir->path(), "p000.jpg"), "p000.jpg", count);
        QCOMPARE(paths.size(), count);
        QList<QPair<QString, exif_tag_map>> files;
        for (int i = 0; i < count; ++i)
            files.append({paths[i], {{"ExifIFD:DateTimeOriginal", own_time(i, 0)}, {"IFD0:ImageDescription", QString("photo %1").arg(i)}}});
        tag_files(files);
        open_with(paths);

        int next = 0;
        QStringList refused_renames;
        QTimer renumber;
        connect(&renumber, &QTimer::timeout, &renumber, [&] {
            if (!(next == 0 ? QFile::remove(name(0)) : QFile::rename(name(next), name(next - 1))))
                refused_renames << name(next);
            if (++next == count)
                renumber.stop();
        });
        // Every box is answered: the fix's list of refused photos, the undo's question and its list.
        const QStringList answers = {"Keep changes", answer, "OK"};
        QTimer answering;
        connect(&answering, &QTimer::timeout, &answering, [&answers] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                for (QAbstractButton* button : box->buttons())
                    if (answers.contains(button->text().remove('&')))
                        return button->click();
        });
        answering.start(10);
        renumber.start(interval);
        tip_button(fix_tip)->click();
        renumber.stop();
        QCOMPARE(refused_renames, QStringList());
        QVERIFY2(next > 1, "the renumbering never ran during the fix");
        each_photo_once(count - 1, "after the fix");
        if (QTest::currentTestFailed())
            return;
        tip_button(undo_tip)->click();
        each_photo_once(count - 1, "after the undo");
    }

    // Photos on a card: a tmpfs with `room` pages free beside the photo's own, or FAT or exFAT
    // through FUSE (no hard links, inodes that change with a name's case; opened in upper case).
    // A fixed photo keeps its name and gets every tag back; a refused one stays byte for byte.
    void a_card_data()
    {
        QTest::addColumn<QString>("mount");
        QTest::addColumn<int>("room");
        QTest::addColumn<QString>("outcome");
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
        QFETCH(int, room);
        QFETCH(QString, outcome);
        const QString card = dir->filePath("card"), image = dir->filePath("card.img");
        const QByteArray card_name = QFile::encodeName(card);
        QVERIFY(QDir(dir->path()).mkpath("card"));
        QString device = image;
        const auto detach = qScopeGuard([&] {
            // A busy card is detached all the same, so that no test leaves a mount behind.
            if (mount == "tmpfs" && ::umount(card_name.constData()) != 0)
                ::umount2(card_name.constData(), MNT_DETACH);
            if (mount != "tmpfs")
                QProcess::execute("fusermount", {"-u", "-z", card});
            if (device != image)
                QProcess::execute("losetup", {"-d", device});
        });
        QStringList stored, opened, listed;
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
            QFile filler(card + "/filler");
            QVERIFY(filler.open(QIODevice::WriteOnly));
            const qint64 fill = QStorageInfo(card).bytesAvailable() - (pages + room) * 4096;
            QCOMPARE(filler.write(QByteArray(int(fill), '\0')), fill);
            filler.close();
            QCOMPARE(QStorageInfo(card).bytesAvailable(), (pages + room) * 4096);
        } else {
            const QString format = mount == "fusefat" ? "mkfs.vfat" : "mkfs.exfat";
            if (QStandardPaths::findExecutable(format).isEmpty() || QStandardPaths::findExecutable(mount).isEmpty()
                || !QFileInfo::exists("/dev/fuse"))
                QSKIP(qPrintable(format + " or " + mount + " or /dev/fuse is missing"));
            QFile sized(image);
            QVERIFY(sized.open(QIODevice::WriteOnly) && sized.resize(64 << 20));
            sized.close();
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
        auto tags_of = [&mount](const QString& path) {
            return listing(path).filter(QRegularExpression(mount == "tmpfs" ? "" : "^(?!-System:FileModifyDate=)"));
        };
        for (const QString& path : stored)
            listed << tags_of(path).join('\n');
        const QStringList names = QDir(card).entryList(QDir::Files | QDir::Hidden);
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
        QCOMPARE(QDir(card).entryList(QDir::Files | QDir::Hidden), names);
        for (int photo = 0; photo < stored.size(); ++photo)
            QCOMPARE(tags_of(stored[photo]).join('\n'), listed[photo]);
    }

private:
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

int main(int argc, char** argv)
{
    use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_fix_safety test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fix_safety.moc"
