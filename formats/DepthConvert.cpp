// Lossless depth changes for the save path, row by row over the shared row
// helpers.
#include "formats/DepthConvert.h"

#include <vector>

#include "core/RowOps.h"

namespace vivark {
namespace {

Image withSameDescription(const Image& source, uint32_t bits) {
    Image out(source.width(), source.height(), bits, true);
    out.formatTag = source.formatTag;
    out.resolution = source.resolution;
    out.comment = source.comment;
    out.info = source.info;
    out.exif = source.exif;
    out.pageNumber = source.pageNumber;
    out.pageCount = source.pageCount;
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
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < image.height(); ++y) {
        unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
        expandToBgr(indices.data(), image.palette, out.plane.mutableRow(y), image.width());
    }
    return out;
}

Image packBlackAndWhite(const Image& image) {
    Image out = withSameDescription(image, 1);
    out.setGreyPalette(1);
    std::vector<uint8_t> indices(image.width());
    for (uint32_t y = 0; y < image.height(); ++y) {
        unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
        for (auto& i : indices) i = (image.palette[i] & 0xFFFFFF) == 0xFFFFFF ? 1 : 0;
        packIndices(indices.data(), out.plane.mutableRow(y), image.width(), 1);
    }
    return out;
}

}  // namespace vivark
