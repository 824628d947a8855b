// The reader of X window dumps. Identification lives in XwdIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/xwd/XwdFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeXwdReader(InFile& file);

}  // namespace vivark
