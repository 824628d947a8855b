// Colour reduction on images made from the bytes: the first six choose the
// palette type, dither type, requested count, depth, width and height (up to
// 64 x 64), the rest fill the palette and then the pixels, repeating. Every
// reduced result must be 8 bits, hold only indices below its palette count
// and no more colours than reported; anything else aborts.
#include <cstdint>
#include <cstdlib>
#include <set>

#include "core/Image.h"
#include "core/RowOps.h"
#include "ops/ColourReduce.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vivark;
    if (size < 7) return 0;
    const uint32_t paletteType = data[0] % 8, ditherType = data[1] % 4, requested = data[2] + 1u;
    static constexpr uint32_t kDepths[] = {1, 4, 8, 24};
    const uint32_t bits = kDepths[data[3] % 4];
    const uint32_t width = data[4] % 64 + 1, height = data[5] % 64 + 1;
    const uint8_t* fill = data + 6;
    const size_t fillSize = size - 6;
    size_t at = 0;
    auto next = [&] { return fill[at++ % fillSize]; };

    Image image(width, height, bits);
    if (bits <= 8) {
        for (Colour& c : image.palette.entries) c = rgb(next(), next(), next());
        image.paletteCount = next() % (1u << bits) + 1;
    }
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t i = 0; i < image.plane.rowStride(); ++i) row[i] = next();
    }
    const Image source = image;
    const auto count = reduceColours(image, requested, paletteType, ditherType);
    if (!count) std::abort();
    if (image.plane.sharesPixelsWith(source.plane)) return 0;  // it already fitted
    if (image.bitsPerPixel() != 8) std::abort();
    std::set<Colour> colours;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        for (uint32_t x = 0; x < width; ++x) {
            if (row[x] >= image.paletteCount) std::abort();
            colours.insert(image.palette[row[x]]);
        }
    }
    if (colours.size() > *count) std::abort();
    return 0;
}
