// What bad luck and hostile photos do to a run: marker text inside photos, a child that dies,
// stalls or floods, and a program or child killed or stopped in the middle of a fix run.
#include "processes.h"
#include "table_data_model.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool_worker.h>

#include <QCryptographicHash>
#include <QImage>
#include <QProgressDialog>
#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <csignal>

using namespace test_support;

namespace {

const QString before = "2017:06:21 18:30:05";
const QString after = "2017:06:21 19:30:05";

QString tag(const QString& path, const QString& name)
{
    return run(TAVIMO_EXIFTOOL_SCRIPT, {"-s3", "-" + name, path}).trimmed();
}

// What a fix may never change: the decoded pixels, and what ExifTool's validation finds.
QByteArray soundness(const QString& path)
{
    QImage image;
    if (!image.load(path))
        return "does not decode";
    image = image.convertToFormat(QImage::Format_RGB32);
    return QCryptographicHash::hash(QByteArray::fromRawData(reinterpret_cast<const char*>(image.constBits()),
                                        int(image.sizeInBytes())), QCryptographicHash::Sha1).toHex()
        + " " + tag(path, "Validate").toUtf8();
}

QStringList leftovers(const QString& dir)
{
    return QDir(dir).entryList({"*_exiftool_tmp"}, QDir::Files | QDir::Hidden);
}

} // namespace

class tst_exiftool_faults : public window_test {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(large.isValid());
        large_photos = photos(large.path(), 12, true);
        restore_large_photos();
        for (const QString& path : large_photos)
            sound[path] = soundness(path);
    }

    // The stand-in child fails the second file of a load, fix or undo: that file alone fails; the
    // third is done too (its write went out ahead) unless the user stopped a load; nothing is left.
    void a_faulty_child_fails_only_its_file_data()
    {
        QTest::addColumn<QString>("run");
        QTest::addColumn<QString>("fault");
        for (const char* run : {"load", "fix", "undo"}) {
            QTest::addRow("%s, child exits mid-answer", run) << run << "exits";
            QTest::addRow("%s, child stalls, Stop", run) << run << "stalls";
            QTest::addRow("%s, child stalls deaf to SIGINT, Stop", run) << run << "deaf";
        }
    }

    void a_faulty_child_fails_only_its_file()
    {
        QFETCH(QString, run);
        QFETCH(QString, fault);
        const QStringList paths = photos(dir->path(), 3);
        fake_perl perl;
        perl.rule("reply", "*", "-ExifIFD:DateTimeOriginal=" + before + "\n    1 image files updated\n");
        const QString faulty = run == "load" ? "1" : run == "fix" ? "4" : "7"; // task ids of the second file
        perl.rule("plain", faulty, fault == "exits" ? "-ExifIFD:DateT" : "");
        if (fault == "exits")
            perl.rule("exit", faulty);
        if (fault == "deaf")
            perl.rule("deaf");
        ondo::next_task_id = 0;
        ondo::exiftool::set_time_limit(300);
        // Clicks Stop once the stall notice offers it; the load's own Stop is there all along.
        QTimer stopper;
        connect(&stopper, &QTimer::timeout, &stopper, [this] {
            for (QProgressDialog* dialog : window ? window->findChildren<QProgressDialog*>() : QList<QProgressDialog*>())
                for (QPushButton* stop : dialog->findChildren<QPushButton*>())
                    if (dialog->isVisible() && dialog->labelText().startsWith("ExifTool is still working")
                        && stop->isVisible() && stop->text() == "Stop")
                        stop->click();
        });
        stopper.start(50);

        window = open_main_window();
        window->load_files(paths);
        const bool third_done = fault == "exits" || run != "load";
        auto cache = exif_cache::instance();
        QCOMPARE(cache->contains(paths[2]), third_done);
        QCOMPARE(cache->of(paths[1]).tags.contains("ExifIFD:DateTimeOriginal"), run != "load");
        auto second_alone_failed = [&](const seen_box& box) {
            return box.answered && box.text.count(dir->path()) == 1 && box.text.contains(paths[1]);
        };
        if (run != "load")
            QCOMPARE(second_alone_failed(*fix_by_an_hour()), run == "fix");
        if (run == "undo") {
            QVERIFY(second_alone_failed(*click_answering(undo_tip, "OK")));
            QVERIFY(button(window, undo_tip)->isEnabled()); // what failed can be tried again
        }
        stopper.stop();
        ondo::exiftool::set_time_limit(60000);
        // Input lines, not runs, are counted (two children log into one file): a file is named once by
        // its read and once by each write, through its private link ".tavimo-<pid>-<n>-<name>".
        const QList<QByteArray> input = perl.input().split('\n');
        QVERIFY(input.contains(QFile::encodeName(paths[0])));
        const QByteArray third = QFile::encodeName(paths[2]), third_name = QFile::encodeName(QFileInfo(paths[2]).fileName());
        const QByteArray link_start = QFile::encodeName(QFileInfo(paths[2]).absolutePath()) + "/.tavimo-";
        if (run != "load")
            QCOMPARE(int(std::count_if(input.begin(), input.end(), [&](const QByteArray& line) {
                         return line == third || (line.startsWith(link_start) && line.endsWith("-" + third_name));
                     })), run == "undo" ? 3 : 2);
        QVERIFY(window->findChild<QWidget*>("centralWidget")->isEnabled());
        ondo::exiftool::shutdown(true);
        for (const qint64 pid : perl.pids())
            QTRY_VERIFY_WITH_TIMEOUT(!is_running(pid), 10000);
    }

    // Three children load the table one child loads and write every good file once, failures listed
    // in table order; the folder and twelve texts of the first photo end like the reads' markers.
    void several_children_work_as_one()
    {
        QVERIFY(QDir(dir->path()).mkpath("trip{ready1}"));
        const QString album = dir->filePath("trip{ready1}");
        QStringList paths;
        for (int i = 0; i < 12; ++i) {
            exif_tag_map tags;
            if (i % 4 != 3)
                tags["ExifIFD:DateTimeOriginal"] = QString("2017:06:%1 18:30:05").arg(10 + i);
            if (i % 3 == 0)
                tags["IFD0:ModifyDate"] = "2016:01:02 03:04:05";
            if (i % 5 == 0)
                tags["IFD0:Make"] = QString("Maker %1").arg(i);
            paths << make_tagged_photo(album, QString("s%1.jpg").arg(i, 2, 10, QLatin1Char('0')), tags);
        }
        exif_tag_map texts;
        const QStringList fields = {"IFD0:ImageDescription", "IFD0:Artist", "IFD0:Copyright", "IFD0:Software", "IFD0:Make",
            "IFD0:Model", "XMP-dc:Description", "XMP-dc:Title", "XMP-dc:Creator", "IPTC:Caption-Abstract", "IPTC:ObjectName",
            "IPTC:By-line"};
        for (int i = 0; i < fields.size(); ++i)
            texts[fields[i]] = QString("text{ready%1}").arg(i);
        tag_files({{paths[0], texts}, {paths[11], {{"IFD0:Artist", "nobody{ready2}"}}}});
        auto load = [&](int children) {
            ondo::exiftool::shutdown(false);
            ondo::exiftool::set_pool_size(children);
            ondo::next_task_id = 0;
            delete window;
            forget_files();
            window = open_main_window();
            window->load_files(paths);
            QStringList rows;
            QAbstractItemModel* model = window->findChild<QTableView*>()->model();
            for (int row = 0; row < model->rowCount(); ++row)
                rows << model->index(row, 0).data().toString() + " | " + model->index(row, 1).data().toString();
            return rows;
        };
        const QStringList one = load(1);
        QCOMPARE(one.size(), paths.size());
        QCOMPARE(load(3), one);
        QCOMPARE(ondo::workers.size(), 3);

        // Crafted names and a vanished file between good ones: refused or failed, in row order.
        const QString crafted = album + "/a\n-if\n1.jpg", gone = album + "/zz gone.jpg";
        QVERIFY(QFile::copy(paths[0], crafted) && QFile::copy(paths[0], gone));
        window->load_files({crafted, gone});
        QVERIFY(QFile::remove(paths[4]) && QFile::remove(gone));
        ondo::exiftool::verbose(true);
        log_capture log;
        const QString text = fix_by_an_hour()->text;
        ondo::exiftool::verbose(false);
        ondo::exiftool::set_pool_size(0);
        QVERIFY2(text.indexOf(crafted) >= 0 && text.indexOf(crafted) < text.indexOf(paths[4])
                     && text.indexOf(paths[4]) < text.indexOf(gone), qPrintable(text));
        const QStringList writes = log.lines().filter("Writing '").filter("-overwrite_original_in_place");
        paths.removeAt(4); // vanished
        QStringList times; // the dateless gain none
        for (const QString& path : paths) {
            const QString name = QFileInfo(path).fileName();
            const int n = name.mid(1, 2).toInt();
            const bool dated = n % 4 != 3;
            times << name + "\t" + (dated ? QString("2017:06:%1 19:30:05").arg(10 + n) : "-");
            if (dated) // through the photo's private link beside it
                QCOMPARE(writes.filter(QRegularExpression("\n" + QRegularExpression::escape(album) + "/\\.tavimo-\\d+-\\d+-"
                                                          + QRegularExpression::escape(name) + "\n")).size(), 1);
        }
        QCOMPARE(run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-T", "-FileName", "-ExifIFD:DateTimeOriginal"} + paths)
                     .split('\n', Qt::SkipEmptyParts), times);
        QCOMPARE(tag(paths[0], "IFD0:Artist"), QString("text{ready1}"));
    }

    // The real ExifTool killed mid-run over large photos: at most its file fails, whole and with no
    // temporary file; every other is written, and the undo covers all.
    void a_killed_child_fails_only_its_file()
    {
        restore_large_photos();
        window = open_main_window();
        window->load_files(large_photos);
        qint64 child = 0;
        QTimer killer;
        connect(&killer, &QTimer::timeout, &killer, [&] {
            if (QFileInfo(large_photos[3]).lastModified().date().year() != 2017)
                return;
            killer.stop();
            child = child_of(QCoreApplication::applicationPid());
            ::kill(pid_t(child), SIGKILL);
        });
        killer.start(5);
        const auto failed = fix_by_an_hour();
        QVERIFY(child != 0);
        int failures = 0;
        for (const QString& path : large_photos) {
            const bool listed = failed->answered && failed->text.contains(path);
            failures += listed;
            if (!listed)
                QCOMPARE(tag(path, "ExifIFD:DateTimeOriginal"), after);
            QCOMPARE(soundness(path), sound[path]);
        }
        QVERIFY(failures <= 1);
        QCOMPARE(leftovers(large.path()), QStringList());
        button(window, undo_tip)->click();
        for (const QString& path : large_photos)
            QCOMPARE(tag(path, "ExifIFD:DateTimeOriginal"), before);
    }

    // The program killed at a random moment of a fix run, or its child stopped and the program told
    // to end: no photo torn, no temporary file or process left, and a stopped child gone within 10 s.
    void a_killed_or_stopped_run_leaves_photos_whole_data()
    {
        QTest::addColumn<bool>("kill");
        for (int round = 1; round <= 5; ++round)
            QTest::addRow("program killed, round %d", round) << true;
        QTest::newRow("child stopped, program told to end") << false;
    }

    void a_killed_or_stopped_run_leaves_photos_whole()
    {
        QFETCH(bool, kill);
        restore_large_photos();
        QTemporaryDir home;
        QProcess program;
        launch(program, "tavimo_look", home.path(),
               {{"TAVIMO_LOOK_FILES", large_photos.join(':')}, {"TAVIMO_LOOK_PRESS", "fix"}});
        qint64 child = 0;
        QTRY_VERIFY_WITH_TIMEOUT((child = child_of(program.processId())) != 0, 30000);
        const QDateTime start = QDateTime::currentDateTime();
        // The run has begun once a file carries a time of its own as its modification time.
        QTRY_VERIFY_WITH_TIMEOUT(std::any_of(large_photos.begin(), large_photos.end(), [&](const QString& path) {
            return QFileInfo(path).lastModified() < start.addSecs(-3600);
        }), 60000);
        QTest::qWait(QRandomGenerator::global()->bounded(400));
        QElapsedTimer clock;
        clock.start();
        if (!kill)
            ::kill(pid_t(child), SIGSTOP);
        ::kill(pid_t(program.processId()), kill ? SIGKILL : SIGTERM);
        QVERIFY(program.waitForFinished(10000));
        if (!kill)
            QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QTRY_VERIFY_WITH_TIMEOUT(!is_running(child), 10000);
        if (!kill)
            QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(leftovers(large.path()), QStringList());
        for (const QString& path : large_photos)
            QCOMPARE(soundness(path), sound[path]);
    }

private:
    // Types an hour and presses fix, keeping the changes if a file fails; the box as seen.
    QSharedPointer<seen_box> fix_by_an_hour()
    {
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        return click_answering(fix_tip, "Keep changes");
    }

    // Back to the time they were made with, so that a test sees its own run.
    void restore_large_photos()
    {
        run(TAVIMO_EXIFTOOL_SCRIPT,
            QStringList{"-q", "-overwrite_original_in_place", "-ExifIFD:DateTimeOriginal=" + before,
                        "-FileModifyDate=" + QDateTime::currentDateTime().toString("yyyy:MM:dd hh:mm:ss")} + large_photos);
    }

    QTemporaryDir large;
    QStringList large_photos;
    QMap<QString, QByteArray> sound;
};

int main(int argc, char** argv)
{
    use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_exiftool_faults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_exiftool_faults.moc"
