// The orientation placer; see Orientation.h.
#include "core/pixels/Orientation.h"

#include <cstring>

namespace vivark {

Orientation Orientation::of(uint32_t value) {
    switch (value) {
        case 2:
            return {false, true, false};
        case 3:
            return {false, true, true};
        case 4:
            return {false, false, true};
        case 5:
            return {true, false, false};
        case 6:
            return {true, false, true};
        case 7:
            return {true, true, true};
        case 8:
            return {true, true, false};
        default:
            return {};
    }
}

OrientedRows::OrientedRows(Image& image, Orientation orientation, uint32_t bytesPerPixel)
    : image_(image),
      orientation_(orientation),
      bytesPerPixel_(bytesPerPixel),
      storedWidth_(orientation.swap ? image.height() : image.width()),
      storedHeight_(orientation.swap ? image.width() : image.height()) {}

// PixelPlane::mutableRow counts rows from the top and finds them in the
// bottom-up storage itself.
uint8_t* OrientedRows::directRow(uint32_t y) {
    if (orientation_.swap || orientation_.mirrorX) return nullptr;
    const uint32_t upright = orientation_.mirrorY ? storedHeight_ - 1 - y : y;
    return image_.plane.mutableRow(upright);
}

void OrientedRows::place(uint32_t y, const uint8_t* row) {
    const size_t bpp = bytesPerPixel_;
    if (uint8_t* target = directRow(y)) {
        std::memcpy(target, row, size_t{storedWidth_} * bpp);
        return;
    }
    if (!orientation_.swap) {
        // Mirrored left to right: one upright row.
        const uint32_t upright = orientation_.mirrorY ? storedHeight_ - 1 - y : y;
        uint8_t* out = image_.plane.mutableRow(upright);
        for (uint32_t x = 0; x < storedWidth_; ++x)
            std::memcpy(out + (storedWidth_ - 1 - x) * bpp, row + x * bpp, bpp);
        return;
    }
    // Transposed: stored row y becomes upright column c, stored column x
    // upright row r.
    const uint32_t column = orientation_.mirrorY ? storedHeight_ - 1 - y : y;
    for (uint32_t x = 0; x < storedWidth_; ++x) {
        const uint32_t upright = orientation_.mirrorX ? storedWidth_ - 1 - x : x;
        std::memcpy(image_.plane.mutableRow(upright) + column * bpp, row + x * bpp, bpp);
    }
}

}  // namespace vivark
