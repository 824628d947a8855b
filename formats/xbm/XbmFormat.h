// XbmFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class XBMERROR : uint32_t { DataIntegrity = 0 };
enum class XPMERROR : uint32_t {
    Unknown = 0,
    BadHeader = 1,
    BadColourMap = 2,
    UnknownColour = 3,
    UnknownPixel = 4,
};

namespace msg {
inline constexpr MessageId XpmHeader = 11233;
inline constexpr MessageId XpmColourMap = 11234;
inline constexpr MessageId XpmUnknownColour = 11235;
inline constexpr MessageId XpmUnknownPixel = 11236;
}  // namespace msg

namespace saveKey {
// 1: the format-1 layout; any other value: the "/* XPM */" layout.
inline constexpr std::string_view XpmType = "SaveOptions\\XPM\\Type";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyXpm(InFile& file, FormatInfo* info);
bool identifyXbm(InFile& file, FormatInfo* info);

}  // namespace vivark
