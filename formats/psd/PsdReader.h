// The reader of Photoshop documents: the merged image of a version 1 file,
// in bitmap, grey, indexed, RGB, CMYK, Lab and duotone modes, 8 or 16 bits a
// channel (1 for bitmaps), raw or PackBits coded. It throws PSDERROR; see
// PsdReader.cpp for which fact each value stands for. Identification lives
// in PsdIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/psd/PsdFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePsdReader(InFile& file);

}  // namespace vivark
