// What every operation of this folder promises, run over all of them at
// once: a cancel gives nothing and leaves the source as it was, results
// respect the limits; then the results of depth, crop and resolution
// against their definitions on every depth.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "core/Errors.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourDepth.h"
#include "ops/Convolution.h"
#include "ops/Crop.h"
#include "ops/PaletteFile.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "ops/SetResolution.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using Operation = std::function<OpResult(const Image&, ProgressCallback*, const Limits&)>;

const std::pair<const char*, Operation> kOperations[] = {
    {"adjust",
     [](auto& i, auto p, auto& l) {
         return adjustColours(i, {10, 0, 0, 5, 20}, p, l);
     }},
    {"negative", [](auto& i, auto p, auto& l) { return negative(i, {}, p, l); }},
    {"filter", [](auto& i, auto p, auto& l) { return sharpen(i, {40}, p, l); }},
    {"black and white", [](auto& i, auto p, auto& l) { return toBlackAndWhite(i, {128}, p, l); }},
    {"grey", [](auto& i, auto p, auto& l) { return toGreyscale(i, {}, p, l); }},
    {"deep colour", [](auto& i, auto p, auto& l) { return toDeepColour(i, {}, p, l); }},
    {"indexed",
     [](auto& i, auto p, auto& l) {
         return toIndexedColour(i, {0, 2, 16}, p, l);
     }},
    {"crop",
     [](auto& i, auto p, auto& l) {
         return crop(i, {1, 1, 5, 3}, p, l);
     }},
    {"resolution", [](auto& i, auto p, auto& l) { return setResolution(i, {300}, p, l); }},
    {"palette",
     [](auto& i, auto p, auto& l) {
         PaletteColours colours;
         colours.count = 2;
         colours.entries[1] = 0xFFFFFF;
         return applyPalette(i, {colours}, p, l);
     }},
};

TEST(Operations, CancelGivesNothingAndLeavesTheSourceAlone) {
    for (uint32_t bits : {24u, 8u, 4u, 1u}) {
        const Image source = test::patternImage(9, 6, bits);
        const Image before = source;
        for (const auto& [name, run] : kOperations) {
            uint32_t calls = 0;
            ProgressFunction cancel([&](uint32_t done, uint32_t total) {
                EXPECT_LE(done, total);
                ++calls;
                return true;
            });
            EXPECT_FALSE(run(source, &cancel, Limits{})) << name << ", " << bits << " bits";
            EXPECT_GE(calls, 1u) << name;
            EXPECT_TRUE(test::samePixels(source, before)) << name;
            EXPECT_EQ(source.palette, before.palette) << name;
        }
    }
}

TEST(Operations, ResultsOverTheLimitsAreRefused) {
    const Image source = test::patternImage(9, 6, 8);
    Limits tight;
    tight.maxWidth = 4;
    for (const auto& [name, run] : kOperations)
        EXPECT_EQ(test::thrownBy<IMAGEERROR>([&] { run(source, nullptr, tight); }),
                  IMAGEERROR::TooLarge)
            << name;
}

unsigned luma(Colour c) {
    return (19595u * redOf(c) + 38470u * greenOf(c) + 7471u * blueOf(c) + 32768u) >> 16;
}

TEST(Operations, GreyAndBlackAndWhiteCarryTheirPalettes) {
    for (uint32_t bits : {24u, 8u, 4u, 1u}) {
        const Image source = test::patternImage(11, 5, bits);
        const OpResult grey = toGreyscale(source);
        const OpResult bw = toBlackAndWhite(source, {100});
        ASSERT_TRUE(grey && bw);
        EXPECT_EQ(grey->bitsPerPixel(), 8u);
        EXPECT_EQ(grey->paletteCount, 256u);
        for (uint32_t i = 0; i < 256; ++i) ASSERT_EQ(grey->palette[i], i * 0x010101u);
        EXPECT_EQ(bw->bitsPerPixel(), 1u);
        EXPECT_EQ(bw->paletteCount, 2u);
        EXPECT_EQ(bw->palette[0], 0x000000u);
        EXPECT_EQ(bw->palette[1], 0xFFFFFFu);
        for (uint32_t y = 0; y < 5; ++y)
            for (uint32_t x = 0; x < 11; ++x) {
                const unsigned level = luma(test::colourAt(source, x, y));
                ASSERT_EQ(test::colourAt(*grey, x, y), level * 0x010101u);
                ASSERT_EQ(test::colourAt(*bw, x, y), level >= 100 ? 0xFFFFFFu : 0u);
            }
    }
    const Image photo = test::patternImage(4, 4, 24);
    const OpResult white = toBlackAndWhite(photo, {0});
    const OpResult black = toBlackAndWhite(photo, {256});
    EXPECT_EQ(test::colourAt(*white, 0, 0), 0xFFFFFFu);
    EXPECT_EQ(test::colourAt(*black, 3, 3), 0u);
}

// A palette image whose left half is its transparent index 1.
Image halfClear(uint32_t bits, bool grey) {
    Image image = test::patternImage(24, 16, bits);
    if (grey) image.setGreyPalette(bits);
    image.transparentIndex = 1;
    std::vector<uint8_t> indices(24);
    for (uint32_t y = 0; y < 16; ++y) {
        for (uint32_t x = 0; x < 24; ++x)
            indices[x] = x < 12 ? 1 : bits == 1 ? 0 : uint8_t(2 + (x + y) % ((1u << bits) - 2));
        packIndices(indices.data(), image.plane.mutableRow(y), 24, bits);
    }
    return image;
}

// The alpha a result gives picture point (fx, fy), as fractions of its size.
int alphaAt(const Image& image, double fx, double fy) {
    const auto x = uint32_t(fx * image.width()), y = uint32_t(fy * image.height());
    if (image.secondPlaneKind == SecondPlane::Alpha) return image.secondPlane.row(y)[x];
    if (!image.transparentIndex || !image.hasPalette()) return -1;  // transparency dropped
    std::vector<uint8_t> indices(image.width());
    unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
    return indices[x] == *image.transparentIndex ? 0 : 255;
}

TEST(Operations, DepthChangesKeepTheTransparentIndexAsAlpha) {
    // Each operation that makes new pixels of a palette image: the clear
    // half stays clear and the rest opaque.
    const std::pair<const char*, Operation> changesDepth[] = {
        {"filter", kOperations[2].second},
        {"black and white", kOperations[3].second},
        {"grey", kOperations[4].second},
        {"deep colour", kOperations[5].second},
        {"resize",
         [](auto& i, auto p, auto& l) {
             return resizeResampled(i, {37, 29, 0, 0}, p, l);
         }},
        {"rotate",
         [](auto& i, auto p, auto& l) {
             return rotateResampled(i, {10 << 16, 0, true}, p, l);
         }},
    };
    for (const auto& [bits, grey] : {std::pair{8u, false}, {8u, true}, {4u, false}, {1u, false}}) {
        const Image source = halfClear(bits, grey);
        for (const auto& [name, run] : changesDepth) {
            SCOPED_TRACE(testing::Message() << name << ", " << bits << (grey ? " grey" : ""));
            const OpResult result = run(source, nullptr, Limits{});
            ASSERT_TRUE(result);
            EXPECT_EQ(alphaAt(*result, 0.2, 0.5), 0);
            EXPECT_EQ(alphaAt(*result, 0.8, 0.5), 255);
        }
    }
}

TEST(Operations, DeepColourKeepsEveryColour) {
    const Image sixteen = test::patternImage(7, 3, 4);
    const OpResult deep = toDeepColour(sixteen);
    ASSERT_TRUE(deep);
    EXPECT_EQ(deep->bitsPerPixel(), 24u);
    EXPECT_TRUE(test::samePixels(*deep, sixteen));
}

TEST(Operations, CropCountsFromTheBottomLeftOnEveryDepth) {
    const struct {
        CropRectangle rectangle;
        uint32_t left, top, width, height;  // expected, picture rows from the top
    } cases[] = {
        {{0, 0, 13, 7}, 0, 0, 13, 7}, {{3, 2, 5, 3}, 3, 2, 5, 3},   {{9, 0, 10, 1}, 9, 6, 4, 1},
        {{-2, -2, 4, 4}, 0, 5, 2, 2}, {{1, 6, 1, 100}, 1, 0, 1, 1},
    };
    for (uint32_t bits : {24u, 8u, 4u, 1u}) {
        Image source = test::patternImage(13, 7, bits);
        source.secondPlane = test::patternImage(13, 7, 8).plane;
        source.secondPlaneKind = SecondPlane::Alpha;
        for (const auto& c : cases) {
            const OpResult cut = crop(source, c.rectangle);
            ASSERT_TRUE(cut);
            ASSERT_EQ(cut->width(), c.width);
            ASSERT_EQ(cut->height(), c.height);
            ASSERT_EQ(cut->bitsPerPixel(), bits);
            ASSERT_EQ(cut->secondPlane.width(), c.width);
            for (uint32_t y = 0; y < c.height; ++y) {
                for (uint32_t x = 0; x < c.width; ++x)
                    ASSERT_EQ(test::colourAt(*cut, x, y),
                              test::colourAt(source, c.left + x, c.top + y))
                        << bits << " bits, " << c.left << "," << c.top;
                ASSERT_EQ(cut->secondPlane.row(y)[c.width - 1],
                          source.secondPlane.row(c.top + y)[c.left + c.width - 1]);
            }
        }
        for (CropRectangle outside : {CropRectangle{13, 0, 5, 5}, CropRectangle{0, 7, 5, 5},
                                      CropRectangle{2, 2, 0, 3}, CropRectangle{-5, 0, 5, 5}})
            EXPECT_EQ(test::thrownBy<OPERROR>([&] { crop(source, outside); }), OPERROR::EmptyCrop);
    }
}

TEST(Operations, ResolutionIsStatedInTheUnitGiven) {
    const Image source = test::patternImage(4, 4, 24);
    const OpResult inch = setResolution(source, {300, 0, ResolutionSetting::Unit::English});
    EXPECT_EQ(inch->resolution, (Resolution{300, 300, ResolutionUnit::PerInch}));
    EXPECT_TRUE(inch->plane.sharesPixelsWith(source.plane));
    const OpResult metric = setResolution(source, {40, 20, ResolutionSetting::Unit::Metric});
    EXPECT_EQ(metric->resolution, (Resolution{4000, 2000, ResolutionUnit::PerMetre}));
    for (double bad : {-1.0, 0.0, 1e300})
        EXPECT_EQ(test::thrownBy<OPERROR>([&] {
                      setResolution(source, {bad, 1});
                  }),
                  OPERROR::BadResolution);
}

}  // namespace
}  // namespace vivark
