// Identifies Kodak Photo CD image packs: the first 32 bytes are all 0xFF and
// bit 0 of the byte at 0xE02 gives the orientation (clear: 2048 wide and 3072
// high; set: 3072 wide and 2048 high), always 24 bits per pixel. A pack long
// enough to hold the 64Base extension after its 16Base image is reported at
// twice that size.
#include "formats/IdentifySupport.h"
#include "formats/pcd/PcdFormat.h"

namespace vivark {
namespace {

constexpr int64_t kOrientationOffset = 0xE02;
// A 16Base pack holds about 4.5 MB of image data; a file longer than this
// carries its extension data as well.
constexpr uint64_t kExtendedPackLength = 16u * 1024 * 1024;

}  // namespace

bool identifyPcd(InFile& file, FormatInfo* info) {
    uint8_t start[32];
    file.read(start, sizeof start);
    for (uint8_t b : start) {
        if (b != 0xFF) return false;
    }
    file.seek(kOrientationOffset);
    const bool landscape = (file.readByte() & 1) != 0;
    uint32_t width = landscape ? 3072 : 2048;
    uint32_t height = landscape ? 2048 : 3072;
    if (lengthFromOrigin(file) > kExtendedPackLength) {
        width *= 2;
        height *= 2;
    }
    return accept(info, width, height, 24, makeTag("PCD "));
}

}  // namespace vivark
