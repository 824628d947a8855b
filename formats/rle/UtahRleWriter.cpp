// Writes Utah RLE images from 8-bit and 24-bit images (the save path widens
// smaller palette images to 8 bits). A grey-ramp palette image is one
// channel with no colour map; any other palette image is one channel of
// indices with its palette as a three-channel map of 256 entries; 24 bits
// are three channels, with the alpha plane as the alpha channel where the
// image has one. The header has no background colour (a filler byte stands
// in its place) and sits at position 0, 0.
//
// Scan lines go out from the bottom of the picture; each channel of a line
// (alpha first) is set, then coded as runs of three or more equal values and
// byte data between them, at most 256 pixels an opcode; a skip of one line
// ends each line and the end opcode the file.
#include <algorithm>
#include <vector>

#include "core/Errors.h"
#include "formats/rle/RleFormat.h"
#include "formats/rle/RleWriter.h"

namespace vivark {
namespace {

void putOp(OutFile& out, uint8_t op, uint8_t operand) {
    out.writeByte(op);
    out.writeByte(operand);
}

void codeChannel(OutFile& out, const uint8_t* values, uint32_t count) {
    uint32_t i = 0, literalStart = 0;
    auto flushLiteral = [&](uint32_t end) {
        while (literalStart < end) {
            const uint32_t n = std::min<uint32_t>(256, end - literalStart);
            putOp(out, kUtahByteData, static_cast<uint8_t>(n - 1));
            out.write(values + literalStart, n);
            if (n & 1) out.writeByte(0);
            literalStart += n;
        }
    };
    while (i < count) {
        uint32_t run = 1;
        while (i + run < count && run < 256 && values[i + run] == values[i]) ++run;
        if (run >= 3) {
            flushLiteral(i);
            putOp(out, kUtahRunData, static_cast<uint8_t>(run - 1));
            out.writeLE16(values[i]);
            i += run;
            literalStart = i;
        } else {
            i += run;
        }
    }
    flushLiteral(count);
}

}  // namespace

void writeUtahRle(const Image& image, OutFile& out, const SaveOptions&,
                  ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (width > 0xFFFF || height > 0xFFFF) throw IMAGEERROR::TooLarge;
    const bool colour = image.bitsPerPixel() == 24;
    const bool alpha = colour && image.secondPlaneKind == SecondPlane::Alpha;
    bool greyRamp = !colour;
    for (uint32_t i = 0; greyRamp && i < image.paletteCount && i < 256; ++i)
        greyRamp = image.palette[i] == rgb(uint8_t(i), uint8_t(i), uint8_t(i));
    const bool mapped = !colour && !greyRamp;
    const uint8_t channels = colour ? 3 : 1;

    out.writeLE16(0xCC52);
    out.writeLE16(0);  // x position
    out.writeLE16(0);  // y position
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeByte(static_cast<uint8_t>(kUtahNoBackground | (alpha ? kUtahAlpha : 0)));
    out.writeByte(channels);
    out.writeByte(8);
    out.writeByte(mapped ? 3 : 0);
    out.writeByte(mapped ? 8 : 0);
    out.writeByte(0);  // filler for the absent background
    if (mapped) {
        for (int shift : {16, 8, 0})
            for (uint32_t i = 0; i < 256; ++i)
                out.writeLE16(static_cast<uint16_t>((image.palette[i] >> shift & 0xFF) * 257));
    }

    std::vector<uint8_t> values(width);
    for (uint32_t line = 0; line < height; ++line) {
        const uint32_t y = height - 1 - line;
        if (line != 0) putOp(out, kUtahSkipLines, 1);
        if (alpha) {
            putOp(out, kUtahSetColour, kUtahAlphaChannel);
            codeChannel(out, image.secondPlane.row(y), width);
        }
        const uint8_t* row = image.plane.row(y);
        for (uint32_t c = 0; c < channels; ++c) {
            putOp(out, kUtahSetColour, static_cast<uint8_t>(c));
            if (colour) {
                for (uint32_t x = 0; x < width; ++x) values[x] = row[3 * x + 2 - c];
                codeChannel(out, values.data(), width);
            } else {
                codeChannel(out, row, width);
            }
        }
        if (progressCancelled(progress, line + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    putOp(out, kUtahEof, 0);
}

}  // namespace vivark
