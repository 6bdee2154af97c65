#include "mainwindow.h"
#include "table_data_model.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>
#include <ondo/language.h>

#include <QFileOpenEvent>
#include <QHeaderView>
#include <QLabel>
#include <QProgressDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTranslator>
#include <QtTest>

#include <ctime>

namespace {

const QString fix_tip = "Apply changes to the timestamps of the images";
const QString undo_tip = "Undo the last set of timestamp changes";

// The whole listing, all duplicates included, but for what moves by itself.
QStringList listing(const QString& path)
{
    static const QRegularExpression own("^-(System:File(Access|InodeChange)Date|File:CurrentIPTCDigest|Photoshop:IPTCDigest|"
                                        "XMP-x:XMPToolkit|ExifTool:[A-Za-z]+)=|^-[^=]*(Offset|Start)=");
    QStringList kept;
    for (QString line : test_support::run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-args", "-sort", path}).split('\n')) {
        if (own.match(line).hasMatch())
            continue;
        // An IPTC time comes back at +00:00, with its clock reading; so do the dates made from it.
        if (line.startsWith("-IPTC:TimeCreated=") || line.startsWith("-Composite:"))
            line.replace(QRegularExpression("[+-]\\d\\d:\\d\\d$"), "");
        kept << line;
    }
    return kept;
}

// The listing but for what a fix run and its undo may change: the nine time tags, what the file
// system keeps of its own and the composite dates derived from them.
QStringList other_tags(const QString& path)
{
    static const QStringList time = time_tags({}) << "IFD0:DateTimeOriginal";
    static const QRegularExpression changing("^(System:|Composite:.*(Date|Time)|IPTC:ApplicationRecordVersion$)");
    QStringList kept;
    for (const QString& line : listing(path)) {
        const QString tag = line.mid(1).section('=', 0, 0);
        if (!time.contains(tag) && !changing.match(tag).hasMatch())
            kept << line;
    }
    return kept;
}

// In the tables "#" stands for the time the files are made with and "@" for it an hour later.
QString expand(QString text)
{
    return text.replace("#", "2017:06:21 18:30:05").replace("@", "2017:06:21 19:30:05");
}

// "A=1;B=2" gives "-A=1", "-B=2".
QStringList lines(const QString& text)
{
    QStringList result;
    for (const QString& part : expand(text).split(';', Qt::SkipEmptyParts))
        result << "-" + part;
    return result;
}

} // namespace

// The fix and undo runs end to end with the real ExifTool; the tag lines sent come from its log.
class tst_fix_run : public test_support::window_test {
    Q_OBJECT

private slots:
    // Each row: the file's tags, the zone typed beside a one-hour offset, the lines the fix sends
    // and the lines the undo sends (file times left out).
    void writes_and_undoes_the_worked_examples_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("fix");
        QTest::addColumn<QString>("undo");
        auto row = [](const char* name, const char* tags, const char* zone, const char* fix, const char* undo) {
            QTest::newRow(name) << QString(tags) << QString(zone) << QString(fix) << QString(undo);
        };
        const char* exif = "ExifIFD:DateTimeOriginal=#;ExifIFD:CreateDate=#;IFD0:ModifyDate=#";
        const char* iptc = "ExifIFD:DateTimeOriginal=#;IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+05:30";
        row("zone entered adds the IPTC pair, undo removes it", exif, "2",
            "ExifIFD:CreateDate=@;ExifIFD:DateTimeOriginal=@;IFD0:ModifyDate=@;IPTC:DateCreated=@+02:00;"
            "IPTC:TimeCreated=@+02:00;System:FileInodeChangeDate=@+02:00;System:FileModifyDate=@+02:00",
            "ExifIFD:CreateDate=#;ExifIFD:DateTimeOriginal=#;IFD0:ModifyDate=#;IPTC:DateCreated=;IPTC:TimeCreated=");
        row("file zone kept", iptc, "",
            "ExifIFD:DateTimeOriginal=@;IPTC:DateCreated=@+05:30;IPTC:TimeCreated=@+05:30;"
            "System:FileInodeChangeDate=@+05:30;System:FileModifyDate=@+05:30", "");
        row("a copy in IFD0 is written along", "ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#", "",
            "ExifIFD:DateTimeOriginal=@;IFD0:DateTimeOriginal=@;System:FileInodeChangeDate=@;System:FileModifyDate=@",
            "ExifIFD:DateTimeOriginal=#;IFD0:DateTimeOriginal=#");
    }

    void writes_and_undoes_the_worked_examples()
    {
        QFETCH(QString, tags);
        QFETCH(QString, zone);
        QFETCH(QString, fix);
        QFETCH(QString, undo);
        const QString path = photo("a.jpg", tags);
        load_and_type({path}, "lineedit_hour", "1", zone);
        auto writes = press(fix_tip);
        QCOMPARE(writes, QList<QStringList>{lines(fix)});
        QCOMPARE(rows(), 0);
        QVERIFY(button(undo_tip)->isEnabled());
        if (undo.isEmpty())
            return;

        // The table is empty after the run: undo works from what it kept alone.
        writes = press(undo_tip);
        QCOMPARE(writes.size(), 1);
        QStringList sent = writes.first().filter(QRegularExpression("^-(?!System:File(Modify|InodeChange)Date)"));
        sent.sort();
        QCOMPARE(sent, lines(undo));
        QVERIFY(!button(undo_tip)->isEnabled());
        const exif_tag_map now = test_support::read_back(path);
        for (const auto& [tag, value] : test_support::tag_map(expand(tags)))
            QCOMPARE(now.at(tag), value);
        QVERIFY(!now.count("IPTC:DateCreated") && !now.count("IPTC:TimeCreated"));
    }

    // Files are "name|tags", shifted back a second; `question` is the start of the one text expected.
    void questions_before_the_run_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("question");
        const QString dto = "ExifIFD:DateTimeOriginal=";
        QTest::newRow("empty table asks nothing") << QStringList() << "" << "" << "";
        QTest::newRow("CR3 with a zone, aborted") << QStringList{"X.CR3|", "b.jpg|" + dto + "#"} << "0" << "Abort"
                                                  << "Trying to alter/set timezone of 1 CR3 images.";
        QTest::newRow("zoneless IPTC counted, aborted")
            << QStringList{"a.jpg|" + dto + "#;IPTC:TimeCreated=18:30:05+02:00", "b.jpg|" + dto + "#;IPTC:TimeCreated=18:30:05",
                   "c.jpg|" + dto + "#;IPTC:DateCreated=2017:06:21", "d.jpg|" + dto + "#"}
            << "" << "Abort" << "2 files do not have any timezone information set";
        QTest::newRow("a second before 1972, continued") << QStringList{"a.jpg|" + dto + "1972:01:01 00:00:00"} << ""
                                                         << "Continue" << "1 files would be assigned";
    }

    void questions_before_the_run()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, zone);
        QFETCH(QString, answer);
        QFETCH(QString, question);
        QStringList paths;
        for (const QString& entry : files)
            paths << photo(entry.section('|', 0, 0), entry.section('|', 1));
        load_and_type(paths, "lineedit_second", "-1", zone);
        // With no question expected, an answer is armed all the same, to catch one that comes.
        const auto shown = test_support::answer_next_box(answer.isEmpty() ? "Continue" : answer);
        const auto writes = press(fix_tip);
        shown->cancelled = true;

        const QString asked = shown->answered ? shown->text.left(question.size()) + " / " + shown->title + " / " + shown->buttons.join(",") : "";
        QCOMPARE(asked, question.isEmpty() ? QString() : question + " / Continue? / Continue,Abort");
        const bool aborted = answer == "Abort";
        QCOMPARE(writes.size(), aborted ? 0 : paths.size());
        QCOMPARE(button(undo_tip)->isEnabled(), !aborted && !paths.isEmpty());
        // An abort leaves table and offset as they were; a run ends with both cleared.
        QCOMPARE(rows(), aborted ? paths.size() : 0);
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_second")->text(), aborted ? "-1" : QString());
    }

    // One file each, from tags or, for "avi", from bytes ExifTool can read but not write. After the
    // fix only time tags have moved; after the undo the whole listing is back.
    void fix_and_undo_lose_nothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("tags");
        QTest::addColumn<QString>("zone");
        QTest::newRow("DateTimeOriginal in IFD0 and ExifIFD") << "a.jpg" << "IFD0:DateTimeOriginal=#;ExifIFD:DateTimeOriginal=#;IFD0:Make=V" << "";
        QTest::newRow("IPTC and XMP creation dates") << "b.jpg" << "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05+02:00;"
                                                                   "XMP-photoshop:DateCreated=#;ExifIFD:DateTimeOriginal=#" << "";
        QTest::newRow("IPTC without a zone") << "c.jpg" << "IPTC:DateCreated=2017:06:21;IPTC:TimeCreated=18:30:05;IPTC:Keywords=k" << "";
        QTest::newRow("PNG with a chunk after its image") << "e.png" << "XMP-photoshop:DateCreated=#;XMP-dc:Title=T" << "2";
        QTest::newRow("AVI") << "v.avi" << "avi" << "";
    }

    void fix_and_undo_lose_nothing()
    {
        QFETCH(QString, name);
        QFETCH(QString, tags);
        QFETCH(QString, zone);
        QString path = dir->filePath(name);
        if (tags == "avi") {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray("RIFF\x10\0\0\0AVI LIST\x04\0\0\0hdrl", 24));
            QVERIFY(file.setFileTime(QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5)), QFileDevice::FileModificationTime));
            file.close();
        } else {
            path = photo(name, tags);
            if (name.endsWith(".png"))
                test_support::append_png_text(path, "Comment", "behind the image");
        }
        const QStringList others = other_tags(path);
        const QStringList before = listing(path);

        load_and_type({path}, "lineedit_hour", "1", zone);
        const auto question = test_support::answer_next_box("Continue"); // an IPTC time without a zone asks
        QCOMPARE(press(fix_tip).size(), 1);
        question->cancelled = true;
        QCOMPARE(other_tags(path), others);
        QVERIFY(listing(path) != before);
        QVERIFY(button(undo_tip)->isEnabled());

        press(undo_tip);
        QCOMPARE(listing(path), before);
        // A stored zone doesn't convert to a number: the old clock reading comes back at UTC.
        if (tags.contains("IPTC:TimeCreated=18:30:05+02:00"))
            QCOMPARE(test_support::read_back(path).at("IPTC:TimeCreated"), QString("18:30:05+00:00"));
    }

    // Crafted names and one file that vanishes after the load beside a good photo, in a folder
    // that comes in by a drop or an open request; the box of failed files is answered `answer`.
    void crafted_names_change_no_command_data()
    {
        QTest::addColumn<QString>("road");
        QTest::addColumn<QString>("answer");
        QTest::newRow("drop, keep changes") << "drop" << "Keep changes";
        QTest::newRow("open request, undo changes") << "open" << "Undo Changes";
    }

    void crafted_names_change_no_command()
    {
        QFETCH(QString, road);
        QFETCH(QString, answer);
        QVERIFY(QDir(dir->path()).mkpath("album"));
        const QDir album(dir->filePath("album"));
        const QString good = test_support::make_tagged_photo(album.path(), "good.jpg", test_support::tag_map(expand("ExifIFD:DateTimeOriginal=#;IFD0:Make=V")));
        const QStringList crafted = {"\n-if\nsystem('touch X') || 1", "\n-all=\n-overwrite_original", "\n-w!\n%d%f.%e",
                                     "a.jpg\n-stay_open\n0", "b.jpg\r"};
        for (const QString& name : crafted + QStringList{"gone.jpg"})
            QVERIFY(QFile::copy(good, album.filePath(name)));

        window = test_support::open_main_window();
        if (road == "drop") {
            QVERIFY(test_support::drop_urls(window, {QUrl::fromLocalFile(album.path())}));
        } else {
            QFileOpenEvent open(album.path());
            QApplication::sendEvent(qApp, &open);
        }
        QCOMPARE(rows(), crafted.size() + 2);
        for (const QString& name : crafted) // refused at load: nothing read of them
            QVERIFY(exif_cache::instance()->file_tags.at(album.filePath(name)).empty());
        QVERIFY(QFile::remove(album.filePath("gone.jpg")));
        const QStringList names_before = album.entryList(QDir::Files | QDir::Hidden);

        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        const auto shown = test_support::answer_next_box(answer);
        press(fix_tip);
        shown->cancelled = true;
        QVERIFY(shown->answered);
        QCOMPARE(shown->buttons, QStringList({"Keep changes", "Undo Changes"}));
        QVERIFY(shown->text.startsWith(QString("The following %1 files could not be fixed:").arg(crafted.size() + 1)));
        for (const QString& name : crafted + QStringList{"gone.jpg"})
            QVERIFY(shown->text.contains(album.filePath(name)));
        const exif_tag_map now = test_support::read_back(good);
        QCOMPARE(now.at("ExifIFD:DateTimeOriginal"), expand(answer == "Keep changes" ? "@" : "#"));
        QCOMPARE(now.at("IFD0:Make"), QString("V"));
        QCOMPARE(button(undo_tip)->isEnabled(), answer == "Keep changes");
        QCOMPARE(album.entryList(QDir::Files | QDir::Hidden), names_before);
        QVERIFY(!QFile::exists("X") && !QFile::exists(dir->filePath("X")) && !album.exists("X"));
    }

    // A good photo and, with `failing`, one that vanishes after the load. The note in the top
    // strip tells what the fix did and, after `answer` or a press of undo, what the undo did; the
    // next action takes it away.
    void a_note_after_every_run_data()
    {
        QTest::addColumn<bool>("failing");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("after_fix");
        QTest::addColumn<QString>("after_undo");
        const QString undo_possible = " Undo is possible until Tavimo closes.";
        QTest::newRow("two photos") << false << "" << "2 photos changed." + undo_possible << "Undo done: 2 photos as before.";
        QTest::newRow("a failure, kept") << true << "Keep changes"
                                         << "1 photo changed." + undo_possible + " 1 file could not be changed."
                                         << "Undo done: 1 photo as before.";
        QTest::newRow("a failure, undone") << true << "Undo Changes" << "" << "Undo done: 1 photo as before.";
    }

    void a_note_after_every_run()
    {
        QFETCH(bool, failing);
        QFETCH(QString, answer);
        const QList<QTranslator*> english = ondo::install_translators("en");
        auto uninstall = qScopeGuard([&] {
            for (QTranslator* translator : english)
                QCoreApplication::removeTranslator(translator);
        });
        QStringList paths{photo("a.jpg", "ExifIFD:DateTimeOriginal=#")};
        if (!failing)
            paths << photo("b.jpg", "ExifIFD:DateTimeOriginal=#");
        else
            paths << photo("gone.jpg", "ExifIFD:DateTimeOriginal=#");
        load_and_type(paths, "lineedit_hour", "1");
        if (failing)
            QVERIFY(QFile::remove(paths.last()));
        auto* note = window->findChild<QLabel*>("run_note");
        QVERIFY(note);

        QString during_question;
        const auto shown = test_support::answer_next_box(answer.isEmpty() ? "Keep changes" : answer,
                                                         [&](QDialog*) { during_question = note->text(); });
        press(fix_tip);
        shown->cancelled = true;
        QCOMPARE(shown->answered, failing);
        if (failing)
            QCOMPARE(during_question, QString("1 photo changed. Undo is possible until Tavimo closes. 1 file could not be changed."));
        if (answer != "Undo Changes") {
            QTEST(note->text(), "after_fix");
            QVERIFY(note->isVisible());
            press(undo_tip);
        }
        QTEST(note->text(), "after_undo");

        window->load_files({paths.first()});
        QCOMPARE(note->text(), QString());
    }

    // The window is closed from a timer while a run is under way, as main sets it up: the run
    // goes on to its last file, and the window goes only once the run has returned.
    void closing_during_a_run_data()
    {
        QTest::addColumn<QString>("run");
        QTest::newRow("load") << "load";
        QTest::newRow("fix") << "fix";
        QTest::newRow("undo") << "undo";
    }

    void closing_during_a_run()
    {
        QFETCH(QString, run);
        const QStringList paths = six_photos();
        QGuiApplication::setQuitOnLastWindowClosed(false);
        window = test_support::open_main_window();
        window->setAttribute(Qt::WA_DeleteOnClose, true);
        if (run != "load") {
            window->load_files(paths);
            QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        }
        if (run == "undo")
            button(fix_tip)->click();

        QTimer::singleShot(0, window.data(), [this] { window->close(); });
        if (run == "load")
            window->load_files(paths);
        else
            button(run == "fix" ? fix_tip : undo_tip)->click();
        QVERIFY(window); // still there when the run returns
        QVERIFY(!window->isVisible());
        if (run == "load")
            QCOMPARE(rows(), paths.size());
        for (const QString& path : paths)
            if (run != "load")
                QCOMPARE(test_support::read_back(path).at("ExifIFD:DateTimeOriginal"), expand(run == "fix" ? "@" : "#"));
        QTRY_VERIFY(!window);
        QGuiApplication::setQuitOnLastWindowClosed(true);
    }

    // A click on a column header between two files re-sorts the table; the run still writes every
    // file once. Then its dialog is gone, as it is after an empty load and after a run whose last
    // row had no time to write.
    void runs_survive_resorting_and_hide_their_dialogs()
    {
        const QStringList paths = six_photos();
        window = test_support::open_main_window();
        window->load_files({});
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
        window->load_files(paths + QStringList{dir->filePath("zz missing.jpg")});
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");

        auto* header = window->findChild<QTableView*>()->horizontalHeader();
        int clicks = 0;
        QTimer resort;
        connect(&resort, &QTimer::timeout, &resort, [&] {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(0) + 5, 5));
            ++clicks;
        });
        resort.start(0);
        const auto writes = press(fix_tip);
        resort.stop();
        QVERIFY(clicks >= 2);
        QCOMPARE(writes.size(), paths.size());
        for (const QString& path : paths)
            QCOMPARE(test_support::read_back(path).at("ExifIFD:DateTimeOriginal"), expand("@"));
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            QVERIFY(!dialog->isVisible());
    }

private:
    QString photo(const QString& name, const QString& tags)
    {
        if (name.endsWith(".cr3", Qt::CaseInsensitive)) // a JPEG under a raw camera name: only the name matters
            return QFile::rename(photo(name + ".jpg", tags), dir->filePath(name)) ? dir->filePath(name) : QString();
        // ExifTool always writes IPTC:TimeCreated with a zone; a zoneless one has it cut from its bytes.
        const QRegularExpressionMatch zoneless = QRegularExpression("IPTC:TimeCreated=([0-9:]+)(;|$)").match(tags);
        exif_tag_map map = test_support::tag_map(expand(tags));
        if (zoneless.hasMatch())
            map["IPTC:TimeCreated"] += "+00:00";
        const QString path = test_support::make_tagged_photo(dir->path(), name, map);
        QFile file(path);
        if (zoneless.hasMatch() && file.open(QIODevice::ReadWrite)) {
            const QByteArray time = zoneless.captured(1).remove(':').toLatin1();
            const QByteArray bytes = file.readAll().replace(time + "+0000", time + QByteArray(5, '\0'));
            file.seek(0);
            file.write(bytes);
        }
        return path;
    }
    QStringList six_photos()
    {
        QStringList paths;
        for (int i = 0; i < 6; ++i)
            paths << photo(QString("p%1.jpg").arg(i), "ExifIFD:DateTimeOriginal=#");
        return paths;
    }
    void load_and_type(const QStringList& paths, const QString& field, const QString& offset, const QString& zone = {})
    {
        window = test_support::open_main_window();
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>(field), offset);
        if (!zone.isEmpty())
            QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), zone);
    }
    QPushButton* button(const QString& tool_tip) const { return test_support::button(window, tool_tip); }
    // Presses `tool_tip` and returns the tag lines of every write it sent, one list per file.
    QList<QStringList> press(const QString& tool_tip)
    {
        ondo::exiftool::verbose(true);
        test_support::log_capture log;
        button(tool_tip)->click();
        ondo::exiftool::verbose(false);

        QList<QStringList> writes;
        for (const QString& line : log.lines().filter("Writing '").filter("-overwrite_original_in_place")) {
            const QString text = line.section("Writing '", 1).section("' to process.", 0, 0);
            writes << text.split('\n').filter(QRegularExpression("^-[A-Za-z0-9-]+:[A-Za-z]+="));
        }
        return writes;
    }
    int rows() const { return exif_cache::instance()->file_tags.size(); }
};

int main(int argc, char** argv)
{
    // Before any date is touched: every expectation above is on the Berlin clock.
    qputenv("TZ", "Europe/Berlin");
    tzset();
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_fix_run test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fix_run.moc"
