// Identifies X window dumps by their big-endian header: file version 7 (a
// 100-byte header: non-zero width and height, depth and bits per pixel 1 to
// 32, header size at least 100) or version 6, the older form (a 40-byte
// header: non-zero width and height, 1 to 32 display planes, header size at
// least 40).
#include "formats/IdentifySupport.h"
#include "formats/xwd/XwdFormat.h"

namespace vivark {

bool identifyXwd(InFile& file, FormatInfo* info) {
    uint8_t header[100];
    file.read(header, 8);
    const uint32_t headerSize = loadBE32(header), version = loadBE32(header + 4);
    if (version == 7) {
        if (headerSize < 100) return false;
        file.read(header + 8, 92);
        const uint32_t depth = loadBE32(header + 12);
        const uint32_t width = loadBE32(header + 16), height = loadBE32(header + 20);
        const uint32_t bitsPerPixel = loadBE32(header + 44);
        if (width == 0 || height == 0 || depth == 0 || depth > 32) return false;
        if (bitsPerPixel == 0 || bitsPerPixel > 32) return false;
        return accept(info, width, height, depth, makeTag("XWD "));
    }
    if (version == 6) {
        if (headerSize < 40) return false;
        file.read(header + 8, 32);
        const uint32_t planes = loadBE32(header + 12);
        const uint32_t width = loadBE32(header + 20), height = loadBE32(header + 24);
        if (width == 0 || height == 0 || planes == 0 || planes > 32) return false;
        return accept(info, width, height, planes, makeTag("XWD "));
    }
    return false;
}

}  // namespace vivark
