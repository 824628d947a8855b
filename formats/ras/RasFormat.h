// RasFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class RASERROR : uint32_t {
    UnsupportedDepth = 0,
    UnsupportedType = 1,
    UnsupportedMapType = 2
};

namespace msg {
inline constexpr MessageId RasType = 11213;
inline constexpr MessageId RasMapType = 11214;
}  // namespace msg

namespace saveKey {
// On: byte-encoded (run-length) data; off: standard.
inline constexpr std::string_view RasEncode = "SaveOptions\\RAS\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifySunRaster(InFile& file, FormatInfo* info);

}  // namespace vivark
