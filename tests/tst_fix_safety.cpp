#include "file_identity.h"
#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QAbstractButton>
#include <QImage>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QtTest>

#include <cerrno>
#include <sys/mount.h>

namespace {

const QString fix_tip = "Apply changes to the timestamps of the images";
const QString undo_tip = "Undo the last set of timestamp changes";
const QString exiftool = TAVIMO_EXIFTOOL_SCRIPT;
const QString before = "2017:06:21 18:30:05";
const QString after = "2017:06:21 19:30:05";
const QString others = "2001:02:03 04:05:06"; // what another program writes

QString original_time(const QString& path) { return test_support::read_back(path)["ExifIFD:DateTimeOriginal"]; }

// Another program's edit, into the file itself: the path still leads to the file loaded.
bool edit_in_place(const QString& path)
{
    return test_support::run(exiftool, {"-overwrite_original_in_place", "-ExifIFD:DateTimeOriginal=" + others, path})
        .contains("1 image files updated");
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A photo of noise, a few hundred KB, that validates cleanly and whose size ends a few bytes
// before a 4 KiB page: the zone tags a fix adds take it onto one more page of a tmpfs.
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
    int padding = 16;
    for (int round = 0; round < 3; ++round) {
        const QStringList arguments = {"-overwrite_original", "-ExifIFD:DateTimeOriginal=" + before,
                                       "-ExifIFD:ExifImageWidth=400", "-ExifIFD:ExifImageHeight=300",
                                       "-Comment=" + QString(padding, 'x'), path};
        if (!test_support::run(exiftool, arguments).contains("1 image files updated"))
            return QString();
        const int missing = int((4096 - 6 - QFileInfo(path).size() % 4096 + 4096) % 4096);
        if (missing == 0)
            return path;
        padding += missing;
    }
    return QString();
}

} // namespace

// The fix and its undo when other programs, renames or a full card get in their way.
class tst_fix_safety : public test_support::window_test {
    Q_OBJECT

private slots:
    // Three photos; another program gives the middle one a new time after the load (`edited`
    // "load") or after the fix ("fix"). The box that follows is answered `answer`.
    void another_program_edits_a_photo_data()
    {
        QTest::addColumn<QString>("edited");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("middle_after_undo");
        QTest::newRow("before the fix: refused") << "load" << "Keep changes" << "Continue?|Keep changes,Undo Changes" << others;
        QTest::newRow("before the undo, left") << "fix" << "Leave them" << "Undo|Overwrite,Leave them" << others;
        QTest::newRow("before the undo, overwritten") << "fix" << "Overwrite" << "Undo|Overwrite,Leave them" << before;
    }

    void another_program_edits_a_photo()
    {
        QFETCH(QString, edited);
        QFETCH(QString, answer);
        QFETCH(QString, box);
        QStringList paths;
        for (const QString name : {"a.jpg", "b.jpg", "c.jpg"})
            paths << test_support::make_tagged_photo(dir->path(), name, {{"ExifIFD:DateTimeOriginal", before}});
        const QString middle = paths[1];
        window = test_support::open_main_window();
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        if (edited == "load")
            QVERIFY(edit_in_place(middle));

        // Armed for both runs, so that a box where none belongs is caught too.
        const auto fix_box = test_support::answer_next_box(answer);
        test_support::button(window, fix_tip)->click();
        fix_box->cancelled = true;
        QCOMPARE(original_time(paths[0]), after);
        QCOMPARE(original_time(middle), edited == "load" ? others : after);
        QCOMPARE(original_time(paths[2]), after);
        if (edited == "fix")
            QVERIFY(edit_in_place(middle));
        const auto undo_box = test_support::answer_next_box(answer);
        test_support::button(window, undo_tip)->click();
        undo_box->cancelled = true;

        QCOMPARE(fix_box->answered, edited == "load");
        QCOMPARE(undo_box->answered, edited == "fix");
        const test_support::seen_box& seen = edited == "load" ? *fix_box : *undo_box;
        QCOMPARE(seen.title + "|" + seen.buttons.join(','), box);
        QVERIFY(seen.text.contains(middle + (edited == "load" ? " (changed since it was loaded)" : "")));
        QVERIFY(!seen.text.contains(paths[0]) && !seen.text.contains(paths[2]));
        QCOMPARE(original_time(paths[0]), before);
        QTEST(original_time(middle), "middle_after_undo");
        QCOMPARE(original_time(paths[2]), before);
    }

    // 100 photos p000…p099, photo i dated i days after the first and described "photo i". During
    // the fix a file manager renumbers them: p000 goes, then p001 becomes p000, p002 p001 and so
    // on, one rename every `interval` ms. Every photo must still be there once, holding its own
    // time or its own an hour later, after the fix and again after an undo whose question about
    // changed photos is answered `answer`.
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
        QList<QPair<QString, exif_tag_map>> files;
        QStringList paths;
        test_support::make_tagged_photo(dir->path(), "p000.jpg");
        for (int i = 0; i < count; ++i) {
            QVERIFY(i == 0 || QFile::copy(name(0), name(i)));
            files.append({name(i), {{"ExifIFD:DateTimeOriginal", own_time(i, 0)}, {"IFD0:ImageDescription", QString("photo %1").arg(i)}}});
            paths << name(i);
        }
        test_support::tag_files(files);
        window = test_support::open_main_window();
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");

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
        test_support::button(window, fix_tip)->click();
        renumber.stop();
        QCOMPARE(refused_renames, QStringList());
        QVERIFY2(next > 1, "the renumbering never ran during the fix");
        each_photo_once(count - 1, "after the fix");
        if (QTest::currentTestFailed())
            return;
        test_support::button(window, undo_tip)->click();
        each_photo_once(count - 1, "after the undo");
    }

    // A photo on a tmpfs filled up to leave `room` pages beside the photo's own. With two the
    // fix writes its copy and grows the photo in place; with one only the copy fits, and
    // ExifTool puts the copy in the photo's place; with less the copy fails. A fixed photo gets
    // its whole listing back from the undo; a refused one stays as it was, byte for byte.
    void a_nearly_full_card_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("room to grow in place") << 2 << "in place";
        QTest::newRow("room for the copy alone") << 1 << "replaced";
        QTest::newRow("a page short of the copy") << 0 << "refused";
        QTest::newRow("less room than the photo") << -1 << "refused";
    }

    void a_nearly_full_card()
    {
        QFETCH(int, room);
        QFETCH(QString, outcome);
        const QString made = noisy_photo(dir->path());
        QVERIFY(!made.isEmpty());
        const QString card = dir->filePath("card");
        QVERIFY(QDir(dir->path()).mkpath("card"));
        if (::mount("tmpfs", QFile::encodeName(card).constData(), "tmpfs", 0, "size=2m") != 0)
            QSKIP(qPrintable(QString("no tmpfs could be mounted: %1").arg(qt_error_string(errno))));
        const auto unmount = qScopeGuard([&card] {
            // A busy card is detached all the same, so that no test leaves a mount behind.
            if (::umount(QFile::encodeName(card).constData()) != 0)
                ::umount2(QFile::encodeName(card).constData(), MNT_DETACH);
        });
        const QString path = card + "/photo.jpg";
        QVERIFY(QFile::copy(made, path));
        const qint64 pages = (QFileInfo(path).size() + 4095) / 4096;
        QFile filler(card + "/filler");
        QVERIFY(filler.open(QIODevice::WriteOnly));
        const qint64 fill = QStorageInfo(card).bytesAvailable() - (pages + room) * 4096;
        QCOMPARE(filler.write(QByteArray(int(fill), '\0')), fill);
        filler.close();
        QCOMPARE(QStorageInfo(card).bytesAvailable(), (pages + room) * 4096);

        const QByteArray bytes = contents(path);
        const QStringList listing = test_support::listing(path);
        const quint64 loaded = file_identity::of(path).inode;
        window = test_support::open_main_window();
        window->load_files({path});
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "2");
        const auto shown = test_support::answer_next_box("Keep changes");
        test_support::button(window, fix_tip)->click();
        shown->cancelled = true;

        QCOMPARE(shown->answered, outcome == "refused");
        if (outcome == "refused") {
            QVERIFY(shown->text.contains(path));
            QVERIFY(contents(path) == bytes);
        } else {
            QCOMPARE(original_time(path), after);
            // The premise of the row: the zone tags took the photo onto a page of its own.
            QVERIFY(QFileInfo(path).size() > pages * 4096);
            QCOMPARE(file_identity::of(path).inode == loaded, outcome == "in place");
        }
        QCOMPARE(QDir(card).entryList({"*_exiftool_tmp", ".tavimo-*"}, QDir::Files | QDir::Hidden), QStringList());
        QCOMPARE(test_support::run(exiftool, {"-validate", "-warning", "-a", "-s3", path}).trimmed(), QString("OK"));

        if (outcome != "refused") {
            test_support::button(window, undo_tip)->click();
            QCOMPARE(test_support::listing(path), listing);
            QCOMPARE(QDir(card).entryList({"*_exiftool_tmp"}, QDir::Files | QDir::Hidden), QStringList());
        }
    }

    // A memory card through FUSE, as a card reader without the kernel's drivers gives it: no hard
    // links, no copy in place on FAT, and inode numbers that change with the spelling of a name.
    // Photos stored in lower case and opened in upper case are loaded, fixed and undone under
    // their own names (the other spelling's cached contents would stay old), and the undo gives
    // every tag back.
    void a_memory_card_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("mount");
        QTest::newRow("FAT") << "mkfs.vfat" << "fusefat";
        QTest::newRow("exFAT") << "mkfs.exfat" << "mount.exfat-fuse";
    }

    void a_memory_card()
    {
        QFETCH(QString, format);
        QFETCH(QString, mount);
        if (QStandardPaths::findExecutable(format).isEmpty() || QStandardPaths::findExecutable(mount).isEmpty()
            || !QFileInfo::exists("/dev/fuse"))
            QSKIP(qPrintable(format + " or " + mount + " or /dev/fuse is missing"));
        const QString image = dir->filePath("card.img"), card = dir->filePath("card");
        QVERIFY(QDir(dir->path()).mkpath("card"));
        QFile sized(image);
        QVERIFY(sized.open(QIODevice::WriteOnly) && sized.resize(64 << 20));
        sized.close();
        QCOMPARE(test_support::run(format, {image}).isNull(), false);
        QString device = image;
        if (mount == "mount.exfat-fuse") {
            // exfat-fuse takes only a block device.
            QProcess loop;
            loop.start("losetup", {"-f", "--show", image});
            if (!loop.waitForFinished() || loop.exitCode() != 0)
                QSKIP("no loop device");
            device = QString::fromUtf8(loop.readAllStandardOutput()).trimmed();
        }
        const auto detach = qScopeGuard([&] {
            QProcess::execute("fusermount", {"-u", "-z", card});
            if (device != image)
                QProcess::execute("losetup", {"-d", device});
        });
        const QStringList options = mount == "fusefat" ? QStringList{"-o", "rw+"} : QStringList{};
        if (QProcess::execute(mount, options + QStringList{device, card}) != 0)
            QSKIP(qPrintable(mount + " could not mount the card"));

        QStringList opened, listings;
        for (int photo = 1; photo <= 3; ++photo) {
            const QString stored = QString("img_%1.jpg").arg(photo);
            const QString made = test_support::make_tagged_photo(dir->path(), stored, {{"ExifIFD:DateTimeOriginal", own_time(photo, 0)}});
            QVERIFY(QFile::copy(made, card + "/" + stored));
            opened << card + "/" + stored.toUpper();
            listings << tags_of(card + "/" + stored);
        }
        window = test_support::open_main_window();
        window->load_files(opened);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        test_support::button(window, fix_tip)->click();
        const QStringList names = {"img_1.jpg", "img_2.jpg", "img_3.jpg"};
        QCOMPARE(QDir(card).entryList(QDir::Files | QDir::Hidden), names);
        for (int photo = 1; photo <= 3; ++photo)
            QCOMPARE(original_time(card + "/" + names[photo - 1]), own_time(photo, 1));

        test_support::button(window, undo_tip)->click();
        QCOMPARE(QDir(card).entryList(QDir::Files | QDir::Hidden), names);
        for (int photo = 1; photo <= 3; ++photo)
            QCOMPARE(tags_of(card + "/" + names[photo - 1]), listings[photo - 1]);
    }

private:
    // FAT through FUSE sets a file's time to the moment of each write, whatever it is given.
    static QString tags_of(const QString& path)
    {
        return test_support::listing(path).filter(QRegularExpression("^(?!-System:FileModifyDate=)")).join('\n');
    }
    static QString own_time(int photo, int hours)
    {
        return QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5)).addDays(photo).addSecs(3600 * hours).toString("yyyy:MM:dd hh:mm:ss");
    }
    // Photos 1 to `last` in the folder, each once and holding its own time or its own an hour
    // later, and no copy that ExifTool left.
    void each_photo_once(int last, const QString& when)
    {
        QSet<int> seen;
        QStringList wrong;
        const QString listed = test_support::run(exiftool, {"-T", "-FileName", "-IFD0:ImageDescription", "-ExifIFD:DateTimeOriginal", dir->path()});
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
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_fix_safety test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fix_safety.moc"
