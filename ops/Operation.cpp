// The shared parts of the image operations: their messages, the size check
// and the result image built beside the source.
#include "ops/Operation.h"

#include "core/Errors.h"

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

}  // namespace vivark
