// Writes WAP bitmaps of type 0 from 1-bit images (the save path makes black
// and white of anything else): a pixel whose palette colour is black gives
// a 0 bit, any other colour a 1 (white) bit.
#include <vector>

#include "core/Errors.h"
#include "formats/wbmp/WbmpWriter.h"

namespace vivark {
namespace {

void writeMultiByte(OutFile& out, uint32_t value) {
    uint8_t bytes[5];
    int n = 0;
    do {
        bytes[n++] = static_cast<uint8_t>(value & 0x7F);
        value >>= 7;
    } while (value != 0);
    while (n > 1) out.writeByte(static_cast<uint8_t>(bytes[--n] | 0x80));
    out.writeByte(bytes[0]);
}

}  // namespace

void writeWbmp(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    out.writeByte(0);  // type 0
    out.writeByte(0);  // fixed header: no extensions
    writeMultiByte(out, width);
    writeMultiByte(out, height);
    // The file's bit of each index: rows are copied, inverted, or (when both
    // entries are black or both are not) filled.
    const bool white0 = (image.palette[0] & 0xFFFFFF) != 0;
    const bool white1 = (image.palette[1] & 0xFFFFFF) != 0;
    const bool uniform = white0 == white1;
    const uint8_t fill = white0 ? 0xFF : 0x00;
    const uint8_t flip = white0 ? 0xFF : 0x00;
    const size_t rowBytes = (size_t{width} + 7) / 8;
    std::vector<uint8_t> line(rowBytes);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        for (size_t i = 0; i < rowBytes; ++i)
            line[i] = uniform ? fill : static_cast<uint8_t>(row[i] ^ flip);
        out.write(line.data(), rowBytes);
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
