// Writes Microsoft Paint images of version 2 from 1-bit images (the save
// path makes black and white of anything else): the header, the map of each
// row's coded length, then the rows. A row is coded as runs of three or more
// equal bytes (0, count, byte) and literal stretches between them (length,
// bytes), each at most 255 bytes long. The map comes before the rows, so the
// coded rows are gathered in memory first; a 1-bit picture the format can
// hold (at most 65535 pixels a side) stays small.
#include <algorithm>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/ByteRuns.h"
#include "formats/msp/MspFormat.h"
#include "formats/msp/MspWriter.h"

namespace vivark {
namespace {

bool isDark(Colour c) {
    return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16 & 0xFF) < 384;
}

// Runs of three or more bytes: 0, count, byte; literals: length, bytes.
void codeRow(const uint8_t* row, size_t length, std::vector<uint8_t>& out) {
    splitByteRuns(
        row, length, [](uint8_t) -> size_t { return 3; }, [](uint8_t) -> size_t { return 255; },
        [&](uint8_t b, size_t count) {
            out.insert(out.end(), {0, static_cast<uint8_t>(count), b});
        },
        [&](const uint8_t* bytes, size_t count) {
            out.push_back(static_cast<uint8_t>(count));
            out.insert(out.end(), bytes, bytes + count);
        });
}

}  // namespace

void writeMsp(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (width > 0xFFFF || height > 0xFFFF) throw IMAGEERROR::TooLarge;
    uint16_t words[16] = {kMspKey2[0],
                          kMspKey2[1],
                          uint16_t(width),
                          uint16_t(height),
                          1,
                          1,
                          1,
                          1,
                          0,
                          0,
                          1,
                          1,
                          0,
                          0,
                          0,
                          0};
    for (int i = 0; i < 12; ++i) words[12] ^= words[i];
    for (uint16_t w : words) out.writeLE16(w);

    // The file's byte of each index: 1 bits white.
    const bool white0 = !isDark(image.palette[0]), white1 = !isDark(image.palette[1]);
    const size_t rowBytes = (size_t{width} + 7) / 8;
    std::vector<uint8_t> line(rowBytes), coded;
    std::vector<uint16_t> lengths(height);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        for (size_t i = 0; i < rowBytes; ++i)
            line[i] = white0 == white1 ? (white0 ? 0xFF : 0x00)
                                       : static_cast<uint8_t>(white0 ? ~row[i] : row[i]);
        const size_t before = coded.size();
        codeRow(line.data(), rowBytes, coded);
        lengths[y] = static_cast<uint16_t>(coded.size() - before);
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    for (uint16_t length : lengths) out.writeLE16(length);
    out.write(coded.data(), coded.size());
}

}  // namespace vivark
