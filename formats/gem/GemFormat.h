// GemFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class IMGERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, BadPlaneCount = 2 };

namespace msg {
inline constexpr MessageId ImgPlanes = 11196;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyGem(InFile& file, FormatInfo* info);

}  // namespace vivark
