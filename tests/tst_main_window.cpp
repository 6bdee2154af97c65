#include "mainwindow.h"
#include "table_data_model.h"
#include "time_adjustment.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/exiftool.h>

#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

using test_support::make_tagged_photo;

namespace {

const exif_tag_map recorded{{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05"}};

} // namespace

// The window with the real ExifTool behind it: files come in by each of the three roads and
// the table shows what ExifTool read.
class tst_main_window : public test_support::window_test {
    Q_OBJECT

private slots:
    // In album: one.jpg, two.png, .hidden.jpg and sub/deep.jpg; beside it notes.xyz.
    void roads_in_data()
    {
        QTest::addColumn<QString>("road");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("drop: a folder one level deep, no extension check")
            << "drop" << QStringList{"album", "https://example.org/photo.jpg", "missing.jpg", "notes.xyz"}
            << QStringList{"notes.xyz", "one.jpg", "two.png"};
        QTest::newRow("file open event") << "open" << QStringList{"album/one.jpg"} << QStringList{"one.jpg"};
        QTest::newRow("folder open event") << "open" << QStringList{"album"} << QStringList{"one.jpg", "two.png"};
        QTest::newRow("open event on a hidden window is lost") << "hidden" << QStringList{"album/one.jpg"} << QStringList();
    }

    void roads_in()
    {
        QFETCH(QString, road);
        QFETCH(QStringList, items);
        QDir root(dir->path());
        QVERIFY(root.mkpath("album/sub"));
        for (const char* name : {"album/one.jpg", "album/two.png", "album/.hidden.jpg", "album/sub/deep.jpg"})
            make_tagged_photo(dir->path(), name, recorded);
        QFile text(root.filePath("notes.xyz"));
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("not a photo"));
        text.close();
        make_window();
        if (road == "hidden")
            window->hide();

        QList<QUrl> urls;
        for (const QString& item : items)
            urls << (item.startsWith("https:") ? QUrl(item) : QUrl::fromLocalFile(root.filePath(item)));
        QWidget* area = window->findChild<QWidget*>("widget_dropper");
        const QPoint centre = area->rect().center();
        QMimeData mime;
        if (road == "drop") {
            // A drag without a URL list is not taken.
            mime.setText("hello");
            QDragEnterEvent refused(centre, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            refused.ignore();
            QApplication::sendEvent(area, &refused);
            QVERIFY(!refused.isAccepted());
            QVERIFY(test_support::drop_urls(window, urls));
        } else {
            QFileOpenEvent open(urls.first().toLocalFile());
            QApplication::sendEvent(qApp, &open);
        }
        QTEST(names(), "expected");
        QVERIFY(!QSettings().contains("last_load_path"));
    }

    void file_dialog_remembers_the_directory_data()
    {
        QTest::addColumn<bool>("accept");
        QTest::newRow("files chosen") << true;
        QTest::newRow("cancelled") << false;
    }

    void file_dialog_remembers_the_directory()
    {
        QFETCH(bool, accept);
        QDir root(dir->path());
        QVERIFY(root.mkpath("shots"));
        const QString shots = root.filePath("shots");
        make_tagged_photo(shots, "a.jpg", recorded);
        make_tagged_photo(shots, "b.jpg", recorded);
        QSettings().setValue("last_load_path", root.path());
        make_window();

        QString opened; // the folder and the filters the dialog opened with
        const auto seen = test_support::answer_next_box(accept ? "Open" : "Cancel", [&](QDialog* box) {
            auto* dialog = qobject_cast<QFileDialog*>(box);
            opened = dialog->directory().absolutePath() + " " + dialog->nameFilters().join(" | ");
            if (accept) {
                dialog->setDirectory(shots);
                dialog->findChild<QLineEdit*>("fileNameEdit")->setText("\"a.jpg\" \"b.jpg\"");
            }
        });
        button("Load images")->click();

        QCOMPARE(seen->title, QString("Select files"));
        const QRegularExpression expected("^" + QRegularExpression::escape(root.path())
            + " Supported Files\\(\\*\\.360 \\*\\.3g2 [^|]* \\*\\.jpg [^|]*\\*\\.xmp \\)$");
        QVERIFY2(expected.match(opened).hasMatch(), qPrintable(opened));
        QCOMPARE(names(), accept ? QStringList({"a.jpg", "b.jpg"}) : QStringList());
        QCOMPARE(QSettings().value("last_load_path").toString(), accept ? shots : root.path());
    }

    void reset_empties_all_but_the_undo_state_data()
    {
        QTest::addColumn<bool>("undo_enabled");
        QTest::newRow("undo enabled") << true;
        QTest::newRow("undo disabled") << false;
    }

    void reset_empties_all_but_the_undo_state()
    {
        QFETCH(bool, undo_enabled);
        // A format that is no radio's is still the one the table starts with.
        QSettings().setValue("date_format", "yyyy+MM+dd");
        make_window();
        window->load_files({make_tagged_photo(dir->path(), "a.jpg", recorded), make_tagged_photo(dir->path(), "b.jpg")});
        auto* panel = window->findChild<time_adjustment*>("widget_time_adjust");
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_year"), "2");
        QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), "1");
        QCOMPARE(cell(0, 1), QString("2017+06+21 - 18:30:05"));
        QCOMPARE(cell(0, 2), QString("2019+06+21 - 18:30:05  UTC+01:00"));
        QPushButton* undo = button("Undo the last set of timestamp changes");
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
        window->load_files({make_tagged_photo(dir->path(), "c.jpg", recorded)});
        QCOMPARE(cell(0, 2), QString("2017+06+21 - 18:30:05"));
    }
private:
    void make_window() { window = test_support::open_main_window(); }
    QTableView* table() const { return window->findChild<QTableView*>("tableView"); }
    QString cell(int row, int column) const { return table()->model()->index(row, column).data().toString(); }
    QStringList names() const
    {
        QStringList result;
        for (int row = 0; row < table()->model()->rowCount(); ++row)
            result << cell(row, 0);
        return result;
    }
    QPushButton* button(const QString& tool_tip) const { return test_support::button(window, tool_tip); }

};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_main_window test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_main_window.moc"
