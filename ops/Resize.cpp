// Resize: the proportional fit, the placement of the content inside the box,
// and the resampled and point-sampled paths.
#include "ops/Resize.h"

#include <algorithm>
#include <vector>

#include "ops/PixelAccess.h"
#include "ops/ResampleImage.h"
#include "ops/ScaleEngine.h"

namespace vivark {
namespace {

void scaleResolution(Image& result, const Image& source, const ResizePlacement& place) {
    result.resolution.x *= double(place.width) / source.width();
    result.resolution.y *= double(place.height) / source.height();
}

// The palette entry nearest to `fill` among the valid ones.
uint32_t nearestEntry(const Image& image, Colour fill) {
    const uint32_t count =
        std::min(image.paletteCount == 0 ? 256u : image.paletteCount, 1u << image.bitsPerPixel());
    uint32_t best = 0;
    int bestDistance = INT32_MAX;
    for (uint32_t i = 0; i < count; ++i) {
        const Colour c = image.palette[i];
        const int dr = int(redOf(c)) - redOf(fill), dg = int(greenOf(c)) - greenOf(fill),
                  db = int(blueOf(c)) - blueOf(fill);
        const int distance = dr * dr + dg * dg + db * db;
        if (distance < bestDistance) bestDistance = distance, best = i;
    }
    return best;
}

// Nearest-sample scaling of one plane into the content rectangle of
// `destination`; every pixel outside it takes `fillValue`.
template <class Access>
bool pointScale(Access, const PixelPlane& source, PixelPlane& destination,
                const ResizePlacement& place, uint32_t fillValue, ProgressCallback* progress) {
    std::vector<uint32_t> columns(place.width);
    for (uint32_t x = 0; x < place.width; ++x)
        columns[x] = uint32_t((2 * uint64_t{x} + 1) * source.width() / (2 * uint64_t{place.width}));
    const uint32_t height = destination.height(), width = destination.width();
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* out = destination.mutableRow(y);
        const bool inside = y >= place.top && y - place.top < place.height;
        if (!inside) {
            for (uint32_t x = 0; x < width; ++x) Access::put(out, x, fillValue);
        } else {
            const uint32_t sy = uint32_t((2 * uint64_t{y - place.top} + 1) * source.height() /
                                         (2 * uint64_t{place.height}));
            const uint8_t* in = source.row(sy);
            for (uint32_t x = 0; x < place.left; ++x) Access::put(out, x, fillValue);
            for (uint32_t x = 0; x < place.width; ++x)
                Access::put(out, place.left + x, Access::get(in, columns[x]));
            for (uint32_t x = place.left + place.width; x < width; ++x)
                Access::put(out, x, fillValue);
        }
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

bool pointScalePlane(const PixelPlane& source, PixelPlane& destination,
                     const ResizePlacement& place, uint32_t fillValue, ProgressCallback* progress) {
    return withDepth(source.bitsPerPixel(), [&](auto access) {
        return pointScale(access, source, destination, place, fillValue, progress);
    });
}

}  // namespace

ResizePlacement placeContent(uint32_t sourceWidth, uint32_t sourceHeight,
                             const ResizeRequest& request) {
    const uint64_t boxWidth = std::max(request.width, 1u), boxHeight = std::max(request.height, 1u);
    const uint64_t w = std::max(sourceWidth, 1u), h = std::max(sourceHeight, 1u);
    uint64_t width = boxWidth, height = boxHeight;
    if (request.flags & resizeFlag::Proportional) {
        const uint64_t a = boxWidth * h, b = boxHeight * w;
        if (a < b) height = (a + w - 1) / w;
        if (a > b) width = (b + h - 1) / h;
    }
    ResizePlacement place;
    place.width = uint32_t(width);
    place.height = uint32_t(height);
    if (request.flags & resizeFlag::MarginLeft)
        place.left = uint32_t(boxWidth - width);
    else if (request.flags & resizeFlag::CentreX)
        place.left = uint32_t((boxWidth - width) / 2);
    if (request.flags & resizeFlag::MarginTop)
        place.top = uint32_t(boxHeight - height);
    else if (request.flags & resizeFlag::CentreY)
        place.top = uint32_t((boxHeight - height) / 2);
    return place;
}

OpResult resizeResampled(const Image& image, const ResizeRequest& request,
                         ProgressCallback* progress, const Limits& limits) {
    if (image.plane.empty()) return image;
    const uint32_t boxWidth = std::max(request.width, 1u);
    const uint32_t boxHeight = std::max(request.height, 1u);
    const ResampleFormat format = resampleFormatOf(image);
    const ResizePlacement place = placeContent(image.width(), image.height(), request);
    ResampleTarget target(image, boxWidth, boxHeight, format, limits);

    // The margins: the bands above and below, then left and right of the content.
    uint8_t fill[4];
    fillSamples(request.fill, format, fill);
    const uint32_t below = place.top + place.height;
    target.fill(0, 0, boxWidth, place.top, fill);
    target.fill(0, below, boxWidth, boxHeight - below, fill);
    target.fill(0, place.top, place.left, place.height, fill);
    target.fill(place.left + place.width, place.top, boxWidth - place.left - place.width,
                place.height, fill);

    const ResampleSource source(image, format);
    if (!scaleSurface(source.surface(),
                      target.region(place.left, place.top, place.width, place.height),
                      format.channels, FilterKind::Mitchell, FilterKind::Mitchell, progress))
        return std::nullopt;
    Image result = target.finish();
    scaleResolution(result, image, place);
    return result;
}

OpResult resizePoint(const Image& image, const ResizeRequest& request, ProgressCallback* progress,
                     const Limits& limits) {
    if (image.plane.empty()) return image;
    const uint32_t boxWidth = std::max(request.width, 1u);
    const uint32_t boxHeight = std::max(request.height, 1u);
    const ResizePlacement place = placeContent(image.width(), image.height(), request);
    const bool second = !image.secondPlane.empty() && image.secondPlane.width() == image.width() &&
                        image.secondPlane.height() == image.height();
    checkResultSize(boxWidth, boxHeight, image.bitsPerPixel(), limits);
    if (second) checkResultSize(boxWidth, boxHeight, image.secondPlane.bitsPerPixel(), limits);

    Image result = image;
    result.plane = PixelPlane(boxWidth, boxHeight, image.bitsPerPixel(), true);
    result.plane.factorX = image.plane.factorX;
    result.plane.factorY = image.plane.factorY;
    result.colourCount = 0;
    const uint32_t fill = image.hasPalette() ? nearestEntry(image, request.fill) : request.fill;
    if (!pointScalePlane(image.plane, result.plane, place, fill, progress)) return std::nullopt;
    if (second) {
        // The margins are opaque: full alpha, or an AND mask of 0.
        const uint32_t opaque = image.secondPlaneKind == SecondPlane::Alpha ? 255 : 0;
        result.secondPlane =
            PixelPlane(boxWidth, boxHeight, image.secondPlane.bitsPerPixel(), true);
        pointScalePlane(image.secondPlane, result.secondPlane, place, opaque, nullptr);
    } else {
        result.secondPlane = PixelPlane();
        result.secondPlaneKind = SecondPlane::None;
    }
    scaleResolution(result, image, place);
    return result;
}

}  // namespace vivark
