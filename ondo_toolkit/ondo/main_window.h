#pragma once

#include <QMainWindow>

namespace ondo {

// Base of the application's main window; it carries the meta object and nothing else.
class main_window : public QMainWindow {
    Q_OBJECT
public:
    using QMainWindow::QMainWindow;
};

} // namespace ondo
