// The reader of Truevision Targa images: colour-mapped (type 1), true-colour
// (type 2) and grey-scale (type 3), uncompressed or run-length encoded (types
// 9, 10, 11). It throws TGAERROR; see TgaReader.cpp for which fact each value
// stands for. Identification lives in TgaIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/tga/TgaFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeTgaReader(InFile& file);

}  // namespace vivark
