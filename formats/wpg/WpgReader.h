// The reader of WordPerfect graphics. Identification lives in WpgIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/wpg/WpgFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeWpgReader(InFile& file);

}  // namespace vivark
