#pragma once

#include <ondo/main_window.h>

class Ui_MainWindow;

class MainWindow : public ondo::main_window {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    bool event(QEvent* e) override;

private:
    Ui_MainWindow* ui;
};
