// The reader of WAP bitmaps (type 0). Identification lives in WbmpIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/wbmp/WbmpFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeWbmpReader(InFile& file);

}  // namespace vivark
