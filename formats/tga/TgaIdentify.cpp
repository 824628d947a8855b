// Identifies Truevision Targa images by their 18-byte header: image type 1 or
// 9 with colour map type 1, or 2, 3, 10, 11 with colour map type 0 or 1; pixel
// depth 8, 15, 16, 24 or 32; with a colour map, its first index below its
// length and an entry size of 8, 15, 16, 24 or 32; non-zero width and height.
#include "formats/IdentifySupport.h"
#include "formats/tga/TgaFormat.h"

namespace vivark {
namespace {

constexpr bool isTargaDepth(uint8_t bits) {
    return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

}  // namespace

bool identifyTga(InFile& file, FormatInfo* info) {
    uint8_t header[18];
    file.read(header, sizeof header);
    const uint8_t mapType = header[1], imageType = header[2];
    if (imageType == 1 || imageType == 9) {
        if (mapType != 1) return false;
    } else if (imageType == 2 || imageType == 3 || imageType == 10 || imageType == 11) {
        if (mapType > 1) return false;
    } else {
        return false;
    }
    const uint8_t depth = header[16];
    if (!isTargaDepth(depth)) return false;
    if (mapType == 1) {
        if (loadLE16(header + 3) >= loadLE16(header + 5) || !isTargaDepth(header[7])) return false;
    }
    const uint32_t width = loadLE16(header + 12), height = loadLE16(header + 14);
    if (width == 0 || height == 0) return false;
    return accept(info, width, height, depth, makeTag("TGA "));
}

}  // namespace vivark
