// The reader of PICB images. Identification lives in PicbIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/picb/PicbFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePicbReader(InFile& file);

}  // namespace vivark
