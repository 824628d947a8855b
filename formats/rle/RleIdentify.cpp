// Identifies the two run-length formats.
//
// Compuserve RLE: the escape 0x1B, 'G', then 'M' (medium resolution, 128 × 96)
// or 'H' (high resolution, 256 × 192), one bit per pixel.
// Utah RLE: a 15-byte header with magic 0xCC52, non-zero width and height,
// 1 to 254 colour channels of 8 bits; the depth is channels × 8.
#include "formats/IdentifySupport.h"
#include "formats/rle/RleFormat.h"

namespace vivark {

bool identifyCompuserveRle(InFile& file, FormatInfo* info) {
    if (file.readByte() != 0x1B || file.readByte() != 'G') return false;
    const uint8_t resolution = file.readByte();
    if (resolution == 'M') return accept(info, 128, 96, 1, makeTag("RLEC"));
    if (resolution == 'H') return accept(info, 256, 192, 1, makeTag("RLEC"));
    return false;
}

bool identifyUtahRle(InFile& file, FormatInfo* info) {
    uint8_t header[15];
    file.read(header, sizeof header);
    if (loadLE16(header) != 0xCC52) return false;
    const uint32_t width = loadLE16(header + 6);
    const uint32_t height = loadLE16(header + 8);
    const uint8_t channels = header[11], pixelBits = header[12];
    if (width == 0 || height == 0 || channels == 0 || channels == 255 || pixelBits != 8) {
        return false;
    }
    return accept(info, width, height, channels * 8u, makeTag("RLEU"));
}

}  // namespace vivark
