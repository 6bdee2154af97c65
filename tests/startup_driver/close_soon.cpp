// Linked with the program's own main.cpp into a test driver: after the delay in
// TAVIMO_TEST_CLOSE_AFTER_MS it reports the visible top-level windows and closes them, as a user
// clicking the close control would. The rows of its table go out first.
#include <QApplication>
#include <QTableView>
#include <QTimer>
#include <QWidget>

#include <iostream>

static void close_soon()
{
    // The command line is read first under a plain QCoreApplication; only the window's counts.
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    const int delay = qEnvironmentVariableIntValue("TAVIMO_TEST_CLOSE_AFTER_MS");
    QTimer::singleShot(delay, qApp, [] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (!w->isVisible())
                continue;
            std::cout << "visible: " << w->metaObject()->className() << ' ' << w->width() << 'x'
                      << w->height() << std::endl;
            for (QTableView* table : w->findChildren<QTableView*>())
                for (int row = 0; row < table->model()->rowCount(); ++row)
                    std::cout << "row: " << table->model()->index(row, 0).data().toString().toStdString() << std::endl;
            w->close();
        }
    });
}

Q_COREAPP_STARTUP_FUNCTION(close_soon)
