// The reader of MacPaint documents. Identification lives in MacPaintIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/macpaint/MacPaintFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeMacPaintReader(InFile& file);

}  // namespace vivark
