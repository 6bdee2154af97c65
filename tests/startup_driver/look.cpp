// Linked with the program's own main.cpp into the screenshot driver that the README describes:
// it opens TAVIMO_LOOK_FILES, types TAVIMO_LOOK_HOURS and TAVIMO_LOOK_ZONE, presses the button that
// TAVIMO_LOOK_PRESS names (or with "correct" opens the first row's correct-time dialog), a second
// one that TAVIMO_LOOK_THEN names a second and a half later, and after
// TAVIMO_LOOK_QUIT_AFTER_MS reports the visible top-level windows and the rows of their tables,
// refuses the open box and closes the window, as a user would, so that ExifTool ends with it.
#include <QAction>
#include <QApplication>
#include <QFileOpenEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <iostream>

static QPushButton* find_button(const QString& press)
{
    const QString tool_tip = press == "fix" ? "Apply changes" : press == "load" ? "Load images" : QString();
    const QString name = "button_" + (press == "credits" ? QString("about") : press);
    for (QWidget* w : QApplication::topLevelWidgets())
        for (auto* button : w->findChildren<QPushButton*>())
            if (tool_tip.isEmpty() ? button->objectName() == name : button->toolTip().startsWith(tool_tip))
                return button;
    return nullptr;
}

static void look()
{
    // The command line is read first under a plain QCoreApplication; only the window's counts.
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    QTimer::singleShot(500, qApp, [] {
        for (const QString& file : qEnvironmentVariable("TAVIMO_LOOK_FILES").split(':', Qt::SkipEmptyParts)) {
            QFileOpenEvent open(file);
            QApplication::sendEvent(qApp, &open);
        }
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* hour = w->findChild<QLineEdit*>("lineedit_hour"))
                QTest::keyClicks(hour, qEnvironmentVariable("TAVIMO_LOOK_HOURS", "1"));
            if (auto* zone = w->findChild<QLineEdit*>("lineedit_timezone"))
                QTest::keyClicks(zone, qEnvironmentVariable("TAVIMO_LOOK_ZONE"));
        }
        const QString press = qEnvironmentVariable("TAVIMO_LOOK_PRESS");
        // Queued, so that the box or dialog runs from the event loop and not inside this timer.
        if (QPushButton* button = press.isEmpty() ? nullptr : find_button(press))
            QTimer::singleShot(0, button, &QPushButton::click);
        const QString then = qEnvironmentVariable("TAVIMO_LOOK_THEN");
        if (QPushButton* button = then.isEmpty() ? nullptr : find_button(then))
            QTimer::singleShot(1500, button, &QPushButton::click);
        // The first row's correct-time dialog, by its key.
        if (press == "correct")
            QTimer::singleShot(0, qApp, [] {
                for (QWidget* w : QApplication::topLevelWidgets())
                    if (auto* table = w->findChild<QTableView*>()) {
                        table->setCurrentIndex(table->model()->index(0, 0));
                        // Its key needs an active window, which a bare X server gives no one.
                        for (QAction* action : table->findChildren<QAction*>())
                            if (action->shortcut() == QKeySequence(Qt::Key_F2))
                                action->trigger();
                    }
            });
        if (press == "credits")
            QTimer::singleShot(500, qApp, [] {
                if (QWidget* about = QApplication::activeModalWidget())
                    if (auto* line = about->findChild<QLabel*>("credits"))
                        QTest::mouseClick(line, Qt::LeftButton);
            });
    });
    const int quit_after = qEnvironmentVariableIntValue("TAVIMO_LOOK_QUIT_AFTER_MS");
    if (quit_after > 0)
        QTimer::singleShot(quit_after, qApp, [] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (!w->isVisible())
                    continue;
                std::cout << "visible: " << w->metaObject()->className() << ' ' << w->width() << 'x' << w->height() << std::endl;
                for (QTableView* table : w->findChildren<QTableView*>())
                    for (int row = 0; row < table->model()->rowCount(); ++row)
                        std::cout << "row: " << table->model()->index(row, 0).data().toString().toStdString() << std::endl;
            }
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                box->button(QMessageBox::No) ? box->button(QMessageBox::No)->click() : box->reject();
            else if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->reject();
            QTimer::singleShot(500, qApp, [] { QApplication::closeAllWindows(); });
        });
}

Q_COREAPP_STARTUP_FUNCTION(look)
