// Decoding of Photoshop documents into Images.
//
// A document is a header, then four sections each led by its length: the
// colour mode data (the palette of indexed images), the image resources, the
// layers and masks, and the merged image, which is all this reader reads:
// a file with layers is shown as Photoshop last composed it. The merged image
// holds its channels one after another, each a run of rows from the top;
// PackBits coded data first give every row's coded length (16 bits each).
//
// Results: bitmaps become 1-bit images (1 is black); grey and duotone images
// (the duotone inks are not applied) 8-bit images with a grey palette;
// indexed images 8-bit palette images; RGB, CMYK (whose samples are stored
// as 255 minus the ink) and Lab (L from 0 to 255, a and b offset by 128)
// images 24-bit images. The first channel after the colour channels is
// alpha and goes to the alpha plane; further channels (spot colours, saved
// selections) are skipped. 16-bit samples are scaled to 8 bits.
//
// PSDERROR values:
//  - DataIntegrity (0): a bad signature or version; fewer channels than the
//    mode has colours; an indexed image without its 768-byte palette.
//  - UnsupportedDepth (1): a bitmap not of 1 bit, another mode not of 8 or
//    16 bits, an indexed image of 16.
//  - UnsupportedColourMode (2): multichannel or an unknown mode.
//  - UnsupportedCompression (3): compression other than raw (0) and
//    PackBits (1), such as the zip methods.
#include "formats/psd/PsdReader.h"

#include <cstring>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/PackBitsDecoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/pixels/ColourSpaces.h"
#include "core/pixels/Samples.h"

namespace vivark {
namespace {

enum Mode : uint16_t {
    Bitmap = 0,
    Grey = 1,
    Indexed = 2,
    Rgb = 3,
    Cmyk = 4,
    Duotone = 8,
    Lab = 9,
};

struct PsdHeader {
    uint32_t channels = 0, rows = 0, columns = 0, depth = 0;
    uint16_t mode = 0;
};

PsdHeader readHeader(InFile& file) {
    uint8_t raw[26];
    file.read(raw, sizeof raw);
    if (loadBE32(raw) != 0x38425053u || loadBE16(raw + 4) != 1) throw PSDERROR::DataIntegrity;
    PsdHeader h;
    h.channels = loadBE16(raw + 12);
    h.rows = loadBE32(raw + 14);
    h.columns = loadBE32(raw + 18);
    h.depth = loadBE16(raw + 22);
    h.mode = loadBE16(raw + 24);
    if (h.channels == 0 || h.rows == 0 || h.columns == 0) throw PSDERROR::DataIntegrity;
    switch (h.mode) {
        case Bitmap:
            if (h.depth != 1) throw PSDERROR::UnsupportedDepth;
            break;
        case Indexed:
            if (h.depth != 8) throw PSDERROR::UnsupportedDepth;
            break;
        case Grey:
        case Rgb:
        case Cmyk:
        case Duotone:
        case Lab:
            if (h.depth != 8 && h.depth != 16) throw PSDERROR::UnsupportedDepth;
            break;
        default:
            throw PSDERROR::UnsupportedColourMode;
    }
    return h;
}

uint32_t colourChannels(uint16_t mode) {
    return mode == Rgb || mode == Lab ? 3 : mode == Cmyk ? 4 : 1;
}

class PsdReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const PsdHeader h = readHeader(file);
        const uint32_t colours = colourChannels(h.mode);
        if (h.channels < colours) throw PSDERROR::DataIntegrity;
        const bool alpha = h.mode != Bitmap && h.channels > colours;
        const uint32_t used = colours + (alpha ? 1 : 0);
        const uint32_t width = h.columns, height = h.rows;
        const uint32_t depth = h.mode == Bitmap ? 1 : colours >= 3 ? 24 : 8;
        // The image, and the decoded channels (8 bits a sample) it is made from.
        if (!options.limits.allows(width, height, depth) ||
            !options.limits.allows(width, height, 8 * used) || !options.limits.allows(width, 1, 16))
            throw IMAGEERROR::TooLarge;

        // The palette of indexed images: 256 reds, 256 greens, 256 blues.
        const uint32_t modeDataLength = file.readBE32();
        uint8_t map[768] = {};
        if (h.mode == Indexed) {
            if (modeDataLength < sizeof map) throw PSDERROR::DataIntegrity;
            file.read(map, sizeof map);
            file.skip(modeDataLength - sizeof map);
        } else {
            file.skip(modeDataLength);
        }
        file.skip(file.readBE32());  // image resources
        file.skip(file.readBE32());  // layers and masks
        const uint16_t compression = file.readBE16();
        if (compression > 1) throw PSDERROR::UnsupportedCompression;

        const size_t storedRow =
            h.depth == 1 ? (size_t{width} + 7) / 8 : size_t{width} * (h.depth / 8);
        const size_t planeRow = h.depth == 1 ? storedRow : width;
        std::vector<uint16_t> lengths;
        if (compression == 1) {
            // Only the used channels' lengths are kept; the rest are skipped.
            lengths.resize(size_t{used} * height);
            std::vector<uint8_t> table(lengths.size() * 2);
            file.read(table.data(), table.size());
            for (size_t i = 0; i < lengths.size(); ++i) lengths[i] = loadBE16(&table[i * 2]);
            file.skip((uint64_t{h.channels} - used) * height * 2);
        }

        std::vector<uint8_t> planes(planeRow * height * used);
        std::vector<uint8_t> stored(storedRow);
        PackBitsDecoder packBits(true);
        const uint32_t total = height * used;
        for (uint32_t c = 0; c < used; ++c) {
            for (uint32_t y = 0; y < height; ++y) {
                uint8_t* plane = &planes[(size_t{c} * height + y) * planeRow];
                uint8_t* target = h.depth == 16 ? stored.data() : plane;
                if (compression == 1) {
                    const uint16_t length = lengths[size_t{c} * height + y];
                    const int64_t start = file.tell();
                    InFileRangeSource source(file, length);
                    packBits.attach(&source);
                    packBits.decode(target, storedRow);
                    packBits.finish();
                    file.seek(start + length);
                } else {
                    file.read(target, storedRow);
                }
                if (h.depth == 16) scale16To8(stored.data(), plane, width, true);
                if (progressCancelled(options.progress, c * height + y + 1, total))
                    throw INFILEERROR::Cancelled;
            }
        }

        Image result(width, height, depth, true);
        if (alpha) {
            result.secondPlane = PixelPlane(width, height, 8, false);
            result.secondPlaneKind = SecondPlane::Alpha;
        }
        if (h.mode == Bitmap) {
            result.palette[0] = rgb(255, 255, 255);
            result.palette[1] = rgb(0, 0, 0);
            result.paletteCount = 2;
        } else if (h.mode == Indexed) {
            for (unsigned i = 0; i < 256; ++i)
                result.palette[i] = rgb(map[i], map[256 + i], map[512 + i]);
            result.paletteCount = 256;
        } else if (depth == 8) {
            result.setGreyPalette();
        }
        const size_t planeSize = planeRow * height;
        std::vector<uint8_t> pixel(size_t{width} * 4);
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t* p = &planes[y * planeRow];
            uint8_t* row = result.plane.mutableRow(y);
            if (depth <= 8) {
                std::memcpy(row, p, planeRow);
            } else if (h.mode == Rgb) {
                for (uint32_t x = 0; x < width; ++x) {
                    row[3 * x] = p[2 * planeSize + x];
                    row[3 * x + 1] = p[planeSize + x];
                    row[3 * x + 2] = p[x];
                }
            } else {
                // CMYK and Lab: the channels interleaved, then converted.
                for (uint32_t x = 0; x < width; ++x)
                    for (uint32_t c = 0; c < colours; ++c)
                        pixel[x * colours + c] = p[c * planeSize + x];
                if (h.mode == Cmyk) {
                    cmykToBgr(pixel.data(), row, width, true);
                } else {
                    for (uint32_t x = 0; x < width; ++x) {
                        pixel[3 * x + 1] ^= 0x80;  // a and b: offset by 128 to signed
                        pixel[3 * x + 2] ^= 0x80;
                    }
                    labToBgr(pixel.data(), row, width);
                }
            }
            if (alpha)
                std::memcpy(result.secondPlane.mutableRow(y), p + colours * planeSize, width);
        }
        result.pageNumber = image.pageNumber;
        result.pageCount = 1;
        result.formatTag = makeTag("PSD ");
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makePsdReader(InFile& file) {
    return std::make_unique<PsdReader>(file);
}

}  // namespace vivark
