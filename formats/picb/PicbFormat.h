// PicbFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The 76-byte little-endian header: magic 0x3039 at 0, width at 2, height
// at 4, bits per pixel at 6 (1, 4, 8 or 24); the rest is reserved.
inline constexpr uint32_t kPicbHeaderSize = 76;
inline constexpr uint16_t kPicbMagic = 0x3039;

// The family's errors; the values are fixed.
enum class PICBERROR : uint32_t { InvalidFile = 0 };

// The identify tests (see formats/Identify.h for their contract).
bool identifyPicb(InFile& file, FormatInfo* info);

}  // namespace vivark
