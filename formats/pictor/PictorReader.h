// The reader of PC Paint/Pictor images. Identification lives in
// PictorIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/pictor/PictorFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePictorReader(InFile& file);

}  // namespace vivark
