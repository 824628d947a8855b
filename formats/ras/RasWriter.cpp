// Writes Sun raster images: standard (type 1), or byte-encoded (type 2) when
// SaveOptions\RAS\Encode is on, rows padded to 16 bits.
//
// Depths: a black-and-white 1-bit image as 1 bit without a colour map (a 1
// bit black, as Sun's programs take it); other palette images as 8 bits
// with an RGB colour map of their palette entries (at least two); 24-bit
// images as blue, green, red. The data length field holds the length of the
// data as written, encoded or not.
// The code: a run of three or more equal bytes (up to 256) becomes 0x80,
// count - 1, value; a single 0x80 becomes 0x80 0x00; other bytes stand for
// themselves. Runs end with each row.
#include <algorithm>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/ras/RasFormat.h"
#include "formats/ras/RasWriter.h"

namespace vivark {
namespace {

void encodeRow(OutFile& out, const uint8_t* bytes, size_t count, uint64_t& written) {
    size_t at = 0;
    while (at < count) {
        const uint8_t value = bytes[at];
        size_t run = 1;
        while (run < 256 && at + run < count && bytes[at + run] == value) ++run;
        if (value == 0x80 && run == 1) {
            out.writeByte(0x80);
            out.writeByte(0x00);
            written += 2;
        } else if (run >= 3 || value == 0x80) {
            out.writeByte(0x80);
            out.writeByte(static_cast<uint8_t>(run - 1));
            out.writeByte(value);
            written += 3;
        } else {
            for (size_t i = 0; i < run; ++i) out.writeByte(value);
            written += run;
        }
        at += run;
    }
}

}  // namespace

void writeSunRaster(const Image& image, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    const uint32_t bits = image.bitsPerPixel();
    const bool plainBits = bits == 1 && (image.palette[0] & 0xFFFFFF) == 0xFFFFFF &&
                           (image.palette[1] & 0xFFFFFF) == 0;
    const bool invertedBits = bits == 1 && (image.palette[0] & 0xFFFFFF) == 0 &&
                              (image.palette[1] & 0xFFFFFF) == 0xFFFFFF;
    const uint32_t depth = bits == 24 ? 24 : (plainBits || invertedBits) ? 1 : 8;
    const bool encoded = options.flag(saveKey::RasEncode);
    const size_t lineBytes = static_cast<size_t>((uint64_t{width} * depth + 15) / 16 * 2);
    const uint32_t mapEntries =
        depth == 8 ? std::clamp<uint32_t>(image.paletteCount, 2, 1u << bits) : 0;

    const int64_t start = out.tell();
    out.writeBE32(0x59A66A95u);
    out.writeBE32(width);
    out.writeBE32(height);
    out.writeBE32(depth);
    out.writeBE32(0);  // data length, patched below
    out.writeBE32(encoded ? 2 : 1);
    out.writeBE32(mapEntries != 0 ? 1 : 0);
    out.writeBE32(mapEntries * 3);
    for (unsigned shift : {16u, 8u, 0u})
        for (uint32_t i = 0; i < mapEntries; ++i)
            out.writeByte(static_cast<uint8_t>(image.palette[i] >> shift));

    std::vector<uint8_t> line(lineBytes, 0);
    uint64_t written = 0;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        if (depth == 1) {
            const size_t packed = (size_t{width} + 7) / 8;
            for (size_t i = 0; i < packed; ++i)
                line[i] = invertedBits ? static_cast<uint8_t>(~row[i]) : row[i];
            if (width % 8 != 0) line[packed - 1] &= static_cast<uint8_t>(0xFF00u >> (width % 8));
        } else if (depth == 8) {
            unpackIndices(row, line.data(), width, bits);
        } else {
            std::copy(row, row + size_t{width} * 3, line.begin());
        }
        if (encoded) {
            encodeRow(out, line.data(), lineBytes, written);
        } else {
            out.write(line.data(), lineBytes);
            written += lineBytes;
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    const int64_t end = out.tell();
    out.seek(start + 16);
    out.writeBE32(written > 0xFFFFFFFFu ? 0 : static_cast<uint32_t>(written));
    out.seek(end);
}

}  // namespace vivark
