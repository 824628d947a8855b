// Cutting a rectangle out of an image and its second plane.
#include "ops/Crop.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/RowOps.h"

namespace vivark {
namespace {

struct Span {
    uint32_t left, top, width, height;  // in picture rows, counted from the top
};

// Picture row `top + y`, columns left..left+width-1 of `source` into row y of `destination`.
void cutRow(const PixelPlane& source, PixelPlane& destination, const Span& span, uint32_t y,
            std::vector<uint8_t>& indices) {
    const uint8_t* in = source.row(span.top + y);
    uint8_t* out = destination.mutableRow(y);
    const uint32_t bits = source.bitsPerPixel();
    if (bits >= 8) {
        const size_t bytes = bits / 8;
        std::memcpy(out, in + span.left * bytes, span.width * bytes);
        return;
    }
    unpackIndices(in, indices.data(), span.left + span.width, bits);
    packIndices(indices.data() + span.left, out, span.width, bits);
}

}  // namespace

OpResult crop(const Image& image, const CropRectangle& p, ProgressCallback* progress,
              const Limits& limits) {
    // Held well inside 64 bits, so the sums below cannot overflow.
    constexpr int64_t kFar = int64_t{1} << 40;
    const int64_t left = std::clamp(p.left, -kFar, kFar);
    const int64_t bottom = std::clamp(p.bottom, -kFar, kFar);
    const int64_t right = left + std::clamp<int64_t>(p.width, 0, kFar);
    const int64_t top = bottom + std::clamp<int64_t>(p.height, 0, kFar);
    const int64_t x0 = std::max<int64_t>(left, 0), x1 = std::min<int64_t>(right, image.width());
    const int64_t b0 = std::max<int64_t>(bottom, 0), b1 = std::min<int64_t>(top, image.height());
    if (x0 >= x1 || b0 >= b1) throw OPERROR::EmptyCrop;
    const Span span{static_cast<uint32_t>(x0), static_cast<uint32_t>(image.height() - b1),
                    static_cast<uint32_t>(x1 - x0), static_cast<uint32_t>(b1 - b0)};

    Image result = resultLike(image, span.width, span.height, image.bitsPerPixel(), limits);
    result.palette = image.palette;
    result.paletteExtra = image.paletteExtra;
    result.paletteCount = image.paletteCount;
    result.transparentIndex = image.transparentIndex;
    const bool cutSecond = image.secondPlaneKind != SecondPlane::None &&
                           image.secondPlane.width() == image.width() &&
                           image.secondPlane.height() == image.height();
    if (cutSecond) {
        result.secondPlane =
            PixelPlane(span.width, span.height, image.secondPlane.bitsPerPixel(), false);
        result.secondPlaneKind = image.secondPlaneKind;
    }
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < span.height; ++y) {
        cutRow(image.plane, result.plane, span, y, indices);
        if (cutSecond) cutRow(image.secondPlane, result.secondPlane, span, y, indices);
        if (progressCancelled(progress, y + 1, span.height)) return std::nullopt;
    }
    return result;
}

}  // namespace vivark
