// Identifies PC Paint/Pictor images by their 17-byte header: magic 0x1234,
// non-zero width and height, and a plane byte whose low nibble (bits per
// pixel) is 1, 2, 4 or 8 and whose high nibble (planes - 1) is at most 3. The
// depth is bits × planes.
#include "formats/IdentifySupport.h"
#include "formats/pictor/PictorFormat.h"

namespace vivark {

bool identifyPictor(InFile& file, FormatInfo* info) {
    uint8_t header[17];
    file.read(header, sizeof header);
    if (loadLE16(header) != 0x1234) return false;
    const uint32_t width = loadLE16(header + 2), height = loadLE16(header + 4);
    const uint32_t bits = header[10] & 0x0Fu, planes = (header[10] >> 4) + 1u;
    if (width == 0 || height == 0 || planes > 4) return false;
    if (bits != 1 && bits != 2 && bits != 4 && bits != 8) return false;
    return accept(info, width, height, bits * planes, makeTag("PIC "));
}

}  // namespace vivark
