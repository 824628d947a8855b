// PsdFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PSDERROR : uint32_t {
    DataIntegrity = 0,
    UnsupportedDepth = 1,
    UnsupportedColourMode = 2,
    UnsupportedCompression = 3,
};

namespace msg {
inline constexpr MessageId PsdDepth = 11207;
inline constexpr MessageId PsdColourMode = 11208;
inline constexpr MessageId PsdCompression = 11209;
}  // namespace msg

namespace saveKey {
inline constexpr std::string_view PsdEncode = "SaveOptions\\PSD\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyPsd(InFile& file, FormatInfo* info);

}  // namespace vivark
