// The five PNG row filters (None, Sub, Up, Average, Paeth): undoing them for
// the reader, applying them and scoring the result for the writer.
//
// Rows are handed in with `bytesPerPixel` readable zero bytes before their
// first byte (the left margin), and the previous row likewise; the previous
// row of a pass's first row is all zeros. "Left" is the byte one pixel before,
// "up" the same byte of the previous row. unfilterRow throws
// PNGERROR::UnknownFilterType for a filter type above 4; the rest throw nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vivark::png {

enum Filter : uint8_t { kNone = 0, kSub = 1, kUp = 2, kAverage = 3, kPaeth = 4 };
inline constexpr unsigned kFilterCount = 5;

// Reverses filter `type` on `row` in place.
void unfilterRow(uint8_t type, uint8_t* row, const uint8_t* previous, size_t length,
                 unsigned bytesPerPixel);

// Writes `row` filtered with `type` to `out` (which has no margin).
void filterRow(uint8_t type, const uint8_t* row, const uint8_t* previous, uint8_t* out,
               size_t length, unsigned bytesPerPixel);

// The sum of the bytes read as signed magnitudes (0x00-0x7F cost their value,
// 0x80-0xFF cost 256 minus it): the smaller, the better the row compresses.
uint64_t filterScore(const uint8_t* filtered, size_t length);

}  // namespace vivark::png
