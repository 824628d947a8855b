// Writes GEM Paint (IMG) images. A black-and-white image is monochrome (a
// dark palette colour is ink, a 1 bit) under the plain eight-word header;
// other images are 1, 4 or 8 planes under the XIMG extension, which carries
// their palette (RGB in thousandths), plane 0 the lowest bit of the index. The
// pattern length is 1 and a pixel 85 microns (300 dots an inch).
//
// Lines equal to the one before are folded into its vertical replication
// count (at most 255). Each plane of a line is coded on its own, so readers
// that decode plane by plane agree: runs of 0 or FF bytes go out as solid
// runs (at most 127), other runs of three or more equal bytes as one-byte
// pattern runs, and the rest as bit strings (at most 255 bytes).
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "formats/ByteRuns.h"
#include "formats/gem/GemFormat.h"
#include "formats/gem/GemWriter.h"

namespace vivark {
namespace {

bool isDark(Colour c) {
    return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16 & 0xFF) < 384;
}

// Runs of 0 or FF bytes are solid runs of any length (at most 127), others
// one-byte pattern runs of three or more.
void codeLine(const uint8_t* line, size_t length, std::vector<uint8_t>& out) {
    auto solid = [](uint8_t b) { return b == 0x00 || b == 0xFF; };
    splitByteRuns(
        line, length, [&](uint8_t b) -> size_t { return solid(b) ? 1 : 3; },
        [&](uint8_t b) -> size_t { return solid(b) ? 127 : 255; },
        [&](uint8_t b, size_t count) {
            if (solid(b))
                out.push_back(static_cast<uint8_t>((b & 0x80) | count));
            else
                out.insert(out.end(), {0x00, static_cast<uint8_t>(count), b});
        },
        [&](const uint8_t* bytes, size_t count) {
            out.push_back(0x80);
            out.push_back(static_cast<uint8_t>(count));
            out.insert(out.end(), bytes, bytes + count);
        });
}

}  // namespace

void writeGem(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (width > 0xFFFF || height > 0xFFFF) throw IMAGEERROR::TooLarge;
    const uint32_t planes = image.bitsPerPixel();
    // Two colours other than black and white keep their palette too.
    const bool ximg = planes != 1 || !image.isBlackAndWhite();
    const uint32_t headerWords = ximg ? ximgHeaderWords(planes) : kGemHeaderWords;
    for (uint32_t word : {1u, headerWords, planes, 1u, 85u, 85u, width, height})
        out.writeBE16(static_cast<uint16_t>(word));
    if (ximg) {
        out.write("XIMG", 4);
        out.writeBE16(0);  // RGB
        for (uint32_t i = 0; i < (1u << planes); ++i) {
            const Colour c = i < image.paletteCount ? image.palette[i] : 0;
            for (int shift : {16, 8, 0})
                out.writeBE16(static_cast<uint16_t>(((c >> shift & 0xFF) * 1000 + 127) / 255));
        }
    }

    const bool ink0 = isDark(image.palette[0]), ink1 = isDark(image.palette[1]);
    const size_t planeBytes = (size_t{width} + 7) / 8;
    const uint8_t lastMask = static_cast<uint8_t>(0xFF00u >> ((width - 1) % 8 + 1));
    std::vector<uint8_t> line(planeBytes * planes), next(line.size()), indices(width), coded;
    auto lineOf = [&](uint32_t y, uint8_t* to) {
        const uint8_t* row = image.plane.row(y);
        if (planes == 1) {
            for (size_t i = 0; i < planeBytes; ++i)
                to[i] = ximg           ? row[i]
                        : ink0 == ink1 ? (ink0 ? 0xFF : 0x00)
                                       : static_cast<uint8_t>(ink0 ? ~row[i] : row[i]);
            to[planeBytes - 1] &= lastMask;
            return;
        }
        if (planes == 4) {
            for (uint32_t x = 0; x < width; ++x)
                indices[x] = static_cast<uint8_t>(row[x / 2] >> (x % 2 ? 0 : 4) & 0x0F);
        } else {
            std::memcpy(indices.data(), row, width);
        }
        std::memset(to, 0, line.size());
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t p = 0; p < planes; ++p)
                to[p * planeBytes + x / 8] |=
                    static_cast<uint8_t>((indices[x] >> p & 1) << (7 - x % 8));
    };
    uint32_t y = 0;
    while (y < height) {
        lineOf(y, line.data());
        uint32_t repeat = 1;
        while (y + repeat < height && repeat < 255) {
            lineOf(y + repeat, next.data());
            if (next != line) break;
            ++repeat;
        }
        coded.clear();
        if (repeat > 1) coded.insert(coded.end(), {0x00, 0x00, 0xFF, static_cast<uint8_t>(repeat)});
        for (uint32_t p = 0; p < planes; ++p) codeLine(&line[p * planeBytes], planeBytes, coded);
        out.write(coded.data(), coded.size());
        y += repeat;
        if (progressCancelled(progress, y, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
