// Identifies ZSoft PCX images and DCX multi-page files.
//
// PCX: a 128-byte header with manufacturer byte 0x0A and version 0 or 2 to 5;
// xMax must not lie below xMin, nor yMax below yMin. It reports width
// xMax - xMin + 1, height yMax - yMin + 1 and bits per pixel × planes.
// DCX: the magic 0x3ADE68B1 and a first page offset whose page passes the PCX
// test.
#include "formats/IdentifySupport.h"
#include "formats/pcx/PcxFormat.h"

namespace vivark {
namespace {

bool measurePcx(InFile& file, FormatInfo& found) {
    uint8_t header[128];
    file.read(header, sizeof header);
    const uint8_t version = header[1];
    if (header[0] != 0x0A || version == 1 || version > 5) return false;
    const uint16_t xMin = loadLE16(header + 4), yMin = loadLE16(header + 6);
    const uint16_t xMax = loadLE16(header + 8), yMax = loadLE16(header + 10);
    if (xMax < xMin || yMax < yMin) return false;
    found.width = uint32_t{xMax} - xMin + 1;
    found.height = uint32_t{yMax} - yMin + 1;
    found.bitsPerPixel = uint32_t{header[3]} * header[65];
    return true;
}

}  // namespace

bool identifyPcx(InFile& file, FormatInfo* info) {
    FormatInfo found;
    if (!measurePcx(file, found)) return false;
    return accept(info, found.width, found.height, found.bitsPerPixel, makeTag("PCX "));
}

bool identifyDcx(InFile& file, FormatInfo* info) {
    if (file.readLE32() != 0x3ADE68B1u) return false;
    const uint32_t firstPage = file.readLE32();
    if (firstPage < 8) return false;
    file.seek(firstPage);
    FormatInfo found;
    if (!measurePcx(file, found)) return false;
    return accept(info, found.width, found.height, found.bitsPerPixel, makeTag("DCX "));
}

}  // namespace vivark
