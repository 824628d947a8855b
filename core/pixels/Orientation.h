// Orientation: one placer for the eight orientations a file may declare
// (EXIF orientation, TIFF tag 274 and the formats that store rows bottom-up
// or right to left), so no reader keeps its own turning loop.
//
// Values 1 to 8 are those of EXIF and TIFF: where the stored picture's first
// row and first column lie in the upright picture (1: top, left; 2: top,
// right; 3: bottom, right; 4: bottom, left; 5: left, top; 6: right, top;
// 7: right, bottom; 8: left, bottom). Any other value is taken as 1.
//
// The placer takes the stored picture's rows top first, as decoders produce
// them, and writes each into the upright Image: straight rows are copied in
// one piece, turned ones pixel by pixel. It allocates nothing per row.
#pragma once

#include <cstdint>

#include "core/Image.h"

namespace vivark {

struct Orientation {
    bool swap = false;     // the upright picture is the stored one transposed
    bool mirrorX = false;  // then mirrored left to right
    bool mirrorY = false;  // and top to bottom

    static Orientation of(uint32_t value);
    bool upright() const { return !swap && !mirrorX && !mirrorY; }
};

class OrientedRows {
  public:
    // `image` is the upright picture, already sized: storedWidth x
    // storedHeight, or the transpose when the orientation swaps; its pixels
    // are `bytesPerPixel` bytes each (1 or 3; 4 is not an Image depth).
    OrientedRows(Image& image, Orientation orientation, uint32_t bytesPerPixel);

    uint32_t storedWidth() const { return storedWidth_; }
    uint32_t storedHeight() const { return storedHeight_; }

    // Where stored row y starts when it can be written in place (upright or
    // only mirrored top to bottom), else null.
    uint8_t* directRow(uint32_t y);

    // Places stored row y (storedWidth pixels, in the Image's sample order).
    void place(uint32_t y, const uint8_t* row);

  private:
    Image& image_;
    Orientation orientation_;
    uint32_t bytesPerPixel_;
    uint32_t storedWidth_, storedHeight_;
};

}  // namespace vivark
