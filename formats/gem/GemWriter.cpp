// Writes monochrome GEM Paint (IMG) images from 1-bit images (the save path
// makes black and white of anything else; a dark palette colour is ink, a 1
// bit). The header is the plain eight words, pattern length 1 and a pixel of
// 85 microns (300 dots an inch). Lines equal to the one before are folded
// into its vertical replication count (at most 255); within a line, runs of
// 0 or FF bytes go out as solid runs (at most 127), other runs of three or
// more equal bytes as one-byte pattern runs, and the rest as bit strings (at
// most 255 bytes).
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "formats/gem/GemFormat.h"
#include "formats/gem/GemWriter.h"

namespace vivark {
namespace {

bool isDark(Colour c) {
    return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16 & 0xFF) < 384;
}

void codeLine(const uint8_t* line, size_t length, std::vector<uint8_t>& out) {
    size_t i = 0, literalStart = 0;
    auto flushLiteral = [&](size_t end) {
        while (literalStart < end) {
            const size_t n = std::min<size_t>(255, end - literalStart);
            out.push_back(0x80);
            out.push_back(static_cast<uint8_t>(n));
            out.insert(out.end(), line + literalStart, line + literalStart + n);
            literalStart += n;
        }
    };
    while (i < length) {
        const uint8_t b = line[i];
        const bool solid = b == 0x00 || b == 0xFF;
        const size_t limit = solid ? 127 : 255;
        size_t run = 1;
        while (i + run < length && run < limit && line[i + run] == b) ++run;
        if (solid || run >= 3) {
            flushLiteral(i);
            if (solid)
                out.push_back(static_cast<uint8_t>((b & 0x80) | run));
            else
                out.insert(out.end(), {0x00, static_cast<uint8_t>(run), b});
            i += run;
            literalStart = i;
        } else {
            i += run;
        }
    }
    flushLiteral(length);
}

}  // namespace

void writeGem(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (width > 0xFFFF || height > 0xFFFF) throw IMAGEERROR::TooLarge;
    for (uint16_t word : {uint16_t{1}, uint16_t{kGemHeaderWords}, uint16_t{1}, uint16_t{1},
                          uint16_t{85}, uint16_t{85}, uint16_t(width), uint16_t(height)})
        out.writeBE16(word);

    const bool ink0 = isDark(image.palette[0]), ink1 = isDark(image.palette[1]);
    const size_t rowBytes = (size_t{width} + 7) / 8;
    const uint8_t lastMask = static_cast<uint8_t>(0xFF00u >> ((width - 1) % 8 + 1));
    std::vector<uint8_t> line(rowBytes), next(rowBytes), coded;
    auto lineOf = [&](uint32_t y, uint8_t* to) {
        const uint8_t* row = image.plane.row(y);
        for (size_t i = 0; i < rowBytes; ++i)
            to[i] =
                ink0 == ink1 ? (ink0 ? 0xFF : 0x00) : static_cast<uint8_t>(ink0 ? ~row[i] : row[i]);
        to[rowBytes - 1] &= lastMask;
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
        codeLine(line.data(), rowBytes, coded);
        out.write(coded.data(), coded.size());
        y += repeat;
        if (progressCancelled(progress, y, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace vivark
