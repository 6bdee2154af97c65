#pragma once

#include "test_support.h"

#include <mainwindow.h>
#include <undo_journal.h>
#include <ondo/exiftool.h>

#include <QDir>
#include <QObject>
#include <QPointer>
#include <QTemporaryDir>

#include <memory>

namespace test_support {

// Each test starts with empty settings and a folder of its own, and leaves no window behind.
class window_test : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        clear_settings();
        // A run an earlier test left on disk would otherwise be offered to the next window.
        QDir(undo_journal::default_folder()).removeRecursively();
        dir = std::make_unique<QTemporaryDir>();
    }
    void cleanup()
    {
        delete window;
        forget_files();
    }
    void cleanupTestCase() { ondo::exiftool::shutdown(false); }

protected:
    QPointer<MainWindow> window;
    std::unique_ptr<QTemporaryDir> dir;
};

} // namespace test_support
