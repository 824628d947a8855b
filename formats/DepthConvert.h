// The lossless depth changes the save path may make before a writer runs:
// widening packed indices, expanding a palette image to 24 bits, and packing
// a black-and-white palette image into one bit. None reduces colours (that is
// colour reduction's business); each returns a new image with the source's
// descriptive fields (resolution, tag, comment, info) and leaves the source
// alone.
#pragma once

#include <optional>

#include "core/Image.h"

namespace vivark {

// A palette image of `bits` (1, 4 or 8) bits per pixel with the same
// palette; below the source's depth, every index in use must fit in `bits`.
Image widenIndices(const Image& image, uint32_t bits);

// A 24-bit image with each pixel's palette colour.
Image expandToTrueColour(const Image& image);

// The image as a palette image with exactly its own colours, when it has at
// most `maxColours` (1..256) distinct ones: a 24-bit image, or a palette image
// whose entries in use hold few enough colours. Nothing is lost, so the save
// path and an adaptive reduction try this first: a screenshot or a diagram
// keeps every colour, even two that differ by one level. The result has 8
// bits a pixel and the colours in order of first appearance (bottom row
// first); nothing when there are more colours. A transparent index is kept
// when its colour stays on its own. A 24-bit image whose alpha plane is only
// clear or opaque (a GIF animation's canvas, a PNG with one transparent
// colour) gets entry 0 as its transparent index, for all its clear pixels,
// and no alpha plane: that entry counts among the `maxColours`.
std::optional<Image> exactPalette(const Image& image, uint32_t maxColours);

// A 1-bit image of a palette image whose valid entries are all black or
// white: entry 0 black, entry 1 white.
Image packBlackAndWhite(const Image& image);

}  // namespace vivark
