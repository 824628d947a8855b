// RleFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// Compuserve RLE: ESC 'G' and the resolution letter open the picture, ESC
// 'G' 'N' closes it.
inline constexpr uint8_t kRlecEscape = 0x1B;
inline constexpr uint32_t kRlecHighWidth = 256, kRlecHighHeight = 192;
inline constexpr uint32_t kRlecMediumWidth = 128, kRlecMediumHeight = 96;

// Utah RLE: the 15-byte header (little-endian magic 0xCC52, x and y
// position, width, height, flags, channels, bits per pixel, colour map
// channels, log2 of the colour map length), its flags and its opcodes (the
// long form adds 0x40 and carries a 16-bit operand).
inline constexpr uint32_t kUtahHeaderSize = 15;
inline constexpr uint8_t kUtahClearFirst = 0x01, kUtahNoBackground = 0x02, kUtahAlpha = 0x04,
                         kUtahComment = 0x08;
enum UtahOpcode : uint8_t {
    kUtahSkipLines = 1,
    kUtahSetColour = 2,
    kUtahSkipPixels = 3,
    kUtahByteData = 5,
    kUtahRunData = 6,
    kUtahEof = 7,
};
inline constexpr uint8_t kUtahLongForm = 0x40;
inline constexpr uint8_t kUtahAlphaChannel = 255;

// The family's errors; the values are fixed.
enum class RLECERROR : uint32_t { InvalidFile = 0 };
enum class RLEUERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    UnsupportedChannels = 2,
    UnsupportedDepth = 3,
};

// The identify tests (see formats/Identify.h for their contract).
bool identifyCompuserveRle(InFile& file, FormatInfo* info);
bool identifyUtahRle(InFile& file, FormatInfo* info);

}  // namespace vivark
