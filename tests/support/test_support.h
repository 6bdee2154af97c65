#pragma once

#include <ondo/exiftool.h>

#include <QSharedPointer>
#include <QStringList>

#include <functional>

class MainWindow;
class QDialog;
class QPushButton;
class QUrl;
class QWidget;

namespace test_support {

// Runs `program` to its end and returns its standard output; qFatal if it cannot start.
QString run(const QString& program, const QStringList& arguments);

// "IFD0:Make=Canon;IFD0:Model=EOS" as a map; each value runs to the next ';'.
exif_tag_map tag_map(const QString& pairs);

// Saves a small image as `dir`/`name` (jpg or png by suffix) and sets `tags` ("IFD0:Make" ->
// "Canon") with the real ExifTool. Returns the absolute path; qFatal on failure.
QString make_tagged_photo(const QString& dir, const QString& name, const exif_tag_map& tags = {});

// Appends a tEXt chunk behind the image data of the PNG at `path`, as some editors leave it.
void append_png_text(const QString& path, const QByteArray& keyword, const QByteArray& text);

// Every tag of `path` as the real ExifTool reads it, keyed with group ("ExifIFD:DateTimeOriginal").
exif_tag_map read_back(const QString& path);

// Points HOME and XDG_CONFIG_HOME at a temporary folder and names the application as the program
// does, so that every default QSettings lands in a store of its own; turns the bridge's debug
// lines off. Call first in main.
void use_private_settings();
void clear_settings();

// A shown main window registered with the application, as main() makes it.
MainWindow* open_main_window();
// Drags `urls` onto the window's drop area and drops them, as a file manager would; true when
// the drop was taken.
bool drop_urls(QWidget* window, const QList<QUrl>& urls);
// The push button of `window` with this tool tip, or nullptr.
QPushButton* button(QWidget* window, const QString& tool_tip);
// Empties the shared cache of file records that the table reads from.
void forget_files();

// What the answered dialog showed.
struct seen_box {
    bool answered = false;
    QString title, text;
    QStringList buttons;    // texts without mnemonics, in layout order
    QString default_button; // of a message box, if any
    bool cancelled = false; // set by the test: stop waiting for a box that isn't coming
};

// Answers the next modal dialog from a timer, so that a test can call code that blocks in exec().
// `answer` is a button text ("Yes", "Keep changes") or "close" for the window's close control;
// `prepare` runs on the dialog first. Warns and gives up after `timeout_ms`.
QSharedPointer<seen_box> answer_next_box(const QString& answer, std::function<void(QDialog*)> prepare = {},
    int timeout_ms = 10000);

// Collects the messages of the category "exiftool" (debug included) while it lives.
class log_capture {
public:
    log_capture();
    ~log_capture();
    QStringList lines() const;
    int count(const QString& part) const { return lines().filter(part).size(); }
    QString first(const QString& part) const { return lines().filter(part).value(0); }
};

} // namespace test_support
