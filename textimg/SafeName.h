// The name a decoded file is written under: the name the text gave it,
// reduced to a plain base name that stays inside the output folder.
#pragma once

#include <string>
#include <string_view>

namespace vivark::textimg {

// Keeps the part after the last "/", "\" or ":" (so no folders, drive
// letters or absolute paths), drops control characters, leading dots and
// blanks (no "." or "..", no hidden files) and trailing dots and blanks, and
// prefixes a "_" to a name that Windows reserves for a device (CON, NUL,
// COM1 ... with or without an extension). An empty result is `fallback`.
std::string safeFileName(std::string_view name, std::string_view fallback);

}  // namespace vivark::textimg
