#include "mainwindow.h"

#include <ondo/application.h>
#include <ondo/language.h>
#include <ondo/message_handler.h>
#include <ondo/style.h>

#include <QLibraryInfo>
#include <QTranslator>

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

    auto* style = new ondo::proxy_style();
    style->set_tooltip_delay(2000);
    QApplication::setStyle(style);

    const QString lang = ondo::get_language_suffix("lang");

    // Load results are not looked at: a missing catalogue leaves an empty translator behind.
    auto* qt_translator = new QTranslator();
    qt_translator->load("qt_" + lang, QLibraryInfo::location(QLibraryInfo::TranslationsPath));
    QCoreApplication::installTranslator(qt_translator);
    auto* app_translator = new QTranslator();
    app_translator->load(":/translations/" + lang);
    QCoreApplication::installTranslator(app_translator);
    auto* toolkit_translator = new QTranslator();
    toolkit_translator->load(":/translations/toolkit_" + lang);
    QCoreApplication::installTranslator(toolkit_translator);

    app.main_window = new MainWindow();
    QGuiApplication::setQuitOnLastWindowClosed(true);
    app.main_window->setAttribute(Qt::WA_DeleteOnClose, true);
    app.main_window->show();

    const int result = static_cast<int>(QApplication::exec());
    return result;
}
