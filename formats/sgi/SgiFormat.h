// SgiFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class SGIERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    ColourMapOnly = 2,
    UnsupportedColourType = 3,
    UnsupportedStorage = 4,
    UnsupportedChannelSize = 5,
};

namespace msg {
inline constexpr MessageId SgiMapOnly = 11217;
inline constexpr MessageId SgiColourType = 11218;
inline constexpr MessageId SgiStorage = 11219;
inline constexpr MessageId SgiChannelSize = 11220;
}  // namespace msg

namespace saveKey {
inline constexpr std::string_view SgiEncode = "SaveOptions\\SGI\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifySgi(InFile& file, FormatInfo* info);

}  // namespace vivark
