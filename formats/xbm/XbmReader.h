// The readers of X bitmaps and X pixmaps (XbmReader.cpp, XpmReader.cpp).
// Identification lives in XbmIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/xbm/XbmFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeXbmReader(InFile& file);
std::unique_ptr<ImageReader> makeXpmReader(InFile& file);

}  // namespace vivark
