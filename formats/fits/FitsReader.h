// The reader of FITS images: the primary array of a FITS file, with 8-, 16-,
// 32- and 64-bit integer or 32- and 64-bit floating-point samples, two axes
// (a grey picture) or three with one or three planes (grey, or red, green
// and blue). It throws FITSERROR; see FitsReader.cpp for which fact each
// value stands for. Identification lives in FitsIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/fits/FitsFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeFitsReader(InFile& file);

}  // namespace vivark
