// Construction, palette operations and colour counting of Image.
#include "core/Image.h"

#include <atomic>

#include "core/ColourSet.h"

namespace vivark {
namespace {

std::atomic<uint32_t> imageSerial{0};

// Marks the palette indices that pixels of a 1-, 4- or 8-bit plane use and
// returns the highest one plus 1 (0 for an empty plane).
uint32_t markUsedIndices(const PixelPlane& plane, std::array<bool, 256>& used) {
    const uint32_t width = plane.width();
    for (uint32_t y = 0; y < plane.height(); ++y) {
        const uint8_t* row = plane.row(y);
        switch (plane.bitsPerPixel()) {
            case 8:
                for (uint32_t x = 0; x < width; ++x) used[row[x]] = true;
                break;
            case 4:
                for (uint32_t x = 0; x < width; ++x)
                    used[(x & 1) ? (row[x >> 1] & 0x0F) : (row[x >> 1] >> 4)] = true;
                break;
            case 1:
                for (uint32_t x = 0; x < width; ++x)
                    used[(row[x >> 3] >> (7 - (x & 7))) & 1] = true;
                break;
            default:
                return 0;
        }
    }
    for (uint32_t i = 256; i > 0; --i)
        if (used[i - 1]) return i;
    return 0;
}

}  // namespace

uint32_t nextImageSerial() {
    uint32_t serial;
    do {
        serial = imageSerial.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (serial == 0);
    return serial;
}

Image::Image() = default;

Image::Image(uint32_t width, uint32_t height, uint32_t bitsPerPixel, bool clear)
    : plane(width, height, bitsPerPixel, clear) {}

void Image::copyPaletteTo(Colour* destination, unsigned count) const {
    if (!hasPalette() || count == 0) return;
    if (count > Palette::kSize) count = Palette::kSize;
    for (unsigned i = 0; i < count; ++i) destination[i] = palette[i];
}

bool Image::isBlackAndWhite() const {
    if (!hasPalette()) return false;
    for (uint32_t i = 0; i < paletteCount && i < Palette::kSize; ++i) {
        Colour c = palette[i] & 0xFFFFFF;
        if (c != 0x000000 && c != 0xFFFFFF) return false;
    }
    return true;
}

bool Image::isGrey() const {
    if (!hasPalette()) return false;
    for (uint32_t i = 0; i < paletteCount && i < Palette::kSize; ++i) {
        Colour c = palette[i];
        if (redOf(c) != greenOf(c) || greenOf(c) != blueOf(c)) return false;
    }
    return true;
}

void Image::setGreyPalette() {
    for (unsigned i = 0; i < Palette::kSize; ++i) palette[i] = i * 0x010101u;
    paletteCount = 256;
}

void Image::setGreyPalette(unsigned bits) {
    if (bits == 0 || bits > 8) return;
    unsigned levels = 1u << bits;
    for (unsigned i = 0; i < levels; ++i) {
        unsigned level = i << (8 - bits);
        for (unsigned shift = bits; shift < 8; shift += bits) level |= level >> shift;
        palette[i] = (level & 0xFF) * 0x010101u;
    }
    paletteCount = levels;
}

uint32_t Image::countPaletteColours() {
    ColourSet seen;
    for (uint32_t i = 0; i < paletteCount && i < Palette::kSize; ++i) seen.insert(palette[i]);
    colourCount = static_cast<uint32_t>(seen.count());
    return colourCount;
}

uint32_t Image::countColours(ProgressCallback* callback, CountMode mode) {
    if (plane.empty()) return 0;
    if (hasPalette()) {
        std::array<bool, 256> used{};
        paletteCount = markUsedIndices(plane, used);
        if (mode == CountMode::WeedOutDuplicates) return countPaletteColours();
        colourCount = paletteCount;
        return colourCount;
    }
    ColourSet colours;
    const uint32_t width = plane.width();
    const uint32_t height = plane.height();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* p = plane.data() + size_t{y} * plane.rowStride();
        for (uint32_t x = 0; x < width; ++x, p += 3) colours.insert(p[0], p[1], p[2]);
        if (progressCancelled(callback, y + 1, height)) return 0;
    }
    colourCount = static_cast<uint32_t>(colours.count());
    return colourCount;
}

}  // namespace vivark
