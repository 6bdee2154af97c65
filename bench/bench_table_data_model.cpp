// Costs of the photo table: the two sorts of 10,000 rows, one screenful of cells after an offset
// change, and the memory held per loaded file. Each figure is printed beside a baseline taken in
// the same run, so that figures from different machines can be compared by their ratios.

#include <table_data_model.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

namespace {

// Rows of the sorts; the first argument changes it.
int row_count = 10000;
constexpr int screen_rows = 40;

// Median milliseconds of `runs` calls of `work`, each after `prepare` (which isn't timed).
double median_ms(int runs, const std::function<void()>& prepare, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        prepare();
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Records as a load would leave them, with times spread over ten years so that both sides of
// the daylight saving changes occur, and every tenth name repeated in another folder.
void fill_by_hand(table_data_model& model)
{
    QRandomGenerator random(42);
    for (int i = 0; i < row_count; ++i) {
        const QString path = QStringLiteral("/photos/trip_%1/IMG_%2.JPG").arg(i % 37).arg(i % 10 == 0 ? i + 1 : i, 5, 10, QLatin1Char('0'));
        const QDateTime when = QDateTime(QDate(2010, 1, 1), QTime(0, 0)).addSecs(qint64(random.bounded(315360000)));
        exif_tag_map tags {
            {"ExifIFD:DateTimeOriginal", when.toString("yyyy:MM:dd hh:mm:ss")},
            {"ExifIFD:CreateDate", when.toString("yyyy:MM:dd hh:mm:ss")},
            {"IFD0:Make", "Camera"},
            {"IFD0:Model", QStringLiteral("Model %1").arg(i % 3 + 1)},
            {"System:FileModifyDate", when.toString("yyyy:MM:dd hh:mm:ss+01:00")},
        };
        if (i % 3 == 0)
            tags["IPTC:TimeCreated"] = when.toString("hh:mm:ss+02:00");
        exif_cache::instance()->load(path, tags);
        model.files.append(path);
    }
}

void shuffle(table_data_model& model)
{
    std::shuffle(model.files.begin(), model.files.end(), std::mt19937(7));
}

size_t heap_in_use()
{
    malloc_trim(0);
    return mallinfo2().uordblks;
}

void sorts_and_screenful()
{
    table_data_model model;
    model.datetime_format_changed(QStringLiteral("dd.MM.yyyy - HH:mm:ss"));
    fill_by_hand(model);

    QStringList plain;
    const double baseline = median_ms(
        9, [&] { plain = model.files; std::shuffle(plain.begin(), plain.end(), std::mt19937(7)); },
        [&] { std::sort(plain.begin(), plain.end()); });
    std::printf("baseline: std::sort of %d paths by QString::operator<: %.2f ms\n", row_count, baseline);

    const double by_time = median_ms(9, [&] { shuffle(model); }, [&] { model.sort(1, Qt::AscendingOrder); });
    const double by_time_down = median_ms(9, [&] { shuffle(model); }, [&] { model.sort(1, Qt::DescendingOrder); });
    const double by_name = median_ms(9, [&] { shuffle(model); }, [&] { model.sort(0, Qt::AscendingOrder); });
    const double by_camera = median_ms(9, [&] { shuffle(model); }, [&] { model.sort(3, Qt::AscendingOrder); });
    std::printf("sort by time, %d rows: %.2f ms (%.1fx baseline), descending %.2f ms (goal < 100 ms)\n", row_count,
                by_time, by_time / baseline, by_time_down);
    std::printf("sort by name, %d rows: %.2f ms (%.1fx baseline) (goal < 100 ms)\n", row_count, by_name,
                by_name / baseline);
    std::printf("sort by camera, %d rows: %.2f ms (%.1fx baseline) (goal < 150 ms at 100,000)\n", row_count, by_camera,
                by_camera / baseline);

    // A screenful: what the view asks after the offset panel reports a keystroke.
    int step = 0;
    const auto screenful = [&] {
        for (int row = 0; row < screen_rows; ++row)
            for (int column = 0; column < 3; ++column)
                model.data(model.index(row, column), Qt::DisplayRole);
    };
    const double screen = median_ms(
        51, [&] { ++step; model.datetime_offset_changed(0, 1, step % 30, 2, -5000, 7, step % 2 == 0, 1.5); },
        screenful);
    const double format_baseline = median_ms(51, [] {}, [&] {
        for (int i = 0; i < screen_rows * 2; ++i)
            QDateTime(QDate(2017, 6, 21), QTime(18, 30, i % 60)).toString(model.format);
    });
    std::printf("screenful (%d rows x 3 columns) after an offset change: %.3f ms (%.1fx formatting %d times alone) "
                "(goal < 5 ms)\n",
                screen_rows, screen, screen / format_baseline, screen_rows * 2);

    exif_cache::instance()->clear();
}

void memory_per_file()
{
    constexpr int file_count = 300;
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("photo_0.jpg"));
    QImage image(640, 480, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 150));
    image.save(first);
    QProcess::execute(QStringLiteral(TAVIMO_EXIFTOOL_SCRIPT),
                      {"-q", "-overwrite_original", "-ExifIFD:DateTimeOriginal=2017:06:21 18:30:05",
                       "-IFD0:Make=Camera", "-IFD0:Model=Model 1", "-IPTC:TimeCreated=18:30:05+02:00",
                       "-XMP-photoshop:DateCreated=2017:06:21 18:30:05", first});
    QStringList paths {first};
    for (int i = 1; i < file_count; ++i) {
        paths << dir.filePath(QStringLiteral("photo_%1.jpg").arg(i));
        QFile::copy(first, paths.last());
    }

    table_data_model model;
    // The first read starts ExifTool; keep that out of the figures.
    model.add_file(first, true);
    const size_t before = heap_in_use();
    QElapsedTimer timer;
    timer.start();
    model.add_files(paths);
    const double load_ms = timer.nsecsElapsed() / 1e6;
    const size_t after = heap_in_use();

    const exif_tag_map tags = exif_cache::instance()->of(first).tags.unpacked();
    size_t text_bytes = 0;
    for (const auto& [key, value] : tags)
        text_bytes += size_t(key.size() + value.size()) * sizeof(QChar);
    std::printf("memory per loaded file: %.0f bytes over %d files (%zu tags, %zu bytes of tag text each: %.1fx)\n",
                double(after - before) / (file_count - 1), file_count - 1, tags.size(), text_bytes,
                double(after - before) / (file_count - 1) / double(text_bytes));
    std::printf("load time per file through ExifTool: %.2f ms\n", load_ms / (file_count - 1));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("TZ", "Europe/Berlin");
    tzset();
    QCoreApplication app(argc, argv);
    if (argc > 1)
        row_count = QString(argv[1]).toInt();
    sorts_and_screenful();
    memory_per_file();
    return 0;
}
