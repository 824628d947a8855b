// Writes X11 window dumps (file version 7), as ZPixmaps with big-endian
// headers and data, most significant bit first, lines padded to 32 bits:
//  - black-and-white 1-bit images: depth 1, StaticGray, a 1 bit black and
//    the map white, black (as X's own bitmaps are, and as the common
//    readers take them whatever the map says);
//  - other palette images: depth 8, one byte a pixel, PseudoColor, the
//    palette entries as the map;
//  - 24-bit images: depth 24 in 32-bit pixels (a zero byte, then red, green,
//    blue), TrueColor with the masks 0xFF0000, 0x00FF00 and 0x0000FF, no map.
// The window name is the output file's name.
#include <algorithm>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/xwd/XwdFormat.h"
#include "formats/xwd/XwdWriter.h"

namespace vivark {
namespace {

enum : uint32_t { StaticGray = 0, PseudoColor = 3, TrueColor = 4 };

}  // namespace

void writeXwd(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    const uint32_t bits = image.bitsPerPixel();
    const bool trueColour = bits == 24;
    const Colour first = image.palette[0] & 0xFFFFFF, second = image.palette[1] & 0xFFFFFF;
    const bool blackWhite = first == 0 && second == 0xFFFFFF;
    const bool bitmap = bits == 1 && (blackWhite || (first == 0xFFFFFF && second == 0));
    const uint32_t depth = trueColour ? 24 : bitmap ? 1 : 8;
    const uint32_t bitsPerPixel = trueColour ? 32 : depth;
    const uint64_t lineBytes = (uint64_t{width} * bitsPerPixel + 31) / 32 * 4;
    if (lineBytes > 0xFFFFFFFFu) throw SAVEERROR::TooLargeForFormat;
    uint32_t colours = std::clamp(image.paletteCount, 2u, 256u);
    if (trueColour) colours = 0;
    if (bitmap) colours = 2;
    const uint32_t visualClass = trueColour ? TrueColor : bitmap ? StaticGray : PseudoColor;
    const std::string& name = out.name();

    const uint32_t header[25] = {
        static_cast<uint32_t>(100 + name.size() + 1),
        7,  // file version
        2,  // ZPixmap
        depth,
        width,
        height,
        0,   // x offset
        1,   // byte order: most significant first
        32,  // bitmap unit
        1,   // bit order: most significant first
        32,  // bitmap pad
        bitsPerPixel,
        static_cast<uint32_t>(lineBytes),
        visualClass,
        trueColour ? 0xFF0000u : 0u,
        trueColour ? 0x00FF00u : 0u,
        trueColour ? 0x0000FFu : 0u,
        8,                                // bits per RGB value
        trueColour ? 256u : 1u << depth,  // colour map entries
        colours,
        width,
        height,
        0,
        0,
        0,
    };
    for (uint32_t v : header) out.writeBE32(v);
    out.write(name.c_str(), name.size() + 1);
    for (uint32_t i = 0; i < colours; ++i) {
        const Colour c = bitmap ? (i == 0 ? 0xFFFFFF : 0) : image.palette[i];
        out.writeBE32(i);
        out.writeBE16(static_cast<uint16_t>(redOf(c) * 257u));
        out.writeBE16(static_cast<uint16_t>(greenOf(c) * 257u));
        out.writeBE16(static_cast<uint16_t>(blueOf(c) * 257u));
        out.writeByte(7);  // red, green and blue are set
        out.writeByte(0);
    }

    std::vector<uint8_t> line(lineBytes, 0);
    const size_t packed = (size_t{width} + 7) / 8;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        if (trueColour) {
            for (uint32_t x = 0; x < width; ++x) {
                line[4 * x + 1] = row[3 * x + 2];
                line[4 * x + 2] = row[3 * x + 1];
                line[4 * x + 3] = row[3 * x];
            }
        } else if (bitmap) {
            for (size_t i = 0; i < packed; ++i) line[i] = blackWhite ? uint8_t(~row[i]) : row[i];
            if (width % 8 != 0) line[packed - 1] &= static_cast<uint8_t>(0xFF00u >> (width % 8));
        } else {
            unpackIndices(row, line.data(), width, bits);
        }
        out.write(line.data(), line.size());
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
