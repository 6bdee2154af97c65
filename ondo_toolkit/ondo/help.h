#pragma once

#include <QString>

class QTextBrowser;
class QWidget;

namespace ondo {

// Copies the help page `path_template` (with %1 for the language code; "en" when the language
// has no page) to "<temp>/<application name>_help_<lang>.html", naming the control key as the
// platform does (Cmd on macOS, Ctrl or Strg as written elsewhere), and shows it as
// show_help_page does. A page that means the literal key writes
// "CtXrl" or "StXrg"; both come out as "Ctrl". Warns and opens nothing if no page can be read.
void open_help(const QString& path_template);

// Writes `text` as UTF-8 to `path`, replacing what was there, and opens it by its file URL
// ("file:///tmp/...") in the system's browser. Where the desktop can't open it (no launcher, no
// browser it knows of), the page opens in a window of the program instead, so that help always
// shows: a dark browser named "help_browser", a window of its own owned by `parent`, or by the
// main window when `parent` is null; an open one is reused. Returns that browser, or nullptr
// when the system's browser took the page.
QTextBrowser* show_help_page(const QString& path, const QString& text, QWidget* parent = nullptr);

} // namespace ondo
