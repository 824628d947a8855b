// The two fixed system palettes colour reduction maps to under palette type 1:
// FixedPalette16 for requests of 16 colours or fewer, FixedPalette256 above.
//
// Entries are Colour values (0x00RRGGBB, the Image palette layout). The tables
// are constant data; nothing here throws.
#pragma once

#include <array>

#include "core/Palette.h"

namespace vivark {

// The sixteen colours of a 16-colour display. Entry 7 is 204 grey, not 192.
extern const std::array<Colour, 16> FixedPalette16;

// 256 distinct colours: mostly seven red, eight green and four blue levels,
// with a ramp of greys in between.
extern const std::array<Colour, 256> FixedPalette256;

}  // namespace vivark
