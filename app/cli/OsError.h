// Failure texts of the command line that carry the operating system's reason.
//
// The system's message says which step failed ("File I/O error", "Cannot
// save file"); the reason the file classes noted (core/SystemError.h) says
// why ("No such file or directory", "Permission denied"). The file named in
// front of the line is the one the failure belongs to: the input for a load,
// the output for a save.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "core/Messages.h"

namespace vivark::cli {

// `message`, followed by ": " and the recorded reason when there is one.
std::string withSystemReason(std::string message);

// "vivark: INPUT: message[: reason]" for a failed load.
void reportLoadFailure(std::ostream& err, std::string_view input, MessageId id);

// "vivark: OUTPUT: message[: reason]" for a failed save. A message that names
// its file ("Cannot save file %s") drops the name, which leads the line.
void reportSaveFailure(std::ostream& err, std::string_view output, MessageId id);

}  // namespace vivark::cli
