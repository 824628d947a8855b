// Mirror, flip and the quarter turns, one generic loop per move over the
// pixel access of each depth.
#include "ops/Mirror.h"

#include <algorithm>
#include <utility>

#include "ops/PixelAccess.h"
#include "ops/ResampleImage.h"

namespace vivark {
namespace {

template <class Access>
bool mirrorPlane(Access, const PixelPlane& source, PixelPlane& destination, bool flipRows,
                 bool mirrorRows, ProgressCallback* progress) {
    const uint32_t width = source.width(), height = source.height();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* in = source.row(flipRows ? height - 1 - y : y);
        uint8_t* out = destination.mutableRow(y);
        if (!mirrorRows)
            std::copy_n(in, source.rowStride(), out);
        else
            for (uint32_t x = 0; x < width; ++x)
                Access::put(out, x, Access::get(in, width - 1 - x));
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

// destination(x, y) = source(y, h - 1 - x) clockwise, source(w - 1 - y, x)
// anticlockwise, in picture coordinates.
template <class Access>
bool turnPlane(Access, const PixelPlane& source, PixelPlane& destination, bool clockwise,
               ProgressCallback* progress) {
    const uint32_t width = destination.width(), height = destination.height();
    const uint8_t* rows = source.data();
    const size_t stride = source.rowStride();
    const uint32_t sourceHeight = source.height();
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* out = destination.mutableRow(y);
        const uint32_t sourceX = clockwise ? y : source.width() - 1 - y;
        for (uint32_t x = 0; x < width; ++x) {
            // Source picture row h - 1 - x is storage row x, and row x is h - 1 - x.
            const uint32_t storageRow = clockwise ? x : sourceHeight - 1 - x;
            Access::put(out, x, Access::get(rows + size_t{storageRow} * stride, sourceX));
        }
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

OpResult turn(const Image& image, bool clockwise, ProgressCallback* progress,
              const Limits& limits) {
    if (image.plane.empty()) return image;
    const bool second = !image.secondPlane.empty() && image.secondPlane.width() == image.width() &&
                        image.secondPlane.height() == image.height();
    checkResultSize(image.height(), image.width(), image.bitsPerPixel(), limits);
    if (second)
        checkResultSize(image.height(), image.width(), image.secondPlane.bitsPerPixel(), limits);
    Image result = image;
    result.plane = PixelPlane(image.height(), image.width(), image.bitsPerPixel(), true);
    result.plane.factorX = image.plane.factorY;
    result.plane.factorY = image.plane.factorX;
    const bool done = withDepth(image.bitsPerPixel(), [&](auto access) {
        return turnPlane(access, image.plane, result.plane, clockwise, progress);
    });
    if (!done) return std::nullopt;
    if (second) {
        result.secondPlane =
            PixelPlane(image.height(), image.width(), image.secondPlane.bitsPerPixel(), true);
        withDepth(image.secondPlane.bitsPerPixel(), [&](auto access) {
            return turnPlane(access, image.secondPlane, result.secondPlane, clockwise, nullptr);
        });
    } else {
        result.secondPlane = PixelPlane();
        result.secondPlaneKind = SecondPlane::None;
    }
    std::swap(result.resolution.x, result.resolution.y);
    std::swap(result.scaleX, result.scaleY);
    return result;
}

}  // namespace

OpResult mirror(const Image& image, const MirrorRequest& request, ProgressCallback* progress) {
    const bool flipRows = request.flipRows, mirrorRows = request.mirrorRows;
    if (image.plane.empty() || (!flipRows && !mirrorRows)) return image;
    Image result = image;
    result.plane = PixelPlane(image.width(), image.height(), image.bitsPerPixel(), true);
    result.plane.factorX = image.plane.factorX;
    result.plane.factorY = image.plane.factorY;
    const bool done = withDepth(image.bitsPerPixel(), [&](auto access) {
        return mirrorPlane(access, image.plane, result.plane, flipRows, mirrorRows, progress);
    });
    if (!done) return std::nullopt;
    const bool second = !image.secondPlane.empty() && image.secondPlane.width() == image.width() &&
                        image.secondPlane.height() == image.height();
    if (second) {
        result.secondPlane =
            PixelPlane(image.width(), image.height(), image.secondPlane.bitsPerPixel(), true);
        withDepth(image.secondPlane.bitsPerPixel(), [&](auto access) {
            return mirrorPlane(access, image.secondPlane, result.secondPlane, flipRows, mirrorRows,
                               nullptr);
        });
    }
    return result;
}

OpResult turnClockwise(const Image& image, ProgressCallback* progress, const Limits& limits) {
    return turn(image, true, progress, limits);
}

OpResult turnAnticlockwise(const Image& image, ProgressCallback* progress, const Limits& limits) {
    return turn(image, false, progress, limits);
}

}  // namespace vivark
