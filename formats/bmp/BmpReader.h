// The reader of the bitmap family: Windows and OS/2 bitmaps, bitmap arrays
// (their first element), Windows icons and cursors, OS/2 icons and pointers.
// See BmpFormat.h for the variants and the format tags it sets.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeBmpReader(InFile& file);

}  // namespace vivark
