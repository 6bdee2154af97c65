#pragma once

#include "test_support.h"

#include <functional>

class QProcess;

namespace test_support {

// A scripted stand-in for perl, first on PATH while it lives. It records its arguments, input and
// pid, and answers each "-execute<id>" by the rules; a "|" in a reply pauses 150 ms.
class fake_perl {
public:
    fake_perl();
    ~fake_perl();
    // Kinds, for a task id or "*" for every task:
    //   "reply"  the answer; the marker follows by itself
    //   "plain"  raw output, with no marker unless it holds one ("" never answers)
    //   "huge"   that many bytes of tag lines in front of the marker
    //   "delay"  ms before answering; "stderr" bytes of warnings first
    //   "exit"   exit after replying
    //   "deaf"   (any id) deaf to the close command, SIGINT and SIGTERM
    //   "dies"   dies writing the named file in place: "copying" after overwriting its start with
    //            "new", anything else before; either way with "new copy" in its temporary file
    void rule(const QString& kind, const QString& id = "*", QString value = "1");
    QByteArray input() const { return read("input"); }
    QList<QStringList> starts() const;
    // Every stand-in process started so far.
    QList<qint64> pids() const;

private:
    QByteArray read(const QString& name) const { return contents(dir.filePath(name)); }
    QTemporaryDir dir;
    QByteArray old_path;
};

// Starts `program` from the build's bin folder, offscreen, with a home of its own below `dir`,
// which is also its working directory.
void launch(QProcess& process, const QString& program, const QString& dir, const QMap<QString, QString>& vars,
    const QStringList& arguments = {});

// `count` plain grey JPEGs, or with `large` noise at quality 95 of 2400 by 1600 (2 to 3 MB each),
// as a camera writes them; named p000.jpg and on.
QStringList photos(const QString& dir, int count, bool large = false);

// The first perl process whose parent is `parent`, or 0.
qint64 child_of(qint64 parent);

// Neither gone nor a zombie.
bool is_running(qint64 pid);

// This test program started again loads every file of `folder`, fixes them by an hour and dies once
// the fix bar reaches `files` (0: every row). True when it did, and all it started is gone.
bool crash_a_fix_run(const QString& folder, int files = 0);
// The main() of a test program of the window, which may crash a copy of itself: Berlin's clock,
// private settings, a state folder shared with that copy and the program's version; `run` then
// runs the tests in the program's application. In the copy, the crash is all there is to do.
int main_with_crashing_child(int argc, char** argv, const std::function<int()>& run);

// As QTEST_MAIN, through main_with_crashing_child.
#define TAVIMO_WINDOW_TEST_MAIN(TestObject)                                                                \
    int main(int argc, char** argv)                                                                        \
    {                                                                                                      \
        return test_support::main_with_crashing_child(argc, argv, [&] {                                    \
            TestObject test;                                                                               \
            return QTest::qExec(&test, argc, argv);                                                        \
        });                                                                                                \
    }

} // namespace test_support
