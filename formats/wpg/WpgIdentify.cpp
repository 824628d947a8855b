// Identifies WordPerfect graphics by their 16-byte header (0xFF "WPC", the
// data offset, product type 1, file type 0x16, major version 1) and by the
// records that follow, walked to the first bitmap: record 11 (bitmap type 1:
// width, height, depth) or 20 (bitmap type 2: the same after four corner
// words and an angle); record 16, the end of the picture, means there is no
// bitmap. Width and height must be non-zero and the depth 1, 2, 4 or 8.
#include "formats/IdentifySupport.h"
#include "formats/wpg/WpgFormat.h"

namespace vivark {
namespace {

// Records walked before giving up on finding a bitmap.
constexpr int kMaxRecords = 1024;

}  // namespace

uint32_t readWpgRecordLength(InFile& file) {
    const uint8_t first = file.readByte();
    if (first != 0xFF) return first;
    const uint16_t word = file.readLE16();
    if ((word & 0x8000) == 0) return word;
    return (uint32_t{word & 0x7FFFu} << 16) | file.readLE16();
}

bool identifyWpg(InFile& file, FormatInfo* info) {
    uint8_t header[16];
    file.read(header, sizeof header);
    if (loadBE32(header) != 0xFF575043u) return false;  // 0xFF "WPC"
    if (header[8] != 1 || header[9] != 0x16 || header[10] != 1) return false;
    file.seek(loadLE32(header + 4));
    for (int record = 0; record < kMaxRecords; ++record) {
        const uint8_t type = file.readByte();
        const uint32_t length = readWpgRecordLength(file);
        if (type == 16) return false;
        if (type == 11 || type == 20) {
            if (type == 20) file.skip(10);  // angle and corners
            const uint32_t width = file.readLE16(), height = file.readLE16();
            const uint32_t depth = file.readLE16();
            if (width == 0 || height == 0) return false;
            if (depth != 1 && depth != 2 && depth != 4 && depth != 8) return false;
            return accept(info, width, height, depth, makeTag("WPG "));
        }
        file.skip(length);
    }
    return false;
}

}  // namespace vivark
