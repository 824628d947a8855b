// Identifies OS/2 boot logos. A boot logo is a fixed-size screen: a 32-byte
// header, then three colour planes of 320 × 240 bytes each. The header's
// first two little-endian 32-bit fields hold the size of one plane (76800)
// and the size of the whole file (230432 = 32 + 3 × 76800); both must match.
#include "formats/IdentifySupport.h"
#include "formats/logo/LogoFormat.h"

namespace vivark {

bool identifyBootLogo(InFile& file, FormatInfo* info) {
    uint8_t header[32];
    file.read(header, sizeof header);
    if (loadLE32(header) != kBootLogoPlaneBytes || loadLE32(header + 4) != kBootLogoFileBytes)
        return false;
    return accept(info, kBootLogoWidth, kBootLogoHeight, 24, makeTag("LOGO"));
}

}  // namespace vivark
