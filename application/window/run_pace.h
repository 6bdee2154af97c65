#pragma once

#include <QString>
#include <QtGlobal>

// The progress bar's text during a long load, fix or undo: "%v of %m" at first, and once a second
// has passed also the files per second and the time left at that pace.
QString run_pace_format(int done, int total, qint64 elapsed_ms);
