// Depth changes as image operations: black and white by threshold, grey
// scale, deep colour (24 bits) and indexed colour (colour reduction).
//
//  - toBlackAndWhite: a 1-bit image, entry 0 black and entry 1 white; a pixel
//    whose luminance (0.299 R + 0.587 G + 0.114 B) is at or above the
//    threshold is white. Threshold 0 makes every pixel white, 256 black.
//  - toGreyscale: an 8-bit image with the 256 grey levels as its palette,
//    each pixel its luminance.
//  - toDeepColour: a 24-bit image of each pixel's colour; a 24-bit source is
//    returned as it is (sharing its pixels).
//  - toIndexedColour: reduceColours (ColourReduce.h) with the palette type,
//    dither type and colour count given, on a copy.
// The second plane is kept by all four; the first three make a palette
// image's transparent index an alpha plane (Operation.h).
#pragma once

#include <cstdint>

#include "ops/ColourReduce.h"
#include "ops/Operation.h"

namespace vivark {

struct BlackWhite {
    int32_t threshold = 128;  // held to 0..256
};
struct Greyscale {};
struct DeepColour {};
struct IndexedColour {
    uint32_t paletteType = static_cast<uint32_t>(PaletteType::Adaptive);
    uint32_t ditherType = static_cast<uint32_t>(DitherType::Diffusion);
    uint32_t colours = 256;  // held to 2..256
};

OpResult toBlackAndWhite(const Image& image, const BlackWhite& p,
                         ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult toGreyscale(const Image& image, const Greyscale& p = {},
                     ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult toDeepColour(const Image& image, const DeepColour& p = {},
                      ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult toIndexedColour(const Image& image, const IndexedColour& p,
                         ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

}  // namespace vivark
