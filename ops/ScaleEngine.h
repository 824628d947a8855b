// The separable scaling engine: one rectangle of interleaved 8-bit samples
// (1 to 4 channels a pixel) resampled into another of any size.
//
// Both filters Point: every destination pixel copies the source pixel under
// its mapped centre. Otherwise two one-dimensional passes run through an
// intermediate of 16-bit samples with six fraction bits (so the rounding of
// the first pass costs no level and the overshoot of the filter's negative
// lobes survives until the final clamp), in the cheaper order: with window
// sizes kx and ky, horizontal first costs dw(sh kx + dh ky) and vertical first
// dh(sw ky + dw kx); the horizontal pass goes first only when strictly
// cheaper. Weights are computed once per pass (ResampleFilter.h); the inner
// loops are plain integer loops templated on the channel count, which the
// compiler vectorises.
//
// Surfaces address picture rows by a signed stride, so an Image's bottom-up
// plane is read and written in place. Progress is reported once per row of
// each pass, as one run of (first-pass rows + destination rows); a cancel
// returns false with the destination partly written. Throws
// IMAGEERROR::TooLarge when the intermediate would not fit in memory limits,
// and std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/Progress.h"
#include "ops/ResampleFilter.h"

namespace vivark {

struct ConstSurface {
    const uint8_t* row0 = nullptr;  // picture row 0 (the top)
    ptrdiff_t stride = 0;           // bytes from one picture row to the next
    uint32_t width = 0;
    uint32_t height = 0;
    const uint8_t* row(uint32_t y) const { return row0 + ptrdiff_t(y) * stride; }
};

struct Surface {
    uint8_t* row0 = nullptr;
    ptrdiff_t stride = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint8_t* row(uint32_t y) const { return row0 + ptrdiff_t(y) * stride; }
};

// Whether the engine would run the horizontal pass first.
bool horizontalPassFirst(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, uint32_t kx,
                         uint32_t ky);

// Scales all of `source` onto all of `destination`, `channels` bytes a pixel.
bool scaleSurface(const ConstSurface& source, const Surface& destination, unsigned channels,
                  FilterKind filterX, FilterKind filterY, ProgressCallback* progress = nullptr);

}  // namespace vivark
