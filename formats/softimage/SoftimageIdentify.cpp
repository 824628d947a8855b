// Identifies Softimage pictures by their 104-byte header: magic 0x5380F634,
// "PICT" at offset 88 and non-zero width (92) and height (94). The channel
// packets that follow decide on an alpha channel; identification reports 24.
#include "formats/IdentifySupport.h"
#include "formats/softimage/SoftimageFormat.h"

namespace vivark {

bool identifySoftimage(InFile& file, FormatInfo* info) {
    uint8_t header[104];
    file.read(header, sizeof header);
    if (loadBE32(header) != 0x5380F634u || loadBE32(header + 88) != 0x50494354u) return false;
    const uint32_t width = loadBE16(header + 92), height = loadBE16(header + 94);
    if (width == 0 || height == 0) return false;
    return accept(info, width, height, 24, makeTag("PICS"));
}

}  // namespace vivark
