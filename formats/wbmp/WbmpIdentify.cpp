// Identifies WAP bitmaps: type 0 and fixed header 0 (one byte each, without
// the continuation bit), then width and height as multi-byte integers (seven
// bits a byte, high bit set on all but the last byte, at most four bytes),
// both non-zero; one bit per pixel.
#include "formats/IdentifySupport.h"
#include "formats/wbmp/WbmpFormat.h"

namespace vivark {
namespace {

// A multi-byte integer; 0 when it is longer than four bytes.
uint32_t readMultiByte(InFile& file) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        const uint8_t b = file.readByte();
        value = (value << 7) | (b & 0x7Fu);
        if ((b & 0x80) == 0) return value;
    }
    return 0;
}

}  // namespace

bool identifyWbmp(InFile& file, FormatInfo* info) {
    if (file.readByte() != 0 || file.readByte() != 0) return false;
    const uint32_t width = readMultiByte(file);
    if (width == 0) return false;
    const uint32_t height = readMultiByte(file);
    if (height == 0) return false;
    return accept(info, width, height, 1, makeTag("WBMP"));
}

}  // namespace vivark
