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
    // The samples behind that summary, where the test can tell: their number
    // per pixel (grey 1, grey and alpha 2, colour 3, colour and alpha 4;
    // palette indices 1) and their depth; 0 when not told.
    uint8_t samplesPerPixel = 0;
    uint8_t bitsPerSample = 0;
    bool hasAlpha = false;
    bool indexed = false;
    // Where one tag covers kinds of file that users tell apart, the tag of
    // the writer whose name fits this file ("BMP " covers OS/2 bitmaps and
    // Windows bitmaps of the newer headers; the latter are named by "BMPW");
    // 0 when the tag itself names it.
    FormatTag namedAs = 0;
};

}  // namespace vivark
