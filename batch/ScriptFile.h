// Script files: the signature line "Vivark Script", then one step a line, CR
// LF line ends.
//
// Reading is strict where a silent guess would convert a whole set of files
// wrongly, and names the file and line of what it refuses: a line whose
// section is not an operation, a key the operation does not have or a key
// given twice, and a line of 4,096 characters or more (a line buffer of that
// size holds 4,095 and its end). Blank lines are skipped, so a hand-edited
// script with a trailing empty line reads. Values an operation does not
// take (a "colors" of 1, an unknown word) leave its setting, as the step
// reader says; they are returned as warnings.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "batch/Script.h"

namespace vivark::batch {

inline constexpr std::string_view kScriptSignature = "Vivark Script";
inline constexpr size_t kScriptLineBuffer = 4096;

struct ScriptLoad {
    std::optional<Script> script;       // nothing when the file was refused
    std::string problem;                // "FILE:LINE: why" when refused
    std::vector<std::string> warnings;  // "FILE:LINE: ..." for values left
};

ScriptLoad loadScript(const std::filesystem::path& path);

// Writes the signature and one line per step through the atomic writer;
// steps whose operation is not in the table are not written. False when the
// file cannot be written (the system's reason is recorded, core/SystemError.h).
bool saveScript(const std::filesystem::path& path, const Script& script);

}  // namespace vivark::batch
