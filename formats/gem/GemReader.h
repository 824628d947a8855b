// The reader of GEM Paint (IMG) images. Identification lives in GemIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/gem/GemFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeGemReader(InFile& file);

}  // namespace vivark
