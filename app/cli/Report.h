// How the command line reports a failure: "vivark: FILE: message", with the
// message in the system's own words, on the error stream.
#pragma once

#include <iosfwd>
#include <string_view>

#include "core/Messages.h"

namespace vivark::cli {

void reportError(std::ostream& err, std::string_view file, std::string_view message);
void reportMessage(std::ostream& err, std::string_view file, MessageId id);

}  // namespace vivark::cli
