#include "desktop_service.h"
#include "mainwindow.h"

#include <ondo/application.h>
#include <ondo/application_log.h>
#include <ondo/language.h>
#include <ondo/message_handler.h>
#include <ondo/style.h>
#include <ondo/termination_signals.h>

int main(int argc, char** argv)
{
    qSetMessagePattern("%{time hh:mm:ss.zzz} %{if-category}%{category}: %{endif}%{message}");
    ondo::install_qt_message_handler(true, false);

    // Every default-constructed QSettings depends on these, so they come before any of them.
    QCoreApplication::setOrganizationName("Velmora");
    QCoreApplication::setOrganizationDomain("velmora.example");
    QCoreApplication::setApplicationName("Tavimo");
    QCoreApplication::setApplicationVersion("2.1.2");

    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);

    ondo::application<MainWindow> app(argc, argv);
    // A logout or Ctrl+C ends the program by the same road as its close control.
    ondo::quit_on_termination_signals();

    auto* style = new ondo::proxy_style();
    style->set_tooltip_delay(2000);
    QApplication::setStyle(style);

    const QString lang = ondo::get_language_suffix("lang");

    // Installed once for the whole process and never removed.
    ondo::install_translators(lang);

    ondo::application_log::init(&app);

    app.main_window = new MainWindow();
    QGuiApplication::setQuitOnLastWindowClosed(true);
    app.main_window->setAttribute(Qt::WA_DeleteOnClose, true);
    app.main_window->show();
    // Only now: the bus holds the desktop's open requests until the name is taken.
    desktop_service::offer(app.main_window);

    const int result = static_cast<int>(QApplication::exec());
    return result;
}
