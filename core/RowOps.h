// Row helpers shared by every reader, writer and conversion: unpacking packed
// 1-, 2- and 4-bit indices to one byte per pixel and packing them back,
// expanding indices through a palette to blue-green-red, and swapping the
// red and blue bytes of three-byte pixels.
//
// Packed rows hold their leftmost pixel in the most significant bits of the
// first byte, as every format Vivark handles and the Image itself do. The
// helpers work on caller buffers, never allocate and never throw; the caller
// owns the bounds (count pixels, and (count * bits + 7) / 8 packed bytes).
#pragma once

#include <cstdint>

#include "core/Palette.h"

namespace vivark {

// Spreads `count` packed indices of `bits` (1, 2, 4 or 8) bits to one byte each.
void unpackIndices(const uint8_t* packed, uint8_t* indices, uint32_t count, unsigned bits);

// Packs `count` byte indices into `bits` (1, 2, 4 or 8) bits each; only the low
// `bits` bits of each index are kept. The unused bits of a last partial byte
// are zero.
void packIndices(const uint8_t* indices, uint8_t* packed, uint32_t count, unsigned bits);

// Writes three bytes (blue, green, red) per index, looked up in `palette`.
void expandToBgr(const uint8_t* indices, const Palette& palette, uint8_t* bgr, uint32_t count);

// Writes three bytes (red, green, blue) per index: the order of files that
// store colour red first.
void expandToRgb(const uint8_t* indices, const Palette& palette, uint8_t* rgb, uint32_t count);

// Copies `count` three-byte pixels, swapping their first and third bytes
// (red-green-blue to blue-green-red and back). Source and destination may be
// the same buffer.
void swapRedBlue(const uint8_t* source, uint8_t* destination, uint32_t count);

}  // namespace vivark
