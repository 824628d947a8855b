// How the command line reports a failure: "vivark: FILE: message", with the
// message in the system's own words, on the error stream; and the small text
// forms its listings share (JSON strings, format tags without their padding).
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "core/FormatTag.h"
#include "core/Messages.h"

namespace vivark::cli {

void reportError(std::ostream& err, std::string_view file, std::string_view message);
void reportMessage(std::ostream& err, std::string_view file, MessageId id);

// `text` as a JSON string, quoted and escaped.
std::string jsonString(std::string_view text);

// The tag's four characters without trailing blanks ("GIF " gives "GIF").
std::string trimmedTag(FormatTag tag);

}  // namespace vivark::cli
