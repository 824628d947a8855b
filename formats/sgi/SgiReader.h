// The reader of SGI image files: verbatim and run-length storage, one to four
// channels of one or two bytes. It throws SGIERROR; see SgiReader.cpp for
// which fact each value stands for. Identification lives in SgiIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/sgi/SgiFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeSgiReader(InFile& file);

}  // namespace vivark
