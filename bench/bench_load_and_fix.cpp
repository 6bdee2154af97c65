// Loading and fixing N camera-like JPEGs (default 800, or the first argument) through the window,
// against the floor that ExifTool itself sets on this machine: one ExifTool batch process per
// core, all started together, each reading (or writing) its share of a copy of the same files.
// Prints milliseconds per file, the ratios, the CPU time spent and the peak memory of this
// process. A second argument sets the number of ExifTool children (one per core by default).

#include <mainwindow.h>
#include <table_data_model.h>

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QThread>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

const QString recorded = "2017:06:21 18:30:05";
const QString shifted = "2017:06:21 19:30:05";

QProcess* start_exiftool(const QStringList& arguments)
{
    auto* process = new QProcess;
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start("perl", QStringList{TAVIMO_EXIFTOOL_SCRIPT} + arguments);
    return process;
}

// The lines a fix run sends for one of these files.
const QStringList fix_lines = {"-overwrite_original_in_place", "-m", "-ExifIFD:CreateDate=" + shifted,
                               "-ExifIFD:DateTimeOriginal=" + shifted, "-IFD0:ModifyDate=" + shifted,
                               "-System:FileModifyDate=" + shifted};

// Runs one ExifTool per core over its share of `paths`, all at once, with the arguments
// `arguments` makes of that share; returns milliseconds.
double floor_ms(const QStringList& paths, int cores,
                const std::function<QStringList(const QStringList& share, int core)>& arguments)
{
    QElapsedTimer clock;
    clock.start();
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int core = 0; core < cores; ++core) {
        QStringList share;
        for (int i = core; i < paths.size(); i += cores)
            share << paths[i];
        processes.emplace_back(start_exiftool(arguments(share, core)));
    }
    for (auto& process : processes)
        process->waitForFinished(-1);
    return clock.nsecsElapsed() / 1e6;
}

// ExifTool alone writing each file's own values, as a fix must: a stay-open ExifTool reads one
// command per file from a file of commands, so that no program stands between.
QStringList own_values_arguments(const QStringList& share, const QString& commands_path)
{
    QFile commands(commands_path);
    commands.open(QIODevice::WriteOnly);
    for (int i = 0; i < share.size(); ++i)
        commands.write(("\n" + share[i] + "\n" + fix_lines.join('\n') + QString("\n\n-execute%1\n").arg(i)).toUtf8());
    commands.write("-stay_open\n0\n");
    return {"-stay_open", "1", "-@", commands_path, "-common_args", "-charset", "filename=utf8", "-args", "-sort"};
}

// `count` small JPEGs with the EXIF time tags a camera writes and a few others, in `dir`.
QStringList make_photos(const QString& dir, int count)
{
    QImage image(160, 120, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x, y, (x * y) & 255));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths << QDir(dir).filePath(QString("IMG_%1.jpg").arg(i, 4, 10, QLatin1Char('0')));
        image.save(paths.last(), "JPG", 85);
    }
    start_exiftool({"-q", "-overwrite_original", "-ExifIFD:DateTimeOriginal=" + recorded, "-ExifIFD:CreateDate=" + recorded,
                    "-IFD0:ModifyDate=" + recorded, "-IFD0:Make=Velmora", "-IFD0:Model=Bench 1", "-ExifIFD:ISO=200",
                    "-ExifIFD:ExposureTime=1/250", "-ExifIFD:FNumber=5.6", dir})
        ->waitForFinished(-1);
    return paths;
}

// CPU time of this process alone, its ExifTool children not counted.
double own_cpu_ms()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

// CPU time of this process's children that have ended and been waited for: the floor's.
double ended_children_cpu_ms()
{
    rusage usage {};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

// CPU time of this process's ExifTool children while they live, from /proc.
double children_cpu_ms()
{
    const QByteArray parent = QByteArray::number(QCoreApplication::applicationPid());
    double ticks = 0;
    for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
        QFile stat("/proc/" + entry + "/stat");
        if (!entry.toLongLong() || !stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (fields.value(1) == parent)
            ticks += fields.value(11).toDouble() + fields.value(12).toDouble();
    }
    return ticks * 1000.0 / double(sysconf(_SC_CLK_TCK));
}

long peak_memory_kb()
{
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    ondo::application<MainWindow> app(argc, argv);
    const int count = argc > 1 ? QString(argv[1]).toInt() : 800;
    // The cores this process may run on (taskset narrows them), as the bridge counts them.
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    const int cores = sched_getaffinity(0, sizeof(allowed), &allowed) == 0 ? CPU_COUNT(&allowed) : QThread::idealThreadCount();
    if (argc > 2)
        ondo::exiftool::set_pool_size(QString(argv[2]).toInt());

    QTemporaryDir run_dir;
    QTemporaryDir floor_dir;
    const QStringList paths = make_photos(run_dir.path(), count);
    const QStringList floor_paths = make_photos(floor_dir.path(), count);

    auto* window = new MainWindow();
    app.main_window = window;
    window->show();
    // The children start with the first read; a warm-up read keeps their start out of the figures.
    ondo::exiftool::read_tags(paths.first(), true, false);

    QElapsedTimer clock;
    clock.start();
    double cpu = own_cpu_ms();
    double child_cpu = children_cpu_ms();
    window->load_files(paths);
    const double load_ms = clock.nsecsElapsed() / 1e6;
    const double load_cpu = own_cpu_ms() - cpu;
    const double load_child_cpu = children_cpu_ms() - child_cpu;

    auto* model = static_cast<table_data_model*>(window->findChild<QTableView*>("tableView")->model());
    model->datetime_offset_changed(0, 0, 0, 1, 0, 0, false, 0.0);
    QPushButton* fix = nullptr;
    for (QPushButton* button : window->findChildren<QPushButton*>())
        if (button->toolTip() == "Apply changes to the timestamps of the images")
            fix = button;
    clock.restart();
    cpu = own_cpu_ms();
    child_cpu = children_cpu_ms();
    fix->click();
    const double fix_ms = clock.nsecsElapsed() / 1e6;
    const double fix_cpu = own_cpu_ms() - cpu;
    const double fix_child_cpu = children_cpu_ms() - child_cpu;

    // The same options the bridge reads with, and the same lines a fix run sends for such a file.
    double floor_cpu = ended_children_cpu_ms();
    const double load_floor = floor_ms(floor_paths, cores, [](const QStringList& share, int) {
        return QStringList{"-charset", "filename=utf8", "-args", "-sort", "-G1", "-a", "-fast"} + share;
    });
    const double load_floor_cpu = ended_children_cpu_ms() - floor_cpu;
    floor_cpu = ended_children_cpu_ms();
    const double fix_floor = floor_ms(floor_paths, cores, [](const QStringList& share, int) {
        return QStringList{"-q"} + fix_lines + share;
    });
    const double fix_floor_cpu = ended_children_cpu_ms() - floor_cpu;
    floor_cpu = ended_children_cpu_ms();
    const double own_values_floor = floor_ms(floor_paths, cores, [&](const QStringList& share, int core) {
        return own_values_arguments(share, QDir(floor_dir.path()).filePath(QString("commands_%1.args").arg(core)));
    });
    const double own_values_floor_cpu = ended_children_cpu_ms() - floor_cpu;

    std::printf("files: %d, cores: %d\n", count, cores);
    std::printf("load through the window:   %8.2f ms per file, floor %6.2f, ratio %5.2f (goal: at most 1.2)\n",
                load_ms / count, load_floor / count, load_ms / load_floor);
    std::printf("fix +1 h through the window: %6.2f ms per file, floor %6.2f, ratio %5.2f (one value for all files)\n",
                fix_ms / count, fix_floor / count, fix_ms / fix_floor);
    std::printf("fix against ExifTool alone with each file's own values: floor %6.2f ms per file, ratio %5.2f (goal: at most 1.2)\n",
                own_values_floor / count, fix_ms / own_values_floor);
    std::printf("CPU time per file of the program: load %.2f, fix %.2f ms; of its ExifTool children: load %.2f, fix %.2f ms\n",
                load_cpu / count, fix_cpu / count, load_child_cpu / count, fix_child_cpu / count);
    std::printf("CPU time per file of the floor's ExifTool processes: load %.2f, fix %.2f ms, fix with own values %.2f ms\n",
                load_floor_cpu / count, fix_floor_cpu / count, own_values_floor_cpu / count);
    std::printf("peak memory of the program: %ld MB\n", peak_memory_kb() / 1024);

    delete window;
    ondo::exiftool::shutdown(false);
    return 0;
}
