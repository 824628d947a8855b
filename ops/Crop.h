// Crop: the part of an image inside a rectangle.
//
// The rectangle is given as the batch step names it: left and bottom edges,
// width and height, counted from the picture's bottom-left corner (the
// bottom row is 0, so the rectangle covers picture rows height - bottom -
// height to height - bottom - 1 counted from the top). The part outside the
// image is dropped; a rectangle with no pixel inside the image throws
// OPERROR::EmptyCrop. Depth, palette and the second plane are kept (cut the
// same way); 1- and 4-bit rows are shifted as needed.
#pragma once

#include <cstdint>

#include "ops/Operation.h"

namespace vivark {

struct CropRectangle {
    int64_t left = 0;
    int64_t bottom = 0;
    int64_t width = 0;
    int64_t height = 0;
};

OpResult crop(const Image& image, const CropRectangle& p, ProgressCallback* progress = nullptr,
              const Limits& limits = Limits{});

}  // namespace vivark
