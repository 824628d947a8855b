// The reader of Electronic Arts IFF pictures: ILBM (1 to 8 bit planes,
// extra-halfbrite, hold-and-modify, 24- and 32-bit deep) and its chunky
// variant PBM, inside a FORM or the first picture of a CAT or LIST. It
// throws IFFERROR; see IffReader.cpp for which fact each value stands for.
// Identification lives in IffIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/iff/IffFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeIffReader(InFile& file);

}  // namespace vivark
