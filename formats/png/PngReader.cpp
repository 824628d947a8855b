// The PNG reader's chunk loop, header checks and row decoding (filters, Adam7
// passes, sample unpacking and placement, progress and display).
//
// When each PNGERROR is thrown:
//  - the signature differs: NotPng;
//  - IHDR: a second one MultipleIhdr; length below 13 BadIhdrLength (a longer
//    one is accepted); width or height 0 ZeroSize; unknown colour type
//    BadColourType; depth not allowed for the type BadBitDepth; then
//    compression, filter and interlace methods other than 0, 0 and 0 or 1:
//    UnknownCompression, UnknownFilterMethod, UnknownInterlace;
//  - PLTE: before IHDR MissingIhdr; a second one MultiplePlte; ignored for
//    grey types; length not a multiple of 3 BadPlteLength;
//  - gAMA: a second one MultipleGama;
//  - IDAT: after the image data (a second run of IDAT chunks) UnexpectedIdat;
//    before IHDR MissingIhdr; a palette image without PLTE MissingPlte; the compressed
//    stream running past the last IDAT BadIdatLength; a row filter above 4
//    UnknownFilterType;
//  - IEND: before IHDR MissingIhdr; before any image data MissingIdat;
//  - any chunk whose stored CRC differs: BadCrc.
#include "formats/png/PngReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "codecs/ZipDecoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/png/IdatSource.h"
#include "formats/png/PngChunkInput.h"
#include "formats/png/PngFilters.h"
#include "formats/png/PngFormat.h"

namespace vivark {
namespace {

using namespace png;

// Chunks seen so far.
enum Seen : uint32_t {
    kSeenIhdr = 0x1,
    kSeenPlte = 0x2,
    kSeenImageData = 0x4,
    kSeenIend = 0x8,
    kSeenGama = 0x10,
    kSeenPhys = 0x1000,
};

// Colour class of the colour type.
enum ColourClass : uint32_t {
    kClassGrey = 0x1,
    kClassPalette = 0x2,
    kClassColour = 0x4,
    kClassAlpha = 0x8
};

constexpr uint32_t kDefaultGamma = 100000;

// The depths a colour type allows, as a bit set (bit n: depth n), its channel
// count and class; depths 0 for a type that does not exist.
struct TypeRule {
    uint32_t depths;
    uint32_t channels;
    uint32_t colourClass;
};

constexpr TypeRule typeRule(uint8_t colourType) {
    switch (colourType) {
        case kGrey:
            return {1u << 1 | 1u << 2 | 1u << 4 | 1u << 8 | 1u << 16, 1, kClassGrey};
        case kRgb:
            return {1u << 8 | 1u << 16, 3, kClassColour};
        case kPaletted:
            return {1u << 1 | 1u << 2 | 1u << 4 | 1u << 8, 1, kClassPalette};
        case kGreyAlpha:
            return {1u << 8 | 1u << 16, 2, kClassGrey | kClassAlpha};
        case kRgba:
            return {1u << 8 | 1u << 16, 4, kClassColour | kClassAlpha};
        default:
            return {0, 0, 0};
    }
}

class PngReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override;
    // The file's gamma times 100000 (100000 without gAMA); never applied.
    uint32_t gamma() const { return gamma_; }

  private:
    void readHeader(ChunkInput& chunks);
    void readPalette(ChunkInput& chunks, Image& image);
    void decodeImage(ChunkInput& chunks, Image& image, const ReadOptions& options);
    void placeRow(const uint8_t* samples, uint8_t* pixels, uint32_t stride, uint32_t y,
                  const Pass& pass, uint32_t passWidth, bool blocks) const;

    void placeAlpha(const uint8_t* samples, uint8_t* alpha, uint32_t stride, uint32_t y,
                    const Pass& pass, uint32_t passWidth) const;
    void applyTransparency(Image& image) const;

    uint32_t seen_ = 0;
    // tRNS: the palette's alpha values, or the colour key's samples.
    std::vector<uint8_t> transparency_;
    uint32_t gamma_ = kDefaultGamma;
    uint32_t width_ = 0, height_ = 0;
    uint8_t depth_ = 0, colourType_ = 0;
    uint32_t channels_ = 0, colourClass_ = 0;
    bool interlaced_ = false;
    uint32_t physX_ = 0, physY_ = 0;
    uint8_t physUnit_ = 0;
    uint32_t bytesPerPixel_ = 0;
};

void PngReader::readInto(Image& image, const ReadOptions& options) {
    InFile& file = *file_;
    uint8_t signature[8];
    file.read(signature, sizeof signature);
    if (std::memcmp(signature, kSignature, sizeof signature) != 0) throw PNGERROR::NotPng;
    image.formatTag = kTag;
    image.palette = Palette{};
    image.resolution = Resolution{};

    ChunkInput chunks(file);
    uint32_t previous = 0;
    while (!(seen_ & kSeenIend)) {
        const uint32_t type = chunks.begin();
        switch (type) {
            case kIhdr:
                readHeader(chunks);
                break;
            case kPlte:
                readPalette(chunks, image);
                break;
            case kGama:
                if (seen_ & kSeenGama) throw PNGERROR::MultipleGama;
                seen_ |= kSeenGama;
                if (chunks.length() >= 4) {
                    uint8_t g[4];
                    chunks.read(g, 4);
                    gamma_ = loadBE32(g);
                }
                break;
            case kTrns:
                if (chunks.length() <= 256 * 3) {
                    transparency_.resize(chunks.length());
                    chunks.read(transparency_.data(), transparency_.size());
                }
                break;
            case kPhys:
                if (chunks.length() >= 9) {
                    uint8_t p[9];
                    chunks.read(p, 9);
                    physX_ = loadBE32(p);
                    physY_ = loadBE32(p + 4);
                    physUnit_ = p[8];
                    seen_ |= kSeenPhys;
                }
                break;
            case kIdat:
                // IDAT chunks that follow the end of the zlib stream (an empty
                // last IDAT, as some encoders write) are consumed with their
                // CRCs checked; so are all of them when only the headers are
                // read and the image data is not decoded.
                if (previous == kIdat && (seen_ & kSeenImageData)) break;
                if (seen_ & kSeenImageData) throw PNGERROR::UnexpectedIdat;
                if (!(seen_ & kSeenIhdr)) throw PNGERROR::MissingIhdr;
                if (colourType_ == kPaletted && !(seen_ & kSeenPlte)) throw PNGERROR::MissingPlte;
                if (!options.headerOnly) decodeImage(chunks, image, options);
                seen_ |= kSeenImageData;
                break;
            case kIend:
                if (!(seen_ & kSeenIhdr)) throw PNGERROR::MissingIhdr;
                if (!(seen_ & kSeenImageData)) throw PNGERROR::MissingIdat;
                seen_ |= kSeenIend;
                break;
            default:
                break;  // skipped, CRC still checked
        }
        chunks.end();
        previous = type;
    }
}

void PngReader::readHeader(ChunkInput& chunks) {
    if (seen_ & kSeenIhdr) throw PNGERROR::MultipleIhdr;
    if (chunks.length() < 13) throw PNGERROR::BadIhdrLength;
    uint8_t h[13];
    chunks.read(h, sizeof h);
    width_ = loadBE32(h);
    height_ = loadBE32(h + 4);
    depth_ = h[8];
    colourType_ = h[9];
    if (width_ == 0 || height_ == 0) throw PNGERROR::ZeroSize;
    const TypeRule rule = typeRule(colourType_);
    if (rule.depths == 0) throw PNGERROR::BadColourType;
    if (depth_ > 16 || !(rule.depths >> depth_ & 1)) throw PNGERROR::BadBitDepth;
    if (h[10] != 0) throw PNGERROR::UnknownCompression;
    if (h[11] != 0) throw PNGERROR::UnknownFilterMethod;
    if (h[12] > 1) throw PNGERROR::UnknownInterlace;
    interlaced_ = h[12] == 1;
    channels_ = rule.channels;
    colourClass_ = rule.colourClass;
    bytesPerPixel_ = (depth_ * channels_ + 7) / 8;
    seen_ |= kSeenIhdr;
}

void PngReader::readPalette(ChunkInput& chunks, Image& image) {
    if (!(seen_ & kSeenIhdr)) throw PNGERROR::MissingIhdr;
    if (seen_ & kSeenPlte) throw PNGERROR::MultiplePlte;
    seen_ |= kSeenPlte;
    if (colourClass_ & kClassGrey) return;
    if (chunks.length() % 3 != 0) throw PNGERROR::BadPlteLength;
    const uint32_t entries = std::min<uint32_t>(chunks.length() / 3, 256);
    uint8_t bytes[768];
    chunks.read(bytes, entries * 3);
    for (uint32_t i = 0; i < entries; ++i)
        image.palette[i] = rgb(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]);
    image.paletteCount = entries;
}

// Writes one decoded row of a pass into the picture (rows bottom-up):
// grey and palette pixels as their first byte (the high byte of a 16-bit
// sample; packed samples unpacked), colour pixels as the first bytes of red,
// green and blue stored blue first. With `blocks` each pixel fills its pass
// block, clipped at the picture's edges.
void PngReader::placeRow(const uint8_t* samples, uint8_t* pixels, uint32_t stride, uint32_t y,
                         const Pass& pass, uint32_t passWidth, bool blocks) const {
    const uint32_t blockHeight = blocks ? std::min(pass.blockHeight, height_ - y) : 1;
    const uint32_t blockWidth = blocks ? pass.blockWidth : 1;
    const uint32_t step = pass.columnStep;
    uint8_t* out = pixels + size_t{height_ - 1 - y} * stride;
    const bool colour = (colourClass_ & kClassColour) != 0;
    const size_t bpp = bytesPerPixel_;

    if (!blocks && pass.columnStep == 1) {
        // Whole rows: the common case, without per-pixel position arithmetic.
        if (colour) {
            const size_t s = depth_ / 8;  // bytes per sample
            for (uint32_t x = 0; x < width_; ++x, samples += bpp, out += 3) {
                out[0] = samples[2 * s];
                out[1] = samples[s];
                out[2] = samples[0];
            }
        } else if (depth_ == 8 && bpp == 1) {
            std::memcpy(out, samples, width_);
        } else if (depth_ >= 8) {
            for (uint32_t x = 0; x < width_; ++x) out[x] = samples[x * bpp];
        } else {
            const uint32_t mask = (1u << depth_) - 1;
            for (uint32_t x = 0; x < width_; ++x) {
                const uint32_t bit = x * depth_;
                out[x] = static_cast<uint8_t>(samples[bit >> 3] >> (8 - depth_ - (bit & 7)) & mask);
            }
        }
        return;
    }

    const size_t pixelBytes = colour ? 3 : 1;
    const size_t s = depth_ >= 8 ? depth_ / 8 : 0;
    const uint32_t mask = (1u << std::min<uint32_t>(depth_, 8)) - 1;
    for (uint32_t k = 0; k < passWidth; ++k) {
        uint8_t value[3];
        if (colour) {
            const uint8_t* p = samples + k * bpp;
            value[0] = p[2 * s];
            value[1] = p[s];
            value[2] = p[0];
        } else if (depth_ >= 8) {
            value[0] = samples[k * bpp];
        } else {
            const uint32_t bit = k * depth_;
            value[0] = static_cast<uint8_t>(samples[bit >> 3] >> (8 - depth_ - (bit & 7)) & mask);
        }
        const uint32_t x = pass.startColumn + k * step;
        const uint32_t w = std::min(blockWidth, width_ - x);
        for (uint32_t dy = 0; dy < blockHeight; ++dy) {
            uint8_t* target = out - size_t{dy} * stride + x * pixelBytes;
            for (uint32_t dx = 0; dx < w; ++dx, target += pixelBytes)
                std::memcpy(target, value, pixelBytes);
        }
    }
}

void PngReader::decodeImage(ChunkInput& chunks, Image& image, const ReadOptions& options) {
    const uint32_t bits = (colourClass_ & kClassColour) ? 24 : 8;
    const uint64_t bufferBytes = uint64_t{bytesPerPixel_} * width_ + bytesPerPixel_;
    if (!options.limits.allows(width_, height_, bits) || bufferBytes > options.limits.maxBytes)
        throw IMAGEERROR::TooLarge;
    // Every pixel is decoded; an interlaced image shown pass by pass starts clear.
    image.plane = PixelPlane(width_, height_, bits, interlaced_);
    if (colourClass_ & kClassGrey) image.setGreyPalette(std::min<unsigned>(depth_, 8));
    if (seen_ & kSeenPhys) {
        image.resolution =
            Resolution{static_cast<double>(physX_), static_cast<double>(physY_),
                       physUnit_ == 1 ? ResolutionUnit::PerMetre : ResolutionUnit::Ratio};
    }
    // Two row buffers, each with a zeroed margin of one pixel before the row.
    std::vector<uint8_t> buffers(2 * bufferBytes, 0);
    uint8_t* current = buffers.data() + bytesPerPixel_;
    uint8_t* previous = buffers.data() + bufferBytes + bytesPerPixel_;

    IdatSource source(chunks);
    auto decoder = std::make_unique<ZipDecoder>();
    decoder->attach(&source);
    decoder->reset();

    uint8_t* pixels = image.plane.mutableData();
    const uint32_t stride = image.plane.rowStride();
    // An alpha channel goes to the second plane, one byte a pixel.
    uint8_t* alpha = nullptr;
    uint32_t alphaStride = 0;
    if (colourClass_ & kClassAlpha) {
        image.secondPlane = PixelPlane(width_, height_, 8, interlaced_);
        image.secondPlaneKind = SecondPlane::Alpha;
        alpha = image.secondPlane.mutableData();
        alphaStride = image.secondPlane.rowStride();
    }
    RowDisplay* display = options.display;
    const uint32_t threshold = display ? std::max<uint32_t>(display->rowThreshold(), 1) : 0;
    uint32_t rowsSinceShown = 0;

    uint32_t passNumber = interlaced_ ? 1 : 0;
    for (;;) {
        const Pass& pass = kPasses[passNumber];
        const uint32_t passWidth = pass.width(width_);
        const size_t length = static_cast<size_t>(rowBytes(depth_, channels_, passWidth));
        const bool blocks = passNumber != 0 && display != nullptr && display->blockDisplay();
        for (uint32_t y = pass.startRow;;) {
            decoder->decode(current - 1, length + 1);
            const uint8_t filter = current[-1];
            current[-1] = 0;
            unfilterRow(filter, current, previous, length, bytesPerPixel_);
            placeRow(current, pixels, stride, y, pass, passWidth, blocks);
            if (alpha != nullptr) placeAlpha(current, alpha, alphaStride, y, pass, passWidth);
            std::swap(current, previous);
            y += pass.rowStep;
            if (y >= height_) break;
            uint32_t done = y, total = height_;
            if (passNumber != 0) passProgress(y, passNumber, height_, done, total);
            if (progressCancelled(options.progress, done, total)) throw INFILEERROR::Cancelled;
            if (display != nullptr && ++rowsSinceShown >= threshold) {
                rowsSinceShown = 0;
                display->showRows(image, y);
                pixels = image.plane.mutableData();  // the display may have kept a copy
            }
        }
        if (display != nullptr) {
            display->passFinished(image, passNumber);
            pixels = image.plane.mutableData();
        }
        if (passNumber == 0) break;
        do {
            ++passNumber;
        } while (passNumber <= 7 &&
                 (rowBytes(depth_, channels_, kPasses[passNumber].width(width_)) == 0 ||
                  kPasses[passNumber].startColumn >= width_ ||
                  kPasses[passNumber].startRow >= height_));
        if (passNumber > 7) break;
        std::memset(previous - bytesPerPixel_, 0, bufferBytes);
    }
    decoder->finish();
    applyTransparency(image);
}

// The alpha sample of each pixel (the high byte of a 16-bit one), in the
// picture's layout (rows bottom-up).
void PngReader::placeAlpha(const uint8_t* samples, uint8_t* alpha, uint32_t stride, uint32_t y,
                           const Pass& pass, uint32_t passWidth) const {
    const size_t s = depth_ / 8;
    const size_t at = (channels_ - 1) * s;
    uint8_t* out = alpha + size_t{height_ - 1 - y} * stride;
    for (uint32_t k = 0; k < passWidth; ++k)
        out[pass.startColumn + k * pass.columnStep] = samples[k * bytesPerPixel_ + at];
}

// tRNS: a palette whose one entry is fully transparent records that index;
// other palette alphas, and a grey or colour key, become an alpha plane. A
// 16-bit key is compared in its high byte, as the pixels are kept.
void PngReader::applyTransparency(Image& image) const {
    if (transparency_.empty() || (colourClass_ & kClassAlpha)) return;
    const uint32_t width = width_, height = height_;
    auto alphaPlane = [&](auto alphaOf) {
        image.secondPlane = PixelPlane(width, height, 8, false);
        image.secondPlaneKind = SecondPlane::Alpha;
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t* row = image.plane.row(y);
            uint8_t* out = image.secondPlane.mutableRow(y);
            for (uint32_t x = 0; x < width; ++x) out[x] = alphaOf(row, x);
        }
    };
    if (colourType_ == kPaletted) {
        std::array<uint8_t, 256> alphas;
        alphas.fill(255);
        std::copy(transparency_.begin(),
                  transparency_.begin() + std::min<size_t>(transparency_.size(), 256),
                  alphas.begin());
        int clear = -1, partial = 0;
        for (int i = 0; i < 256; ++i) {
            if (alphas[i] == 0) clear = clear < 0 ? i : 256;
            partial += alphas[i] != 0 && alphas[i] != 255;
        }
        if (partial == 0 && clear >= 0 && clear < 256) {
            image.transparentIndex = static_cast<uint8_t>(clear);
            return;
        }
        alphaPlane([&](const uint8_t* row, uint32_t x) { return alphas[row[x]]; });
    } else if ((colourClass_ & kClassColour) && transparency_.size() >= 6) {
        const uint8_t r = transparency_[depth_ == 16 ? 0 : 1];
        const uint8_t g = transparency_[depth_ == 16 ? 2 : 3];
        const uint8_t b = transparency_[depth_ == 16 ? 4 : 5];
        alphaPlane([&](const uint8_t* row, uint32_t x) -> uint8_t {
            const uint8_t* p = row + 3 * x;
            return p[0] == b && p[1] == g && p[2] == r ? 0 : 255;
        });
    } else if (transparency_.size() >= 2) {
        const uint8_t key = depth_ == 16 ? transparency_[0] : transparency_[1];
        alphaPlane(
            [&](const uint8_t* row, uint32_t x) -> uint8_t { return row[x] == key ? 0 : 255; });
    }
}

}  // namespace

std::unique_ptr<ImageReader> makePngReader(InFile& file) {
    return std::make_unique<PngReader>(file);
}

}  // namespace vivark
