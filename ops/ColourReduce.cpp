// The dispatch of colour reduction over palette and dither types.
#include "ops/ColourReduce.h"

#include <algorithm>
#include <array>
#include <memory>

#include "ops/AdaptivePalette.h"
#include "ops/ColourCube.h"
#include "ops/FixedPalettes.h"
#include "ops/PaletteMapping.h"
#include "ops/SourceRows.h"

namespace vivark {
namespace {

// The result beside the source: same size and descriptive fields, 8 bits.
Image resultFor(const Image& image) {
    Image result = image;
    result.plane = PixelPlane(image.width(), image.height(), 8, false);
    result.plane.factorX = image.plane.factorX;
    result.plane.factorY = image.plane.factorY;
    result.palette = Palette{};
    result.paletteExtra = {};
    return result;
}

void takePalette(Image& result, const Colour* palette, unsigned count) {
    std::copy(palette, palette + count, result.palette.entries.begin());
    result.paletteCount = count;
    result.colourCount = 0;
}

// Counts two passes (histogram and mapping) as one run of rows.
class PassProgress final : public ProgressCallback {
  public:
    PassProgress(ProgressCallback* outer, uint32_t pass) : outer_(outer), pass_(pass) {}
    bool progress(uint32_t done, uint32_t total) override {
        return progressCancelled(outer_, pass_ * total + done, 2 * total);
    }

  private:
    ProgressCallback* outer_;
    uint32_t pass_;
};

std::optional<uint32_t> reduceAdaptive(Image& image, uint32_t wanted, bool diffuse,
                                       ProgressCallback* progress) {
    ColourHistogram histogram;
    {
        SourceRows rows(image);
        PassProgress counting(progress, 0);
        for (uint32_t y = 0; y < image.height(); ++y) {
            histogram.addRow(rows.row(y), image.width());
            if (counting.progress(y + 1, image.height())) return std::nullopt;
        }
    }
    std::array<Colour, 256> palette{};
    const unsigned count = chooseAdaptivePalette(histogram, wanted, palette.data());
    Image result = resultFor(image);
    takePalette(result, palette.data(), count);
    PassProgress mapping(progress, 1);
    if (!mapToPalette(image, palette.data(), count, MapSpace::Rgb, diffuse, result,
                      progress ? &mapping : nullptr, histogram.releaseCounts()))
        return std::nullopt;
    image = std::move(result);
    return count;
}

std::optional<uint32_t> reduceToPalette(Image& image, const Colour* palette, unsigned count,
                                        bool diffuse, ProgressCallback* progress) {
    Image result = resultFor(image);
    takePalette(result, palette, count);
    if (!mapToPalette(image, palette, count, MapSpace::Luma, diffuse, result, progress))
        return std::nullopt;
    image = std::move(result);
    return count;
}

std::optional<uint32_t> reduceToCube(Image& image, unsigned red, unsigned green, unsigned blue,
                                     uint32_t ditherType, ProgressCallback* progress) {
    const auto cube = std::make_unique<ColourCube>(red, green, blue);
    if (ditherType != uint32_t(DitherType::Ordered))
        return reduceToPalette(image, cube->palette(), cube->count(),
                               ditherType == uint32_t(DitherType::Diffusion), progress);
    Image result = resultFor(image);
    takePalette(result, cube->palette(), cube->count());
    if (!cube->ditherOrdered(image, result, progress)) return std::nullopt;
    image = std::move(result);
    return cube->count();
}

std::optional<uint32_t> dispatch(Image& image, uint32_t requestedCount, uint32_t paletteType,
                                 uint32_t ditherType, ProgressCallback* progress) {
    const bool diffuse = ditherType == uint32_t(DitherType::Diffusion);
    switch (PaletteType(paletteType)) {
        case PaletteType::FixedSystem:
            return requestedCount < 17
                       ? reduceToPalette(image, FixedPalette16.data(), 16, diffuse, progress)
                       : reduceToPalette(image, FixedPalette256.data(), 256, diffuse, progress);
        case PaletteType::Cube222:
            return reduceToCube(image, 2, 2, 2, ditherType, progress);
        case PaletteType::Cube884:
            return reduceToCube(image, 8, 8, 4, ditherType, progress);
        case PaletteType::Cube676:
            return reduceToCube(image, 6, 7, 6, ditherType, progress);
        case PaletteType::Cube666:
            return reduceToCube(image, 6, 6, 6, ditherType, progress);
        case PaletteType::Adaptive:
        default:
            break;
    }
    const uint32_t wanted = std::clamp(requestedCount, 1u, 256u);
    if (image.hasPalette()) {
        const uint32_t present = image.paletteCount == 0 ? 256 : image.paletteCount;
        if (requestedCount >= present) return requestedCount;
    }
    return reduceAdaptive(image, wanted, diffuse, progress);
}

}  // namespace

std::optional<uint32_t> reduceColours(Image& image, uint32_t requestedCount, uint32_t paletteType,
                                      uint32_t ditherType, ProgressCallback* progress) {
    const std::optional<uint32_t> result =
        dispatch(image, requestedCount, paletteType, ditherType, progress);
    if (result) progressCancelled(progress, 1, 1);
    return result;
}

bool reduceToBlackAndWhite(Image& image, uint32_t ditherType, ProgressCallback* progress) {
    static constexpr Colour kBlackAndWhite[2] = {rgb(0, 0, 0), rgb(255, 255, 255)};
    const bool done = reduceToPalette(image, kBlackAndWhite, 2,
                                      ditherType == uint32_t(DitherType::Diffusion), progress)
                          .has_value();
    if (done) progressCancelled(progress, 1, 1);
    return done;
}

}  // namespace vivark
