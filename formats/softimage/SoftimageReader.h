// The reader of Softimage pictures. Identification lives in
// SoftimageIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/softimage/SoftimageFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeSoftimageReader(InFile& file);

}  // namespace vivark
