// Rotate: an image turned by any angle, point-sampled or resampled.
//
// Angles are signed 32-bit values in units of 1/65536 degree; positive angles
// turn the picture clockwise as it is shown (the direction of the usual
// "rotate" of image tools). The result holds the whole turned picture: width
// ceil(h|sin| + w|cos|) and height ceil(w|sin| + h|cos|). Angles that are
// whole quarter turns use exact sines and cosines, so the size never grows by
// a rounding pixel.
//
// rotatePoint keeps the depth (1, 4, 8 or 24 bits), the palette and a second
// plane: each destination pixel copies the source pixel its centre maps to in
// 16.16 fixed point (columns and rows about the centre pixel, rounded), or is
// 0 (index 0, black, transparent) where that lies outside the source.
//
// rotateResampled filters with Mitchell's bicubic (4 x 4 samples) and takes
// the output format of the resampled operations (ResampleImage.h): grey stays
// 8-bit grey, everything else becomes 24 bits, alpha travels premultiplied.
// The corners show the fill colour, blended smoothly into the picture's edge.
// With cropInside the result is instead the largest upright rectangle that
// lies wholly inside the turned picture, about the same centre, so no
// corner shows.
//
// Both build their result beside the source and return it (Operation.h);
// progress per output row; a cancel returns nothing; a result beyond
// `limits` throws IMAGEERROR::TooLarge.
#pragma once

#include <cstdint>

#include "core/Image.h"
#include "core/Limits.h"
#include "core/Progress.h"
#include "ops/Operation.h"

namespace vivark {

constexpr int32_t kAngleUnitsPerDegree = 65536;

struct RotateRequest {
    int32_t angle = 0;        // 1/65536 degree
    Colour fill = 0;          // 0x00RRGGBB, resampled path only
    bool cropInside = false;  // resampled path only
};

// The size of the whole turned picture.
struct RotatedSize {
    uint64_t width = 0;
    uint64_t height = 0;
};
RotatedSize rotatedSize(uint32_t width, uint32_t height, int32_t angle);

OpResult rotatePoint(const Image& image, const RotateRequest& request,
                     ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult rotateResampled(const Image& image, const RotateRequest& request,
                         ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

}  // namespace vivark
