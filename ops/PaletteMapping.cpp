// Nearest-colour and error-diffusion mapping to a palette.
#include "ops/PaletteMapping.h"

#include <array>
#include <utility>
#include <vector>

#include "ops/LumaTransform.h"
#include "ops/SourceRows.h"

namespace vivark {
namespace {

constexpr int kLimitRange = 255;
constexpr int kClampMargin = 64;

struct DiffusionTables {
    std::array<int16_t, 2 * kLimitRange + 1> limit{};     // index: error + 255
    std::array<uint8_t, 256 + 2 * kClampMargin> clamp{};  // index: value + 64
};

constexpr DiffusionTables makeDiffusionTables() {
    DiffusionTables t;
    for (int e = 0; e <= kLimitRange; ++e) {
        const int limited = e < 16 ? e : e < 48 ? 16 + (e - 16) / 2 : 32;
        t.limit[kLimitRange + e] = static_cast<int16_t>(limited);
        t.limit[kLimitRange - e] = static_cast<int16_t>(-limited);
    }
    for (int v = -kClampMargin; v < 256 + kClampMargin; ++v)
        t.clamp[v + kClampMargin] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
    return t;
}

constexpr DiffusionTables kDiffusion = makeDiffusionTables();

// The map coordinates of the pixel at `bgr`.
template <MapSpace Space>
inline void coordinates(const uint8_t* bgr, int32_t out[3]) {
    if constexpr (Space == MapSpace::Luma) {
        toLuma(bgr[0], bgr[1], bgr[2], out);
    } else {
        out[0] = bgr[2];
        out[1] = bgr[1];
        out[2] = bgr[0];
    }
}

template <MapSpace Space>
bool mapNearest(const Image& source, InverseColourMap& map, Image& destination,
                ProgressCallback* progress) {
    SourceRows rows(source);
    const uint32_t width = source.width(), height = source.height();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* bgr = rows.row(y);
        uint8_t* out = destination.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x, bgr += 3) {
            int32_t c[3];
            coordinates<Space>(bgr, c);
            out[x] = map.lookup(unsigned(c[0]), unsigned(c[1]), unsigned(c[2]));
        }
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

template <MapSpace Space>
bool mapDiffused(const Image& source, InverseColourMap& map, Image& destination,
                 ProgressCallback* progress) {
    SourceRows rows(source);
    const uint32_t width = source.width(), height = source.height();
    // Errors in sixteenths, three per pixel, with a spare pixel at each end.
    std::vector<int32_t> first((size_t{width} + 2) * 3), second(first.size());
    int32_t* carried = first.data();  // into the current row
    int32_t* below = second.data();   // into the next row
    const int16_t* limit = &kDiffusion.limit[kLimitRange];
    const uint8_t* clamp = &kDiffusion.clamp[kClampMargin];
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* bgr = rows.row(y);
        uint8_t* out = destination.plane.mutableRow(y);
        std::fill(below, below + first.size(), 0);
        const bool forward = (y & 1) == 0;
        const ptrdiff_t step = forward ? 3 : -3;
        for (uint32_t i = 0; i < width; ++i) {
            const uint32_t x = forward ? i : width - 1 - i;
            int32_t* here = carried + (size_t{x} + 1) * 3;
            int32_t* under = below + (size_t{x} + 1) * 3;
            int32_t c[3];
            coordinates<Space>(bgr + size_t{x} * 3, c);
            int32_t v[3];
            for (int k = 0; k < 3; ++k) v[k] = clamp[c[k] + limit[(here[k] + 8) >> 4]];
            const uint8_t index = map.lookup(unsigned(v[0]), unsigned(v[1]), unsigned(v[2]));
            out[x] = index;
            const MapPoint& chosen = map.point(index);
            for (int k = 0; k < 3; ++k) {
                const int32_t e = v[k] - chosen[k];
                here[step + k] += 7 * e;
                under[-step + k] += 3 * e;
                under[k] += 5 * e;
                under[step + k] += e;
            }
        }
        std::swap(carried, below);
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

}  // namespace

MapPoint mapPointOf(Colour colour, MapSpace space) {
    if (space == MapSpace::Rgb) return {redOf(colour), greenOf(colour), blueOf(colour)};
    MapPoint p;
    toLuma(blueOf(colour), greenOf(colour), redOf(colour), p.data());
    return p;
}

bool mapToPalette(const Image& source, const Colour* palette, unsigned count, MapSpace space,
                  bool diffuse, Image& destination, ProgressCallback* progress,
                  InverseColourMap::Cells cells) {
    std::array<MapPoint, 256> points;
    count = std::min(count, 256u);
    for (unsigned i = 0; i < count; ++i) points[i] = mapPointOf(palette[i], space);
    InverseColourMap map = cells ? InverseColourMap(std::move(cells), points.data(), count)
                                 : InverseColourMap(points.data(), count);
    if (space == MapSpace::Luma)
        return diffuse ? mapDiffused<MapSpace::Luma>(source, map, destination, progress)
                       : mapNearest<MapSpace::Luma>(source, map, destination, progress);
    return diffuse ? mapDiffused<MapSpace::Rgb>(source, map, destination, progress)
                   : mapNearest<MapSpace::Rgb>(source, map, destination, progress);
}

}  // namespace vivark
