// The bridge: the stay-open protocol against a scripted stand-in for perl, reads and writes against
// the real ExifTool, then what a dying, stalling or killed child does to a run in the window.
#include "file_identity.h"
#include "processes.h"
#include "window_test.h"

#include <ondo/exif_response.h>
#include <ondo/exiftool_worker.h>
#include <ondo/sanitizer.h>

#include <algorithm>
#include <csignal>
#include <thread>

using ondo::exif_response;
using ondo::exiftool;
using namespace test_support;

namespace {

// The program's Stop for as long as `owner` lives: a short time limit, and an interrupt once it has passed.
void stop_when_overdue(QObject* owner)
{
    exiftool::set_time_limit(300);
    QObject::connect(ondo::exiftool_events::instance(), &ondo::exiftool_events::overdue, owner,
                     [] { exiftool::interrupt(); });
}

const QString before = "2017:06:21 18:30:05";

} // namespace

class tst_exiftool : public window_test {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        exiftool::set_pool_size(1); // the exchange with one child, byte for byte
        QVERIFY(large.isValid());
        large_photos = photos(large.path(), 12, true);
        restore_large_photos();
        sound = soundness();
    }
    // In place of window_test's: each test starts with one child of its own, task ids from 0 and
    // the usual time limit.
    void cleanup()
    {
        close_window();
        exiftool::shutdown(true);
        exiftool::set_pool_size(1);
        ondo::next_task_id = 0;
        exiftool::set_time_limit(60000);
    }

    void worked_exchange()
    {
        fake_perl perl;
        perl.rule("reply", "0", "-ExifIFD:DateTimeOriginal=2019:07:01 10:11:12\n-System:FileName=Märchen.jpg\n");
        perl.rule("reply", "1", "    1 image files updated\n");
        perl.rule("stderr", "0", "4000000");

        const exif_tag_map read = exiftool::read_tags("/photos/Märchen.jpg", true, false);
        QCOMPARE(read, (exif_tag_map{{"ExifIFD:DateTimeOriginal", "2019:07:01 10:11:12"}, {"System:FileName", "Märchen.jpg"}}));
        // Warnings on standard error are read and dropped even when nobody logs them.
        qint64 held = -1;
        ondo::exiftool_worker* worker = ondo::workers.first();
        {
            const ondo::queued_call_mark mark(worker);
            QMetaObject::invokeMethod(worker, [&held, worker] { held = worker->process->readAllStandardError().size(); },
                Qt::BlockingQueuedConnection);
        }
        QVERIFY2(held >= 0 && held < 1000000, qPrintable(QString::number(held)));
        QVERIFY(exiftool::write_tags("/photos/Märchen.jpg", {{"DateTimeOriginal", "2019:07:01 11:11:12"}}));
        exiftool::shutdown(true);

        QCOMPARE(perl.starts(), QList<QStringList>({{TAVIMO_EXIFTOOL_SCRIPT, "-stay_open", "1", "-@", "-", "-common_args",
            "-charset", "filename=utf8", "-args", "-sort", "-userParam", "processOwner=Tavimo"}}));
        QCOMPARE(perl.input(), QString("-G1\n-a\n-fast\n/photos/Märchen.jpg\n\n-execute0\n"
                                       "\n/photos/Märchen.jpg\n-overwrite_original_in_place\n-m\n"
                                       "-DateTimeOriginal=2019:07:01 11:11:12\n\n-execute1\n-stay_open\n0\n").toUtf8());
    }

    // Names and values the argument reader would split or alter never reach the wire. Calls: "<" read
    // without groups, "?" read of <tag> and Model, ">" write Software=<value>, "!" write <tag>=x.
    void wire_bytes_data()
    {
        test_support::columns<QString, QString, QString>({"call", "name", "wire"});
        QTest::newRow("odd but harmless name") << "<" << "/p/ 'q\"=%1$@#ä.jpg" << "-a\n-fast\n/p/ 'q\"=%1$@#ä.jpg\n";
        QTest::newRow("Perl behind a line break") << "<" << "/p/\n-if\nsystem('touch X') || 1" << "";
        QTest::newRow("trailing CR") << ">" << "/p/a.jpg\r" << "";
        QTest::newRow("leading dash") << "<" << "-w!" << "";
        QTest::newRow("value with a line break") << ">" << "/p/a.jpg|x\n-all=" << "";
        QTest::newRow("tag name that is an option") << "?" << "/p/a.jpg|execute" << "";
        QTest::newRow("relative name") << "<" << "a.jpg" << "";
        QTest::newRow("minus sign as an option dash") << "<" << "\u2212@" << "";
        QTest::newRow("minus sign before if") << ">" << "\u2212if" << "";
        QTest::newRow("tag name with a final line break") << "!" << "/p/a.jpg|Software\n" << "";
        // ExifTool takes a folder for every file in it.
        QTest::newRow("a folder, read") << "<" << "/" << "";
        QTest::newRow("a folder, written") << ">" << "/" << "";
        QTest::newRow("a link to a folder, read") << "<" << "link" << "";
        QTest::newRow("a link to a folder, written") << ">" << "link" << "";
        // A cut-short write's temporary file may be the only whole copy of the photo.
        QTest::newRow("beside a leftover temporary file") << ">" << "leftover" << "";
    }

    void wire_bytes()
    {
        const auto [call, name, wire] = fetched<QString, QString, QString>({"call", "name", "wire"});
        fake_perl perl;
        perl.rule("reply", "*", "-Make=Canon\n");
        log_capture log;
        QString file = name.section('|', 0, 0);
        const QString extra = name.section('|', 1);
        const QString leftover = dir->filePath("p.jpg_exiftool_tmp");
        if (file == "link") {
            file = dir->filePath("album link");
            QVERIFY(QFile::link(dir->path(), file));
        } else if (file == "leftover") {
            file = dir->filePath("p.jpg");
            QVERIFY(write_file(leftover, "earlier"));
        }
        const bool answered = call == "<" ? !exiftool::read_tags(file, false, false).empty()
            : call == "?"                 ? !exiftool::read_specific_tags(file, {extra, "Model"}).empty()
            : call == "!"                 ? exiftool::write_tags(file, {{extra, "x"}})
                                          : exiftool::write_tags(file, {{"Software", extra.isEmpty() ? "x" : extra}});
        QCOMPARE(answered, !wire.isEmpty());
        if (wire.isEmpty()) {
            QCOMPARE(perl.input(), QByteArray());
            QVERIFY(log.count("Refusing '") >= 1);
            QVERIFY(name != "leftover" || (log.count("an earlier write left '" + leftover + "' behind") == 1
                                               && contents(leftover) == "earlier"));
        } else {
            QVERIFY(perl.input().startsWith((wire + "\n-execute0\n").toUtf8()));
        }
    }

    // The answer marked ready just as the time limit is recorded still ends the wait with it.
    void answer_at_the_time_limit()
    {
        for (int round = 0; round < 50; ++round) {
            exif_response response;
            connect(&response, &exif_response::error, &response, [&response] {
                std::thread([&response] {
                    response.data = "done";
                    response.mark_ready();
                }).join();
            }, Qt::DirectConnection);
            QTimer::singleShot(2000, &response, [&response] { response.aborted_flag = true; });
            QVERIFY(response.await(1));
            QCOMPARE(response.get_data(), QByteArray("done"));
            QCOMPARE(response.get_error(), ondo::exif_error::timeout);
        }
    }

    // Replies are raw output, markers included; a "|" splits the output into two reads.
    void framing_data()
    {
        test_support::columns<int, QStringList, QList<QByteArray>>({"first_id", "replies", "results"});
        QTest::newRow("marker split across reads") << 0 << QStringList{"a\n{rea|dy0}\n"} << QList<QByteArray>{"a\n"};
        // The next task is written before the first one's marker, so what follows is its answer.
        QTest::newRow("output behind the marker is the next task's") << 0 << QStringList{"a\n{ready0}\nsurplus\n", "b\n{ready1}\n"}
                                                                     << QList<QByteArray>{"a\n", "surplus\nb\n"};
        QTest::newRow("three tasks, two written at once") << 0 << QStringList{"a\n{ready0}\n", "b\n{ready1}\n", "c\n{ready2}\n"}
                                                          << QList<QByteArray>{"a\n", "b\n", "c\n"};
        // A value or a folder name ending like the marker ends its line with it.
        QTest::newRow("marker text at the end of a line") << 2 << QStringList{"-Artist=x{ready2}\n-Directory=/trip{ready2}\n|{ready2}\n"}
                                                          << QList<QByteArray>{"-Artist=x{ready2}\n-Directory=/trip{ready2}\n"};
        QTest::newRow("marker at the very start") << 0 << QStringList{"{read|y0}\n"} << QList<QByteArray>{""};
        QTest::newRow("id 10 is not ended by id 1's marker") << 10 << QStringList{"{ready1\n{ready1}\n|tail\n{ready10}\n"}
                                                             << QList<QByteArray>{"{ready1\n{ready1}\ntail\n"};
    }

    void framing()
    {
        const auto [first_id, replies, results] =
            fetched<int, QStringList, QList<QByteArray>>({"first_id", "replies", "results"});
        fake_perl perl;
        for (int i = 0; i < replies.size(); ++i)
            perl.rule("plain", QString::number(first_id + i), replies[i]);
        exiftool::start();
        log_capture log(true);
        ondo::next_task_id = first_id;

        QList<exif_response*> responses;
        std::atomic<int> writes_when_first_ready{-1};
        for (int i = 0; i < replies.size(); ++i)
            responses << exiftool::start_task("f.jpg", "read", "f.jpg\n");
        connect(responses[0], &exif_response::ready, responses[0], [&] { writes_when_first_ready = log.count("Writing '"); },
            Qt::DirectConnection);
        for (int i = 0; i < responses.size(); ++i) {
            QVERIFY(responses[i]->await(60000));
            QCOMPARE(responses[i]->get_data(), results[i]);
            delete responses[i];
        }
        // Two tasks go out at once; a third only once the first one's marker has been consumed.
        QCOMPARE(writes_when_first_ready.load(), qMin(int(replies.size()), 2));
        QCOMPARE(perl.input().count("-execute"), replies.size());
    }

    // A child that dies, stalls or floods fails only its own task, in bounded time, and the next read
    // works; "stop": stopped past the time limit as by Stop. A slow answer is never cut short.
    void child_faults_data()
    {
        test_support::columns<QStringList, bool, QString, int, QString>(
            {"rules", "stop", "make", "children", "logged"});
        QTest::newRow("exits in the middle of its answer") << QStringList{"plain", "-Make=Ca", "exit", "1"} << false << ""
                                                           << 2 << "ExifTool ended with exit code 0 while working on '/p/a.jpg'";
        QTest::newRow("never answers") << QStringList{"plain", ""} << true << "" << 2 << "ended by signal 2";
        QTest::newRow("never answers and ignores SIGINT") << QStringList{"plain", "", "deaf", "1"} << true << "" << 2
                                                          << "did not stop on SIGINT; killing it";
        QTest::newRow("answer over the size limit") << QStringList{"huge", QString::number(70 << 20)} << false << "" << 1
                                                    << "is larger than 67108864 bytes";
        QTest::newRow("garbage around the marker") << QStringList{"plain", "\x01\xff=\n==\n-A{ready0}\n{ready0}\n-B=2\n"}
                                                   << false << "" << 1 << "Dropping 5 bytes of output";
        QTest::newRow("slow answer past the time limit") << QStringList{"delay", "700", "reply", "-Make=Slow\n"} << false
                                                         << "Slow" << 1 << "Worker started: Ok";
    }

    void child_faults()
    {
        const auto [rules, stop, make] = fetched<QStringList, bool, QString>({"rules", "stop", "make"});
        fake_perl perl;
        for (int i = 0; i + 1 < rules.size(); i += 2)
            perl.rule(rules[i], "0", rules[i + 1]);
        perl.rule("reply", "1", "-Make=Canon\n");
        log_capture log;
        QSignalSpy overdue(ondo::exiftool_events::instance(), &ondo::exiftool_events::overdue);
        QObject stopper;
        if (stop)
            stop_when_overdue(&stopper);
        else
            exiftool::set_time_limit(300);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(exiftool::read_tags("/p/a.jpg", false, false)["Make"], make);
        QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(exiftool::read_tags("/p/b.jpg", false, false), (exif_tag_map{{"Make", "Canon"}}));
        QVERIFY2(log.count(fetched<QString>("logged")) == 1, qPrintable(log.lines().join('\n')));
        if (stop || !make.isEmpty()) // a flood may pass the short limit too on a slow build
            QCOMPARE(overdue.size(), 1);
        QTEST(int(perl.starts().size()), "children");
        all_gone(perl);
        // At shutdown a child that heeds the close command gets no signal, and a finished one no second
        // command; a deaf one is killed at last.
        QCOMPARE(log.count("Sending interrupt signal to process."), rules.contains("deaf") ? 24 : 0);
        QCOMPARE(log.count("Sending kill signal to process."), int(rules.contains("deaf")));
        if (perl.starts().size() == 1)
            QCOMPARE(log.count("Not writing"), 0);
    }

    // A child that dies writing a photo in place: once it was copying its new copy back, that copy
    // is the one whole photo and goes over the torn one; before, the photo is whole and stays.
    void a_child_dying_in_an_in_place_write_data()
    {
        test_support::columns<QString, QByteArray>({"how", "photo"});
        QTest::newRow("while copying back") << "copying" << QByteArray("new copy");
        QTest::newRow("before copying back") << "before" << QByteArray("old photo");
    }

    void a_child_dying_in_an_in_place_write()
    {
        fake_perl perl;
        // Several tries, as each may fall anywhere in the clock's tick of the file system's times.
        for (int attempt = 0; attempt < 5; ++attempt) {
            const QString path = dir->filePath(QString("p%1.jpg").arg(attempt));
            QVERIFY(write_file(path, "old photo"));
            perl.rule("dies", QString::number(ondo::next_task_id.load()), fetched<QString>("how"));
            QVERIFY(!exiftool::write_tags(path, {{"ExifIFD:DateTimeOriginal", "2020:01:01 00:00:00"}}));
            QTEST(test_support::contents(path), "photo");
            QVERIFY(!QFile::exists(path + "_exiftool_tmp"));
        }
    }

    // Five reads: 0 and 1 alone, 2 to 4 joined. A child ending in the joined one gets each file again
    // alone; one stopped fails all three; reads not yet given to a child can be dropped unsent.
    void joined_reads_data()
    {
        // answered: one letter a read: C for Canon, - for nothing; commands: -execute lines the children got
        test_support::columns<QStringList, QString, QString, int>({"rules", "action", "answered", "commands"});
        QTest::newRow("child exits in the joined read") << QStringList{"plain", "-Make=Ca", "exit", "1"} << "" << "CC-CC" << 6;
        QTest::newRow("child stopped in the joined read") << QStringList{"plain", ""} << "stop" << "CC---" << 3;
        QTest::newRow("unsent reads dropped") << QStringList{} << "drop" << "CC---" << 2;
    }

    void joined_reads()
    {
        const auto [rules, action] = fetched<QStringList, QString>({"rules", "action"});
        fake_perl perl;
        perl.rule("delay", "0", "300");
        for (int i = 0; i + 1 < rules.size(); i += 2)
            perl.rule(rules[i], "2", rules[i + 1]);
        perl.rule("reply", "*", "-Make=Canon\n");
        std::vector<ondo::exif_response*> reads;
        for (const char* file : {"/p/a.jpg", "/p/b.jpg", "/p/c.jpg", "/p/d.jpg", "/p/e.jpg"})
            reads.push_back(exiftool::read_tags_async(file, false));
        if (action == "drop")
            exiftool::drop_unsent();
        QString answered;
        QObject stopper;
        for (size_t i = 0; i < reads.size(); ++i) {
            if (i == 2 && action == "stop") // for the joined read only
                stop_when_overdue(&stopper);
            answered += exiftool::read_result(reads[i]).empty() ? "-" : "C";
        }
        QTEST(answered, "answered");
        QTEST(int(perl.input().count("\n-execute")), "commands");
        all_gone(perl);
    }

    // With the real ExifTool from here on.
    // A write bound to the `description` it `expects` ("<absent>": no tag), which is data only: it
    // matches itself exactly and nothing in it runs; or, expecting nothing, bound to the file's state,
    // looked at when the child is free for it, not when it is queued. Either waits behind a read of
    // another file while the child is held and `meanwhile` happens; the name is hostile too.
    void bound_write_data()
    {
        test_support::columns<QString, QString, QString, bool>({"description", "expects", "meanwhile", "written"});
        const QString code = "x'.system('touch PWNED').'\\' $IFD0:Make ${IFD0:Model} $/ @a \".`touch PWNED`.\"";
        QTest::newRow("plain, held") << "holiday" << "holiday" << "" << true;
        QTest::newRow("plain, edited since") << "holiday" << "holidays" << "" << false;
        QTest::newRow("quotes, dollars and backslashes, held") << code << code << "" << true;
        QTest::newRow("a tag reference is no tag") << "Canon" << "$IFD0:Make" << "" << false;
        QTest::newRow("absent, as expected") << "" << "<absent>" << "" << true;
        QTest::newRow("present, expected absent") << "holiday" << "<absent>" << "" << false;
        QTest::newRow("state left alone") << "" << "" << "" << true;
        QTest::newRow("state: its mode changed") << "" << "" << "chmod" << false;
        QTest::newRow("state: written with its times put back") << "" << "" << "edit" << false;
        QTest::newRow("state: another file renamed over it") << "" << "" << "replace" << false;
    }

    void bound_write()
    {
        const auto [description, expects, meanwhile, written] =
            fetched<QString, QString, QString, bool>({"description", "expects", "meanwhile", "written"});
        exif_tag_map held = {{"IFD0:Make", "Canon"}, {"IFD0:Model", "EOS"}};
        if (!description.isEmpty())
            held["IFD0:ImageDescription"] = description;
        const QString path = make_tagged_photo(dir->path(), "x'$IFD0:Make \".jpg", held);
        const QString other = make_tagged_photo(dir->path(), "other.jpg", {{"IFD0:Make", "Pentax"}});
        const file_identity loaded = file_identity::of(path);
        const ondo::exif_file_state state{loaded.device, loaded.inode, loaded.size, loaded.changed_ns};
        const exif_tag_map condition{{"IFD0:ImageDescription", expects == "<absent>" ? QString() : expects}};
        QVERIFY(!exiftool::read_tags(other, true, false).empty()); // the child is there
        const qint64 child = child_of(QCoreApplication::applicationPid());
        QVERIFY(child > 0);
        ::kill(pid_t(child), SIGSTOP);
        exif_response* read = exiftool::read_tags_async(other, true);
        const exif_tag_map nikon{{"IFD0:Make", "Nikon"}};
        exif_response* write = expects.isEmpty() ? exiftool::write_tags_async(path, nikon, state)
                                                 : exiftool::write_tags_async(path, nikon, condition);
        if (meanwhile == "chmod") {
            QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
        } else if (meanwhile == "edit") {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.write(contents(path)) > 0);
            file.close();
            QVERIFY(set_modified_ns(path, loaded.modified_ns));
        } else if (meanwhile == "replace") {
            QVERIFY(QFile::remove(path) && QFile::copy(other, path));
        }
        ::kill(pid_t(child), SIGCONT);
        QVERIFY(!exiftool::read_result(read).empty());
        ondo::exif_error error = ondo::exif_error::none;
        QCOMPARE(exiftool::write_result(write, &error), written);
        QCOMPARE(error, written ? ondo::exif_error::none : ondo::exif_error::changed);
        const QString make = meanwhile == "replace" ? "Pentax" : written ? "Nikon" : "Canon";
        QCOMPARE(read_back(path)["IFD0:Make"], make);
        QVERIFY(!QFile::exists("PWNED") && !QFile::exists(dir->filePath("PWNED")));
    }

    // Queued reads go out joined; each file gets what it gets alone, whatever its name holds. A value
    // is cut at a further "=".
    void joined_reads_answer_each_file_alone()
    {
        QStringList paths = make_files({"j0 Märchen Ångström.jpg|IFD0:Make=Canon;ExifIFD:DateTimeOriginal=#",
            "======== j1.jpg|IFD0:Model=EOS", "j3 {ready3}.jpg|XMP-dc:Title={ready3}", "j4.jpg|IFD0:Artist=a=b"});
        paths.insert(2, dir->filePath("j2 gone.jpg"));
        // Without the access time, which may move between the two reads.
        const auto tags_of = [](exif_tag_map tags) { tags.erase("System:FileAccessDate"); return tags; };
        std::vector<exif_tag_map> alone;
        for (const QString& path : paths)
            alone.push_back(tags_of(exiftool::read_tags(path, true, false)));

        log_capture log(true);
        // Held while the reads are queued, so that all but the first two wait.
        const qint64 child = child_of(QCoreApplication::applicationPid());
        QVERIFY(child > 0);
        ::kill(pid_t(child), SIGSTOP);
        std::vector<ondo::exif_response*> reads;
        for (const QString& path : paths)
            reads.push_back(exiftool::read_tags_async(path, true));
        ::kill(pid_t(child), SIGCONT);
        for (size_t i = 0; i < reads.size(); ++i)
            QCOMPARE(tags_of(exiftool::read_result(reads[i])), alone[i]);
        QVERIFY(alone[2].empty() && alone[0].at("IFD0:Make") == "Canon" && alone[3].at("XMP-dc:Title") == "{ready3}"
                && alone[1].at("IFD0:Model") == "EOS" && alone[4].at("IFD0:Artist") == "a");
        const QStringList joined = log.lines().filter("Writing '").filter(paths[2]);
        QVERIFY2(joined.size() == 1 && joined[0].contains(paths[3]) && joined[0].contains(paths[4]),
                 qPrintable(log.lines().join('\n')));
    }

    // The stand-in child fails the second file of a load, fix or undo: that file alone fails; the
    // third is done too (its write went out ahead) unless the user stopped a load; nothing is left.
    void a_faulty_child_fails_only_its_file_data()
    {
        test_support::columns<QString, QString>({"run", "fault"});
        for (const char* run : {"load", "fix", "undo"}) {
            QTest::addRow("%s, child exits mid-answer", run) << run << "exits";
            QTest::addRow("%s, child stalls, Stop", run) << run << "stalls";
        }
    }

    void a_faulty_child_fails_only_its_file()
    {
        const auto [run, fault] = fetched<QString, QString>({"run", "fault"});
        const QStringList paths = photos(dir->path(), 3);
        fake_perl perl;
        perl.rule("reply", "*", "-ExifIFD:DateTimeOriginal=" + before + "\n    1 image files updated\n");
        const QString faulty = run == "load" ? "1" : run == "fix" ? "4" : "7"; // task ids of the second file
        perl.rule("plain", faulty, fault == "exits" ? "-ExifIFD:DateT" : "");
        if (fault == "exits")
            perl.rule("exit", faulty);
        // Two children on any machine: the third file goes to the one that doesn't stall.
        exiftool::set_pool_size(2);
        exiftool::set_time_limit(300);
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

        open_with(paths);
        auto cache = exif_cache::instance();
        QCOMPARE(cache->contains(paths[2]), fault == "exits" || run != "load"); // the third file's
        QCOMPARE(cache->of(paths[1]).tags.contains("ExifIFD:DateTimeOriginal"), run != "load");
        auto second_alone_failed = [&](const seen_box& box) {
            return box.answered && box.text.count(dir->path()) == 1 && box.text.contains(paths[1]);
        };
        if (run != "load")
            QCOMPARE(second_alone_failed(*click_answering(fix_tip, "Keep changes")), run == "fix");
        if (run == "undo") {
            QVERIFY(second_alone_failed(*click_answering(undo_tip, "OK")));
            QVERIFY(button(window, undo_tip)->isEnabled()); // what failed can be tried again
        }
        stopper.stop();
        // Input lines, not runs, are counted (two children log into one file): a file is named once by
        // its read and once by each write, through its private link ".tavimo-<pid>-<n>-<name>".
        if (run != "load")
            QCOMPARE(perl.input().count(QFileInfo(paths[2]).fileName().toUtf8() + "\n"), run == "undo" ? 3 : 2);
        QVERIFY(window->findChild<QWidget*>("centralWidget")->isEnabled());
        all_gone(perl);
    }

    // Three children load the table one child loads and write every good file once, failures listed
    // in table order; the folder ends like a read's marker.
    void several_children_work_as_one()
    {
        QVERIFY(QDir(dir->path()).mkpath("trip{ready1}"));
        const QString album = dir->filePath("trip{ready1}");
        QStringList paths, times; // times: what each holds after the fix; the dateless gain none
        for (int i = 0; i < 12; ++i) {
            const QString name = QString("s%1.jpg").arg(i, 2, 10, QLatin1Char('0'));
            exif_tag_map tags;
            if (i % 4 != 3)
                tags["ExifIFD:DateTimeOriginal"] = QString("2017:06:%1 18:30:05").arg(10 + i);
            if (i % 3 == 0)
                tags["IFD0:ModifyDate"] = "2016:01:02 03:04:05";
            if (i % 5 == 0)
                tags["IFD0:Make"] = QString("Maker %1").arg(i);
            paths << make_tagged_photo(album, name, tags);
            times << name + "\t" + (i % 4 != 3 ? QString("2017:06:%1 19:30:05").arg(10 + i) : "-");
        }
        open_with(paths);
        const QStringList one = column_texts(0) + column_texts(1);
        QCOMPARE(one.size(), 2 * paths.size());
        cleanup(); // the same load again, by three children
        exiftool::set_pool_size(3);
        open_with(paths);
        QCOMPARE(column_texts(0) + column_texts(1), one);
        QCOMPARE(ondo::workers.size(), 3);

        // Crafted names and a vanished file between good ones, the folder dropped again: refused or
        // failed, in row order; no name turns into a command.
        QStringList crafted;
        for (const QString& name : {"a\n-if\n1.jpg", "\n-if\nsystem('touch X') || 1", "\n-all=\n-overwrite_original",
                 "\n-w!\n%d%f.%e", "b.jpg\n-stay_open\n0", "c.jpg\r", "zz gone.jpg"}) {
            crafted << album + "/" + name;
            QVERIFY(QFile::copy(paths[0], crafted.last()));
        }
        const QString gone = crafted.takeLast();
        QVERIFY(drop_urls(window, {QUrl::fromLocalFile(album)}));
        QCOMPARE(column_texts().size(), paths.size() + crafted.size() + 1);
        QVERIFY(QFile::remove(paths[4]) && QFile::remove(gone));
        const QStringList names = QDir(album).entryList(QDir::Files | QDir::Hidden);
        log_capture log(true);
        const QString text = click_answering(fix_tip, "Keep changes")->text;
        QVERIFY2(text.indexOf(crafted[0]) >= 0 && text.indexOf(crafted[0]) < text.indexOf(paths[4])
                     && text.indexOf(paths[4]) < text.indexOf(gone), qPrintable(text));
        for (const QString& path : crafted)
            QVERIFY2(text.contains(path), qPrintable(path));
        QCOMPARE(QDir(album).entryList(QDir::Files | QDir::Hidden), names);
        QVERIFY(!QFile::exists("X") && !QFile::exists(album + "/X"));
        // Each photo left is written once, through its private link beside it (a double write takes
        // another's, whose time below would stay).
        paths.removeAt(4); // vanished
        times.removeAt(4);
        const QString writes = log.lines().filter("Writing '").join('\n');
        const QString link = "\n" + QRegularExpression::escape(album) + "/\\.tavimo-\\d+-\\d+-s\\d\\d\\.jpg\n";
        QCOMPARE(writes.count(QRegularExpression(link)), paths.size());
        QCOMPARE(run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-T", "-FileName", "-ExifIFD:DateTimeOriginal"} + paths)
                     .split('\n', Qt::SkipEmptyParts), times);
    }

    // The program killed at a random moment of a fix run; or told to end, when the run goes on to its
    // last file and ExifTool stops the orderly way, or with its child stopped, then gone within 10 s.
    // No photo torn, no temporary file or process left.
    void a_killed_or_stopped_run_leaves_photos_whole_data()
    {
        QTest::addColumn<QString>("how");
        for (int round = 1; round <= 5; ++round)
            QTest::addRow("program killed, round %d", round) << "killed";
        QTest::newRow("program told to end") << "ended";
        QTest::newRow("child stopped, program told to end") << "stopped";
    }

    void a_killed_or_stopped_run_leaves_photos_whole()
    {
        QFETCH(QString, how);
        restore_large_photos();
        QTemporaryDir home;
        QProcess program;
        launch(program, "tavimo_look", home.path(),
               {{"TAVIMO_LOOK_FILES", large_photos.join(':')}, {"TAVIMO_LOOK_PRESS", "fix"}});
        qint64 child = 0;
        QTRY_VERIFY_WITH_TIMEOUT((child = child_of(program.processId())) != 0, 30000);
        // The run has begun once a file carries its new time as its modification time.
        QTRY_VERIFY_WITH_TIMEOUT(std::any_of(large_photos.begin(), large_photos.end(), [](const QString& path) {
            return QFileInfo(path).lastModified().date().year() == 2017;
        }), 60000);
        QTest::qWait(QRandomGenerator::global()->bounded(400));
        QElapsedTimer clock;
        clock.start();
        if (how == "stopped")
            ::kill(pid_t(child), SIGSTOP);
        ::kill(pid_t(program.processId()), how == "killed" ? SIGKILL : SIGTERM);
        QVERIFY(program.waitForFinished(60000));
        QTRY_VERIFY_WITH_TIMEOUT(!is_running(child), 10000);
        if (how != "killed")
            QVERIFY2(program.exitStatus() == QProcess::NormalExit
                         && (how == "ended" ? program.exitCode() == 0 : clock.elapsed() < 10000),
                     qPrintable(QString::number(clock.elapsed())));
        if (how == "ended") {
            const QString out = QString::fromUtf8(program.readAllStandardOutput());
            QVERIFY2(out.contains("Worker shutdown: Ok"), qPrintable(out.right(2000)));
            const QString times = run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-s3", "-ExifIFD:DateTimeOriginal"} + large_photos);
            QCOMPARE(times.count("2017:06:21 19:30:05"), large_photos.size());
        }
        QCOMPARE(soundness(), sound);
    }

private:
    // Nothing the stand-in started outlives the test.
    static void all_gone(const fake_perl& perl)
    {
        exiftool::shutdown(true);
        for (const qint64 pid : perl.pids())
            QTRY_VERIFY_WITH_TIMEOUT(!is_running(pid), 10000);
    }

    // What a fix may never change in the large photos: their decoded pixels and what ExifTool's
    // validation finds; and no temporary file may be left beside them.
    QStringList soundness() const
    {
        QStringList found = run(TAVIMO_EXIFTOOL_SCRIPT, QStringList{"-s3", "-Validate"} + large_photos).split('\n');
        for (const QString& path : large_photos) {
            const QImage image = QImage(path).convertToFormat(QImage::Format_RGB32);
            found << QCryptographicHash::hash(QByteArray::fromRawData(reinterpret_cast<const char*>(image.constBits()),
                                                  int(image.sizeInBytes())), QCryptographicHash::Sha1).toHex();
        }
        return found + QDir(large.path()).entryList({"*_exiftool_tmp"}, QDir::Files | QDir::Hidden);
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
    QStringList sound;
};

TAVIMO_WINDOW_TEST_MAIN(tst_exiftool)

#include "tst_exiftool.moc"
