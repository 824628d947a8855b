// PictorFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "core/Palette.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PICERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, ColourMapTooLarge = 2 };

namespace saveKey {
// On: 16-colour images carry an EGA palette (indices into the EGA's 64
// colours); off: a VGA palette (6 bits a primary).
inline constexpr std::string_view PictorEgaPalette = "SaveOptions\\PC Paint/Pictor\\EGA Palette";
}  // namespace saveKey

// The header's palette types.
namespace pictorPalette {
inline constexpr uint16_t None = 0;
inline constexpr uint16_t Cga = 1;   // background and CGA palette number
inline constexpr uint16_t Pcjr = 2;  // indices into the 16 colours of the IBM PC
inline constexpr uint16_t Ega = 3;   // indices into the 64 colours of the EGA
inline constexpr uint16_t Vga = 4;   // red, green, blue, 6 bits each
}  // namespace pictorPalette

// The colour of an EGA colour number (bits 5..0: r g b R G B, the capitals
// the two-thirds intensities).
Colour egaColour(uint8_t number);

// The identify tests (see formats/Identify.h for their contract).
bool identifyPictor(InFile& file, FormatInfo* info);

}  // namespace vivark
