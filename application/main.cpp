#include "command_line.h"
#include "desktop_service.h"
#include "mainwindow.h"

#include <ondo/application.h>
#include <ondo/application_log.h>
#include <ondo/language.h>
#include <ondo/message_handler.h>
#include <ondo/qt_compat.h>
#include <ondo/style.h>
#include <ondo/termination_signals.h>

#include <QTextStream>
#include <QTranslator>

namespace {

// True when Qt would look for a display that the environment doesn't name: xcb and wayland then
// end the program inside QApplication's constructor. Other platforms (offscreen, minimal, vnc)
// need none. A -platform argument counts before QT_QPA_PLATFORM, as it does for Qt.
bool display_missing(const QStringList& arguments)
{
    if (!qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return false;
    QString platforms = qEnvironmentVariable("QT_QPA_PLATFORM");
    for (int i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("-platform") || arguments[i] == QLatin1String("--platform"))
            platforms = arguments[i + 1];
    }
    // "wayland;xcb" is tried in turn, and "xcb:option" carries options behind the name.
    for (const QString& entry : platforms.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString name = entry.section(QLatin1Char(':'), 0, 0).trimmed().toLower();
        if (name != QLatin1String("xcb") && !name.startsWith(QLatin1String("wayland")))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    qSetMessagePattern("%{time hh:mm:ss.zzz} %{if-category}%{category}: %{endif}%{message}");
    ondo::install_qt_message_handler(true, false);

    // Every default-constructed QSettings depends on these, so they come before any of them.
    QCoreApplication::setOrganizationName("Velmora");
    QCoreApplication::setOrganizationDomain("velmora.example");
    QCoreApplication::setApplicationName("Tavimo");
    QCoreApplication::setApplicationVersion("2.1.2");

    ondo::qt_compat::enable_high_dpi_scaling();

    QList<QTranslator*> translators;
    QStringList paths;
    {
        // The command line is read under a plain application object: --help, --version and a
        // wrong option need no display, and names for a copy that already runs open nothing here.
        QCoreApplication reader(argc, argv);
        translators = ondo::install_translators(ondo::get_language_suffix("lang"));
        QTextStream out(stdout);
        QTextStream err(stderr);
        const command_line::request request = command_line::read(reader.arguments(), out, err);
        if (request.end_now)
            return request.exit_code;
        if (!request.paths.isEmpty() && desktop_service::open_in_running_copy(request.paths))
            return 0;
        paths = request.paths;
        // Checked here, with the translators in place and before the application object, whose
        // constructor would end the program with a fatal message instead.
        if (display_missing(reader.arguments())) {
            ondo::qt_compat::use_utf8(err);
            err << QCoreApplication::translate("main",
                       "Tavimo needs a graphical display: none found (DISPLAY and WAYLAND_DISPLAY are unset).")
                << '\n';
            return 1;
        }
    }

    ondo::application<MainWindow> app(argc, argv);
    // A logout or Ctrl+C ends the program by the same road as its close control.
    ondo::quit_on_termination_signals();

    auto* style = new ondo::proxy_style();
    style->set_tooltip_delay(2000);
    QApplication::setStyle(style);

    // Loaded once for the whole process and never removed; the language was read with the
    // command line.
    for (QTranslator* translator : translators)
        QCoreApplication::installTranslator(translator);

    ondo::application_log::init(&app);

    app.main_window = new MainWindow();
    QGuiApplication::setQuitOnLastWindowClosed(true);
    app.main_window->setAttribute(Qt::WA_DeleteOnClose, true);
    app.main_window->show();
    // Only now: the bus holds the desktop's open requests until the name is taken.
    desktop_service::offer(app.main_window);
    command_line::open_in_window(paths);

    const int result = static_cast<int>(QApplication::exec());
    return result;
}
