// ColourCube: a uniform palette of a red x b green x c blue levels, its
// quantisation tables and its 16 x 16 ordered dither.
//
// Level i of n has the value (i * 255 + (n - 1) / 2) / (n - 1). A channel's
// quantisation table sends a value to the level whose band holds it (the
// band of level i ends at (510 i + 255 + n - 1) / (2 (n - 1)), inclusive),
// stored as level x the channel's multiplier (blue 1, green c, red b x c) so
// that the three entries of a pixel add up to its palette index: entry
// r b c + g c + bl has the level values of r, g and bl. Each table is
// extended by 255 copies of its first entry before and of its last entry
// after, so values from -255 to 510 look up safely; the ordered dither
// relies on that. When a b c exceeds 256 the multipliers are 0 and the
// tables hold level values instead (fewer levels, no palette).
//
// The ordered dither adds to each channel an offset from a 16 x 16 matrix
// indexed by (picture row mod 16, column mod 16), scaled to the channel's
// level spacing; it costs three look-ups and two additions a pixel. A cube
// lives for one reduction; its tables are fixed arrays. No errors are thrown
// here.
#pragma once

#include <array>
#include <cstdint>

#include "core/Image.h"
#include "core/Palette.h"
#include "core/Progress.h"

namespace vivark {

class ColourCube {
  public:
    // Levels of red, green and blue, each 2..8.
    ColourCube(unsigned red, unsigned green, unsigned blue);

    static uint8_t levelValue(unsigned level, unsigned levels);
    // The last channel value that still quantises to `level` of `levels`.
    static unsigned bandEnd(unsigned level, unsigned levels);
    // The 16 x 16 ordered dither matrix (each of 0..255 once).
    static uint8_t ditherMatrix(unsigned row, unsigned column);

    unsigned count() const { return count_; }
    const Colour* palette() const { return palette_.data(); }

    // Channels are numbered as pixels store them: 0 blue, 1 green, 2 red.
    // `value` may be -255..510.
    unsigned quantise(unsigned channel, int value) const {
        return tables_[channel][value + kExtension];
    }
    int ditherOffset(unsigned channel, unsigned row, unsigned column) const {
        return offsets_[channel][(row & 15) << 4 | (column & 15)];
    }

    // Writes the cube index of every pixel of `source` (any depth) to the
    // 8-bit `destination` of the same size, with the ordered dither. Returns
    // false when `progress` cancelled (the destination is then unfinished).
    bool ditherOrdered(const Image& source, Image& destination, ProgressCallback* progress) const;

  private:
    static constexpr int kExtension = 255;

    std::array<std::array<uint16_t, 256 + 2 * kExtension>, 3> tables_{};
    std::array<std::array<int16_t, 256>, 3> offsets_{};
    std::array<Colour, 256> palette_{};
    unsigned count_ = 0;
};

}  // namespace vivark
