// The text form of a settings store: what TextFileStore keeps on disk.
//
// The file is 8-bit text in the manner of an exported registry file:
//
//   Vivark Settings
//   ; comment
//   "EditMode"=dword:00000001          values of the root come first
//
//   [SaveOptions\TIFF\Compression]     a subkey, by its full path
//   "Color"=dword:00000005             a 32-bit value, 8 hex digits
//   [Display]
//   "Gamma"=hex:00,00,00,00,00,00,04,40 raw bytes (an 8-byte double here)
//   [FileConverter]
//   "SelectedScript"="a \"b\"\\c"      a string (its terminating zero implied)
//   "Odd"=hex(4):01,00                 any other type or size: type number, bytes
//
// Quoted names and strings escape \\, \", \n, \r, \t and other control bytes
// as \xHH; other bytes stand as they are. Blank lines and lines starting with
// ';' or '#' are ignored. Lines end in LF; a CR before it is ignored.
//
// Parsing is tolerant: a line it does not understand is skipped and counted,
// and the rest of the file still counts. A file whose first line is not the
// signature is not a settings file at all and yields nothing. Formatting then
// parsing gives back the same tree for every tree TextFileStore can hold.
#pragma once

#include <string>
#include <string_view>

#include "core/settings/SettingsTree.h"

namespace vivark::settings {

inline constexpr std::string_view kSettingsFileSignature = "Vivark Settings";

struct ParsedSettingsFile {
    SettingsTree tree;
    bool foreign = false;  // the signature is missing: nothing was taken from the text
    int badLineCount = 0;
    int firstBadLine = 0;  // 1-based; 0 when every line was understood
    bool damaged() const { return foreign || badLineCount > 0; }
};

ParsedSettingsFile parseSettingsFile(std::string_view text);
std::string formatSettingsFile(const SettingsTree& tree);

// Whether a subkey path can stand in a section line: no control bytes and no
// spaces at either end. The root is "".
bool isWritableSubkey(std::string_view subkey);

}  // namespace vivark::settings
