// The fix run over N files (default 500, or the first argument) against ExifTool's own floor:
// one ExifTool process writing the same tags over a copy of the same files in one batch.
// Prints milliseconds per file for both and their ratio.

#include <mainwindow.h>
#include <table_data_model.h>

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>

#include <cstdio>

namespace {

const QString recorded = "2017:06:21 18:30:05";
const QString shifted = "2017:06:21 19:30:05";

// Runs ExifTool to its end; returns its exit code.
int exiftool(const QStringList& arguments)
{
    QProcess process;
    process.start("perl", QStringList{TAVIMO_EXIFTOOL_SCRIPT} + arguments);
    process.waitForFinished(-1);
    return process.exitCode();
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
    exiftool({"-q", "-overwrite_original", "-ExifIFD:DateTimeOriginal=" + recorded, "-ExifIFD:CreateDate=" + recorded,
              "-IFD0:ModifyDate=" + recorded, "-IFD0:Make=Velmora", "-IFD0:Model=Bench 1", "-ExifIFD:ISO=200",
              "-ExifIFD:ExposureTime=1/250", "-ExifIFD:FNumber=5.6", dir});
    return paths;
}

} // namespace

int main(int argc, char** argv)
{
    ondo::application<MainWindow> app(argc, argv);
    const int count = argc > 1 ? QString(argv[1]).toInt() : 500;

    QTemporaryDir run_dir;
    QTemporaryDir batch_dir;
    const QStringList paths = make_photos(run_dir.path(), count);
    make_photos(batch_dir.path(), count);

    auto* window = new MainWindow();
    app.main_window = window;
    window->show();
    window->load_files(paths);
    auto* model = static_cast<table_data_model*>(window->findChild<QTableView*>("tableView")->model());
    model->datetime_offset_changed(0, 0, 0, 1, 0, 0, false, 0.0);
    QPushButton* fix = nullptr;
    for (QPushButton* button : window->findChildren<QPushButton*>())
        if (button->toolTip() == "Apply changes to the timestamps of the images")
            fix = button;

    QElapsedTimer clock;
    clock.start();
    fix->click();
    const double run_ms = clock.nsecsElapsed() / 1e6;

    // The same lines a fix run sends for such a file, for all files at once.
    clock.restart();
    exiftool({"-q", "-overwrite_original_in_place", "-m", "-ExifIFD:CreateDate=" + shifted,
              "-ExifIFD:DateTimeOriginal=" + shifted, "-IFD0:ModifyDate=" + shifted,
              "-System:FileModifyDate=" + shifted, batch_dir.path()});
    const double batch_ms = clock.nsecsElapsed() / 1e6;

    std::printf("files: %d\n", count);
    std::printf("fix run through the bridge: %8.2f ms per file\n", run_ms / count);
    std::printf("one ExifTool batch write:   %8.2f ms per file\n", batch_ms / count);
    std::printf("ratio fix run / batch:      %8.2f (goal: at most 1.5)\n", run_ms / batch_ms);

    delete window;
    ondo::exiftool::shutdown(false);
    return 0;
}
