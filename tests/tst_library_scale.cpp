// A photo library's worth of files as hard links to one camera JPEG: a load stopped in the middle
// keeps what it read and reads nothing more, and a loaded file costs bounded memory.
#include "processes.h"
#include "table_data_model.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QHeaderView>
#include <QProgressDialog>
#include <QtTest>

#include <malloc.h>
#include <unistd.h>

namespace {

// Children the bridge runs here, and the files of one read (up to four joined, exiftool_worker.h).
constexpr int exiftool_children = 2;
constexpr int files_per_read = 4;

QStringList linked_photos(const QString& dir, int count)
{
    const QString photo = test_support::make_file(
        dir, "camera.jpg|ExifIFD:DateTimeOriginal=2019:04:02 10:11:12;IFD0:Make=Velmora;IFD0:Model=Bench 1");
    return test_support::numbered_copies(photo, "IMG_00000.jpg", count, true);
}

qint64 resident_bytes()
{
    // Freed blocks that malloc still holds would hide what a load keeps.
    malloc_trim(0);
    QFile statm("/proc/self/statm");
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    return statm.readAll().split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

// How often a file of `folder` was named in the commands sent to ExifTool.
int files_sent(const test_support::log_capture& log, const QString& folder)
{
    return log.lines().filter("Writing '").join('\n').count(folder);
}

} // namespace

class tst_library_scale : public test_support::window_test {
    Q_OBJECT

private slots:
    void initTestCase() { ondo::exiftool::set_pool_size(exiftool_children); }

    // 2,000 files cost at most 16 KB each in this process: far above the 2 KB the benchmark holds
    // the program to, so that only keeping every tag of every file again, or a leak per file, fails it.
    void a_loaded_file_costs_little_memory()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("A sanitizer's shadow memory and quarantine hide what a load keeps");
#endif
        const int count = 2000;
        const QStringList paths = linked_photos(dir->path(), count);
        QCOMPARE(paths.size(), count);
        window = test_support::open_main_window();
        // Starts the children, their threads and the table's first row outside the figure.
        window->load_files({dir->filePath("camera.jpg")});
        const qint64 before = resident_bytes();
        window->load_files(paths);
        const qint64 growth = resident_bytes() - before;
        QCOMPARE(table()->model()->rowCount(), count + 1);
        QVERIFY2(before > 0 && growth <= qint64(count) * 16 * 1024,
                 qPrintable(QString("%1 bytes a file").arg(growth / count)));
    }

    // Stop in the middle of a load of 3,000 files: the load ends after the file under way, its rows
    // stay, what was queued ahead is not read, and the window took no other input meanwhile.
    void stop_keeps_the_rows_read_so_far()
    {
        const QStringList paths = linked_photos(dir->path(), 3000);
        QCOMPARE(paths.size(), 3000);
        window = test_support::open_main_window();
        ondo::exiftool::read_tags(dir->filePath("camera.jpg"), true, false); // the children are up
        QAbstractItemModel* model = table()->model();
        auto* hour = window->findChild<QLineEdit*>("lineedit_hour");
        QProgressDialog* progress = nullptr;
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>())
            if (dialog->labelText() == "Loading files")
                progress = dialog;
        QVERIFY(progress);

        ondo::exiftool::verbose(true);
        const test_support::log_capture log;
        int rows_at_stop = -1, sent_at_stop = -1;
        QTimer stopper;
        connect(&stopper, &QTimer::timeout, &stopper, [&] {
            if (rows_at_stop >= 0 || model->rowCount() < 300)
                return;
            QTest::keyClick(hour, Qt::Key_5);
            auto* stop = progress->findChild<QPushButton*>();
            if (!stop || !stop->isVisible() || stop->text() != "Stop")
                return;
            rows_at_stop = model->rowCount();
            sent_at_stop = files_sent(log, dir->path());
            QTest::mouseClick(stop, Qt::LeftButton);
        });
        stopper.start(5);
        window->load_files(paths);
        stopper.stop();

        QVERIFY(rows_at_stop > 0 && rows_at_stop < paths.size());
        QCOMPARE(model->rowCount(), rows_at_stop);
        QCOMPARE(int(exif_cache::instance()->size()), rows_at_stop);
        // One more read a child may go out before the drop reaches its worker; after the load none.
        const int sent = files_sent(log, dir->path());
        QVERIFY2(sent - sent_at_stop <= exiftool_children * files_per_read,
                 qPrintable(QString("%1 files sent after Stop").arg(sent - sent_at_stop)));
        QTest::qWait(500);
        QCOMPARE(files_sent(log, dir->path()), sent);
        QCOMPARE(model->rowCount(), rows_at_stop);
        QCOMPARE(hour->text(), QString());
        QVERIFY(!progress->isVisible());
        QCOMPARE(log.count(QString("Load ended: %1 rows added, stopped, in ").arg(rows_at_stop)), 1);
        ondo::exiftool::verbose(false);
        ondo::exiftool::shutdown(false);
        QTRY_COMPARE(test_support::child_of(QCoreApplication::applicationPid()), qint64(0));
    }

    // A click on the new-time column, which can't be sorted by, leaves the rows and the indicator
    // as they were without sorting again: at 100,000 rows a sort is felt.
    void a_refused_column_sorts_nothing()
    {
        const QStringList paths = linked_photos(dir->path(), 3);
        window = test_support::open_main_window();
        window->load_files(paths);
        QHeaderView* header = table()->horizontalHeader();
        QCOMPARE(header->sortIndicatorSection(), 0);
        QSignalSpy sorts(table()->model(), &QAbstractItemModel::layoutChanged);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(2) + 5, 5));
        QCOMPARE(sorts.count(), 0);
        QCOMPARE(header->sortIndicatorSection(), 0);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(1) + 5, 5));
        QCOMPARE(sorts.count(), 1);
        QCOMPARE(header->sortIndicatorSection(), 1);
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_library_scale test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_library_scale.moc"
