#include "camera.h"
#include "camera_clocks.h"
#include "table_data_model.h"
#include "time_offsets.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>

#include <QAction>
#include <QDateTimeEdit>
#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

namespace {

const QString fix_tip = "Apply changes to the timestamps of the images";
const QString undo_tip = "Undo the last set of timestamp changes";
const qint64 nikon_ahead = 3600 + 3 * 60 + 12;

QString at(const QDateTime& base, qint64 seconds) { return base.addSecs(seconds).toString("yyyy:MM:dd hh:mm:ss"); }

} // namespace

// A trip on three cameras: two bodies of one Canon model, and a Nikon whose clock runs
// 1 h 3 min 12 s ahead and whose files carry GPS time.
class tst_cameras : public test_support::window_test {
    Q_OBJECT

private slots:
    void names_data()
    {
        QTest::addColumn<QString>("tags");
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QString>("name");
        QTest::newRow("maker in the model") << "IFD0:Make=NIKON CORPORATION;IFD0:Model=NIKON D70" << false << "NIKON D70";
        QTest::newRow("maker in front") << "IFD0:Make=Apple;IFD0:Model=iPhone 12" << false << "Apple iPhone 12";
        QTest::newRow("model of two bodies") << "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;ExifIFD:SerialNumber=0830501234"
                                             << true << "Canon EOS 40D …1234";
        QTest::newRow("maker note's serial") << "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;Canon:InternalSerialNumber=H9876"
                                             << true << "Canon EOS 40D …9876";
        QTest::newRow("XMP's serial last") << "IFD0:Make=Canon;IFD0:Model=EOS R;XMP-aux:SerialNumber=55;Canon:SerialNumber=77"
                                           << true << "Canon EOS R …77";
        QTest::newRow("a movie's keys") << "Keys:Make=Apple;Keys:Model=iPhone 15 Pro" << false << "Apple iPhone 15 Pro";
        QTest::newRow("none") << "ExifIFD:DateTimeOriginal=2017:06:21 18:30:05" << false << "Unknown camera";
    }

    void names()
    {
        QFETCH(QString, tags);
        QFETCH(bool, shared);
        const camera body = camera::of(test_support::tag_map(tags));
        QTEST(body.name(shared), "name");
        // The key names the same body again.
        QCOMPARE(camera::from_key(body.key()).name(shared), body.name(shared));
    }

    void gps_stamps_data()
    {
        QTest::addColumn<QDateTime>("gps");
        QTest::addColumn<bool>("usable");
        const QDateTime recorded(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC);
        QTest::newRow("an hour late") << recorded.addSecs(3600) << true;
        QTest::newRow("zero: 1970") << QDateTime::fromSecsSinceEpoch(0, Qt::UTC) << false;
        QTest::newRow("1989") << QDateTime(QDate(1989, 12, 31), QTime(23, 0), Qt::UTC) << false;
        QTest::newRow("367 days away") << recorded.addDays(367) << false;
        QTest::newRow("in the future") << QDateTime::currentDateTimeUtc().addDays(2) << false;
    }

    void gps_stamps()
    {
        QFETCH(QDateTime, gps);
        const QDateTime recorded(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::UTC);
        const auto difference = camera_clocks::gps_difference(gps, recorded, QDateTime::currentDateTimeUtc());
        QTEST(difference.has_value(), "usable");
    }

    void estimates_data()
    {
        QTest::addColumn<QVector<qint64>>("differences");
        QTest::addColumn<qint64>("median");
        QTest::addColumn<qint64>("spread");
        QTest::newRow("odd count") << QVector<qint64>{-3790, -3795, -3792} << qint64(-3792) << qint64(5);
        QTest::newRow("even count") << QVector<qint64>{10, 14, 12, 100} << qint64(13) << qint64(90);
    }

    void estimates()
    {
        QFETCH(QVector<qint64>, differences);
        const auto found = camera_clocks::estimate(differences);
        QVERIFY(found);
        QTEST(found->seconds, "median");
        QTEST(found->spread, "spread");
        QCOMPARE(found->photos, differences.size());
    }

    // The panel's offset first, then the camera's correction; a date alone moves by its days.
    void offsets_add_up_data()
    {
        QTest::addColumn<qint64>("correction");
        QTest::addColumn<bool>("date_only");
        QTest::addColumn<QString>("moved");
        QTest::newRow("clock") << qint64(-nikon_ahead) << false << "2017-07-21 17:26:53";
        QTest::newRow("days and clock") << qint64(2 * 86400 + 60) << false << "2017-07-23 18:31:05";
        QTest::newRow("date alone") << qint64(2 * 86400 + 60) << true << "2017-07-23 00:00:00";
    }

    void offsets_add_up()
    {
        QFETCH(qint64, correction);
        QFETCH(bool, date_only);
        time_offsets offsets;
        offsets.set_panel({0, 1, 0, 0, 0, 0, false, 0.0});
        offsets.set_correction("nikon", correction);
        const QDateTime time(QDate(2017, 6, 21), date_only ? QTime(0, 0) : QTime(18, 30, 5), Qt::LocalTime);
        QTEST(offsets.new_time("nikon", time, date_only, QDateTime()).toString("yyyy-MM-dd hh:mm:ss"), "moved");
        QCOMPARE(offsets.new_time("canon", time, date_only, QDateTime()), time.addMonths(1));
    }

    // Same moment, the GPS time and the panel's offset set each camera's clock; the fix writes each
    // file its own time, the undo gives every file back.
    void a_trip_on_three_cameras()
    {
        open_trip();
        QCOMPARE(camera_cells(), (QStringList{"Canon EOS 40D …1111", "Canon EOS 40D …1111", "Canon EOS 40D …2222",
                                              "NIKON D70", "NIKON D70", "NIKON D70"}));
        QVERIFY(window->findChild<QWidget*>("cameras_area")->isVisible());
        QStringList listings;
        for (const QString& path : paths)
            listings << test_support::listing(path).join('\n');

        // canon_2 and nikon_2 were taken at one moment.
        select_pair("canon_2.jpg", "nikon_2.jpg");
        action("action_same_moment")->trigger();
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);
        QCOMPARE(offsets()->has_corrections(), true);
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 0));
        QCOMPARE(new_time("canon_1.jpg"), at(base, 0));

        // The GPS time gives the same, the 1970 stamp aside.
        offsets()->clear_corrections();
        select_pair("nikon_3.jpg", "nikon_3.jpg");
        QVERIFY(action("action_camera_from_gps")->isEnabled());
        action("action_camera_from_gps")->trigger();
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);

        // The panel's offset adds to every camera.
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_minute"), "10");
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 600));
        QCOMPARE(new_time("canon_3.jpg"), at(base, 2 * 60 + 600));

        QStringList expected;
        for (const QString& path : paths)
            expected << new_time(QFileInfo(path).fileName());
        test_support::button(window, fix_tip)->click();
        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(test_support::read_back(paths[i])["ExifIFD:DateTimeOriginal"], expected[i]);

        test_support::button(window, undo_tip)->click();
        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(test_support::listing(paths[i]).join('\n'), listings[i]);
    }

    // With two cameras the known time of one photo sets its camera's clock alone.
    void a_known_time_moves_only_its_camera()
    {
        open_trip();
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_hour"), "1");
        select_pair("nikon_1.jpg", "nikon_1.jpg");
        const QDateTime truth = QDateTime::fromString(at(base, 3600), "yyyy:MM:dd hh:mm:ss");
        auto seen = test_support::answer_next_box("OK", [&](QDialog* dialog) {
            auto* edit = dialog->findChild<QDateTimeEdit*>();
            edit->setDateTime(truth);
        });
        QTest::keyClick(table(), Qt::Key_F2);
        QTRY_VERIFY(seen->answered);
        QCOMPARE(new_time("nikon_1.jpg"), at(base, 3600));
        QCOMPARE(offsets()->correction(nikon_key()), -nikon_ahead);
        QCOMPARE(new_time("canon_1.jpg"), at(base, 3600));
        QCOMPARE(window->findChild<QLineEdit*>("lineedit_hour")->text(), QString("1"));
    }

    void sorting_by_camera()
    {
        open_trip();
        table()->sortByColumn(3, Qt::DescendingOrder);
        QCOMPARE(camera_cells().first(), QString("NIKON D70"));
        QCOMPARE(table()->horizontalHeader()->sortIndicatorSection(), 3);
        table()->sortByColumn(3, Qt::AscendingOrder);
        QCOMPARE(camera_cells().first(), QString("Canon EOS 40D …1111"));
    }

private:
    const QDateTime base = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5), Qt::LocalTime);
    QStringList paths;

    void open_trip()
    {
        const QString canon = "IFD0:Make=Canon;IFD0:Model=Canon EOS 40D;ExifIFD:SerialNumber=";
        const QString nikon = "IFD0:Make=NIKON CORPORATION;IFD0:Model=NIKON D70;";
        auto gps = [this](qint64 seconds) {
            const QDateTime utc = base.addSecs(seconds).toUTC();
            return QString(";GPS:GPSDateStamp=%1;GPS:GPSTimeStamp=%2")
                .arg(utc.toString("yyyy:MM:dd"), utc.toString("hh:mm:ss"));
        };
        const QList<QPair<QString, QString>> files = {
            {"canon_1.jpg", canon + "1111;ExifIFD:DateTimeOriginal=" + at(base, 0)},
            {"canon_2.jpg", canon + "1111;ExifIFD:DateTimeOriginal=" + at(base, 60)},
            {"canon_3.jpg", canon + "2222;ExifIFD:DateTimeOriginal=" + at(base, 120)},
            {"nikon_1.jpg", nikon + "ExifIFD:DateTimeOriginal=" + at(base, nikon_ahead) + gps(0)},
            {"nikon_2.jpg", nikon + "ExifIFD:DateTimeOriginal=" + at(base, 60 + nikon_ahead) + gps(60)},
            // A receiver without a fix writes the epoch.
            {"nikon_3.jpg", nikon + "ExifIFD:DateTimeOriginal=" + at(base, 300 + nikon_ahead)
                                + ";GPS:GPSDateStamp=1970:01:01;GPS:GPSTimeStamp=00:00:00"},
        };
        paths.clear();
        for (const auto& [name, tags] : files)
            paths << test_support::make_tagged_photo(dir->path(), name, test_support::tag_map(tags));
        window = test_support::open_main_window();
        window->load_files(paths);
    }
    QTableView* table() const { return window->findChild<QTableView*>("tableView"); }
    table_data_model* model() const { return static_cast<table_data_model*>(table()->model()); }
    time_offsets* offsets() const { return model()->offsets; }
    QAction* action(const QString& name) const { return window->findChild<QAction*>(name); }
    QString nikon_key() const { return model()->camera_key(dir->filePath("nikon_1.jpg")); }
    int row_of(const QString& name) const { return model()->files.indexOf(dir->filePath(name)); }
    QString new_time(const QString& name) const
    {
        return model()->get_offset_dt(dir->filePath(name)).toString("yyyy:MM:dd hh:mm:ss");
    }
    QStringList camera_cells() const
    {
        QStringList cells;
        for (int row = 0; row < model()->rowCount(); ++row)
            cells << model()->index(row, 3).data().toString();
        return cells;
    }
    // Selects both rows, the second one current: the one whose camera is set.
    void select_pair(const QString& other, const QString& current)
    {
        auto* selection = table()->selectionModel();
        selection->clearSelection();
        selection->select(model()->index(row_of(other), 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        selection->setCurrentIndex(model()->index(row_of(current), 0),
                                   QItemSelectionModel::Select | QItemSelectionModel::Rows);
        table()->setFocus();
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_cameras test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cameras.moc"
