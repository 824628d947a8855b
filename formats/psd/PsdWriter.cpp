// Writes Photoshop documents of one merged image with 8-bit channels: images
// whose palette is the 256 grey levels in grey mode, other palette images in
// indexed mode (the palette as the colour mode data), 24-bit images in RGB
// mode. An alpha plane becomes one more channel, which Photoshop lists as
// an alpha channel and Vivark reads back as alpha (a palette image with one
// is written in RGB mode, as indexed documents keep no alpha). The image
// resource and layer sections are empty; without a layer, programs that
// take transparency only from layers (ImageMagick) show the picture opaque.
//
// SaveOptions\PSD\Encode codes the rows with PackBits (compression 1), the
// coded length of every row first; otherwise they are stored raw.
#include "formats/psd/PsdWriter.h"

#include <cstring>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/PackBitsEncoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"

namespace vivark {
namespace {

// The largest width and height a version 1 document holds.
constexpr uint32_t kMaxSide = 30000;

bool hasGreyRamp(const Image& image) {
    if (image.bitsPerPixel() != 8) return false;
    for (unsigned i = 0; i < 256; ++i)
        if (image.palette[i] != rgb(uint8_t(i), uint8_t(i), uint8_t(i))) return false;
    return true;
}

}  // namespace

void writePsd(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const bool alpha = image.secondPlaneKind == SecondPlane::Alpha;
    if (image.hasPalette() && (alpha || image.bitsPerPixel() != 8))
        return writePsd(alpha ? expandToTrueColour(image) : widenIndices(image, 8), out, options,
                        progress);
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide)
        throw PSDERROR::DataIntegrity;
    const bool grey = hasGreyRamp(image);
    const uint16_t mode = image.hasPalette() ? (grey ? 1 : 2) : 3;
    const uint32_t colours = mode == 3 ? 3 : 1;
    const uint32_t channels = colours + (alpha ? 1 : 0);
    const bool packBits = options.flag(saveKey::PsdEncode);

    uint8_t header[26] = {'8', 'B', 'P', 'S'};
    storeBE16(header + 4, 1);
    storeBE16(header + 12, static_cast<uint16_t>(channels));
    storeBE32(header + 14, height);
    storeBE32(header + 18, width);
    storeBE16(header + 22, 8);
    storeBE16(header + 24, mode);
    out.write(header, sizeof header);
    if (mode == 2) {
        uint8_t map[768];
        for (unsigned i = 0; i < 256; ++i) {
            const Colour c = i < image.paletteCount ? image.palette[i] : rgb(0, 0, 0);
            map[i] = redOf(c), map[256 + i] = greenOf(c), map[512 + i] = blueOf(c);
        }
        out.writeBE32(sizeof map);
        out.write(map, sizeof map);
    } else {
        out.writeBE32(0);
    }
    out.writeBE32(0);  // image resources
    out.writeBE32(0);  // layers and masks
    out.writeBE16(packBits ? 1 : 0);

    // Channel c of row y: the indices, a colour byte of the blue-green-red
    // pixels, or the alpha plane.
    std::vector<uint8_t> samples(width);
    auto channelRow = [&](uint32_t c, uint32_t y) -> const uint8_t* {
        if (c == colours) return image.secondPlane.row(y);
        if (colours == 1) return image.plane.row(y);
        const uint8_t* row = image.plane.row(y);
        for (uint32_t x = 0; x < width; ++x) samples[x] = row[size_t{x} * 3 + 2 - c];
        return samples.data();
    };

    const uint32_t total = height * channels;
    if (!packBits) {
        for (uint32_t c = 0; c < channels; ++c)
            for (uint32_t y = 0; y < height; ++y) {
                out.write(channelRow(c, y), width);
                if (progressCancelled(progress, c * height + y + 1, total))
                    throw OUTFILEERROR::Cancelled;
            }
        return;
    }
    // The rows are coded first, as their lengths lead the data.
    std::vector<uint8_t> coded;
    std::vector<uint16_t> lengths;
    MemorySink sink(coded);
    PackBitsEncoder encoder;
    encoder.attach(&sink);
    size_t before = 0;
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t y = 0; y < height; ++y) {
            encoder.encode(channelRow(c, y), width);
            const size_t now = static_cast<size_t>(sink.cursor - coded.data());
            lengths.push_back(static_cast<uint16_t>(now - before));
            before = now;
            if (progressCancelled(progress, c * height + y + 1, total))
                throw OUTFILEERROR::Cancelled;
        }
    encoder.finish();
    encoder.close();
    for (uint16_t length : lengths) out.writeBE16(length);
    out.write(coded.data(), coded.size());
}

}  // namespace vivark
