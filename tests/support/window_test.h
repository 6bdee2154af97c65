#pragma once

#include <QObject>
#include <QPointer>
#include <QTemporaryDir>

#include <memory>

class MainWindow;

namespace test_support {

// Base of the tests that drive the whole window: each test function starts with an empty
// settings store and a folder of its own, and leaves no window and no cached file records.
// The bridge is shut down after the last test.
class window_test : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void cleanupTestCase();

protected:
    QPointer<MainWindow> window;
    std::unique_ptr<QTemporaryDir> dir;
};

} // namespace test_support
