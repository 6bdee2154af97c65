#pragma once

#include <QCoreApplication>
#include <QStringList>

class QTextStream;

// `tavimo [FILE|FOLDER]...`: the names are loaded as a drop loads them. Read before the window
// system is touched, so that --help, --version and a wrong option need no display.
class command_line {
    Q_DECLARE_TR_FUNCTIONS(command_line)

public:
    struct request {
        bool end_now = false; // help, version or an error was printed; no window
        int exit_code = 0;
        QStringList paths; // absolute and cleaned, in the order given
    };

    // Reads `arguments` (the program's name first). Help and version go to `out`, an error that
    // names the option to `err`. Qt's own options (-platform, -style ...) are taken as QApplication
    // takes them, so that they neither fail nor count as names.
    static request read(const QStringList& arguments, QTextStream& out, QTextStream& err);

    // A name as given on the command line, against the working directory; a file: URL stands for
    // its local path. Whether anything is there is not looked at: the load lists what isn't.
    static QString absolute_path(const QString& name);

    // Sends each path as an open request to the application object, where the window takes it
    // as it takes the system's (a folder one level deep). Call once the window is shown.
    static void open_in_window(const QStringList& paths);
};
