#include "mainwindow.h"
#include "undo_journal.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <ctime>
#include <unistd.h>

namespace {

const QString fix_tip = "Apply changes to the timestamps of the images";
const QString undo_tip = "Undo the last set of timestamp changes";
const QString before_time = "2017:06:21 18:30:05";
const QString after_time = "2017:06:21 19:30:05";

// Every tag of every file in `folder` but those that move by themselves, by file name.
QMap<QString, QJsonObject> listings(const QString& folder)
{
    QMap<QString, QJsonObject> result;
    const QByteArray json = test_support::run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-j", "-charset", "filename=utf8", folder}).toUtf8();
    for (const QJsonValue& file : QJsonDocument::fromJson(json).array()) {
        QJsonObject tags = file.toObject();
        for (const char* moving : {"System:FileAccessDate", "System:FileInodeChangeDate", "ExifTool:ExifToolVersion"})
            tags.remove(moving);
        result.insert(QFileInfo(tags.value("SourceFile").toString()).fileName(), tags);
    }
    return result;
}

QString original_time(const QString& path)
{
    return test_support::read_back(path)["ExifIFD:DateTimeOriginal"];
}

QStringList journals()
{
    return QDir(undo_journal::default_folder()).entryList({"*.journal"}, QDir::Files);
}

// The child's side of a crash: loads the JPEGs of TAVIMO_TEST_FOLDER, starts a fix run of one hour
// and ends the process without a word once TAVIMO_TEST_CRASH_AFTER files are through.
int crash_during_a_fix_run(int argc, char** argv)
{
    ondo::application<MainWindow> app(argc, argv);
    const int after = qEnvironmentVariableIntValue("TAVIMO_TEST_CRASH_AFTER");
    const QDir folder(qEnvironmentVariable("TAVIMO_TEST_FOLDER"));
    QStringList paths;
    for (const QString& name : folder.entryList({"*.jpg"}, QDir::Files, QDir::Name))
        paths << folder.absoluteFilePath(name);
    MainWindow* window = test_support::open_main_window();
    window->load_files(paths);
    QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
    // Each bar moves only after its files' writes are done, a few at a time; from here on only
    // the fix bar moves.
    for (QProgressBar* bar : window->findChildren<QProgressBar*>())
        QObject::connect(bar, &QProgressBar::valueChanged, [after](int value) {
            if (value >= after)
                ::_exit(0);
        });
    test_support::button(window, fix_tip)->click();
    return 3; // the run ended before the crash
}

} // namespace

// The undo information on disk, what the next start does with it, and paths that change their
// nature between load and write; with the real ExifTool.
class tst_undo_journal : public test_support::window_test {
    Q_OBJECT

private slots:
    void a_crashed_run_is_offered_at_the_next_start_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("cut");
        QTest::newRow("undo") << "Undo" << false;
        QTest::newRow("keep") << "Keep" << false;
        // The crash came while the next photo's line was being written, before its write was sent.
        QTest::newRow("undo, the last line cut") << "Undo" << true;
    }

    // 200 photos, a crash after 25 or more of them: the next start gives back exactly those and
    // the ones whose writes had gone out ahead of the crash, or keeps them.
    void a_crashed_run_is_offered_at_the_next_start()
    {
        QFETCH(QString, answer);
        QFETCH(bool, cut);
        make_photos(200);
        const auto before = listings(dir->path());
        QVERIFY(crash_after(25));
        const auto crashed = listings(dir->path());
        int shifted = 0;
        for (const QJsonObject& tags : crashed)
            shifted += tags.value("ExifIFD:DateTimeOriginal").toString() == after_time;
        QVERIFY2(shifted >= 25 && shifted < 200, qPrintable(QString::number(shifted)));
        QCOMPARE(journals().size(), 1);
        if (cut) {
            QFile file(QDir(undo_journal::default_folder()).filePath(journals().first()));
            QVERIFY(file.open(QIODevice::Append));
            file.write("{\"photo\":\"" + dir->filePath("p199.jpg").toUtf8() + "\",\"undo\":[{\"ta");
        }

        const auto shown = test_support::answer_next_box(answer);
        window = test_support::open_main_window();
        QTRY_VERIFY(shown->answered);
        // Every photo whose write had gone out counts, written or not: at most the 64 writes a
        // run queues ahead and one group of 32 undo lines more than were done.
        const int offered = QRegularExpression("changed: (\\d+)\n").match(shown->text).captured(1).toInt();
        QVERIFY2(offered >= shifted - (cut ? 1 : 0) && offered <= shifted + 96, qPrintable(shown->text));
        QCOMPARE(shown->buttons, QStringList({"Undo", "Keep"}));
        QVERIFY(journals().isEmpty());
        QVERIFY(!test_support::button(window, undo_tip)->isEnabled());
        QVERIFY(listings(dir->path()) == (answer == "Undo" ? before : crashed));
    }

    // A run that the closing window cuts short ends without the user's word: its journal stays.
    void a_run_ended_by_closing_is_offered_too()
    {
        const QStringList paths = make_photos(6);
        QGuiApplication::setQuitOnLastWindowClosed(false);
        window = test_support::open_main_window();
        window->setAttribute(Qt::WA_DeleteOnClose, true);
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        QTimer::singleShot(0, window.data(), [this] { window->close(); });
        test_support::button(window, fix_tip)->click();
        QTRY_VERIFY(!window);
        QGuiApplication::setQuitOnLastWindowClosed(true);
        QCOMPARE(journals().size(), 1);

        const auto shown = test_support::answer_next_box("Undo");
        window = test_support::open_main_window();
        QTRY_VERIFY(shown->answered);
        QVERIFY2(shown->text.contains("Photos that run had changed: 6\n"), qPrintable(shown->text));
        for (const QString& path : paths)
            QCOMPARE(original_time(path), before_time);
    }

    // Photos of a crashed run of four, of which two were written; then the journal or a photo is
    // changed. Neither is applied: the question offers Keep and the list only.
    void a_damaged_run_is_never_applied_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("a line of the journal broken") << "journal";
        QTest::newRow("a photo touched since") << "touched";
        QTest::newRow("a photo replaced by a copy") << "replaced";
    }

    void a_damaged_run_is_never_applied()
    {
        QFETCH(QString, damage);
        make_photos(4);
        QVERIFY(crash_after(2));
        QCOMPARE(journals().size(), 1);
        QStringList paths; // the two the run wrote, and any whose write had gone out ahead
        for (const QJsonObject& tags : listings(dir->path()))
            if (tags.value("ExifIFD:DateTimeOriginal").toString() == after_time)
                paths << tags.value("SourceFile").toString();
        QVERIFY(paths.size() >= 2);
        const QString listed = damage == "journal" ? "Undo information that can't be read"
                                                   : paths[damage == "touched" ? 1 : 0] + ": changed since the run";
        if (damage == "journal") {
            QFile file(QDir(undo_journal::default_folder()).filePath(journals().first()));
            QVERIFY(file.open(QIODevice::ReadWrite));
            QByteArray bytes = file.readAll();
            bytes.replace("\"undo\":[", "\"undo\":[[");
            file.resize(0);
            file.write(bytes);
        } else if (damage == "touched") {
            QFile file(paths[1]);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addDays(-3), QFileDevice::FileModificationTime));
        } else {
            QVERIFY(QFile::copy(paths[0], paths[0] + ".copy"));
            QVERIFY(QFile::remove(paths[0]) && QFile::rename(paths[0] + ".copy", paths[0]));
        }
        const auto crashed = listings(dir->path());

        // "Show list", close the list, then "Keep".
        QSharedPointer<test_support::seen_box> list, keep;
        const auto question = test_support::answer_next_box("Show list", [&](QDialog*) {
            list = test_support::answer_next_box("close", [&](QDialog*) { keep = test_support::answer_next_box("Keep"); });
        });
        window = test_support::open_main_window();
        QTRY_VERIFY(keep && keep->answered);
        QVERIFY2(question->text.contains("can't be applied safely"), qPrintable(question->text));
        QCOMPARE(question->buttons, QStringList({"Keep", "Show list"}));
        QVERIFY2(list->text.contains(listed), qPrintable(list->text));
        QCOMPARE(keep->text, question->text);
        QVERIFY(journals().isEmpty());
        QVERIFY(listings(dir->path()) == crashed);
    }

    // A loaded photo becomes a folder holding a JPEG, or a link to another JPEG, before the fix or
    // before its undo: that file fails with its reason, and nothing in or behind it changes.
    void a_swapped_path_is_never_written_data()
    {
        QTest::addColumn<QString>("into");
        QTest::addColumn<QString>("when");
        QTest::newRow("folder before the fix") << "folder" << "fix";
        QTest::newRow("link before the fix") << "link" << "fix";
        QTest::newRow("folder before the undo") << "folder" << "undo";
        QTest::newRow("link before the undo") << "link" << "undo";
    }

    void a_swapped_path_is_never_written()
    {
        QFETCH(QString, into);
        QFETCH(QString, when);
        const QStringList paths = make_photos(2);
        const QString swapped = paths[0], kept = paths[1];
        QVERIFY(QDir(dir->path()).mkdir("aside"));
        const QString other = test_support::make_tagged_photo(dir->filePath("aside"), "other.jpg",
                                                              test_support::tag_map("ExifIFD:DateTimeOriginal=" + before_time));
        const QString victim = into == "link" ? other : swapped + "/inner.jpg";
        QMap<QString, QJsonObject> victim_before;
        auto swap = [&] {
            QVERIFY(QFile::remove(swapped));
            if (into == "link") {
                QVERIFY(QFile::link(other, swapped));
            } else {
                QVERIFY(QDir(dir->path()).mkdir(QFileInfo(swapped).fileName()));
                QVERIFY(QFile::copy(other, swapped + "/inner.jpg"));
            }
            victim_before = listings(QFileInfo(victim).path());
        };

        window = test_support::open_main_window();
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        if (when == "fix")
            swap();

        auto fix_failures = test_support::answer_next_box("Keep changes");
        test_support::button(window, fix_tip)->click();
        fix_failures->cancelled = true;
        QCOMPARE(original_time(kept), after_time);
        QCOMPARE(fix_failures->answered, when == "fix");
        QVERIFY(journals().isEmpty()); // the run ended: its undo is in memory alone
        if (when == "undo") {
            QCOMPARE(original_time(swapped), after_time);
            swap();
        }

        auto undo_failures = test_support::answer_next_box("close");
        test_support::button(window, undo_tip)->click();
        undo_failures->cancelled = true;
        QCOMPARE(original_time(kept), before_time);
        QCOMPARE(undo_failures->answered, when == "undo");
        const auto failures = when == "fix" ? fix_failures : undo_failures;
        QVERIFY2(failures->text.contains(swapped + " (changed since it was loaded)"), qPrintable(failures->text));
        QVERIFY(!victim_before.isEmpty());
        QVERIFY(listings(QFileInfo(victim).path()) == victim_before);
    }

    void the_bridge_refuses_folders_data()
    {
        QTest::addColumn<bool>("link");
        QTest::newRow("folder") << false;
        QTest::newRow("link to a folder") << true;
    }

    void the_bridge_refuses_folders()
    {
        QFETCH(bool, link);
        QVERIFY(QDir(dir->path()).mkdir("album"));
        const QString inner = test_support::make_tagged_photo(dir->filePath("album"), "inner.jpg",
                                                              test_support::tag_map("ExifIFD:DateTimeOriginal=" + before_time));
        QString folder = dir->filePath("album");
        if (link) {
            QVERIFY(QFile::link(folder, dir->filePath("album link")));
            folder = dir->filePath("album link");
        }
        const auto before = listings(dir->filePath("album"));
        QVERIFY(ondo::exiftool::read_tags(folder, true, false).empty());
        QVERIFY(!ondo::exiftool::write_tags(folder, {{"ExifIFD:DateTimeOriginal", after_time}}));
        QVERIFY(listings(dir->filePath("album")) == before);
        QCOMPARE(original_time(inner), before_time);
    }

private:
    // p000.jpg ... copies of one photo taken at `before_time`.
    QStringList make_photos(int count)
    {
        QStringList paths = {test_support::make_tagged_photo(dir->path(), "p000.jpg",
                                                             test_support::tag_map("ExifIFD:DateTimeOriginal=" + before_time))};
        for (int i = 1; i < count; ++i) {
            paths << dir->filePath(QString("p%1.jpg").arg(i, 3, 10, QLatin1Char('0')));
            if (!QFile::copy(paths.first(), paths.last()))
                return {};
        }
        return paths;
    }
    // Runs this program as the crashing child over the test's folder; true when it ended by the crash.
    bool crash_after(int files)
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TAVIMO_TEST_CRASH_AFTER", QString::number(files));
        environment.insert("TAVIMO_TEST_FOLDER", dir->path());
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        return child.waitForFinished(120000) && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    }
};

int main(int argc, char** argv)
{
    qputenv("TZ", "Europe/Berlin");
    tzset();
    test_support::use_private_settings();
    // The state folder, shared with the crashing child.
    if (!qEnvironmentVariableIsSet("TAVIMO_TEST_CRASH_AFTER")) {
        static QTemporaryDir state;
        qputenv("XDG_DATA_HOME", state.path().toLocal8Bit());
    } else {
        return crash_during_a_fix_run(argc, argv);
    }
    ondo::application<MainWindow> app(argc, argv);
    tst_undo_journal test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_undo_journal.moc"
