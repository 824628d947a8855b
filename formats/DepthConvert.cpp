// Lossless depth changes for the save path, row by row over the shared row
// helpers.
#include "formats/DepthConvert.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "core/RowOps.h"

namespace vivark {
namespace {

// A copy of everything the source says besides its pixels (the copy is
// memberwise, so nothing is left behind), with a new plane of `bits`.
Image withSameDescription(const Image& source, uint32_t bits) {
    Image out = source;
    out.plane = PixelPlane(source.width(), source.height(), bits, true);
    return out;
}

}  // namespace

Image widenIndices(const Image& image, uint32_t bits) {
    Image out = withSameDescription(image, bits);
    out.palette = image.palette;
    out.paletteCount = image.paletteCount;
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < image.height(); ++y) {
        unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
        packIndices(indices.data(), out.plane.mutableRow(y), image.width(), bits);
    }
    return out;
}

Image expandToTrueColour(const Image& image) {
    Image out = withSameDescription(image, 24);
    // A transparent index becomes an alpha plane: there is no index after.
    const bool toAlpha = image.transparentIndex && image.secondPlaneKind == SecondPlane::None;
    if (toAlpha) {
        out.secondPlane = PixelPlane(image.width(), image.height(), 8, false);
        out.secondPlaneKind = SecondPlane::Alpha;
    }
    out.transparentIndex.reset();
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < image.height(); ++y) {
        unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
        expandToBgr(indices.data(), image.palette, out.plane.mutableRow(y), image.width());
        if (toAlpha) {
            uint8_t* alpha = out.secondPlane.mutableRow(y);
            for (uint32_t x = 0; x < image.width(); ++x)
                alpha[x] = indices[x] == *image.transparentIndex ? 0 : 255;
        }
    }
    return out;
}

namespace {

// The distinct colours met so far and their indices: open addressing over a
// fixed table with room for twice the 256 colours a palette holds.
class ColourIndex {
  public:
    // The colour's index, a new one when it is new; -1 when `limit` colours
    // are taken already.
    int indexOf(Colour c, uint32_t limit) {
        uint32_t slot = (c * 0x9E3779B1u) >> (32 - kBits);
        for (;; slot = (slot + 1) & (kSlots - 1)) {
            if (index_[slot] < 0) break;
            if (colours_[slot] == c) return index_[slot];
        }
        if (count_ >= limit) return -1;
        colours_[slot] = c;
        index_[slot] = static_cast<int16_t>(count_);
        palette_[count_] = c;
        return static_cast<int>(count_++);
    }
    // An entry of its own for `c`, which no later indexOf answers.
    void reserve(Colour c) { palette_[count_++] = c; }
    uint32_t count() const { return count_; }
    const Palette& palette() const { return palette_; }

  private:
    static constexpr unsigned kBits = 9;
    static constexpr uint32_t kSlots = 1u << kBits;
    std::array<Colour, kSlots> colours_{};
    std::array<int16_t, kSlots> index_ = [] {
        std::array<int16_t, kSlots> empty;
        empty.fill(-1);
        return empty;
    }();
    Palette palette_;
    uint32_t count_ = 0;
};

// Whether the image has an alpha plane of clear and opaque pixels only,
// with at least one clear one.
bool hasClearAndOpaqueOnly(const Image& image) {
    if (image.secondPlaneKind != SecondPlane::Alpha || image.secondPlane.width() != image.width() ||
        image.secondPlane.height() != image.height() || image.secondPlane.bitsPerPixel() != 8)
        return false;
    bool clear = false;
    for (uint32_t y = 0; y < image.height(); ++y) {
        const uint8_t* alpha = image.secondPlane.row(y);
        for (uint32_t x = 0; x < image.width(); ++x) {
            if (alpha[x] != 0 && alpha[x] != 255) return false;
            clear |= alpha[x] == 0;
        }
    }
    return clear;
}

}  // namespace

std::optional<Image> exactPalette(const Image& image, uint32_t maxColours) {
    maxColours = std::min(maxColours, 256u);
    if (image.plane.empty() || maxColours == 0) return std::nullopt;
    const uint32_t width = image.width();
    const bool indexed = image.hasPalette();
    if (!indexed && image.bitsPerPixel() != 24) return std::nullopt;
    auto index = std::make_unique<ColourIndex>();
    // Clear pixels share entry 0 (black, whatever colour they hold).
    const bool clearEntry = !indexed && hasClearAndOpaqueOnly(image);
    if (clearEntry) {
        if (maxColours < 2) return std::nullopt;
        index->reserve(rgb(0, 0, 0));
    }
    // A palette image: each entry in use maps to its colour's new index.
    std::array<int16_t, 256> entryMap;
    entryMap.fill(-1);
    Image out = withSameDescription(image, 8);
    std::vector<uint8_t> indices(width);
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* row = out.plane.mutableRow(y);
        if (indexed) {
            unpackIndices(image.plane.row(y), indices.data(), width, image.bitsPerPixel());
            for (uint32_t x = 0; x < width; ++x) {
                int16_t& mapped = entryMap[indices[x]];
                if (mapped < 0) {
                    const int i = index->indexOf(image.palette[indices[x]] & 0xFFFFFF, maxColours);
                    if (i < 0) return std::nullopt;
                    mapped = static_cast<int16_t>(i);
                }
                row[x] = static_cast<uint8_t>(mapped);
            }
        } else {
            const uint8_t* bgr = image.plane.row(y);
            const uint8_t* alpha = clearEntry ? image.secondPlane.row(y) : nullptr;
            for (uint32_t x = 0; x < width; ++x, bgr += 3) {
                if (alpha && alpha[x] == 0) {
                    row[x] = 0;
                    continue;
                }
                const int i = index->indexOf(rgb(bgr[2], bgr[1], bgr[0]), maxColours);
                if (i < 0) return std::nullopt;
                row[x] = static_cast<uint8_t>(i);
            }
        }
    }
    out.palette = index->palette();
    out.paletteCount = index->count();
    out.colourCount = index->count();
    out.transparentIndex.reset();
    if (clearEntry) {
        out.transparentIndex = 0;
        out.secondPlane = PixelPlane();
        out.secondPlaneKind = SecondPlane::None;
    }
    // The transparent entry survives only when no other entry in use shares
    // its colour (two entries of one colour became one index).
    if (indexed && image.transparentIndex && entryMap[*image.transparentIndex] >= 0) {
        const int16_t mapped = entryMap[*image.transparentIndex];
        int sharing = 0;
        for (int16_t m : entryMap) sharing += m == mapped;
        if (sharing == 1) out.transparentIndex = static_cast<uint8_t>(mapped);
    }
    return out;
}

Image packBlackAndWhite(const Image& image) {
    Image out = withSameDescription(image, 1);
    out.setGreyPalette(1);
    out.transparentIndex.reset();  // the indices are new
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < image.height(); ++y) {
        unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
        for (auto& i : indices) i = (image.palette[i] & 0xFFFFFF) == 0xFFFFFF ? 1 : 0;
        packIndices(indices.data(), out.plane.mutableRow(y), image.width(), 1);
    }
    return out;
}

}  // namespace vivark
