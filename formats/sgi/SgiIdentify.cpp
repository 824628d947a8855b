// Identifies SGI image files by their 512-byte header: magic 474, storage 0
// (verbatim) or 1 (run-length), 1 or 2 bytes per channel, dimension 1 to 3 and
// non-zero sizes. The depth is bytes per channel × 8 × channels.
#include "formats/IdentifySupport.h"
#include "formats/sgi/SgiFormat.h"

namespace vivark {

bool identifySgi(InFile& file, FormatInfo* info) {
    uint8_t header[512];
    file.read(header, sizeof header);
    if (loadBE16(header) != 474) return false;
    const uint8_t storage = header[2], bytesPerChannel = header[3];
    const uint16_t dimension = loadBE16(header + 4);
    if (storage > 1 || bytesPerChannel < 1 || bytesPerChannel > 2) return false;
    if (dimension < 1 || dimension > 3) return false;
    const uint32_t width = loadBE16(header + 6);
    const uint32_t height = dimension >= 2 ? loadBE16(header + 8) : 1;
    const uint32_t channels = dimension == 3 ? loadBE16(header + 10) : 1;
    if (width == 0 || height == 0 || channels == 0) return false;
    return accept(info, width, height, bytesPerChannel * 8u * channels, makeTag("SGI "));
}

}  // namespace vivark
