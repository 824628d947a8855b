// XwdFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class XWDERROR : uint32_t {
    BadImageData = 0,
    UnknownByteOrder = 1,
    UnknownBitOrder = 2,
    UnsupportedUnit = 3,
    UnsupportedDepth = 4,
    UnsupportedFormat = 5,
    BadBitmask = 6,
    ColourMapTooLarge = 7,
    MissingColourMap = 8,
};

namespace msg {
inline constexpr MessageId XwdImageData = 11237;
inline constexpr MessageId XwdByteOrder = 11238;
inline constexpr MessageId XwdBitOrder = 11239;
inline constexpr MessageId XwdUnit = 11240;
inline constexpr MessageId XwdFormat = 11241;
inline constexpr MessageId XwdBitmask = 11242;
inline constexpr MessageId XwdNoColourMap = 11243;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyXwd(InFile& file, FormatInfo* info);

}  // namespace vivark
