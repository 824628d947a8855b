// --colors as an upper bound, and the refusals of option combinations.
#include "app/cli/Reduction.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "core/RowOps.h"
#include "formats/DepthConvert.h"
#include "ops/ColourReduce.h"

namespace vivark::cli {
namespace {

bool isCube(uint32_t paletteType) {
    return paletteType >= uint32_t(PaletteType::Cube222) &&
           paletteType <= uint32_t(PaletteType::Cube666);
}

uint32_t squaredDistance(Colour a, Colour b) {
    const int dr = int(redOf(a)) - int(redOf(b));
    const int dg = int(greenOf(a)) - int(greenOf(b));
    const int db = int(blueOf(a)) - int(blueOf(b));
    return uint32_t(dr * dr + dg * dg + db * db);
}

// Keeps the `colours` entries of an 8-bit palette image that most pixels
// use; every other entry goes to the nearest kept one. False when no more
// entries than that are in use (nothing changes).
bool keepMostUsed(Image& image, uint32_t colours) {
    std::array<uint64_t, 256> uses{};
    for (uint32_t y = 0; y < image.height(); ++y) {
        const uint8_t* row = image.plane.row(y);
        for (uint32_t x = 0; x < image.width(); ++x) ++uses[row[x]];
    }
    if (uint32_t(std::count_if(uses.begin(), uses.end(), [](uint64_t n) { return n != 0; })) <=
        colours)
        return false;
    std::array<uint8_t, 256> order;
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint8_t a, uint8_t b) { return uses[a] > uses[b]; });
    Palette kept;
    for (uint32_t i = 0; i < colours; ++i) kept[i] = image.palette[order[i]];
    std::array<uint8_t, 256> mapped{};
    for (uint32_t entry = 0; entry < 256; ++entry) {
        uint32_t best = 0;
        for (uint32_t k = 1; k < colours; ++k)
            if (squaredDistance(image.palette[entry], kept[k]) <
                squaredDistance(image.palette[entry], kept[best]))
                best = k;
        mapped[entry] = uint8_t(best);
    }
    Image out = image;
    out.plane = PixelPlane(image.width(), image.height(), 8, false);
    for (uint32_t y = 0; y < image.height(); ++y) {
        const uint8_t* in = image.plane.row(y);
        uint8_t* row = out.plane.mutableRow(y);
        for (uint32_t x = 0; x < image.width(); ++x) row[x] = mapped[in[x]];
    }
    out.palette = kept;
    out.paletteCount = colours;
    out.transparentIndex.reset();
    image = std::move(out);
    return true;
}

}  // namespace

std::optional<uint32_t> reduceAtMost(Image& image, uint32_t colours, uint32_t paletteType,
                                     uint32_t ditherType, ProgressCallback* progress) {
    const bool adaptive =
        paletteType == uint32_t(PaletteType::Adaptive) ||
        (paletteType != uint32_t(PaletteType::FixedSystem) && !isCube(paletteType));
    if (adaptive) {
        if (std::optional<Image> exact = exactPalette(image, colours)) {
            image = std::move(*exact);
            return image.paletteCount;
        }
    }
    std::optional<uint32_t> count =
        reduceColours(image, colours, paletteType, ditherType, progress);
    if (!count) return count;
    if (image.bitsPerPixel() != 8) image = widenIndices(image, 8);
    if (keepMostUsed(image, colours)) return colours;
    return std::min(*count, colours);
}

std::string refusedBeforeLoad(uint32_t colours, uint32_t paletteType, uint32_t ditherType,
                              bool ditherGiven, const WriterEntry& writer, bool trueColourTaken) {
    if (ditherGiven && ditherType == uint32_t(DitherType::Ordered) && !isCube(paletteType))
        return "--dither ordered needs a cube palette (--palette 222, 666, 676 or 884)";
    if (colours != 0 && !trueColourTaken) {
        uint32_t holds = 0;
        for (uint32_t bits : {8u, 4u, 1u})
            if (holds == 0 && writer.accepts(bits)) holds = 1u << bits;
        if (holds != 0 && colours > holds)
            return "--colors " + std::to_string(colours) + " is more than " +
                   std::string(writer.menuName) + " holds (" + std::to_string(holds) + ")";
    }
    return {};
}

}  // namespace vivark::cli
