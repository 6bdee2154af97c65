// A keystroke in the offset panel with 50,000 rows of 5 cameras loaded, as milliseconds until the
// window has painted again (the table, the cameras panel and the timeline), beside the same with
// 500 rows: the ratio shows whether a keystroke costs anything per row.

#include <mainwindow.h>
#include <table_data_model.h>

#include <ondo/application.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTableView>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// Records as a load of `count` photos of five cameras would leave them.
QStringList fill(int count)
{
    QStringList paths;
    const QDateTime start(QDate(2024, 5, 1), QTime(8, 0));
    for (int i = 0; i < count; ++i) {
        const QString path = QStringLiteral("/trip/cam_%1/IMG_%2.JPG").arg(i % 5).arg(i, 6, 10, QLatin1Char('0'));
        const QString when = start.addSecs(i * 7 + (i % 5) * 3600).toString("yyyy:MM:dd hh:mm:ss");
        exif_cache::instance()->load(path, {{"ExifIFD:DateTimeOriginal", when},
                                            {"IFD0:Make", "Maker"},
                                            {"IFD0:Model", QStringLiteral("Body %1").arg(i % 5)},
                                            {"System:FileModifyDate", when + "+02:00"}});
        paths << path;
    }
    return paths;
}

// Median milliseconds from a key in the hour field to the end of the window's next paint.
double keystroke_ms(MainWindow& window)
{
    auto* hour = window.findChild<QLineEdit*>("lineedit_hour");
    std::vector<double> times;
    for (int i = 0; i < 21; ++i) {
        const bool type = i % 2 == 0;
        QKeyEvent press(QEvent::KeyPress, type ? Qt::Key_1 : Qt::Key_Backspace, Qt::NoModifier, type ? "1" : QString());
        QElapsedTimer timer;
        timer.start();
        QApplication::sendEvent(hour, &press);
        QApplication::processEvents();
        window.repaint();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

double with_rows(int count)
{
    MainWindow window;
    window.resize(1200, 900);
    window.show();
    auto* model = static_cast<table_data_model*>(window.findChild<QTableView*>("tableView")->model());
    model->add_loaded(fill(count));
    QMetaObject::invokeMethod(&window, "cameras_changed");
    QApplication::processEvents();
    const double ms = keystroke_ms(window);
    model->clear();
    exif_cache::instance()->clear();
    return ms;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ondo::application<MainWindow> app(argc, argv);
    const double few = with_rows(500);
    const double many = with_rows(50000);
    std::printf("keystroke to paint, 5 cameras: %.2f ms with 500 rows, %.2f ms with 50,000 (ratio %.2f) (goal < 16 ms)\n",
                few, many, many / few);
    return 0;
}
