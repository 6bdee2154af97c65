#pragma once

#include "test_support.h"

#include <mainwindow.h>
#include <table_data_model.h>
#include <undo_journal.h>
#include <ondo/exiftool.h>

#include <memory>

namespace test_support {

// Each test starts with empty settings and a folder of its own, and leaves no window behind.
class window_test : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QSettings().clear(); // written back as the store goes
        // A run an earlier test left on disk would otherwise be offered to the next window.
        QDir(undo_journal::default_folder()).removeRecursively();
        dir = std::make_unique<QTemporaryDir>();
    }
    void cleanup() { close_window(); }
    void cleanupTestCase() { ondo::exiftool::shutdown(false); }

protected:
    // What each test leaves: its window and the tags the window read. A test class with a cleanup()
    // of its own calls this from it.
    void close_window()
    {
        delete window;
        exif_cache::instance()->clear();
    }
    // Opens the window on `paths` and types `offset` into `field` and `zone` into the zone field.
    void open_with(const QStringList& paths, const QString& zone = {}, const QString& field = "lineedit_hour",
        const QString& offset = "1")
    {
        window = open_main_window();
        window->load_files(paths);
        QTest::keyClicks(window->findChild<QLineEdit*>(field), offset);
        if (!zone.isEmpty())
            QTest::keyClicks(window->findChild<QLineEdit*>("lineedit_timezone"), zone);
    }
    // The "name|tags" files of `recipes` (see make_file) in the test's folder; those not made are left out.
    QStringList make_files(const QStringList& recipes) const
    {
        QStringList paths;
        for (const QString& recipe : recipes)
            if (const QString path = make_file(dir->path(), recipe); !path.isEmpty())
                paths << path;
        return paths;
    }
    // The listings of `names` in the test's folder, one after the other.
    QStringList listing_of(const QStringList& names) const
    {
        QStringList lines;
        for (const QString& name : names)
            lines << listing(dir->filePath(name));
        return lines;
    }
    QTableView* table() const { return window->findChild<QTableView*>("tableView"); }
    // The table's texts in `column`, top to bottom.
    QStringList column_texts(int column = 0) const
    {
        QStringList texts;
        for (int row = 0; row < table()->model()->rowCount(); ++row)
            texts << table()->model()->index(row, column).data().toString();
        return texts;
    }
    QPushButton* tip_button(const QString& tool_tip) const { return button(window, tool_tip); }
    QSharedPointer<seen_box> click_answering(const QString& tool_tip, const QString& answer)
    {
        return test_support::click_answering(window, tool_tip, answer);
    }
    // The journals of runs not yet ended.
    static QStringList journals() { return QDir(undo_journal::default_folder()).entryList({"*.journal"}, QDir::Files); }
    static QString first_journal() { return QDir(undo_journal::default_folder()).filePath(journals().value(0)); }

    QPointer<MainWindow> window;
    std::unique_ptr<QTemporaryDir> dir;
};

} // namespace test_support
