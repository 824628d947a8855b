// Lossless depth changes for the save path, row by row over the shared row
// helpers.
#include "formats/DepthConvert.h"

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
