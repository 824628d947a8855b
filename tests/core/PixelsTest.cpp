// The pixel pipeline's row helpers against their defining formulas, written
// out plainly here: orientation by the EXIF/TIFF definitions of the eight
// values, colour conversions by their equations and known colours, sample
// scaling over every 16-bit value.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "core/pixels/ColourSpaces.h"
#include "core/pixels/Orientation.h"
#include "core/pixels/Samples.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

TEST(Orientation, EachValuePutsStoredPixelsWhereItsDefinitionSays) {
    constexpr uint32_t W = 3, H = 2;  // the stored picture
    // Where stored pixel (x, y) lands in the upright picture, by definition:
    // the first stored row is the upright top (1-4) or the left/right side.
    struct Case {
        uint32_t value;
        uint32_t (*column)(uint32_t x, uint32_t y);
        uint32_t (*row)(uint32_t x, uint32_t y);
    };
    const Case cases[] = {
        {1, [](uint32_t x, uint32_t) { return x; }, [](uint32_t, uint32_t y) { return y; }},
        {2, [](uint32_t x, uint32_t) { return W - 1 - x; }, [](uint32_t, uint32_t y) { return y; }},
        {3, [](uint32_t x, uint32_t) { return W - 1 - x; },
         [](uint32_t, uint32_t y) { return H - 1 - y; }},
        {4, [](uint32_t x, uint32_t) { return x; }, [](uint32_t, uint32_t y) { return H - 1 - y; }},
        {5, [](uint32_t, uint32_t y) { return y; }, [](uint32_t x, uint32_t) { return x; }},
        {6, [](uint32_t, uint32_t y) { return H - 1 - y; }, [](uint32_t x, uint32_t) { return x; }},
        {7, [](uint32_t, uint32_t y) { return H - 1 - y; },
         [](uint32_t x, uint32_t) { return W - 1 - x; }},
        {8, [](uint32_t, uint32_t y) { return y; }, [](uint32_t x, uint32_t) { return W - 1 - x; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        const Orientation o = Orientation::of(c.value);
        Image upright(o.swap ? H : W, o.swap ? W : H, 8);
        OrientedRows rows(upright, o, 1);
        ASSERT_EQ(rows.storedWidth(), W);
        for (uint32_t y = 0; y < H; ++y) {
            uint8_t stored[W];
            for (uint32_t x = 0; x < W; ++x) stored[x] = uint8_t(10 * y + x);
            rows.place(y, stored);
        }
        for (uint32_t y = 0; y < H; ++y)
            for (uint32_t x = 0; x < W; ++x)
                EXPECT_EQ(upright.plane.row(c.row(x, y))[c.column(x, y)], 10 * y + x);
    }
}

TEST(ColourSpaces, ConversionsFollowTheirEquations) {
    // CMYK: (255 - ink) * (255 - black) / 255, samples plain or inverted.
    const uint8_t cmyk[] = {0, 0, 0, 0, 255, 0, 0, 0, 10, 200, 90, 60};
    uint8_t bgr[12];
    cmykToBgr(cmyk, bgr, 3, false);
    for (int p = 0; p < 3; ++p)
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_EQ(bgr[3 * p + 2 - ch],
                      (255 - cmyk[4 * p + ch]) * (255 - cmyk[4 * p + 3]) / 255);
    uint8_t inverted[12];
    for (int i = 0; i < 12; ++i) inverted[i] = uint8_t(255 - cmyk[i]);
    uint8_t again[12];
    cmykToBgr(inverted, again, 3, true);
    EXPECT_TRUE(std::equal(bgr, bgr + 9, again));

    // YCbCr (BT.601 full range), chroma shared by two pixels.
    const uint8_t y[] = {0, 255, 81, 145}, cb[] = {128, 90}, cr[] = {128, 240};
    uint8_t out[12];
    ycbcrToBgr(y, cb, cr, 2, out, 4);
    for (int p = 0; p < 4; ++p) {
        const double Y = y[p], Cb = cb[p / 2] - 128.0, Cr = cr[p / 2] - 128.0;
        const double r = Y + 1.402 * Cr, b = Y + 1.772 * Cb;
        const double g = (Y - 0.299 * r - 0.114 * b) / 0.587;
        const double want[3] = {b, g, r};
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_NEAR(out[3 * p + ch], std::clamp(want[ch], 0.0, 255.0), 0.5001) << p;
    }

    // CIE L*a*b*: white, black, and the Lab values of sRGB's primaries.
    const struct {
        double l, a, b;
        uint8_t red, green, blue;
    } known[] = {{100, 0, 0, 255, 255, 255},
                 {0, 0, 0, 0, 0, 0},
                 {53.24, 80.09, 67.20, 255, 0, 0},
                 {87.73, -86.18, 83.18, 0, 255, 0},
                 {32.30, 79.19, -107.86, 0, 0, 255}};
    for (const auto& k : known) {
        const uint8_t lab[3] = {uint8_t(std::lround(k.l * 2.55)),
                                uint8_t(int8_t(std::clamp(std::lround(k.a), -128L, 127L))),
                                uint8_t(int8_t(std::clamp(std::lround(k.b), -128L, 127L)))};
        uint8_t px[3];
        labToBgr(lab, px, 1);
        // L* in 8 bits and whole a*, b* move a primary by a few levels.
        EXPECT_NEAR(px[2], k.red, 8) << k.l;
        EXPECT_NEAR(px[1], k.green, 8) << k.l;
        EXPECT_NEAR(px[0], k.blue, 8) << k.l;
    }
}

TEST(Samples, ScalingReversalAndPalettesFollowTheirDefinitions) {
    std::vector<uint8_t> big(2 * 65536), little(2 * 65536), a(65536), b(65536);
    for (uint32_t v = 0; v < 65536; ++v) {
        big[2 * v] = little[2 * v + 1] = uint8_t(v >> 8);
        big[2 * v + 1] = little[2 * v] = uint8_t(v);
    }
    scale16To8(big.data(), a.data(), 65536, true);
    scale16To8(little.data(), b.data(), 65536, false);
    for (uint32_t v = 0; v < 65536; ++v) {
        ASSERT_EQ(a[v], std::lround(v * 255.0 / 65535.0)) << v;
        ASSERT_EQ(b[v], a[v]) << v;
    }

    const float floats[] = {0.0f, 0.5f, 1.0f, -1.0f, 7.0f, std::numeric_limits<float>::quiet_NaN()};
    uint8_t scaled[6];
    scaleFloatTo8(floats, scaled, 6);
    const uint8_t want[6] = {0, 128, 255, 0, 255, 0};
    EXPECT_TRUE(std::equal(scaled, scaled + 6, want));

    uint8_t bytes[256];
    for (int v = 0; v < 256; ++v) bytes[v] = uint8_t(v);
    reverseBits(bytes, 256);
    for (int v = 0; v < 256; ++v)
        for (int bit = 0; bit < 8; ++bit) ASSERT_EQ((bytes[v] >> (7 - bit)) & 1, (v >> bit) & 1);

    const uint16_t red[] = {0, 65535, 0x8080}, green[] = {65535, 0, 257}, blue[] = {0, 0, 12850};
    Palette palette;
    paletteFrom16BitMaps(red, green, blue, 3, palette);
    EXPECT_EQ(palette[0], rgb(0, 255, 0));
    EXPECT_EQ(palette[1], rgb(255, 0, 0));
    EXPECT_EQ(palette[2], rgb(128, 1, 50));
    const uint8_t triplets[] = {1, 2, 3, 250, 251, 252};
    paletteFromRgb(triplets, 2, palette);
    EXPECT_EQ(palette[1], rgb(250, 251, 252));
}

}  // namespace
}  // namespace vivark
