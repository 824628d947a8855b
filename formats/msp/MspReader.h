// The reader of Microsoft Paint images (versions 1 and 2). Identification lives in MspIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/msp/MspFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeMspReader(InFile& file);

}  // namespace vivark
