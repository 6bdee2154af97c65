// Linked with the program's own main.cpp into a driver for screenshots: once the window is up it
// opens the files named in TAVIMO_LOOK_FILES (separated by ':') as the operating system would,
// and types TAVIMO_LOOK_HOURS into the hour field and TAVIMO_LOOK_ZONE into the zone field, as a
// user would. TAVIMO_LOOK_PRESS names a button to press then ("fix", "load", "settings", "about",
// or "credits" for the about box's credits line), so that a question box or a dialog stands for
// the picture. With TAVIMO_LOOK_QUIT_AFTER_MS set, it refuses
// whatever box is open after that time and closes the window, so that ExifTool ends with it.
#include <QApplication>
#include <QFileDialog>
#include <QFileOpenEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>

static QPushButton* button_with_tool_tip(const QString& start)
{
    for (QWidget* w : QApplication::topLevelWidgets())
        for (auto* button : w->findChildren<QPushButton*>())
            if (button->toolTip().startsWith(start))
                return button;
    return nullptr;
}

static void look()
{
    QTimer::singleShot(500, qApp, [] {
        const QStringList files = qEnvironmentVariable("TAVIMO_LOOK_FILES").split(':', Qt::SkipEmptyParts);
        for (const QString& file : files) {
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
        QPushButton* button = nullptr;
        if (press == "fix" || press == "load")
            button = button_with_tool_tip(press == "fix" ? "Apply changes" : "Load images");
        for (QWidget* w : QApplication::topLevelWidgets())
            if (!button && !press.isEmpty())
                button = w->findChild<QPushButton*>("button_" + (press == "credits" ? QString("about") : press));
        if (button)
            QTimer::singleShot(0, button, &QPushButton::click);
        if (press == "credits")
            QTimer::singleShot(500, qApp, [] {
                if (QWidget* about = QApplication::activeModalWidget())
                    if (auto* line = about->findChild<QLabel*>("credits"))
                        QTest::mouseClick(line, Qt::LeftButton);
            });
    });

    const int quit_after = qEnvironmentVariableIntValue("TAVIMO_LOOK_QUIT_AFTER_MS");
    if (quit_after <= 0)
        return;
    QTimer::singleShot(quit_after, qApp, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            QAbstractButton* refuse = box->button(QMessageBox::No);
            refuse ? refuse->click() : box->reject();
        } else if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            dialog->reject();
        }
        QTimer::singleShot(500, qApp, [] {
            for (QWidget* w : QApplication::topLevelWidgets())
                if (w->isWindow() && w->isVisible())
                    w->close();
        });
    });
}

Q_COREAPP_STARTUP_FUNCTION(look)
