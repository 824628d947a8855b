// The GIF writer: screen descriptor, table, comment and graphic control
// blocks, then the LZW-coded rows through a GifBlockSink.
#include "formats/gif/GifWriter.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "codecs/LzwEncoder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/gif/GifFormat.h"

namespace vivark {
namespace {

uint32_t bitLength(uint32_t value) {
    uint32_t bits = 0;
    while (value != 0) {
        ++bits;
        value >>= 1;
    }
    return bits;
}

}  // namespace

uint32_t gifInterlacedRow(uint32_t i, uint32_t height) {
    auto roundUp = [height](uint32_t k) { return (height + k - 1) / k * k; };
    if (8 * i < height) return 8 * i;
    if (4 * i < height) return 8 * i + 4 - roundUp(8);
    if (2 * i < height) return 4 * i + 2 - roundUp(4);
    return 2 * i + 1 - roundUp(2);
}

void writeGif(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const uint32_t depth = image.bitsPerPixel();
    if (depth > 8) throw SAVEERROR::NeedsColourReduction;
    const uint32_t width = image.width();
    const uint32_t height = image.height();
    if (width > 0xFFFF || height > 0xFFFF) throw SAVEERROR::TooLargeForFormat;

    std::vector<uint8_t> indices(static_cast<size_t>(width) * height);
    uint8_t highest = 0;
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = &indices[static_cast<size_t>(y) * width];
        unpackIndices(image.plane.row(y), row, width, depth);
        for (uint32_t x = 0; x < width; ++x) highest = std::max(highest, row[x]);
    }
    uint32_t bits = std::max<uint32_t>(1, bitLength(static_cast<uint8_t>(image.paletteCount - 1)));
    bits = std::max(bits, bitLength(highest));

    // The Transparent option is off unless the user sets it, and then its
    // index wins. Left off, the image's own transparent index (the one the
    // file it was loaded from declared) is written: a conversion keeps
    // transparency, as users of today's tools expect, without an option.
    const bool transparent = options.flag(saveKey::GifTransparent) || image.transparentIndex;
    const uint8_t transparentIndex =
        options.flag(saveKey::GifTransparent)
            ? static_cast<uint8_t>(options.integer(saveKey::GifTransparentIndex))
            : image.transparentIndex.value_or(0);
    const bool gif89 = options.flag(saveKey::GifGif89a) || transparent;
    const bool interlace = options.flag(saveKey::GifInterlace);
    const uint8_t background =
        options.flag(saveKey::GifBackground)
            ? static_cast<uint8_t>(options.integer(saveKey::GifBackgroundIndex))
            : 0;

    out.write(gif89 ? "GIF89a" : "GIF87a", 6);
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeByte(static_cast<uint8_t>(0xF0 | (bits - 1) | (gif89 ? 0x08 : 0)));
    out.writeByte(background);
    out.writeByte(0);
    for (uint32_t i = 0; i < (1u << bits); ++i) {
        const Colour c = image.palette[i];
        const uint8_t rgbBytes[3] = {redOf(c), greenOf(c), blueOf(c)};
        out.write(rgbBytes, 3);
    }

    if (!image.comment.empty()) {
        out.writeByte(gif::kExtensionIntroducer);
        out.writeByte(gif::kCommentLabel);
        for (size_t at = 0; at < image.comment.size(); at += 255) {
            const size_t n = std::min<size_t>(255, image.comment.size() - at);
            out.writeByte(static_cast<uint8_t>(n));
            out.write(image.comment.data() + at, n);
        }
        out.writeByte(0);
    }
    if (transparent) {
        const uint8_t block[8] = {gif::kExtensionIntroducer,
                                  gif::kGraphicControlLabel,
                                  4,
                                  0x01,
                                  0,
                                  0,
                                  transparentIndex,
                                  0};
        out.write(block, sizeof block);
    }

    out.writeByte(gif::kImageIntroducer);
    out.writeLE16(0);
    out.writeLE16(0);
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeByte(interlace ? 0x40 : 0x00);

    const uint32_t codeSize = std::max<uint32_t>(2, bits);
    out.writeByte(static_cast<uint8_t>(codeSize));
    gif::GifBlockSink sink(out);
    auto encoder = std::make_unique<LzwEncoder>(codeSize, false);
    encoder->attach(&sink);
    encoder->reset();
    for (uint32_t i = 0; i < height; ++i) {
        const uint32_t y = interlace ? gifInterlacedRow(i, height) : i;
        encoder->encode(&indices[static_cast<size_t>(y) * width], width);
        if (progressCancelled(progress, i + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    encoder->finish();
    encoder->close();
    out.writeByte(0);
    out.writeByte(gif::kTrailer);
}

}  // namespace vivark
