// Identifies Sun raster files by their 32-byte header: magic 0x59A66A95,
// non-zero width and height, depth 1, 8, 24 or 32, type 0 to 5 (or the
// experimental 0xFFFF) and colour map type 0 to 2.
#include "formats/IdentifySupport.h"
#include "formats/ras/RasFormat.h"

namespace vivark {

bool identifySunRaster(InFile& file, FormatInfo* info) {
    uint8_t header[32];
    file.read(header, sizeof header);
    if (loadBE32(header) != 0x59A66A95u) return false;
    const uint32_t width = loadBE32(header + 4), height = loadBE32(header + 8);
    const uint32_t depth = loadBE32(header + 12);
    const uint32_t type = loadBE32(header + 20), mapType = loadBE32(header + 24);
    if (width == 0 || height == 0) return false;
    if (depth != 1 && depth != 8 && depth != 24 && depth != 32) return false;
    if ((type > 5 && type != 0xFFFF) || mapType > 2) return false;
    return accept(info, width, height, depth, makeTag("RAS "));
}

}  // namespace vivark
