// ImageConvert: the Image (bottom-up rows, four-byte padded; palette indices
// at 1, 4 and 8 bits, blue-green-red at 24) as the QImage the view paints.
//
// The target is always 32 bits a pixel (Format_RGB32, or premultiplied ARGB
// when the image has an alpha plane): the one format Qt's raster painter
// scales and blits without converting again on every paint. Conversion runs
// row by row in plain loops, a palette row through a 256-entry lookup table,
// so it can also follow a reader that fills the image as it goes.
#pragma once

#include <QImage>
#include <cstdint>

#include "core/Image.h"

namespace vivark::viewer {

// A QImage of the image's size in the format convertRows() fills; null for
// an empty image or one too large for a QImage.
QImage makeDisplayImage(const Image& image);

// Converts picture rows [firstRow, endRow) (counted from the top) of `image`
// into `target`, which makeDisplayImage() made for an image of this size.
void convertRows(const Image& image, QImage& target, uint32_t firstRow, uint32_t endRow);

// Both at once.
QImage toDisplayImage(const Image& image);

// The colour of image pixel (x, y) as 0xRRGGBB (for the status bar).
uint32_t pixelColour(const Image& image, uint32_t x, uint32_t y);

}  // namespace vivark::viewer
