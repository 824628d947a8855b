// ViewerLog: the viewer's log file.
//
// Start-up, every load (file, time taken, message) and every file action
// are appended, one line each with a UTC time stamp, to "vivark.log" in
// $XDG_STATE_HOME/vivark (~/.local/state/vivark when the variable is unset).
// VIVARK_LOG names another file; set to "off" or to nothing it turns the log
// off. Qt's own warnings go to the log too. A log that cannot be opened is
// no reason to refuse to view images: the viewer then runs without one.
#pragma once

#include <QString>

namespace vivark::viewer {

// The file the log goes to by the rules above; empty when it is off.
QString logFilePath();

// Opens the log (appending) and routes Qt's messages to it.
void openLog();
void logLine(const QString& line);

}  // namespace vivark::viewer
