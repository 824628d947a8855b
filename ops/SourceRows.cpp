// Picture rows as blue, green, red.
#include "ops/SourceRows.h"

#include "core/RowOps.h"

namespace vivark {

SourceRows::SourceRows(const Image& image) : image_(image) {
    if (image.hasPalette()) {
        indices_.resize(image.width());
        bgr_.resize(size_t{image.width()} * 3);
    }
}

const uint8_t* SourceRows::row(uint32_t y) {
    const uint8_t* stored = image_.plane.row(y);
    if (!image_.hasPalette()) return stored;
    unpackIndices(stored, indices_.data(), image_.width(), image_.bitsPerPixel());
    expandToBgr(indices_.data(), image_.palette, bgr_.data(), image_.width());
    return bgr_.data();
}

}  // namespace vivark
