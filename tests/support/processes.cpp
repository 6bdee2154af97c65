#include "processes.h"

#include <mainwindow.h>
#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <ctime>
#include <unistd.h>

namespace test_support {

namespace {

// Marks the crashing child and whatever it starts, by the pid of the test that started it: tests
// running side by side must not wait for each other's children.
const char crash_mark[] = "TAVIMO_TEST_CRASH_OF";

// Processes carrying the mark of this test's crashing child: the child and its ExifTool children.
int crashed_processes()
{
    const QByteArray mark = crash_mark + ("=" + QByteArray::number(QCoreApplication::applicationPid())) + '\0';
    int count = 0;
    for (const QString& pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        QFile environment("/proc/" + pid + "/environ");
        count += environment.open(QIODevice::ReadOnly) && environment.readAll().contains(mark);
    }
    return count;
}

// Gives every default QSettings a store of its own and turns the bridge's debug lines off.
void use_private_settings()
{
    static QTemporaryDir home;
    QDir(home.path()).mkpath(".config");
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toLocal8Bit());
    QCoreApplication::setOrganizationName("Velmora");
    QCoreApplication::setApplicationName("Tavimo");
    // ExifTool's warnings come as debug lines from the worker thread, at any moment; QtTest's
    // own handler isn't safe against that, so they stay off unless a log_capture wants them.
    QLoggingCategory::setFilterRules("exiftool.debug=false");
}

} // namespace

fake_perl::fake_perl() : old_path(qgetenv("PATH"))
{
    ondo::exiftool::shutdown(true); // a child started earlier would answer instead
    const QString script = dir.filePath("perl");
    if (!QFile::copy(TAVIMO_FAKE_PERL, script) || !QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner))
        qFatal("cannot put the stand-in perl in place");
    qputenv("PATH", QFile::encodeName(dir.path()) + ":" + old_path);
}

fake_perl::~fake_perl()
{
    ondo::exiftool::shutdown(true); // the child writes into the folder, so it goes first
    qputenv("PATH", old_path);
}

void fake_perl::rule(const QString& kind, const QString& id, QString value)
{
    QFile rules(dir.filePath("rules"));
    rules.open(QIODevice::Append);
    rules.write(QString("%1\t%2\t%3\n").arg(kind, id, value.replace("\\", "\\\\").replace("\n", "\\n")).toUtf8());
}

QList<QStringList> fake_perl::starts() const
{
    QList<QStringList> result;
    for (const QString& block : QString::fromUtf8(read("arguments")).split("\n\n", Qt::SkipEmptyParts))
        result << block.split('\n', Qt::SkipEmptyParts);
    return result;
}

QList<qint64> fake_perl::pids() const
{
    QList<qint64> result;
    for (const QByteArray& line : read("pids").split('\n'))
        if (!line.isEmpty())
            result << line.toLongLong();
    return result;
}

void launch(QProcess& process, const QString& program, const QString& dir, const QMap<QString, QString>& vars,
    const QStringList& arguments)
{
    QVERIFY(QDir(dir).mkpath("home"));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("HOME", dir + "/home");
    env.insert("XDG_CONFIG_HOME", dir + "/home/.config");
    env.insert("QT_QPA_PLATFORM", "offscreen");
    for (auto it = vars.begin(); it != vars.end(); ++it)
        env.insert(it.key(), it.value());
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(dir);
    process.start(TAVIMO_BIN_DIR "/" + program, arguments);
    QVERIFY(process.waitForStarted());
}

QStringList photos(const QString& dir, int count, bool large)
{
    QImage photo(large ? 2400 : 16, large ? 1600 : 16, QImage::Format_RGB32);
    photo.fill(Qt::gray);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        if (large) {
            QRandomGenerator random(quint32(i) + 1);
            for (int y = 0; y < photo.height(); ++y) {
                auto* line = reinterpret_cast<quint32*>(photo.scanLine(y));
                for (int x = 0; x < photo.width(); ++x)
                    line[x] = 0xFF000000u | (random.generate() & 0xFFFFFFu);
            }
        }
        paths << QDir(dir).absoluteFilePath(QString("p%1.jpg").arg(i, 3, 10, QLatin1Char('0')));
        photo.save(paths.last(), "JPEG", large ? 95 : -1);
    }
    return paths;
}

qint64 child_of(qint64 parent)
{
    for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
        QFile stat("/proc/" + entry + "/stat");
        if (!entry.toLongLong() || !stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid ...": the command may hold blanks, so fields count from its ')'.
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (text.contains("(perl)") && fields.value(1).toLongLong() == parent)
            return entry.toLongLong();
    }
    return 0;
}

bool is_running(qint64 pid)
{
    QFile stat(QString("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
}

bool crash_a_fix_run(const QString& folder, int files)
{
    // The child's own temporary folders (its settings home) outlive its crash; they go with this one.
    const QTemporaryDir child_temp;
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", child_temp.path());
    environment.insert(crash_mark, QString::number(QCoreApplication::applicationPid()));
    environment.insert("TAVIMO_TEST_CRASH_AFTER", QString::number(files));
    environment.insert("TAVIMO_TEST_FOLDER", folder);
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    const bool crashed = child.waitForFinished(120000) && child.exitStatus() == QProcess::NormalExit
        && child.exitCode() == 0;
    // Its ExifTool children finish the writes they had before they go; only then is what the
    // crash left complete.
    return crashed && QTest::qWaitFor([] { return crashed_processes() == 0; }, 20000);
}

int crashing_child_main(int argc, char** argv)
{
    ondo::application<MainWindow> app(argc, argv);
    const QDir folder(qEnvironmentVariable("TAVIMO_TEST_FOLDER"));
    QStringList paths;
    for (const QString& name : folder.entryList(QDir::Files, QDir::Name))
        paths << folder.absoluteFilePath(name);
    MainWindow* window = open_main_window();
    window->load_files(paths);
    int after = qEnvironmentVariableIntValue("TAVIMO_TEST_CRASH_AFTER");
    if (after == 0)
        after = window->findChild<QTableView*>()->model()->rowCount();
    QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
    // Each bar moves only after its files' writes are done, a few at a time; from here on only
    // the fix bar moves.
    for (QProgressBar* bar : window->findChildren<QProgressBar*>())
        QObject::connect(bar, &QProgressBar::valueChanged, [after](int value) {
            if (value >= after)
                ::_exit(0);
        });
    button(window, fix_tip)->click();
    return 3; // the run ended before the crash
}

int main_with_crashing_child(int argc, char** argv, const std::function<int()>& run)
{
    qputenv("TZ", "Europe/Berlin");
    tzset();
    use_private_settings();
    if (qEnvironmentVariableIsSet(crash_mark))
        return crashing_child_main(argc, argv);
    static QTemporaryDir state;
    qputenv("XDG_DATA_HOME", state.path().toLocal8Bit());
    ondo::application<MainWindow> app(argc, argv);
    QCoreApplication::setApplicationVersion("2.1.2"); // as the program's main sets it
    return run();
}

} // namespace test_support
