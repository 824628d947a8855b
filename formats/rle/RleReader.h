// The readers of the two run-length formats. Identification lives in
// RleIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/rle/RleFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeCompuserveRleReader(InFile& file);
std::unique_ptr<ImageReader> makeUtahRleReader(InFile& file);

}  // namespace vivark
