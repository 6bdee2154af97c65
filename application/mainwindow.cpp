#include "mainwindow.h"

#include "ui_mainwindow.h"

MainWindow::MainWindow(QWidget* parent) : ondo::main_window(parent), ui(new Ui_MainWindow)
{
    ui->setupUi(this);
}

MainWindow::~MainWindow() { delete ui; }

bool MainWindow::event(QEvent* e) { return QMainWindow::event(e); }
