#pragma once

namespace ondo {

// Makes SIGTERM, SIGINT and SIGHUP close the windows and quit the event loop, as the user's
// close would, so that everything hung on aboutToQuit (the ExifTool child's staged shutdown
// above all) still runs. Call once, after the application object exists. A run that is under
// way finishes first: the loop ends only when control is back in it.
void quit_on_termination_signals();

} // namespace ondo
