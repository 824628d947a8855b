// Writes MacPaint documents from 1-bit images (the save path makes black and
// white of anything else). A document is always one 576 × 720 page: a
// smaller picture is centred on a white page and a larger one keeps its
// centre, as netpbm's pbmtomacp places it, since that is where users of
// today's converters find their picture; the command line warns of the crop
// (the writer entry's canvas). The header is version 0 with empty patterns
// and no MacBinary header goes before it: classic Mac tools add that wrapper
// themselves, and every other reader wants the bare document. Each row is
// coded on its own in PackBits.
#include <algorithm>
#include <cstring>

#include "codecs/ByteSinks.h"
#include "codecs/PackBitsEncoder.h"
#include "core/Errors.h"
#include "formats/macpaint/MacPaintFormat.h"
#include "formats/macpaint/MacPaintWriter.h"

namespace vivark {
namespace {

// Whether a palette colour is written as a black (1) bit.
bool isDark(Colour c) {
    return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16 & 0xFF) < 384;
}

}  // namespace

void writeMacPaint(const Image& image, OutFile& out, const SaveOptions&,
                   ProgressCallback* progress) {
    const uint8_t header[kMacPaintHeaderSize] = {};
    out.write(header, sizeof header);

    const uint32_t width = image.width(), height = image.height();
    // Where the picture's column 0 and row 0 land on the page (negative: cut off).
    const int64_t left = (int64_t{kMacPaintWidth} - width) / 2;
    const int64_t top = (int64_t{kMacPaintHeight} - height) / 2;
    // The page bit of each index: 1 where the palette colour is dark.
    const uint8_t bitOf[2] = {uint8_t(isDark(image.palette[0])), uint8_t(isDark(image.palette[1]))};
    const int64_t first = std::max<int64_t>(0, left);
    const int64_t last = std::min<int64_t>(kMacPaintWidth, left + width);

    OutFileSink sink(out);
    PackBitsEncoder packBits;
    packBits.attach(&sink);
    uint8_t line[kMacPaintRowBytes];
    for (uint32_t y = 0; y < kMacPaintHeight; ++y) {
        std::memset(line, 0, sizeof line);
        const int64_t sourceY = int64_t{y} - top;
        if (sourceY >= 0 && sourceY < height) {
            const uint8_t* row = image.plane.row(static_cast<uint32_t>(sourceY));
            for (int64_t x = first; x < last; ++x) {
                const uint64_t sx = static_cast<uint64_t>(x - left);
                const uint8_t bit = bitOf[(row[sx / 8] >> (7 - sx % 8)) & 1];
                line[x / 8] |= static_cast<uint8_t>(bit << (7 - x % 8));
            }
        }
        packBits.encode(line, sizeof line);
        if (progressCancelled(progress, y + 1, kMacPaintHeight)) throw OUTFILEERROR::Cancelled;
    }
    packBits.finish();
    sink.finish();
}

}  // namespace vivark
