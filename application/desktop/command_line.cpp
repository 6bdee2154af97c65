#include "command_line.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QTextStream>
#include <QTimer>
#include <QUrl>

namespace {

// The options that QGuiApplication and QApplication take out of the command line themselves,
// with and without a value. They stay out of the help.
const char* const qt_options_with_value[] = {
    "platform", "platformpluginpath", "platformtheme", "plugin", "qwindowgeometry", "qwindowicon",
    "qwindowtitle", "session", "display", "geometry", "style", "stylesheet", "name", "title", "visual",
    "qmljsdebugger",
};
const char* const qt_flags[] = {"reverse", "widgetcount", "nograb", "dograb", "sync"};

} // namespace

command_line::request command_line::read(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    QCommandLineParser parser;
    // Qt's options are written with one dash ("-platform"); read so, they don't fall apart into
    // letters.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setApplicationDescription(tr("Corrects the recording times of photos and videos."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(tr("FILE|FOLDER"),
        tr("Photos and videos to load, or folders whose files are loaded (not their subfolders)."),
        tr("[FILE|FOLDER]..."));
    for (const char* name : qt_options_with_value) {
        QCommandLineOption option(QString::fromLatin1(name), QString(), QStringLiteral("value"));
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }
    for (const char* name : qt_flags) {
        QCommandLineOption option(QString::fromLatin1(name));
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }

    request result;
    const QString program = QFileInfo(arguments.value(0)).fileName();
    if (!parser.parse(arguments)) {
        err << program << ": " << parser.errorText() << '\n'
            << tr("Try '%1 --help' for the options.").arg(program) << '\n';
        result.end_now = true;
        result.exit_code = 2;
        return result;
    }
    // Qt adds --help-all beside --help; here both print the same.
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        out << parser.helpText();
        result.end_now = true;
        return result;
    }
    if (parser.isSet(version)) {
        out << QCoreApplication::applicationName() << ' ' << QCoreApplication::applicationVersion() << '\n';
        result.end_now = true;
        return result;
    }
    for (const QString& name : parser.positionalArguments())
        result.paths << absolute_path(name);
    return result;
}

QString command_line::absolute_path(const QString& name)
{
    // An empty name would otherwise stand for the working directory.
    if (name.isEmpty())
        return name;
    if (name.startsWith(QLatin1String("file:"), Qt::CaseInsensitive)) {
        const QUrl url(name);
        if (url.isLocalFile())
            return QDir::cleanPath(url.toLocalFile());
    }
    return QDir::cleanPath(QFileInfo(name).absoluteFilePath());
}

void command_line::open_in_window(const QStringList& paths)
{
    if (paths.isEmpty())
        return;
    // From the event loop, so that the window has painted before the first file is read.
    QTimer::singleShot(0, QCoreApplication::instance(), [paths] {
        for (const QString& path : paths) {
            QFileOpenEvent event(path);
            QCoreApplication::sendEvent(QCoreApplication::instance(), &event);
        }
    });
}
