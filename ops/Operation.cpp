// The shared parts of the image operations: their messages, the size check
// and the result image built beside the source.
#include "ops/Operation.h"

#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"

namespace vivark {

MessageId messageOf(OPERROR error) {
    switch (error) {
        case OPERROR::EmptyCrop:
            return msg::CropOutside;
        case OPERROR::BadResolution:
            return msg::BadResolution;
    }
    return msg::Unknown;
}

void checkResultSize(uint32_t width, uint32_t height, uint32_t bitsPerPixel, const Limits& limits) {
    // An Image itself refuses 2 GiB of pixels; the caller's limits may refuse less.
    if (!limits.allows(width, height, bitsPerPixel) ||
        !Limits{}.allows(width, height, bitsPerPixel))
        throw IMAGEERROR::TooLarge;
}

Image resultLike(const Image& source, uint32_t width, uint32_t height, uint32_t bitsPerPixel,
                 const Limits& limits) {
    checkResultSize(width, height, bitsPerPixel, limits);
    Image result = source;
    result.plane = PixelPlane(width, height, bitsPerPixel, false);
    result.plane.factorX = source.plane.factorX;
    result.plane.factorY = source.plane.factorY;
    result.palette = Palette{};
    result.paletteExtra = {};
    result.paletteCount = bitsPerPixel <= 8 ? 1u << bitsPerPixel : 256;
    result.colourCount = 0;
    result.transparentIndex.reset();
    result.secondPlane = PixelPlane{};
    result.secondPlaneKind = SecondPlane::None;
    return result;
}

bool transparencyByIndex(const Image& image) {
    return image.hasPalette() && image.transparentIndex &&
           image.secondPlaneKind == SecondPlane::None;
}

void carryTransparencyAsAlpha(const Image& source, Image& result, const Limits& limits) {
    if (!transparencyByIndex(source)) return;
    const uint32_t width = source.width(), height = source.height();
    checkResultSize(width, height, 8, limits);
    result.secondPlane = PixelPlane(width, height, 8, false);
    result.secondPlaneKind = SecondPlane::Alpha;
    const uint8_t clear = *source.transparentIndex;
    std::vector<uint8_t> indices(width);
    for (uint32_t y = 0; y < height; ++y) {
        unpackIndices(source.plane.row(y), indices.data(), width, source.bitsPerPixel());
        uint8_t* alpha = result.secondPlane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x) alpha[x] = indices[x] == clear ? 0 : 255;
    }
}

}  // namespace vivark
