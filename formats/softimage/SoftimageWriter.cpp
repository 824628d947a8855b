// Writes Softimage pictures of 24-bit images: the header (version 3.71, a
// comment naming the writer, pixel ratio 1, full frame), one packet of red,
// green and blue and, when the image has an alpha plane, a second packet of
// alpha. With SaveOptions\Softimage PIC\Encode on (the default) the packets
// use the mixed run-length code (runs of two or more pixels repeated, the
// rest as literal groups of up to 128); off, they are uncompressed.
#include "formats/softimage/SoftimageWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/softimage/SoftimageFormat.h"

namespace vivark {
namespace {

// One row of one packet: `values` holds `channels` bytes a pixel.
void writePacketRow(OutFile& out, const uint8_t* values, uint32_t width, uint32_t channels,
                    bool encode) {
    if (!encode) {
        out.write(values, size_t{width} * channels);
        return;
    }
    auto same = [&](uint32_t a, uint32_t b) {
        return std::memcmp(values + a * channels, values + b * channels, channels) == 0;
    };
    uint32_t x = 0, literalStart = 0;
    auto flushLiterals = [&](uint32_t end) {
        while (literalStart < end) {
            const uint32_t n = std::min<uint32_t>(128, end - literalStart);
            out.writeByte(static_cast<uint8_t>(n - 1));
            out.write(values + size_t{literalStart} * channels, size_t{n} * channels);
            literalStart += n;
        }
    };
    while (x < width) {
        uint32_t run = 1;
        while (run < 0xFFFF && x + run < width && same(x, x + run)) ++run;
        if (run >= 2) {
            flushLiterals(x);
            if (run <= 128) {
                out.writeByte(static_cast<uint8_t>(run + 127));
            } else {
                out.writeByte(128);
                out.writeBE16(static_cast<uint16_t>(run));
            }
            out.write(values + size_t{x} * channels, channels);
            x += run;
            literalStart = x;
        } else {
            ++x;
        }
    }
    flushLiterals(width);
}

}  // namespace

void writeSoftimage(const Image& image, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (image.bitsPerPixel() != 24 || width == 0 || height == 0 || width > 0xFFFF ||
        height > 0xFFFF)
        throw PICSERROR::BadHeader;
    const bool alpha = image.secondPlaneKind == SecondPlane::Alpha;
    const bool encode = options.flag(saveKey::SoftimageEncode);

    uint8_t header[104] = {};
    storeBE32(header, 0x5380F634u);
    storeBE32(header + 4, std::bit_cast<uint32_t>(3.71f));
    static constexpr char kComment[] = "Vivark";
    std::memcpy(header + 8, kComment, sizeof kComment - 1);
    std::memcpy(header + 88, "PICT", 4);
    storeBE16(header + 92, static_cast<uint16_t>(width));
    storeBE16(header + 94, static_cast<uint16_t>(height));
    storeBE32(header + 96, std::bit_cast<uint32_t>(1.0f));
    storeBE16(header + 100, 3);  // both fields: a full frame
    out.write(header, sizeof header);
    const uint8_t compression = encode ? 2 : 0;
    const uint8_t packets[8] = {
        static_cast<uint8_t>(alpha ? 1 : 0), 8, compression, 0xE0, 0, 8, compression, 0x10};
    out.write(packets, alpha ? 8 : 4);

    std::vector<uint8_t> rgb(size_t{width} * 3);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        for (uint32_t x = 0; x < width; ++x) {
            rgb[3 * x] = row[3 * x + 2];
            rgb[3 * x + 1] = row[3 * x + 1];
            rgb[3 * x + 2] = row[3 * x];
        }
        writePacketRow(out, rgb.data(), width, 3, encode);
        if (alpha) writePacketRow(out, image.secondPlane.row(y), width, 1, encode);
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
