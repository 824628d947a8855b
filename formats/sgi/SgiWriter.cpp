// Writes SGI images with one byte per sample: images whose palette is grey
// as one channel, other images as three (red, green, blue), and an alpha
// plane as one more channel. Rows go from the bottom of the picture up,
// channel after channel.
//
// SaveOptions\SGI\Encode stores the rows run-length coded (storage 1), with
// the tables of row offsets and lengths after the header; otherwise they are
// stored verbatim.
#include "formats/sgi/SgiWriter.h"

#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"

namespace vivark {
namespace {

// Appends one row coded as runs (count, sample) of up to 127 equal samples
// and literal stretches (0x80 | count, samples), then the closing zero. A
// stretch ends before three equal samples, where a run codes shorter.
void encodeRow(const uint8_t* row, uint32_t width, std::vector<uint8_t>& out) {
    uint32_t at = 0;
    while (at < width) {
        uint32_t run = 1;
        while (run < 127 && at + run < width && row[at + run] == row[at]) ++run;
        if (run >= 3 || at + run == width) {
            out.push_back(static_cast<uint8_t>(run));
            out.push_back(row[at]);
            at += run;
            continue;
        }
        uint32_t literal = 0;
        while (literal < 127 && at + literal < width) {
            const uint32_t i = at + literal;
            if (i + 2 < width && row[i] == row[i + 1] && row[i] == row[i + 2]) break;
            ++literal;
        }
        out.push_back(static_cast<uint8_t>(0x80 | literal));
        out.insert(out.end(), row + at, row + at + literal);
        at += literal;
    }
    out.push_back(0);
}

}  // namespace

void writeSgi(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const bool grey = image.hasPalette() && image.isGrey();
    if (image.hasPalette() && !grey)
        return writeSgi(expandToTrueColour(image), out, options, progress);
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0 || width > 0xFFFF || height > 0xFFFF)
        throw SGIERROR::DataIntegrity;
    const bool alpha = image.secondPlaneKind == SecondPlane::Alpha;
    const uint32_t channels = (grey ? 1 : 3) + (alpha ? 1 : 0);
    const bool rle = options.flag(saveKey::SgiEncode);

    uint8_t header[512] = {};
    storeBE16(header, 474);
    header[2] = rle ? 1 : 0;
    header[3] = 1;
    storeBE16(header + 4, channels == 1 ? 2 : 3);
    storeBE16(header + 6, static_cast<uint16_t>(width));
    storeBE16(header + 8, static_cast<uint16_t>(height));
    storeBE16(header + 10, static_cast<uint16_t>(channels));
    storeBE32(header + 16, 255);  // PIXMAX
    out.write(header, sizeof header);

    // One channel's row: grey levels through the palette, a colour byte of
    // the blue-green-red pixels, or the alpha plane.
    std::vector<uint8_t> samples(width);
    std::vector<uint8_t> indices(width);
    auto channelRow = [&](uint32_t c, uint32_t y) {
        if (alpha && c == channels - 1) {
            std::memcpy(samples.data(), image.secondPlane.row(y), width);
        } else if (grey) {
            unpackIndices(image.plane.row(y), indices.data(), width, image.bitsPerPixel());
            for (uint32_t x = 0; x < width; ++x) samples[x] = redOf(image.palette[indices[x]]);
        } else {
            const uint8_t* row = image.plane.row(y);
            for (uint32_t x = 0; x < width; ++x) samples[x] = row[size_t{x} * 3 + 2 - c];
        }
        return samples.data();
    };

    const uint32_t total = height * channels;
    std::vector<uint8_t> coded;
    std::vector<uint32_t> lengths;
    for (uint32_t c = 0; c < channels; ++c) {
        for (uint32_t row = 0; row < height; ++row) {
            const uint8_t* samplesOfRow = channelRow(c, height - 1 - row);
            if (rle) {
                const size_t before = coded.size();
                encodeRow(samplesOfRow, width, coded);
                lengths.push_back(static_cast<uint32_t>(coded.size() - before));
            } else {
                out.write(samplesOfRow, width);
            }
            if (progressCancelled(progress, c * height + row + 1, total))
                throw OUTFILEERROR::Cancelled;
        }
    }
    if (!rle) return;
    // The offset table, the length table, then the coded rows in order.
    uint64_t offset = 512 + uint64_t{total} * 8;
    for (uint32_t length : lengths) {
        if (offset > 0xFFFFFFFFu) throw SGIERROR::DataIntegrity;
        out.writeBE32(static_cast<uint32_t>(offset));
        offset += length;
    }
    for (uint32_t length : lengths) out.writeBE32(length);
    out.write(coded.data(), coded.size());
}

}  // namespace vivark
