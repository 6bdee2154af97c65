// Loading N camera-like JPEGs (default 1,000, or the first argument) through the window and fixing
// some of them, against the floors that ExifTool itself sets on this machine: one ExifTool batch
// process per core, all started together, each reading (or writing) its share of the same files.
// Prints milliseconds per file and the ratios, the CPU time of the program per file, its memory
// per loaded file beyond the empty window and what a fix keeps per file (the undo information),
// and how the table answers at N rows: sorting by each column, a keystroke in the offset panel to
// the next paint, and scrolling a page.
// Above 2,000 files the load reads hard links to a hundred photos, so that 100,000 files need
// little disk. The load is held to ExifTool reading up to 2,000 of its files just before it and all of
// them just after. A fix of those would write the same photos over and over, so the fix always writes
// distinct small files, at most 2,000 or the third argument, and is held to ExifTool writing each
// file's own values run just before it and just after. A second argument sets the number of
// ExifTool children (one per core by default). Runs offscreen unless QT_QPA_PLATFORM says otherwise.

#include <mainwindow.h>
#include <table_data_model.h>

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QThread>

#include <malloc.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

namespace {

// Distinct photos the load's files are made of: their recording times and cameras differ, so that
// the table's sorts have something to do.
constexpr int source_count = 100;
constexpr int link_above = 2000;
constexpr int fix_at_most = 2000;

// The recording time of source photo `k`: seven hours apart, from five cameras in turn.
QDateTime recorded(int k)
{
    return QDateTime(QDate(2017, 6, 1), QTime(8, 0, 5)).addSecs(qint64(k) * 7 * 3600 + k * 61);
}

QString exif_text(const QDateTime& time) { return time.toString("yyyy:MM:dd HH:mm:ss"); }

QProcess* start_exiftool(const QStringList& arguments)
{
    auto* process = new QProcess;
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start("perl", QStringList{TAVIMO_EXIFTOOL_SCRIPT} + arguments);
    return process;
}

// The lines a fix run of +1 h sends for a file recorded at `time`.
QStringList fix_lines(const QDateTime& time)
{
    const QString shifted = exif_text(time.addSecs(3600));
    return {"-overwrite_original_in_place", "-m", "-ExifIFD:CreateDate=" + shifted, "-ExifIFD:DateTimeOriginal=" + shifted,
            "-IFD0:ModifyDate=" + shifted, "-System:FileModifyDate=" + shifted};
}

// Runs one ExifTool per core over its share of `paths`, all at once, with the arguments
// `arguments` makes of that share; returns milliseconds, and their CPU time in `cpu_ms` if given.
double ended_children_cpu_ms();
double floor_ms(const QStringList& paths, int cores,
                const std::function<QStringList(const QStringList& share, int core)>& arguments, double* cpu_ms = nullptr)
{
    const double cpu_before = ended_children_cpu_ms();
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
    const double ms = clock.nsecsElapsed() / 1e6;
    if (cpu_ms)
        *cpu_ms = ended_children_cpu_ms() - cpu_before;
    return ms;
}

// `paths` one a line in a file at `path`, for ExifTool's -@: tens of thousands of names don't fit
// on a command line. Returns `path`.
QString names_file(const QStringList& paths, const QString& path)
{
    QFile names(path);
    names.open(QIODevice::WriteOnly);
    names.write((paths.join('\n') + '\n').toUtf8());
    return path;
}

// ExifTool alone writing each file's own values, as a fix must: a stay-open ExifTool reads one
// command per file from a file of commands, so that no program stands between.
QStringList own_values_arguments(const QStringList& share, const std::function<QDateTime(const QString&)>& time_of,
                                 const QString& commands_path)
{
    QFile commands(commands_path);
    commands.open(QIODevice::WriteOnly);
    for (int i = 0; i < share.size(); ++i)
        commands.write(("\n" + share[i] + "\n" + fix_lines(time_of(share[i])).join('\n') + QString("\n\n-execute%1\n").arg(i))
                           .toUtf8());
    commands.write("-stay_open\n0\n");
    return {"-stay_open", "1", "-@", commands_path, "-common_args", "-charset", "filename=utf8", "-args", "-sort"};
}

// The source photos in `dir`: small JPEGs with what a camera and a picture desk leave in them
// (exposure, lens, serial, GPS position, IPTC and XMP words) and the three EXIF time tags.
QStringList make_sources(const QString& dir)
{
    QImage image(160, 120, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x, y, (x * y) & 255));
    QStringList paths;
    QFile commands(QDir(dir).filePath("tags.args"));
    commands.open(QIODevice::WriteOnly);
    for (int k = 0; k < source_count; ++k) {
        paths << QDir(dir).filePath(QString("source_%1.jpg").arg(k, 3, 10, QLatin1Char('0')));
        image.save(paths.last(), "JPG", 85);
        const QString when = exif_text(recorded(k));
        const QStringList lines = {
            "-q", "-overwrite_original", "-ExifIFD:DateTimeOriginal=" + when, "-ExifIFD:CreateDate=" + when,
            "-IFD0:ModifyDate=" + when, "-IFD0:Make=Velmora", QString("-IFD0:Model=Bench %1").arg(k % 5 + 1),
            QString("-ExifIFD:BodySerialNumber=2147%1").arg(k % 5, 4, 10, QLatin1Char('0')),
            "-IFD0:Software=Firmware Version 1.1.0", "-IFD0:Artist=A. Photographer", "-IFD0:Copyright=(c) A. Photographer",
            "-ExifIFD:ExposureTime=1/250", "-ExifIFD:FNumber=5.6", "-ExifIFD:ISO=200",
            "-ExifIFD:ExposureProgram=Aperture-priority AE", "-ExifIFD:MeteringMode=Multi-segment",
            "-ExifIFD:Flash=No Flash", "-ExifIFD:FocalLength=50", "-ExifIFD:LensModel=50mm F1.8",
            "-ExifIFD:LensSerialNumber=0000412", "-ExifIFD:WhiteBalance=Auto", "-ExifIFD:ColorSpace=sRGB",
            "-GPS:GPSLatitude=38.7", "-GPS:GPSLatitudeRef=N", "-GPS:GPSLongitude=9.14", "-GPS:GPSLongitudeRef=W",
            "-GPS:GPSAltitude=20", "-IPTC:Keywords=harbour", "-IPTC:Keywords=boats", "-IPTC:City=Lisboa",
            "-IPTC:Caption-Abstract=Harbour at dawn", "-XMP-dc:Subject=harbour", "-XMP-dc:Creator=A. Photographer",
            paths.last(), QString("-execute%1").arg(k)};
        commands.write((lines.join('\n') + '\n').toUtf8());
    }
    commands.close();
    start_exiftool({"-@", commands.fileName()})->waitForFinished(-1);
    return paths;
}

// `count` files in `dir` made of the sources in turn: hard links, or with `link` false copies.
QStringList spread(const QStringList& sources, const QString& dir, int count, bool link)
{
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths << QDir(dir).filePath(QString("IMG_%1.jpg").arg(i, 6, 10, QLatin1Char('0')));
        const QString& source = sources[i % sources.size()];
        const bool made = link ? ::link(QFile::encodeName(source).constData(), QFile::encodeName(paths.last()).constData()) == 0
                               : QFile::copy(source, paths.last());
        if (!made) {
            std::fprintf(stderr, "could not make %s\n", qPrintable(paths.last()));
            std::exit(1);
        }
    }
    return paths;
}

// The time a file of spread() was recorded at, from its number.
QDateTime time_of(const QString& path)
{
    return recorded(QFileInfo(path).baseName().mid(4).toInt() % source_count);
}

double cpu_ms(int who)
{
    rusage usage {};
    ::getrusage(who, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

// CPU time of this process alone, its ExifTool children not counted.
double own_cpu_ms() { return cpu_ms(RUSAGE_SELF); }

// CPU time of this process's children that have ended and been waited for: the floor's.
double ended_children_cpu_ms() { return cpu_ms(RUSAGE_CHILDREN); }

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

// Bytes of the heap in use, once freed blocks are given back.
double heap_in_use()
{
    malloc_trim(0);
    return double(mallinfo2().uordblks);
}

double resident_bytes()
{
    QFile statm("/proc/self/statm");
    statm.open(QIODevice::ReadOnly);
    return statm.readAll().split(' ').value(1).toDouble() * double(::sysconf(_SC_PAGESIZE));
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

QByteArray load_average()
{
    QFile file("/proc/loadavg");
    file.open(QIODevice::ReadOnly);
    return file.readAll().trimmed();
}

struct spread_ms {
    double median = 0;
    double worst = 0;
};

// Milliseconds of `runs` calls of `step` (given the run's number), each up to the end of the paint
// it causes: the posted update requests paint what changed, as the window's next frame would.
spread_ms painted_ms(int runs, const std::function<void(int)>& step)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        step(i);
        QApplication::processEvents();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.back()};
}

// The table at its present rows: a sort by each column both ways, keystrokes in the offset
// panel, and a page of scrolling at a time.
void table_timings(MainWindow& window, int rows)
{
    auto* table = window.findChild<QTableView*>("tableView");
    // What any frame costs on this machine now, whatever the rows: the whole window painted.
    const spread_ms whole = painted_ms(9, [&](int) { window.repaint(); });
    std::printf("table at %d rows: the whole window painted: %.1f ms, worst %.1f\n", rows, whole.median, whole.worst);
    const char* names[] = {"name", "recording time", "new time (refused)", "camera"};
    for (int column = 0; column < 4; ++column) {
        const spread_ms sort = painted_ms(4, [&](int i) {
            table->sortByColumn(column, i % 2 == 0 ? Qt::DescendingOrder : Qt::AscendingOrder);
        });
        std::printf("table at %d rows: sort by %s and paint: %.1f ms, worst %.1f (goal: at most 150)\n", rows,
                    names[column], sort.median, sort.worst);
    }
    auto* hour = window.findChild<QLineEdit*>("lineedit_hour");
    const spread_ms key = painted_ms(21, [&](int i) {
        const bool type = i % 2 == 0;
        QKeyEvent press(QEvent::KeyPress, type ? Qt::Key_1 : Qt::Key_Backspace, Qt::NoModifier, type ? "1" : QString());
        QApplication::sendEvent(hour, &press);
    });
    std::printf("table at %d rows: keystroke in the offset panel to the next paint: %.1f ms, worst %.1f (goal: at most 16)\n",
                rows, key.median, key.worst);
    QScrollBar* bar = table->verticalScrollBar();
    bar->setValue(bar->maximum() / 3);
    const spread_ms scroll = painted_ms(40, [&](int i) {
        bar->triggerAction(i < 20 ? QAbstractSlider::SliderPageStepAdd : QAbstractSlider::SliderPageStepSub);
    });
    std::printf("table at %d rows: scrolling a page and painting: %.1f ms, worst %.1f (goal: at most 16)\n", rows,
                scroll.median, scroll.worst);
}

QPushButton* button(MainWindow& window, const QString& tool_tip)
{
    for (QPushButton* button : window.findChildren<QPushButton*>())
        if (button->toolTip() == tool_tip)
            return button;
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ondo::application<MainWindow> app(argc, argv);
    const int count = argc > 1 ? QString(argv[1]).toInt() : 1000;
    const int fix_count = argc > 3 ? QString(argv[3]).toInt() : std::min(count, fix_at_most);
    const bool linked = count > link_above;
    // The cores this process may run on (taskset narrows them), as the bridge counts them.
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    const int cores = sched_getaffinity(0, sizeof(allowed), &allowed) == 0 ? CPU_COUNT(&allowed) : QThread::idealThreadCount();
    if (argc > 2)
        ondo::exiftool::set_pool_size(QString(argv[2]).toInt());
    std::printf("files: %d (%s %d camera-like photos), cores: %d, load average at the start: %s\n", count,
                linked ? "hard links to" : "copies of", source_count, cores, load_average().constData());

    QTemporaryDir source_dir, load_dir, fix_dir, floor_dir, early_floor_dir;
    const QStringList sources = make_sources(source_dir.path());
    const QStringList paths = spread(sources, load_dir.path(), count, linked);
    const QStringList fix_paths = spread(sources, fix_dir.path(), fix_count, false);
    const QStringList floor_paths = spread(sources, floor_dir.path(), fix_count, false);
    const QStringList early_floor_paths = spread(sources, early_floor_dir.path(), fix_count, false);

    auto* window = new MainWindow();
    app.main_window = window;
    window->resize(1200, 900);
    window->show();
    QApplication::processEvents();
    // The children start with the first read; a warm-up read keeps their start out of the figures.
    const size_t tag_count = ondo::exiftool::read_tags(sources.first(), true, false).size();

    // The same options the bridge reads with, over the same files: over some of them just before the
    // load and over all of them just after it, as the machine's pace drifts during a long load.
    auto load_floor_of = [&](const QStringList& files, const QString& name, double* cpu_ms) {
        return floor_ms(files, cores, [&](const QStringList& share, int core) {
            return QStringList{"-charset", "filename=utf8", "-args", "-sort", "-G1", "-a", "-fast", "-@",
                               names_file(share, QDir(floor_dir.path()).filePath(name.arg(core)))};
        }, cpu_ms);
    };
    const QStringList early_sample = paths.mid(0, fix_at_most);
    double early_load_floor_cpu = 0;
    const double early_load_floor =
        load_floor_of(early_sample, "early_load_%1.args", &early_load_floor_cpu) / early_sample.size();

    const double heap_before = heap_in_use();
    const double resident_before = resident_bytes();
    QElapsedTimer clock;
    clock.start();
    double cpu = own_cpu_ms();
    double child_cpu = children_cpu_ms();
    window->load_files(paths);
    const double load_ms = clock.nsecsElapsed() / 1e6;
    const double load_cpu = own_cpu_ms() - cpu;
    const double load_child_cpu = children_cpu_ms() - child_cpu;
    const double heap_per_file = (heap_in_use() - heap_before) / count;
    const double resident_per_file = (resident_bytes() - resident_before) / count;
    std::printf("photos of %zu tags as read; the load's ExifTool children: %d\n", tag_count,
                argc > 2 ? QString(argv[2]).toInt() : std::min(cores, 4));

    double late_load_floor_cpu = 0;
    const double late_load_floor = load_floor_of(paths, "load_%1.args", &late_load_floor_cpu) / count;
    const double load_floor = (early_load_floor + late_load_floor) / 2;
    const double load_floor_cpu = (early_load_floor_cpu / early_sample.size() + late_load_floor_cpu / count) / 2;
    std::printf("load through the window: %.3f ms per file, floor %.3f (just before the load over %d of the files %.3f, "
                "just after over all %.3f), ratio %.2f (goal: at most 1.2)\n",
                load_ms / count, load_floor, int(early_sample.size()), early_load_floor, late_load_floor,
                load_ms / count / load_floor);
    std::printf("CPU time per file of the load: the program %.3f ms, its ExifTool children %.3f, the floor's ExifTool %.3f\n",
                load_cpu / count, load_child_cpu / count, load_floor_cpu);
    std::printf("memory per loaded file beyond the empty window: heap %.0f bytes, resident %.0f bytes (goal: at most 2048)\n",
                heap_per_file, resident_per_file);
    std::fflush(stdout);

    table_timings(*window, count);
    std::fflush(stdout);

    // The fix writes distinct files: the table is emptied and loads them instead.
    button(*window, "Clear list of loaded images")->click();
    window->load_files(fix_paths);
    auto* model = static_cast<table_data_model*>(window->findChild<QTableView*>("tableView")->model());
    model->datetime_offset_changed(0, 0, 0, 1, 0, 0, false, 0.0);
    // The own-values floor is run just before the fix and just after it, and the fix is held to
    // their mean: the machine's pace drifts by several percent within a minute, as much as the
    // program's share of a fix.
    auto own_values_floor = [&](const QStringList& floor_files, const QString& name, double* cpu_ms) {
        return floor_ms(floor_files, cores, [&](const QStringList& share, int core) {
            return own_values_arguments(share, time_of, QDir(floor_dir.path()).filePath(name.arg(core)));
        }, cpu_ms);
    };
    double early_floor_cpu = 0;
    const double early_floor = own_values_floor(early_floor_paths, "early_commands_%1.args", &early_floor_cpu);
    const double heap_before_fix = heap_in_use();
    clock.restart();
    cpu = own_cpu_ms();
    child_cpu = children_cpu_ms();
    button(*window, "Apply changes to the timestamps of the images")->click();
    const double fix_ms = clock.nsecsElapsed() / 1e6;
    const double fix_cpu = own_cpu_ms() - cpu;
    const double fix_child_cpu = children_cpu_ms() - child_cpu;
    const double undo_per_file = (heap_in_use() - heap_before_fix) / fix_count;

    // The same lines a fix run sends for such a file: each file's own, then one value for all
    // (over files the floor before has written once).
    double late_floor_cpu = 0;
    const double late_floor = own_values_floor(floor_paths, "commands_%1.args", &late_floor_cpu);
    double fix_floor_cpu = 0;
    const double fix_floor = floor_ms(floor_paths, cores, [&](const QStringList& share, int core) {
        return QStringList{"-q"} + fix_lines(recorded(0))
            + QStringList{"-@", names_file(share, QDir(floor_dir.path()).filePath(QString("fix_%1.args").arg(core)))};
    }, &fix_floor_cpu);
    const double own_floor = (early_floor + late_floor) / 2;
    const double own_floor_cpu = (early_floor_cpu + late_floor_cpu) / 2;

    std::printf("fix +1 h of %d distinct small files through the window: %.3f ms per file\n", fix_count, fix_ms / fix_count);
    std::printf("  against ExifTool alone with each file's own values, one command per file: floor %.3f (just before "
                "the fix %.3f, just after %.3f), ratio %.2f (goal: at most 1.2)\n",
                own_floor / fix_count, early_floor / fix_count, late_floor / fix_count, fix_ms / own_floor);
    std::printf("  against ExifTool alone with one value for all files: floor %.3f, ratio %.2f\n", fix_floor / fix_count,
                fix_ms / fix_floor);
    std::printf("CPU time per file of the fix: the program %.3f ms, its ExifTool children %.3f, the floors' ExifTool %.3f "
                "(own values %.3f: before %.3f, after %.3f)\n",
                fix_cpu / fix_count, fix_child_cpu / fix_count, fix_floor_cpu / fix_count, own_floor_cpu / fix_count,
                early_floor_cpu / fix_count, late_floor_cpu / fix_count);
    std::printf("memory the fix keeps per file (its undo information): heap %.0f bytes (goal: at most 1024)\n", undo_per_file);
    std::printf("peak memory of the program: %ld MB; load average at the end: %s\n", peak_memory_kb() / 1024,
                load_average().constData());

    delete window;
    ondo::exiftool::shutdown(false);
    return 0;
}
