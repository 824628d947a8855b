// Identifies Microsoft Paint images by their 32-byte header: "DanM" (version
// 1) or "LinS" (version 2), then non-zero width and height; one bit per pixel.
#include "formats/IdentifySupport.h"
#include "formats/msp/MspFormat.h"

namespace vivark {

bool identifyMsp(InFile& file, FormatInfo* info) {
    uint8_t header[32];
    file.read(header, sizeof header);
    const uint32_t key = loadBE32(header);
    if (key != 0x44616E4Du && key != 0x4C696E53u) return false;  // "DanM", "LinS"
    const uint32_t width = loadLE16(header + 4), height = loadLE16(header + 6);
    if (width == 0 || height == 0) return false;
    return accept(info, width, height, 1, makeTag("MSP "));
}

}  // namespace vivark
