// Limits on what a reader may allocate for one image.
//
// A reader checks the sizes a file declares against these before it allocates
// anything, so a header cannot make the process reserve memory the file could
// never fill. The defaults allow every image an Image can hold (below 2 GiB of
// pixels); fuzz harnesses and servers pass tighter ones.
#pragma once

#include <cstdint>

#include "core/Checked.h"

namespace vivark {

struct Limits {
    uint32_t maxWidth = 0x7FFFFFFF;
    uint32_t maxHeight = 0x7FFFFFFF;
    uint64_t maxBytes = 0x7FFFFFFF;  // pixel bytes of one plane, padding included

    // True when an image of this size and depth stays inside the limits.
    constexpr bool allows(uint32_t width, uint32_t height, uint32_t bitsPerPixel) const {
        if (width > maxWidth || height > maxHeight) return false;
        auto rowBits = checkedMul(width, bitsPerPixel);
        if (!rowBits) return false;
        auto bytes = checkedMul((*rowBits + 31) / 32 * 4, height);
        return bytes && *bytes <= maxBytes;
    }
};

}  // namespace vivark
