// Sample-level row helpers: 16-bit and 32-bit float samples scaled to
// 8 bits, bytes whose bits are stored least significant first, and palettes
// from red, green, blue triplets (8-bit, or 16-bit as TIFF colour maps hold
// them). Packed 1-, 2- and 4-bit indices are unpacked by core/RowOps.h.
//
// Each works on caller buffers, allocates nothing and never fails.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/Palette.h"

namespace vivark {

// `count` 16-bit samples (big- or little-endian bytes) to 8 bits, rounded:
// v * 255 / 65535.
void scale16To8(const uint8_t* samples, uint8_t* out, size_t count, bool bigEndian);

// `count` IEEE single-precision samples (in the host's byte order after the
// caller's swap) from 0.0..1.0 to 8 bits, rounded; out-of-range values and
// NaN clamp to the nearest end (NaN to 0).
void scaleFloatTo8(const float* samples, uint8_t* out, size_t count);

// Reverses the bit order of each byte in place (TIFF FillOrder 2, fax data
// stored least significant bit first).
void reverseBits(uint8_t* bytes, size_t count);

// Palette entries 0..count-1 from red, green, blue byte triplets.
void paletteFromRgb(const uint8_t* rgb, uint32_t count, Palette& palette);

// Palette entries from three 16-bit tables of `count` entries each (all red
// values, then green, then blue), scaled to 8 bits with rounding.
void paletteFrom16BitMaps(const uint16_t* red, const uint16_t* green, const uint16_t* blue,
                          uint32_t count, Palette& palette);

}  // namespace vivark
