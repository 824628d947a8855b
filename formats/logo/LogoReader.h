// The reader of OS/2 boot logos. Identification lives in LogoIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/logo/LogoFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeBootLogoReader(InFile& file);

}  // namespace vivark
