// Linked with the program's own main.cpp into a driver for screenshots: once the window is up it
// opens the files named in TAVIMO_LOOK_FILES (separated by ':') as the operating system would,
// and types the offset of TAVIMO_LOOK_HOURS into the hour field, as a user would.
#include <QApplication>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <QWidget>

static void look()
{
    QTimer::singleShot(500, qApp, [] {
        const QStringList files = qEnvironmentVariable("TAVIMO_LOOK_FILES").split(':', Qt::SkipEmptyParts);
        for (const QString& file : files) {
            QFileOpenEvent open(file);
            QApplication::sendEvent(qApp, &open);
        }
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* hour = w->findChild<QLineEdit*>("lineedit_hour"))
                QTest::keyClicks(hour, qEnvironmentVariable("TAVIMO_LOOK_HOURS", "1"));
    });
}

Q_COREAPP_STARTUP_FUNCTION(look)
