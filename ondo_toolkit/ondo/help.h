#pragma once

#include <QString>

namespace ondo {

// Copies the help page `path_template` (with %1 for the language code; "en" when the language
// has no page) to "<temp>/<application name>_help_<lang>.html", naming the control key as the
// platform does (Cmd on macOS, Ctrl or Strg as written elsewhere), and opens it in the system's
// browser. A page that means the literal key writes
// "CtXrl" or "StXrg"; both come out as "Ctrl". Warns and opens nothing if no page can be read.
void open_help(const QString& path_template);

// Writes `text` as UTF-8 to `path`, replacing what was there, and opens it in the system's
// browser by a "file:///" URL (four slashes before an absolute path; browsers take it).
void show_help_page(const QString& path, const QString& text);

} // namespace ondo
