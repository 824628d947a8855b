// Decoding of Targa images into Images.
//
// Results: colour-mapped images become 8-bit palette images, grey-scale
// images 8-bit images with a grey palette, true-colour images 24-bit images
// (15- and 16-bit pixels are x-5-5-5 little-endian words whose five-bit
// channels widen by bit replication; the alpha byte of 32-bit pixels that
// declare 8 attribute bits goes to the alpha plane, the attribute bit of
// 16-bit pixels is dropped). Colour map entries of 8 bits
// are grey levels, of 15 and 16 bits x-5-5-5 words, of 24 and 32 bits blue,
// green, red (and alpha, dropped).
//
// Run-length packets (a header byte: bit 7 set, a run of (h & 0x7F) + 1
// copies of one pixel; clear, that many literal pixels) run on across row
// ends; the state lives in PixelStream.
//
// TGAERROR values:
//  - UnsupportedMapFormat (0): a colour-mapped image without a colour map or
//    with an entry size other than 8, 15, 16, 24 or 32, or whose pixels are
//    not 8 bits deep.
//  - DataIntegrity (1): zero width or height; a colour map whose first index
//    plus length passes 256.
//  - InvalidFile (2): a pixel depth other than 8, 15, 16, 24 or 32; the
//    reserved interleaving value 3; colour map type above 1; an image type
//    other than 1, 2, 3, 9, 10, 11; grey-scale pixels other than 8 bits;
//    true-colour pixels of 8 bits.
//  - ColourMapTooLarge (3): more than 256 colour map entries.
// Interleaved images (descriptor bits 6-7 equal to 1 or 2) are read as if
// their rows were stored in order.
#include "formats/tga/TgaReader.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/tga/TgaFormat.h"

namespace vivark {
namespace {

struct TgaHeader {
    uint8_t idLength = 0;
    uint8_t mapType = 0;
    uint8_t imageType = 0;
    bool rle = false;
    uint16_t mapFirst = 0;
    uint16_t mapLength = 0;
    uint8_t mapEntryBits = 0;
    uint16_t width = 0;
    uint16_t height = 0;
    uint8_t depth = 0;
    bool bottomUp = true;
    bool rightToLeft = false;
    uint8_t attributeBits = 0;  // descriptor bits 0-3: alpha bits per pixel
};

constexpr bool isTargaDepth(unsigned bits) {
    return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

TgaHeader readHeader(InFile& file) {
    uint8_t raw[18];
    file.read(raw, sizeof raw);
    TgaHeader h;
    h.idLength = raw[0];
    h.mapType = raw[1];
    h.imageType = raw[2];
    h.mapFirst = loadLE16(raw + 3);
    h.mapLength = loadLE16(raw + 5);
    h.mapEntryBits = raw[7];
    h.width = loadLE16(raw + 12);
    h.height = loadLE16(raw + 14);
    h.depth = raw[16];
    const uint8_t descriptor = raw[17];
    if (!isTargaDepth(h.depth)) throw TGAERROR::InvalidFile;
    h.bottomUp = (descriptor & 0x20) == 0;
    h.rightToLeft = (descriptor & 0x10) != 0;
    h.attributeBits = descriptor & 0x0F;
    if ((descriptor >> 6) == 3) throw TGAERROR::InvalidFile;
    if (h.width == 0 || h.height == 0) throw TGAERROR::DataIntegrity;
    if (h.mapType > 1) throw TGAERROR::InvalidFile;
    if (h.imageType > 8) {
        h.rle = true;
        h.imageType = static_cast<uint8_t>(h.imageType - 8);
    }
    if (h.imageType < 1 || h.imageType > 3) throw TGAERROR::InvalidFile;
    if (h.mapType == 1 && h.mapLength > 256) throw TGAERROR::ColourMapTooLarge;
    if (h.imageType == 1) {
        if (h.mapType != 1 || !isTargaDepth(h.mapEntryBits) || h.depth != 8)
            throw TGAERROR::UnsupportedMapFormat;
        if (uint32_t{h.mapFirst} + h.mapLength > 256) throw TGAERROR::DataIntegrity;
    }
    if (h.imageType == 3 && h.depth != 8) throw TGAERROR::InvalidFile;
    if (h.imageType == 2 && h.depth == 8) throw TGAERROR::InvalidFile;
    return h;
}

Colour fromWord555(uint16_t w) {
    const auto widen = [](unsigned v) { return static_cast<uint8_t>(v << 3 | v >> 2); };
    return rgb(widen(w >> 10 & 31), widen(w >> 5 & 31), widen(w & 31));
}

// A colour from `bytes` stored pixels or map entries of `bits` bits.
Colour colourOf(const uint8_t* p, unsigned bits) {
    if (bits == 8) return rgb(p[0], p[0], p[0]);
    if (bits == 15 || bits == 16) return fromWord555(loadLE16(p));
    return rgb(p[2], p[1], p[0]);
}

// The stored pixels, one at a time, through the run-length packets when the
// image has them.
class PixelStream {
  public:
    PixelStream(InFile& file, unsigned bytesPerPixel, bool rle)
        : file_(file), size_(bytesPerPixel), rle_(rle) {}

    // Fills `count` pixels of `size_` bytes into `out`.
    void read(uint8_t* out, uint32_t count) {
        if (!rle_) {
            file_.read(out, size_t{count} * size_);
            return;
        }
        while (count != 0) {
            if (left_ == 0) {
                const uint8_t h = file_.readByte();
                left_ = (h & 0x7Fu) + 1;
                run_ = (h & 0x80) != 0;
                if (run_) file_.read(pixel_, size_);
            }
            const uint32_t n = std::min(left_, count);
            if (run_) {
                for (uint32_t i = 0; i < n; ++i) std::memcpy(out + i * size_, pixel_, size_);
            } else {
                file_.read(out, size_t{n} * size_);
            }
            out += size_t{n} * size_;
            left_ -= n;
            count -= n;
        }
    }

  private:
    InFile& file_;
    unsigned size_;
    bool rle_;
    bool run_ = false;
    uint32_t left_ = 0;
    uint8_t pixel_[4] = {};
};

class TgaReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const TgaHeader h = readHeader(file);
        const uint32_t depth = h.imageType == 2 ? 24 : 8;
        if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;
        file.skip(h.idLength);
        Image result(h.width, h.height, depth, true);
        if (h.mapType == 1) {
            const unsigned entryBytes = (h.mapEntryBits + 7u) / 8u;
            std::vector<uint8_t> map(size_t{h.mapLength} * entryBytes);
            file.read(map.data(), map.size());
            if (h.imageType == 1) {
                for (unsigned i = 0; i < h.mapLength; ++i)
                    result.palette[h.mapFirst + i] = colourOf(&map[i * entryBytes], h.mapEntryBits);
                result.paletteCount = 256;
            }
        }
        if (h.imageType == 3) result.setGreyPalette();

        const unsigned pixelBytes = (h.depth + 7u) / 8u;
        // 32-bit pixels that declare 8 attribute bits carry alpha.
        const bool alpha = depth == 24 && h.depth == 32 && h.attributeBits == 8;
        if (alpha) {
            result.secondPlane = PixelPlane(h.width, h.height, 8, false);
            result.secondPlaneKind = SecondPlane::Alpha;
        }
        PixelStream stream(file, pixelBytes, h.rle);
        std::vector<uint8_t> stored(size_t{h.width} * pixelBytes);
        for (uint32_t i = 0; i < h.height; ++i) {
            stream.read(stored.data(), h.width);
            const uint32_t y = h.bottomUp ? h.height - 1 - i : i;
            uint8_t* row = result.plane.mutableRow(y);
            uint8_t* alphaRow = alpha ? result.secondPlane.mutableRow(y) : nullptr;
            for (uint32_t x = 0; x < h.width; ++x) {
                const uint32_t to = h.rightToLeft ? h.width - 1 - x : x;
                const uint8_t* p = &stored[size_t{x} * pixelBytes];
                if (depth == 8) {
                    row[to] = p[0];
                } else {
                    const Colour c = colourOf(p, h.depth);
                    row[3 * to] = blueOf(c);
                    row[3 * to + 1] = greenOf(c);
                    row[3 * to + 2] = redOf(c);
                    if (alphaRow) alphaRow[to] = p[3];
                }
            }
            if (progressCancelled(options.progress, i + 1, h.height)) throw INFILEERROR::Cancelled;
        }
        result.pageNumber = image.pageNumber;
        result.pageCount = 1;
        result.formatTag = makeTag("TGA ");
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeTgaReader(InFile& file) {
    return std::make_unique<TgaReader>(file);
}

}  // namespace vivark
