// The row loop of the readers whose rows come top first, one after the other
// (Microsoft Paint, PICB, WAP bitmaps, OS/2 boot logos), and the hand-over of
// a finished image, which readers that build their result in a fresh Image
// share. The format fills each row; the loop clears the bits past the
// picture in the row's last byte, so padding never shows as pixels, and
// reports progress once a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/Image.h"
#include "core/Progress.h"

namespace vivark {

// The mask of the bits of a row's last byte that hold pixels, for `width`
// pixels of `bits` each.
inline uint8_t lastByteMask(uint32_t width, uint32_t bits) {
    return static_cast<uint8_t>(0xFF00u >> ((uint64_t{width} * bits - 1) % 8 + 1));
}

// Hands each row of `result`, top first, to `fill(y, row)`; a cancel through
// `progress` throws INFILEERROR::Cancelled.
template <class Fill>
void readRowsTopFirst(Image& result, ProgressCallback* progress, Fill&& fill) {
    const uint32_t width = result.width(), height = result.height();
    const uint32_t bits = result.bitsPerPixel();
    const size_t rowBytes = (size_t{width} * bits + 7) / 8;
    const uint8_t mask = lastByteMask(width, bits);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = result.plane.mutableRow(y);
        fill(y, row);
        row[rowBytes - 1] &= mask;
        if (progressCancelled(progress, y + 1, height)) throw INFILEERROR::Cancelled;
    }
}

// Tags the finished `result`, gives it the request the fresh `image` carries
// and puts it in `image`'s place.
inline void handOverImage(Image& image, Image&& result, FormatTag tag) {
    result.formatTag = tag;
    result.keepRequestOf(image);
    image = std::move(result);
}

}  // namespace vivark
