// The reader of Sun raster images. Identification lives in RasIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/ras/RasFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeSunRasterReader(InFile& file);

}  // namespace vivark
