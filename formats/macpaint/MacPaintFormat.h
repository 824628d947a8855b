// MacPaintFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// A document is one page of this size at one bit per pixel, behind a
// 512-byte header (a version word and 38 fill patterns of 8 bytes).
inline constexpr uint32_t kMacPaintWidth = 576;
inline constexpr uint32_t kMacPaintHeight = 720;
inline constexpr uint32_t kMacPaintRowBytes = kMacPaintWidth / 8;
inline constexpr uint32_t kMacPaintHeaderSize = 512;

// The family's errors; the values are fixed.
enum class MACPERROR : uint32_t { Unknown = 0 };

// The identify tests (see formats/Identify.h for their contract).
bool identifyMacPaint(InFile& file, FormatInfo* info);

}  // namespace vivark
