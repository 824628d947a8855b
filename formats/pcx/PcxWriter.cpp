// Writes PCX version 5 images, run-length encoded, and DCX files holding one
// such image as their only page.
//
// Layouts: 1-bit images as 1 bit × 1 plane; 4-bit images as 1 bit × 4 planes
// (plane 0 the least significant bit, as the reader combines them); 8-bit
// images as 8 bits × 1 plane followed by the 0x0C marker and a 256-colour
// palette; 24-bit images as 8 bits × 3 planes (red, green, blue), only when
// SaveOptions\PCX\Enable24bit is on; otherwise a 24-bit image is refused with
// PCXERROR::InvalidFile. Bytes per plane line are rounded up to an even
// number. The resolution is written in dots per inch when the image states
// one, and as 0 otherwise.
#include "formats/pcx/PcxWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/pcx/PcxFormat.h"

namespace vivark {
namespace {

uint16_t dotsPerInch(const Resolution& r, double value) {
    double dpi = 0;
    if (r.unit == ResolutionUnit::PerInch) dpi = value;
    if (r.unit == ResolutionUnit::PerMetre) dpi = value * 0.0254;
    if (!(dpi > 0) || dpi > 65535) return 0;
    return static_cast<uint16_t>(std::lround(dpi));
}

// One scan line in PCX run-length code: runs of up to 63, and single bytes
// below 0xC0 as themselves.
void encodeLine(OutFile& out, const uint8_t* line, size_t length) {
    size_t at = 0;
    while (at < length) {
        const uint8_t value = line[at];
        size_t count = 1;
        while (count < 63 && at + count < length && line[at + count] == value) ++count;
        if (count > 1 || value >= 0xC0) out.writeByte(static_cast<uint8_t>(0xC0 | count));
        out.writeByte(value);
        at += count;
    }
}

}  // namespace

void writePcx(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const uint32_t depth = image.bitsPerPixel();
    if (depth == 24 && !options.flag(saveKey::PcxEnable24bit)) throw PCXERROR::InvalidFile;
    if (image.width() == 0 || image.height() == 0 || image.width() > 65536 ||
        image.height() > 65536)
        throw PCXERROR::DataIntegrity;
    const uint8_t bits = depth == 1 || depth == 4 ? 1 : 8;
    const uint8_t planes = depth == 4 ? 4 : depth == 24 ? 3 : 1;
    const uint32_t width = image.width();
    const uint64_t planeBytes = (uint64_t{width} * bits + 15) / 16 * 2;
    if (planeBytes > 0xFFFF) throw PCXERROR::DataIntegrity;

    uint8_t header[128] = {};
    header[0] = 0x0A;
    header[1] = 5;
    header[2] = 1;
    header[3] = bits;
    storeLE16(header + 8, static_cast<uint16_t>(width - 1));
    storeLE16(header + 10, static_cast<uint16_t>(image.height() - 1));
    storeLE16(header + 12, dotsPerInch(image.resolution, image.resolution.x));
    storeLE16(header + 14, dotsPerInch(image.resolution, image.resolution.y));
    if (depth <= 8) {
        for (unsigned i = 0; i < 16; ++i) {
            const Colour c = image.palette[i];
            header[16 + 3 * i] = redOf(c);
            header[17 + 3 * i] = greenOf(c);
            header[18 + 3 * i] = blueOf(c);
        }
    }
    header[65] = planes;
    storeLE16(header + 66, static_cast<uint16_t>(planeBytes));
    header[68] = 1;  // colour or black and white palette
    out.write(header, sizeof header);

    std::vector<uint8_t> line(planeBytes * planes);
    std::vector<uint8_t> indices(depth == 4 ? width : 0);
    std::vector<uint8_t> bitsOut(depth == 4 ? width : 0);
    for (uint32_t y = 0; y < image.height(); ++y) {
        const uint8_t* row = image.plane.row(y);
        std::fill(line.begin(), line.end(), 0);
        if (depth == 1) {
            std::memcpy(line.data(), row, (width + 7) / 8);
        } else if (depth == 8) {
            std::memcpy(line.data(), row, width);
        } else if (depth == 24) {
            for (uint32_t x = 0; x < width; ++x) {
                line[x] = row[3 * x + 2];
                line[planeBytes + x] = row[3 * x + 1];
                line[2 * planeBytes + x] = row[3 * x];
            }
        } else {
            unpackIndices(row, indices.data(), width, 4);
            for (unsigned p = 0; p < 4; ++p) {
                for (uint32_t x = 0; x < width; ++x) bitsOut[x] = (indices[x] >> p) & 1;
                packIndices(bitsOut.data(), line.data() + p * planeBytes, width, 1);
            }
        }
        encodeLine(out, line.data(), line.size());
        if (progressCancelled(progress, y + 1, image.height())) throw OUTFILEERROR::Cancelled;
    }
    if (depth == 8) {
        out.writeByte(0x0C);
        for (unsigned i = 0; i < 256; ++i) {
            const Colour c = image.palette[i];
            const uint8_t rgbBytes[3] = {redOf(c), greenOf(c), blueOf(c)};
            out.write(rgbBytes, 3);
        }
    }
}

void writeDcx(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    out.writeLE32(0x3ADE68B1u);
    out.writeLE32(12);  // the page follows the table
    out.writeLE32(0);
    writePcx(image, out, options, progress);
}

}  // namespace vivark
