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

// Record types of version 1 files.
namespace wpgRecord {
inline constexpr uint8_t Bitmap1 = 0x0B;    // width, height, depth, resolution, RLE rows
inline constexpr uint8_t ColourMap = 0x0E;  // first entry, count, red-green-blue triples
inline constexpr uint8_t Start = 0x0F;      // version, flags, picture width and height
inline constexpr uint8_t End = 0x10;        // end of the picture
inline constexpr uint8_t Bitmap2 = 0x14;    // angle and corners, then as Bitmap1
}  // namespace wpgRecord

// A record's length after its type byte: one byte, or 0xFF and a 16-bit
// length whose top bit announces a 31-bit length in two words (high word
// first).
uint32_t readWpgRecordLength(InFile& file);

// The identify tests (see formats/Identify.h for their contract).
bool identifyWpg(InFile& file, FormatInfo* info);

}  // namespace vivark
