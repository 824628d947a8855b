// The adaptive palette: the colour histogram of an image and the palette of
// a requested size chosen from it.
//
// ColourHistogram counts pixels in 64 x 64 x 64 cells indexed by the top six
// bits of red, green and blue (16-bit counts that stop at 65535), and keeps
// beside them the sums of the exact colours counted (until the count stops),
// so a palette entry is the true mean of the pixels it stands for and an
// image of few colours gets them back exactly, as long as no two of them lie
// within a few steps of each other: the mapping decides by cell centres, so
// a colour at a cell's corner can go to a neighbour's entry nearer the centre.
//
// chooseAdaptivePalette picks the palette in two steps:
//  1. Variance-minimising splits (after Wu): starting from one box around
//     all cells, the box with the largest summed squared error is cut, at the
//     plane along the axis that leaves the two halves with the least summed
//     squared error, until there are as many boxes as colours wanted. The
//     box sums come from cumulative moment tables, so each trial cut costs a
//     few look-ups.
//  2. A few k-means passes over the occupied cells: each cell goes to the
//     entry its centre is nearest to (through the same InverseColourMap the
//     mapping pass uses, so the refinement optimises the mapping that will
//     actually run), and each entry moves to the mean of its cells.
// Median cut halves a box at the median of its longest side whatever error
// that leaves; the variance split takes the cut that removes the most error,
// and the refinement then lets entries settle where the pixels are. On the
// picture of bench/ops/colour-bench.sh (1920 x 1280, 256 colours) the mean
// squared error per channel was 15.7, against 17.6 for ImageMagick -colors
// and 23.6 for netpbm's median cut (pnmquant), all without dithering; with
// Floyd-Steinberg (ImageMagick's default dither) 21.4 against 26.5 and 29.8.
//
// Allocation (the counts, sums, moments; std::bad_alloc) happens before any
// work; nothing else throws.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "core/Palette.h"
#include "ops/InverseColourMap.h"

namespace vivark {

class ColourHistogram {
  public:
    ColourHistogram();

    // Counts `count` pixels of three bytes: blue, green, red.
    void addRow(const uint8_t* bgr, uint32_t count);

    static unsigned cellOf(unsigned red, unsigned green, unsigned blue) {
        return (red >> 2) << 12 | (green >> 2) << 6 | (blue >> 2);
    }
    uint16_t count(unsigned cell) const { return counts_[cell]; }
    const std::array<uint32_t, 3>& sums(unsigned cell) const { return sums_[cell]; }

    // Hands the count array over for reuse as an InverseColourMap's cells.
    InverseColourMap::Cells releaseCounts() { return std::move(counts_); }

  private:
    InverseColourMap::Cells counts_;
    std::unique_ptr<std::array<uint32_t, 3>[]> sums_;  // red, green, blue
};

// Fills `palette` with at most `wanted` (1..256) colours and returns how many;
// fewer when the image has fewer occupied cells.
unsigned chooseAdaptivePalette(const ColourHistogram& histogram, unsigned wanted, Colour* palette);

}  // namespace vivark
