// Black and white, grey scale, deep colour and indexed colour as operations.
#include "ops/ColourDepth.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/RowOps.h"
#include "ops/LumaTransform.h"
#include "ops/SourceRows.h"

namespace vivark {
namespace {

inline unsigned lumaOf(const uint8_t* bgr) {
    const auto& y = kLumaTables.steps[0];
    return static_cast<unsigned>(std::min((y[0][bgr[0]] + y[1][bgr[1]] + y[2][bgr[2]]) >> 16, 255));
}

// The second plane goes over unchanged; a transparent index becomes alpha,
// as the result's indices are new (Operation.h).
void keepSecondPlane(const Image& source, Image& result, const Limits& limits) {
    result.secondPlane = source.secondPlane;
    result.secondPlaneKind = source.secondPlaneKind;
    carryTransparencyAsAlpha(source, result, limits);
}

}  // namespace

OpResult toBlackAndWhite(const Image& image, const BlackWhite& p, ProgressCallback* progress,
                         const Limits& limits) {
    const unsigned threshold = static_cast<unsigned>(std::clamp(p.threshold, 0, 256));
    const uint32_t width = image.width(), height = image.height();
    Image result = resultLike(image, width, height, 1, limits);
    result.setGreyPalette(1);
    keepSecondPlane(image, result, limits);
    SourceRows rows(image);
    std::vector<uint8_t> indices(width);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* bgr = rows.row(y);
        for (uint32_t x = 0; x < width; ++x, bgr += 3) indices[x] = lumaOf(bgr) >= threshold;
        packIndices(indices.data(), result.plane.mutableRow(y), width, 1);
        if (progressCancelled(progress, y + 1, height)) return std::nullopt;
    }
    return result;
}

OpResult toGreyscale(const Image& image, const Greyscale&, ProgressCallback* progress,
                     const Limits& limits) {
    const uint32_t width = image.width(), height = image.height();
    Image result = resultLike(image, width, height, 8, limits);
    result.setGreyPalette();
    keepSecondPlane(image, result, limits);
    SourceRows rows(image);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* bgr = rows.row(y);
        uint8_t* out = result.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x, bgr += 3) out[x] = static_cast<uint8_t>(lumaOf(bgr));
        if (progressCancelled(progress, y + 1, height)) return std::nullopt;
    }
    return result;
}

OpResult toDeepColour(const Image& image, const DeepColour&, ProgressCallback* progress,
                      const Limits& limits) {
    const uint32_t width = image.width(), height = image.height();
    if (image.bitsPerPixel() == 24) {
        checkResultSize(width, height, 24, limits);
        if (progressCancelled(progress, height, height)) return std::nullopt;
        return image;
    }
    Image result = resultLike(image, width, height, 24, limits);
    keepSecondPlane(image, result, limits);
    SourceRows rows(image);
    for (uint32_t y = 0; y < height; ++y) {
        if (width != 0) std::memcpy(result.plane.mutableRow(y), rows.row(y), size_t{width} * 3);
        if (progressCancelled(progress, y + 1, height)) return std::nullopt;
    }
    return result;
}

OpResult toIndexedColour(const Image& image, const IndexedColour& p, ProgressCallback* progress,
                         const Limits& limits) {
    checkResultSize(image.width(), image.height(), 8, limits);
    Image result = image;
    const uint32_t colours = std::clamp<uint32_t>(p.colours, 2, 256);
    // A palette that already fits is kept without a pass over the rows, and
    // the reduction's closing report cannot cancel; a cancel asked for at
    // any point is honoured here, and the caller is asked at least once.
    bool asked = false, cancelled = false;
    ProgressFunction watched([&](uint32_t done, uint32_t total) {
        asked = true;
        cancelled = cancelled || progressCancelled(progress, done, total);
        return cancelled;
    });
    if (!reduceColours(result, colours, p.paletteType, p.ditherType, progress ? &watched : nullptr))
        return std::nullopt;
    if (cancelled) return std::nullopt;
    if (!asked && progressCancelled(progress, image.height(), image.height())) return std::nullopt;
    return result;
}

}  // namespace vivark
