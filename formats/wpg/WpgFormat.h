// WpgFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class WPGERROR : uint32_t { Unknown = 0, InvalidFile = 1, NoRaster = 2, DataIntegrity = 3 };

namespace msg {
inline constexpr MessageId WpgNoRaster = 11232;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyWpg(InFile& file, FormatInfo* info);

}  // namespace vivark
