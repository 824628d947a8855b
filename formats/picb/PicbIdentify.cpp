// Identifies PICB images by their 76-byte little-endian header: the magic
// 0x3039 at offset 0, width at 2 and height at 4 (both non-zero) and bits per
// pixel at 6 (1, 4, 8 or 24). The whole header must be present.
#include "formats/IdentifySupport.h"
#include "formats/picb/PicbFormat.h"

namespace vivark {

bool identifyPicb(InFile& file, FormatInfo* info) {
    uint8_t header[76];
    file.read(header, sizeof header);
    if (loadLE16(header) != 0x3039) return false;
    const uint32_t width = loadLE16(header + 2), height = loadLE16(header + 4);
    const uint32_t bits = loadLE16(header + 6);
    if (width == 0 || height == 0) return false;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
    return accept(info, width, height, bits, makeTag("PICB"));
}

}  // namespace vivark
