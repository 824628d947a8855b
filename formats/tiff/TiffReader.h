// The TIFF reader: every image file directory is a page.
#pragma once

#include <memory>

#include "formats/ImageReader.h"

namespace vivark {

std::unique_ptr<ImageReader> makeTiffReader(InFile& file);

}  // namespace vivark
