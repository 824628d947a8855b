// reduceColours end to end: palette choice, what stays untouched, how
// diffusion spreads, adaptive fit, and that a cancel leaves the image as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ops/ColourReduce.h"
#include "ops/FixedPalettes.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using test::colourAt;

// A true-colour image, width x height, whose pixel (x, y) is colourOf(x, y).
template <typename F>
Image paint(uint32_t width, uint32_t height, F colourOf) {
    Image image(width, height, 24);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const Colour c = colourOf(x, y);
            uint8_t* p = image.plane.mutableRow(y) + 3 * x;
            p[0] = blueOf(c), p[1] = greenOf(c), p[2] = redOf(c);
        }
    return image;
}

// A smooth, photo-like true-colour picture: gradients, a bright disc, noise.
Image smoothPicture(uint32_t width, uint32_t height) {
    uint32_t seed = 7;
    return paint(width, height, [&](uint32_t x, uint32_t y) {
        seed = seed * 1103515245u + 12345u;
        const int noise = int(seed >> 28) - 8;
        const int dx = int(x) - int(width) / 2, dy = int(y) - int(height) / 3;
        const int disc = dx * dx + dy * dy < int(width * width / 16) ? 90 : 0;
        auto clamp = [](int v) { return uint8_t(std::clamp(v, 0, 255)); };
        return rgb(clamp(int(120 + 100 * (x + y) / (width + height)) + disc + noise),
                   clamp(int(200 * x / width) + disc / 2 + noise),
                   clamp(int(255 * y / height) + noise));
    });
}

double meanSquaredError(const Image& a, const Image& b) {
    double sum = 0;
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x) {
            const Colour p = colourAt(a, x, y), q = colourAt(b, x, y);
            for (int shift : {0, 8, 16}) {
                const double d = double(p >> shift & 255) - double(q >> shift & 255);
                sum += d * d;
            }
        }
    return sum / (3.0 * a.width() * a.height());
}

TEST(ColourReduce, PaletteTypeAndCountChooseThePalette) {
    const Image source = smoothPicture(24, 16);
    const struct {
        uint32_t requested, paletteType, ditherType, count;
        const Colour* palette;  // null: not a fixed palette
    } cases[] = {
        {16, 1, 0, 16, FixedPalette16.data()},
        {17, 1, 0, 256, FixedPalette256.data()},
        {256, 2, 1, 8, nullptr},
        {256, 3, 0, 256, nullptr},
        {256, 4, 2, 252, nullptr},
        {256, 5, 1, 216, nullptr},
        {12, 99, 0, 12, nullptr},  // unknown types are adaptive
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.requested << " " << c.paletteType);
        Image image = source;
        EXPECT_EQ(reduceColours(image, c.requested, c.paletteType, c.ditherType), c.count);
        EXPECT_EQ(image.bitsPerPixel(), 8u);
        EXPECT_EQ(image.paletteCount, c.count);
        if (c.palette) {
            EXPECT_TRUE(std::equal(c.palette, c.palette + c.count, image.palette.entries.begin()));
        }
    }
}

TEST(ColourReduce, ExactPaletteColoursMapToThemselves) {
    const Image image = paint(16, 2, [](uint32_t x, uint32_t) { return FixedPalette16[x]; });
    for (uint32_t dither : {0u, 2u}) {
        Image reduced = image;
        ASSERT_TRUE(reduceColours(reduced, 16, 1, dither));
        EXPECT_TRUE(test::samePixels(image, reduced)) << "dither " << dither;
    }
}

TEST(ColourReduce, IndexedImageThatFitsIsUntouchedOnlyUnderAdaptive) {
    Image indexed = test::patternImage(10, 6, 4);  // 16 palette entries
    const struct {
        uint32_t requested, paletteType, ditherType;
        bool untouched;
    } cases[] = {{16, 0, 2, true}, {200, 0, 2, true}, {8, 0, 0, false}, {16, 1, 0, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.requested << " " << c.paletteType);
        Image image = indexed;
        EXPECT_EQ(reduceColours(image, c.requested, c.paletteType, c.ditherType), c.requested);
        EXPECT_EQ(image.bitsPerPixel(), c.untouched ? 4u : 8u);
        EXPECT_EQ(image.plane.sharesPixelsWith(indexed.plane), c.untouched);
    }
    indexed.paletteCount = 0;                           // counts as 256
    EXPECT_EQ(reduceColours(indexed, 100, 0, 0), 16u);  // only 16 colours occur
}

TEST(ColourReduce, AdaptiveKeepsFewExactColoursAndFitsASmoothPicture) {
    const Colour few[] = {rgb(0, 0, 0), rgb(255, 255, 255), rgb(5, 200, 77), rgb(6, 201, 78),
                          rgb(250, 10, 128)};
    Image reduced = paint(15, 4, [&](uint32_t x, uint32_t y) { return few[(x + y) % 5]; });
    // The two near greens share a histogram cell and become their mean.
    EXPECT_EQ(reduceColours(reduced, 256, 0, 2), 4u);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 15; ++x) {
            const Colour c = few[(x + y) % 5];
            if (greenOf(c) < 200) {
                EXPECT_EQ(colourAt(reduced, x, y), c) << x << "," << y;
            }
        }

    const Image picture = smoothPicture(160, 120);
    const struct {
        uint32_t count, paletteType, ditherType;
        double limit;  // mean squared error per channel (the noise alone is 21)
    } fits[] = {{256, 0, 0, 18}, {16, 0, 0, 250}, {256, 1, 0, 330}};
    for (const auto& f : fits) {
        Image r = picture;
        ASSERT_TRUE(reduceColours(r, f.count, f.paletteType, f.ditherType));
        EXPECT_LT(meanSquaredError(picture, r), f.limit) << f.count << " " << f.paletteType;
    }
}

// Floyd-Steinberg to black and white on greys, worked out independently:
// serpentine rows, 7/16 ahead, 3/16 below behind, 5/16 below, 1/16 below
// ahead, each arriving error limited; for greys the error is the grey's.
std::string diffusedToBlackAndWhite(const std::vector<std::vector<int>>& greys) {
    const int width = int(greys[0].size());
    auto limit = [](int e) {
        const int a = std::abs(e), l = a < 16 ? a : a < 48 ? 16 + (a - 16) / 2 : 32;
        return e < 0 ? -l : l;
    };
    std::vector<int> here(size_t(width) + 2), below(here.size());
    std::string pattern;
    for (size_t y = 0; y < greys.size(); ++y) {
        std::fill(below.begin(), below.end(), 0);
        const int step = y % 2 == 0 ? 1 : -1;
        std::string row(size_t(width), '?');
        for (int i = 0; i < width; ++i) {
            const int x = step > 0 ? i : width - 1 - i, at = x + 1;
            const int v =
                std::clamp(greys[y][size_t(x)] + limit((here[size_t(at)] + 8) >> 4), 0, 255);
            const int chosen = v >= 128 ? 255 : 0;
            row[size_t(x)] = chosen ? 'W' : 'B';
            const int e = v - chosen;
            here[size_t(at + step)] += 7 * e;
            below[size_t(at - step)] += 3 * e;
            below[size_t(at)] += 5 * e;
            below[size_t(at + step)] += e;
        }
        std::swap(here, below);
        pattern += row + "/";
    }
    return pattern;
}

TEST(ColourReduce, DiffusionRunsSerpentineWithItsWeightsAndLimits) {
    std::vector<std::vector<int>> column(12, std::vector<int>{100});  // diffuses only downwards
    // Near mid-grey, where swapping the 3/16 and 1/16 shares, dropping the
    // serpentine order or the limit each change the pattern.
    std::vector<std::vector<int>> ramp(6, std::vector<int>(9));
    for (size_t y = 0; y < ramp.size(); ++y)
        for (size_t x = 0; x < 9; ++x) ramp[y][x] = int(106 + x + y);
    for (const auto* greys : {&column, &ramp}) {
        const uint32_t width = uint32_t((*greys)[0].size()), height = uint32_t(greys->size());
        Image image = paint(width, height, [&](uint32_t x, uint32_t y) {
            const auto v = uint8_t((*greys)[y][x]);
            return rgb(v, v, v);
        });
        ASSERT_TRUE(reduceToBlackAndWhite(image, 2));
        std::string actual;
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < width; ++x)
                actual += colourAt(image, x, y) == rgb(255, 255, 255) ? 'W' : 'B';
            actual += "/";
        }
        EXPECT_EQ(actual, diffusedToBlackAndWhite(*greys)) << width << "x" << height;
    }
}

TEST(ColourReduce, EveryDepthAndTinySizeReducesUnderEveryType) {
    std::vector<Image> images{Image()};
    for (uint32_t bits : {1u, 4u, 8u, 24u})
        for (auto [w, h] : {std::pair{1u, 1u}, {17u, 5u}})
            images.push_back(test::patternImage(w, h, bits));
    for (const Image& source : images)
        for (uint32_t type : {0u, 1u, 3u, 6u})
            for (uint32_t dither = 0; dither <= 2; ++dither) {
                SCOPED_TRACE(testing::Message() << source.bitsPerPixel() << " " << source.width()
                                                << " " << type << " " << dither);
                Image image = source;
                ASSERT_TRUE(reduceColours(image, 2, type, dither));
                if (image.bitsPerPixel() != 8) continue;  // left as it was
                for (uint32_t y = 0; y < image.height(); ++y)
                    for (uint32_t x = 0; x < image.width(); ++x)
                        ASSERT_LT(image.plane.row(y)[x], image.paletteCount);
            }
}

TEST(ColourReduce, CancelLeavesTheImageUnchangedAndCompletionReportsOneOfOne) {
    const Image source = smoothPicture(20, 10);
    const struct { uint32_t paletteType, ditherType; } cases[] = {{0, 2}, {1, 2}, {5, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.paletteType << " " << c.ditherType);
        for (uint32_t cancelAt : {1u, 9u, 15u}) {
            Image image = source;
            const uint32_t serial = image.serial();
            uint32_t calls = 0;
            auto cancel = ProgressFunction([&](uint32_t, uint32_t) { return ++calls == cancelAt; });
            const bool twoPasses = c.paletteType == 0;
            const bool cancels = cancelAt <= (twoPasses ? 20u : 10u);
            EXPECT_EQ(reduceColours(image, 32, c.paletteType, c.ditherType, &cancel).has_value(),
                      !cancels);
            if (!cancels) continue;
            EXPECT_EQ(image.serial(), serial);
            EXPECT_EQ(image.bitsPerPixel(), 24u);
            EXPECT_TRUE(image.plane.sharesPixelsWith(source.plane));
        }
        Image image = source;
        std::pair<uint32_t, uint32_t> last;
        auto record = ProgressFunction([&](uint32_t done, uint32_t total) {
            last = {done, total};
            return false;
        });
        ASSERT_TRUE(reduceColours(image, 32, c.paletteType, c.ditherType, &record));
        EXPECT_EQ(last, std::make_pair(1u, 1u));
    }
}

}  // namespace
}  // namespace vivark
