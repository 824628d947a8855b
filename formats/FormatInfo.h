// FormatInfo: what identification learns of a file without decoding it.
#pragma once

#include <cstdint>

#include "core/FormatTag.h"

namespace vivark {

struct FormatInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerPixel = 0;  // the file's depth summary: 24 for three 8-bit channels
    FormatTag formatTag = 0;
};

}  // namespace vivark
