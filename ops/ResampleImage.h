// The bridge between an Image and the sample surfaces of the resampled
// operations (resize and rotate through a filter).
//
// Output rule: an image of 8 bits or less whose every valid palette entry is
// grey (an empty palette counts as grey) is resampled as one grey channel and
// stays 8-bit grey with the 256-level ramp; every other image becomes 24-bit.
// An alpha plane (secondPlane of kind Alpha, the image's size) travels with
// the colour: samples are premultiplied by alpha before filtering and divided
// back after, so transparent pixels lend no colour to their neighbours. A
// palette image's transparent index travels the same way, as alpha 0 at the
// index and 255 elsewhere (the result has no indices to keep it by). Any
// other second plane does not survive resampling.
//
// Sizes of a result are checked against Limits before anything is allocated
// (Operation.h): IMAGEERROR::TooLarge.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Image.h"
#include "core/Limits.h"
#include "ops/Operation.h"
#include "ops/ScaleEngine.h"

namespace vivark {

struct ResampleFormat {
    bool grey = false;
    bool alpha = false;
    unsigned channels = 3;  // colour samples (1 or 3), plus 1 with alpha
};

ResampleFormat resampleFormatOf(const Image& image);

// The fill colour as interleaved samples of `format` (opaque where there is alpha).
void fillSamples(Colour fill, const ResampleFormat& format, uint8_t* samples);

// An image's pixels as interleaved samples of `format`, top row first. A
// 24-bit image without alpha is seen in place; anything else is converted
// once into a buffer owned here.
class ResampleSource {
  public:
    ResampleSource(const Image& image, const ResampleFormat& format);
    const ConstSurface& surface() const { return surface_; }

  private:
    std::vector<uint8_t> buffer_;
    ConstSurface surface_;
};

// The result image (width x height in the output format, descriptive fields
// from `source`, an alpha plane where the format has alpha) and the surface
// the resampling writes: the result's own plane when there is no alpha, else
// a buffer that finish() splits into colour and alpha.
class ResampleTarget {
  public:
    ResampleTarget(const Image& source, uint32_t width, uint32_t height,
                   const ResampleFormat& format, const Limits& limits);
    const Surface& surface() const { return surface_; }
    // The surface of a sub-rectangle (picture coordinates, top-left origin).
    Surface region(uint32_t left, uint32_t top, uint32_t width, uint32_t height) const;
    // Fills a rectangle with the samples of one pixel.
    void fill(uint32_t left, uint32_t top, uint32_t width, uint32_t height, const uint8_t* pixel);
    // The completed image.
    Image finish();

  private:
    ResampleFormat format_;
    Image result_;
    std::vector<uint8_t> buffer_;
    Surface surface_;
};

}  // namespace vivark
