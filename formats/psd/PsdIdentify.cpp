// Identifies Photoshop documents by their 26-byte header: "8BPS", version 1,
// channels, rows, columns and depth per channel, all non-zero; the depth
// reported is channels × depth.
#include "formats/IdentifySupport.h"
#include "formats/psd/PsdFormat.h"

namespace vivark {

bool identifyPsd(InFile& file, FormatInfo* info) {
    uint8_t header[26];
    file.read(header, sizeof header);
    if (loadBE32(header) != 0x38425053u || loadBE16(header + 4) != 1) return false;
    const uint32_t channels = loadBE16(header + 12);
    const uint32_t rows = loadBE32(header + 14);
    const uint32_t columns = loadBE32(header + 18);
    const uint32_t depth = loadBE16(header + 22);
    if (channels == 0 || rows == 0 || columns == 0 || depth == 0) return false;
    return accept(info, columns, rows, channels * depth, makeTag("PSD "));
}

}  // namespace vivark
