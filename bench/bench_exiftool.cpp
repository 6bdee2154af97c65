// Reading and writing through the stay-open bridge against ExifTool's own batch mode and against
// one ExifTool process per file, on N small JPEGs with typical EXIF and IPTC tags.
//   bench_exiftool [N]      (default 500)
#include <ondo/exiftool.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>

namespace {

const QString script = QStringLiteral(TAVIMO_EXIFTOOL_SCRIPT);

void run_exiftool(const QStringList& arguments)
{
    QProcess process;
    process.start("perl", QStringList{script} + arguments);
    process.waitForFinished(-1);
    process.readAllStandardOutput();
}

// Every command written at once to one stay-open ExifTool with the bridge's arguments: the cost
// of ExifTool's per-execute work without any round trip, to tell the two apart.
void run_stay_open_pipelined(const QStringList& paths, const QString& per_file)
{
    QProcess process;
    process.start("perl", {script, "-stay_open", "1", "-@", "-", "-common_args", "-charset", "filename=utf8",
                           "-args", "-sort", "-userParam", "processOwner=Tavimo"});
    process.waitForStarted(-1);
    QByteArray commands;
    for (int i = 0; i < paths.size(); ++i)
        commands += per_file.arg(paths[i]).toUtf8() + "\n-execute" + QByteArray::number(i) + "\n";
    process.write(commands + "-stay_open\n0\n");
    process.waitForFinished(-1);
    process.readAllStandardOutput();
}

double time_ms(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return timer.nsecsElapsed() / 1e6;
}

QStringList make_photos(const QString& dir, int count)
{
    QImage image(160, 120, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 150));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString path = QDir(dir).filePath(QString("photo_%1.jpg").arg(i, 4, 10, QChar('0')));
        image.save(path);
        paths << path;
    }
    // One ExifTool run tags them all; what a camera and a picture desk would leave behind.
    run_exiftool({"-q", "-overwrite_original", "-Make=Canon", "-Model=Canon EOS 5D Mark IV",
                  "-DateTimeOriginal=2019:07:01 10:11:12", "-CreateDate=2019:07:01 10:11:12",
                  "-ModifyDate=2019:07:01 10:11:12", "-ExposureTime=1/250", "-FNumber=5.6", "-ISO=200",
                  "-FocalLength=50", "-LensModel=EF50mm f/1.8 STM", "-Artist=A. Photographer",
                  "-Copyright=(c) A. Photographer", "-IPTC:By-line=A. Photographer",
                  "-IPTC:Caption-Abstract=Harbour at dawn", "-IPTC:Keywords=harbour",
                  "-IPTC:Keywords=boats", "-IPTC:City=Lisboa", "-IPTC:Country-PrimaryLocationName=Portugal",
                  "-IPTC:DateCreated=2019:07:01", "-IPTC:TimeCreated=10:11:12+01:00",
                  "-XMP-photoshop:DateCreated=2019:07:01 10:11:12", dir});
    return paths;
}

void report(const char* what, int count, double bridge, int count_batch, double batch, int count_single,
            double single, double goal)
{
    const double bridge_per_file = bridge / count;
    const double batch_per_file = batch / count_batch;
    const double single_per_file = single / count_single;
    std::printf("%s\n", what);
    std::printf("  bridge (%4d files)        %8.3f ms/file\n", count, bridge_per_file);
    std::printf("  one batch run (%4d files) %8.3f ms/file\n", count_batch, batch_per_file);
    std::printf("  one process per file (%2d) %8.3f ms/file\n", count_single, single_per_file);
    std::printf("  bridge/batch      %6.2f  (goal <= %.2f: %s)\n", bridge_per_file / batch_per_file, goal,
                bridge_per_file / batch_per_file <= goal ? "met" : "missed");
    std::printf("  per-process/bridge %6.2f\n", single_per_file / bridge_per_file);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName("Velmora");
    QCoreApplication::setApplicationName("Tavimo");
    const int count = argc > 1 ? QString(argv[1]).toInt() : 500;
    const int singles = qMin(50, count);

    QTemporaryDir dir;
    QStringList paths;
    const double make = time_ms([&] { paths = make_photos(dir.path(), count); });
    std::printf("%d photos made in %.0f ms\n\n", count, make);

    // The bridge's time includes starting Perl and ExifTool, as the batch run's does.
    std::size_t tag_count = 0;
    const double bridge_read = time_ms([&] {
        for (const QString& path : paths)
            tag_count += ondo::exiftool::read_tags(path, true, false).size();
    });
    // The baselines read as the bridge does: with groups, duplicates and -fast.
    const double batch_read = time_ms([&] { run_exiftool(QStringList{"-G1", "-a", "-args", "-fast", "-sort"} + paths); });
    const double single_read = time_ms([&] {
        for (int i = 0; i < singles; ++i)
            run_exiftool({"-G1", "-a", "-args", "-fast", "-sort", paths[i]});
    });
    const double pipelined_read = time_ms([&] { run_stay_open_pipelined(paths, "-G1\n-a\n-fast\n%1\n"); });
    std::printf("(%.1f tags per file; stay-open with all commands at once: %.3f ms/file)\n",
                double(tag_count) / count, pipelined_read / count);
    report("Reading all tags", count, bridge_read, count, batch_read, singles, single_read, 1.25);

    const exif_tag_map new_times = {{"DateTimeOriginal", "2019:07:01 11:11:12"},
                                    {"CreateDate", "2019:07:01 11:11:12"},
                                    {"ModifyDate", "2019:07:01 11:11:12"}};
    QStringList write_arguments = {"-overwrite_original_in_place", "-m"};
    for (const auto& [tag, value] : new_times)
        write_arguments << QString("-%1=%2").arg(tag, value);
    int failures = 0;
    const double bridge_write = time_ms([&] {
        for (const QString& path : paths)
            failures += !ondo::exiftool::write_tags(path, new_times);
    });
    const double batch_write = time_ms([&] { run_exiftool(write_arguments + paths); });
    const double single_write = time_ms([&] {
        for (int i = 0; i < singles; ++i)
            run_exiftool(write_arguments + QStringList{paths[i]});
    });
    const double pipelined_write = time_ms([&] {
        run_stay_open_pipelined(paths, "\n%1\n" + write_arguments.join('\n') + "\n");
    });
    std::printf("\n(stay-open with all commands at once: %.3f ms/file)\n", pipelined_write / count);
    report("Writing three time tags", count, bridge_write, count, batch_write, singles, single_write, 1.5);
    if (failures)
        std::printf("  %d bridge writes failed\n", failures);

    // One answer of about 10 MB: an XMP file with a long description. The bridge looks for the
    // end marker in the new bytes only, so its time follows ExifTool's own.
    const QString big = QDir(dir.path()).filePath("big.xmp");
    {
        QFile file(big);
        file.open(QIODevice::WriteOnly);
        file.write("<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?>\n<x:xmpmeta xmlns:x='adobe:ns:meta/'>"
                   "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
                   "<rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/'><dc:description>"
                   "<rdf:Alt><rdf:li xml:lang='x-default'>");
        file.write(QByteArray(10 * 1024 * 1024, 'w'));
        file.write("</rdf:li></rdf:Alt></dc:description></rdf:Description></rdf:RDF></x:xmpmeta>\n<?xpacket end='w'?>");
    }
    std::size_t big_size = 0;
    const double bridge_big = time_ms([&] {
        const exif_tag_map tags = ondo::exiftool::read_tags(big, true, false);
        const auto found = tags.find("XMP-dc:Description");
        big_size = found == tags.end() ? 0 : std::size_t(found->second.size());
    });
    const double batch_big = time_ms([&] { run_exiftool({"-G1", "-a", "-args", "-fast", "-sort", big}); });
    std::printf("\nOne answer of %.1f MB\n  bridge %8.1f ms\n  one process %8.1f ms\n  bridge/process %6.2f\n",
                big_size / 1048576.0, bridge_big, batch_big, bridge_big / batch_big);

    ondo::exiftool::shutdown(false);
    return 0;
}
