#pragma once

#include "test_support.h"

#include <mainwindow.h>
#include <ondo/exiftool.h>

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
