// Writes Targa images: 24-bit images as true colour (type 2), images whose
// palette is the 256 grey levels as grey-scale (type 3), other palette images
// as colour-mapped (type 1) with 8-bit indices and a 24-bit colour map of
// 2^depth entries.
//
// Settings: SaveOptions\TGA\Encode writes the run-length types (9, 10, 11),
// packets never spanning rows; BottomToTop stores the bottom row first (bit
// 5 clear), RightToLeft stores each row's last pixel first (bit 4 set).
// A 24-bit image with an alpha plane is written as 32 bits, blue, green,
// red, alpha, with 8 attribute bits (a palette image with one is expanded
// first).
//
// InterlaceType (0 to 2) is written into descriptor bits 6-7 only: it marks
// the file as two- or four-way interleaved, but the rows keep their plain
// order, which is how the reader reads such files back.
#include "formats/tga/TgaWriter.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"
#include "formats/tga/TgaFormat.h"

namespace vivark {
namespace {

// One row of `count` pixels of `size` bytes as run-length packets.
void encodeRow(OutFile& out, const uint8_t* pixels, uint32_t count, unsigned size) {
    const auto same = [&](uint32_t a, uint32_t b) {
        return std::memcmp(pixels + size_t{a} * size, pixels + size_t{b} * size, size) == 0;
    };
    uint32_t at = 0;
    while (at < count) {
        uint32_t run = 1;
        while (run < 128 && at + run < count && same(at, at + run)) ++run;
        if (run > 1) {
            out.writeByte(static_cast<uint8_t>(0x80 | (run - 1)));
            out.write(pixels + size_t{at} * size, size);
            at += run;
            continue;
        }
        uint32_t literal = 1;
        while (literal < 128 && at + literal < count &&
               !(at + literal + 1 < count && same(at + literal, at + literal + 1)))
            ++literal;
        out.writeByte(static_cast<uint8_t>(literal - 1));
        out.write(pixels + size_t{at} * size, size_t{literal} * size);
        at += literal;
    }
}

bool hasGreyRamp(const Image& image) {
    if (image.bitsPerPixel() != 8) return false;
    for (unsigned i = 0; i < 256; ++i)
        if (image.palette[i] != rgb(uint8_t(i), uint8_t(i), uint8_t(i))) return false;
    return true;
}

}  // namespace

void writeTga(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    if (image.hasPalette() && image.secondPlaneKind == SecondPlane::Alpha)
        return writeTga(expandToTrueColour(image), out, options, progress);
    const bool alpha = image.bitsPerPixel() == 24 && image.secondPlaneKind == SecondPlane::Alpha;
    const uint32_t depth = image.bitsPerPixel();
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0 || width > 0xFFFF || height > 0xFFFF)
        throw TGAERROR::DataIntegrity;
    const bool rle = options.flag(saveKey::TgaEncode);
    const bool bottomToTop = options.flag(saveKey::TgaBottomToTop);
    const bool rightToLeft = options.flag(saveKey::TgaRightToLeft);
    const int32_t interlace = std::clamp<int32_t>(options.integer(saveKey::TgaInterlaceType), 0, 2);
    const bool grey = hasGreyRamp(image);
    const uint8_t type = depth == 24 ? 2 : grey ? 3 : 1;
    const unsigned pixelBytes = alpha ? 4 : depth == 24 ? 3 : 1;
    const uint16_t mapLength = type == 1 ? static_cast<uint16_t>(1u << depth) : 0;

    uint8_t header[18] = {};
    header[1] = type == 1 ? 1 : 0;
    header[2] = static_cast<uint8_t>(type + (rle ? 8 : 0));
    storeLE16(header + 5, mapLength);
    header[7] = type == 1 ? 24 : 0;
    storeLE16(header + 12, static_cast<uint16_t>(width));
    storeLE16(header + 14, static_cast<uint16_t>(height));
    header[16] = static_cast<uint8_t>(pixelBytes * 8);
    header[17] = static_cast<uint8_t>((bottomToTop ? 0 : 0x20) | (rightToLeft ? 0x10 : 0) |
                                      interlace << 6 | (alpha ? 8 : 0));
    out.write(header, sizeof header);
    for (unsigned i = 0; i < mapLength; ++i) {
        const Colour c = image.palette[i];
        const uint8_t bgr[3] = {blueOf(c), greenOf(c), redOf(c)};
        out.write(bgr, 3);
    }

    std::vector<uint8_t> stored(size_t{width} * pixelBytes);
    for (uint32_t i = 0; i < height; ++i) {
        const uint8_t* row = image.plane.row(bottomToTop ? height - 1 - i : i);
        if (alpha) {
            const uint8_t* a = image.secondPlane.row(bottomToTop ? height - 1 - i : i);
            for (uint32_t x = 0; x < width; ++x) {
                std::memcpy(&stored[size_t{x} * 4], row + size_t{x} * 3, 3);
                stored[size_t{x} * 4 + 3] = a[x];
            }
        } else if (depth == 24) {
            std::memcpy(stored.data(), row, stored.size());
        } else {
            unpackIndices(row, stored.data(), width, depth);
        }
        if (rightToLeft) {
            for (uint32_t x = 0; x < width / 2; ++x)
                std::swap_ranges(&stored[size_t{x} * pixelBytes],
                                 &stored[size_t{x + 1} * pixelBytes],
                                 &stored[size_t{width - 1 - x} * pixelBytes]);
        }
        if (rle) {
            encodeRow(out, stored.data(), width, pixelBytes);
        } else {
            out.write(stored.data(), stored.size());
        }
        if (progressCancelled(progress, i + 1, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
