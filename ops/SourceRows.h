// SourceRows: an image's picture rows as blue, green, red pixels, whatever
// its depth, for the operations that work on colours.
//
// A 24-bit row is handed out in place; a palette row is unpacked and expanded
// through the palette into one row buffer owned here (allocated once, at
// construction), so the pointer of one call is valid until the next. Throws
// only std::bad_alloc.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Image.h"

namespace vivark {

class SourceRows {
  public:
    explicit SourceRows(const Image& image);
    // Picture row y (0 at the top), three bytes a pixel.
    const uint8_t* row(uint32_t y);

  private:
    const Image& image_;
    std::vector<uint8_t> indices_;
    std::vector<uint8_t> bgr_;
};

}  // namespace vivark
