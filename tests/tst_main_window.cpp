#include "mainwindow.h"
#include "table_data_model.h"
#include "time_adjustment.h"

#include "exiftool_support.h"
#include "message_box_answerer.h"
#include "settings_support.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>
#include <ondo/progress_dialog.h>

#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const exif_tag_map recorded {{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}};

} // namespace

// The window with the real ExifTool behind it: files come in by each of the three roads and
// the table shows what ExifTool read.
class tst_main_window : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void cleanupTestCase();

    void offset_and_stored_format_reach_the_table_data();
    void offset_and_stored_format_reach_the_table();
    void second_load_adds_no_rows_but_counts_through();
    void drop_takes_directories_one_level_deep();
    void file_open_event_needs_a_visible_window_data();
    void file_open_event_needs_a_visible_window();
    void file_dialog_remembers_the_directory_data();
    void file_dialog_remembers_the_directory();
    void reset_empties_all_but_the_undo_state_data();
    void reset_empties_all_but_the_undo_state();

private:
    void make_window();
    QTableView* table() const { return window->findChild<QTableView*>("tableView"); }
    QString cell(int row, int column) const { return table()->model()->index(row, column).data().toString(); }
    QStringList names() const;
    QPushButton* button(const QString& tool_tip) const;

    QPointer<MainWindow> window;
    std::unique_ptr<QTemporaryDir> dir;
};

void tst_main_window::init()
{
    test_support::clear_settings();
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

void tst_main_window::cleanup()
{
    delete window;
    auto cache = exif_cache::instance();
    cache->file_data.clear();
    cache->file_tags.clear();
}

void tst_main_window::cleanupTestCase() { ondo::exiftool::shutdown(false); }

void tst_main_window::make_window()
{
    window = new MainWindow();
    static_cast<ondo::application<MainWindow>*>(qApp)->main_window = window;
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
}

QStringList tst_main_window::names() const
{
    QStringList result;
    for (int row = 0; row < table()->model()->rowCount(); ++row)
        result << cell(row, 0);
    return result;
}

QPushButton* tst_main_window::button(const QString& tool_tip) const
{
    for (QPushButton* candidate : window->findChildren<QPushButton*>())
        if (candidate->toolTip() == tool_tip)
            return candidate;
    return nullptr;
}

void tst_main_window::offset_and_stored_format_reach_the_table_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("expected");

    QTest::newRow("one hour") << "lineedit_hour" << "1" << "2017+06+21 - 19:30:05";
    QTest::newRow("back 21 days") << "lineedit_day" << "-21" << "2017+05+31 - 18:30:05";
    QTest::newRow("a zone adds a suffix only") << "lineedit_timezone" << "2" << "2017+06+21 - 18:30:05  UTC+02:00";
}

void tst_main_window::offset_and_stored_format_reach_the_table()
{
    QFETCH(QString, field);
    QFETCH(QString, keys);
    QFETCH(QString, expected);

    // A format that is no radio's is still the one the table starts with.
    QSettings().setValue("date_format", "yyyy+MM+dd");
    make_window();
    window->load_files({test_support::make_tagged_photo(dir->path(), "a.jpg", recorded)});
    QCOMPARE(cell(0, 1), QString("2017+06+21 - 18:30:05"));
    QCOMPARE(cell(0, 2), cell(0, 1));

    QTest::keyClicks(window->findChild<QLineEdit*>(field), keys);
    QCOMPARE(cell(0, 2), expected);
    QCOMPARE(cell(0, 1), QString("2017+06+21 - 18:30:05"));
}

void tst_main_window::second_load_adds_no_rows_but_counts_through()
{
    make_window();
    QStringList files;
    for (const char* name : {"c.jpg", "a.png", "b.jpg"})
        files << test_support::make_tagged_photo(dir->path(), name, recorded);
    ondo::progress_dialog* progress = nullptr;
    for (auto* dialog : window->findChildren<ondo::progress_dialog*>())
        if (dialog->labelText() == "Loading files")
            progress = dialog;
    QVERIFY(progress);

    window->load_files(files);
    QCOMPARE(names(), (QStringList {"a.png", "b.jpg", "c.jpg"})); // sorted once, by name

    QProgressBar* bar = progress->findChild<QProgressBar*>();
    QSignalSpy values(bar, &QProgressBar::valueChanged);
    window->load_files(files);
    QCOMPARE(names(), (QStringList {"a.png", "b.jpg", "c.jpg"}));
    QList<int> seen;
    for (const auto& arguments : values)
        seen << arguments.at(0).toInt();
    for (int step : {1, 2, 3})
        QVERIFY2(seen.contains(step), qPrintable(QString("bar values: %1").arg(QVariant::fromValue(seen).toString())));
    QCOMPARE(bar->maximum(), 3);
    QVERIFY(!progress->isVisible()); // reset itself at the maximum
}

void tst_main_window::drop_takes_directories_one_level_deep()
{
    make_window();
    QDir root(dir->path());
    QVERIFY(root.mkpath("album/sub"));
    test_support::make_tagged_photo(root.filePath("album"), "one.jpg", recorded);
    test_support::make_tagged_photo(root.filePath("album"), "two.png");
    test_support::make_tagged_photo(root.filePath("album"), ".hidden.jpg", recorded);
    test_support::make_tagged_photo(root.filePath("album/sub"), "deep.jpg", recorded);
    const QString odd = root.filePath("notes.xyz"); // no extension check on this road
    QFile text(odd);
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.write("not a photo");
    text.close();

    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(root.filePath("album")), QUrl("https://example.org/photo.jpg"),
                  QUrl::fromLocalFile(root.filePath("missing.jpg")), QUrl::fromLocalFile(odd)});
    QWidget* area = window->findChild<QWidget*>("widget_dropper");
    const QPoint centre = area->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(area, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(centre, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(area, &drop);

    QVERIFY(drop.isAccepted());
    QCOMPARE(names(), (QStringList {"notes.xyz", "one.jpg", "two.png"}));
    QVERIFY(!QSettings().contains("last_load_path"));

    // A drag without a URL list is not taken.
    QMimeData plain;
    plain.setText("hello");
    QDragEnterEvent refused(centre, Qt::CopyAction, &plain, Qt::LeftButton, Qt::NoModifier);
    refused.ignore();
    QApplication::sendEvent(area, &refused);
    QVERIFY(!refused.isAccepted());
}

void tst_main_window::file_open_event_needs_a_visible_window_data()
{
    QTest::addColumn<bool>("visible");
    QTest::addColumn<bool>("directory");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("file, visible") << true << false << QStringList {"one.jpg"};
    QTest::newRow("directory, visible") << true << true << QStringList {"one.jpg", "two.jpg"};
    QTest::newRow("file, hidden: lost") << false << false << QStringList();
}

void tst_main_window::file_open_event_needs_a_visible_window()
{
    QFETCH(bool, visible);
    QFETCH(bool, directory);
    QFETCH(QStringList, expected);

    make_window();
    if (!visible)
        window->hide();
    const QString one = test_support::make_tagged_photo(dir->path(), "one.jpg", recorded);
    test_support::make_tagged_photo(dir->path(), "two.jpg", recorded);

    QFileOpenEvent open(directory ? dir->path() : one);
    QApplication::sendEvent(qApp, &open);

    QCOMPARE(names(), expected);
    QVERIFY(!QSettings().contains("last_load_path"));
}

void tst_main_window::file_dialog_remembers_the_directory_data()
{
    QTest::addColumn<bool>("accept");
    QTest::newRow("files chosen") << true;
    QTest::newRow("cancelled") << false;
}

void tst_main_window::file_dialog_remembers_the_directory()
{
    QFETCH(bool, accept);

    QDir root(dir->path());
    QVERIFY(root.mkpath("shots"));
    const QString shots = root.filePath("shots");
    test_support::make_tagged_photo(shots, "a.jpg", recorded);
    test_support::make_tagged_photo(shots, "b.jpg", recorded);
    QSettings().setValue("last_load_path", root.path());
    make_window();

    QString opened_in;
    QStringList filters;
    const auto seen = test_support::answer_next_box(accept ? "Open" : "Cancel", [&](QDialog* box) {
        auto* dialog = qobject_cast<QFileDialog*>(box);
        opened_in = dialog->directory().absolutePath();
        filters = dialog->nameFilters();
        if (accept) {
            dialog->setDirectory(shots);
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText("\"a.jpg\" \"b.jpg\"");
        }
    });
    button("Load images")->click();

    QVERIFY(seen->answered);
    QCOMPARE(seen->title, QString("Select files"));
    QCOMPARE(opened_in, root.path());
    QCOMPARE(filters.size(), 1);
    QVERIFY(filters.first().startsWith("Supported Files(*.360 *.3g2 "));
    QVERIFY(filters.first().contains(" *.jpg "));
    QVERIFY(filters.first().endsWith("*.xmp )"));
    if (accept) {
        QCOMPARE(names(), (QStringList {"a.jpg", "b.jpg"}));
        QCOMPARE(QSettings().value("last_load_path").toString(), shots);
    } else {
        QCOMPARE(names(), QStringList());
        QCOMPARE(QSettings().value("last_load_path").toString(), root.path());
    }
}

void tst_main_window::reset_empties_all_but_the_undo_state_data()
{
    QTest::addColumn<bool>("undo_enabled");
    QTest::newRow("undo enabled") << true;
    QTest::newRow("undo disabled") << false;
}

void tst_main_window::reset_empties_all_but_the_undo_state()
{
    QFETCH(bool, undo_enabled);

    make_window();
    window->load_files({test_support::make_tagged_photo(dir->path(), "a.jpg", recorded),
                        test_support::make_tagged_photo(dir->path(), "b.jpg")});
    auto* panel = window->findChild<time_adjustment*>("widget_time_adjust");
    QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_year"), "2");
    QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "1");
    QPushButton* undo = button("Undo the last set of timestamp changes");
    QVERIFY(undo);
    QVERIFY(!undo->isEnabled()); // nothing to undo at start
    undo->setEnabled(undo_enabled); // as a finished fix run would leave it
    auto cache = exif_cache::instance();
    QCOMPARE(int(cache->file_tags.size()), 2);

    QSignalSpy offsets(panel, &time_adjustment::time_offset_changed);
    button("Clear list of loaded images")->click();

    QCOMPARE(table()->model()->rowCount(), 0);
    QVERIFY(cache->file_data.empty());
    QVERIFY(cache->file_tags.empty());
    QCOMPARE(offsets.count(), 2);
    QVERIFY(!panel->has_timezone_offset());
    QCOMPARE(undo->isEnabled(), undo_enabled);

    // The model heard the zero offset: a new load shows no shift.
    window->load_files({test_support::make_tagged_photo(dir->path(), "c.jpg", recorded)});
    QCOMPARE(cell(0, 2), cell(0, 1));
}

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_main_window test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_main_window.moc"
