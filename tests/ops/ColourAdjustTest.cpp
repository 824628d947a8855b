// The adjustment table against its formulas at their corners, and how the
// table reaches the pixels of a 24-bit image and the palette of an indexed one.
#include <gtest/gtest.h>

#include "ops/ColourAdjust.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

ColourAdjustment with(void (*set)(ColourAdjustment&)) {
    ColourAdjustment record;
    set(record);
    return record;
}

struct TableCase {
    const char* name;
    ColourAdjustment record;
    int input;
    Colour expected;
};

const TableCase kTableCases[] = {
    {"neutral 0", {}, 0, 0x000000},
    {"neutral 255", {}, 255, 0xFFFFFF},
    {"brightness 10 shifts by 25, not 26", with([](auto& r) { r.brightness = 10; }), 100, 0x7D7D7D},
    {"brightness -100 is black", with([](auto& r) { r.brightness = -100; }), 255, 0x000000},
    {"red and blue shifts add to brightness",
     with([](auto& r) { r.red = 20, r.blue = -20, r.brightness = 10; }), 100,
     rgb(100 + 76, 100 + 25, 100 - 25)},
    {"contrast 50 takes 192 to 255", with([](auto& r) { r.contrast = 50; }), 192, 0xFFFFFF},
    {"contrast 50 takes 100 to 73", with([](auto& r) { r.contrast = 50; }), 100, rgb(73, 73, 73)},
    {"contrast 100 puts 127 at 0", with([](auto& r) { r.contrast = 100; }), 127, 0x000000},
    {"contrast 100 puts 128 at 255", with([](auto& r) { r.contrast = 100; }), 128, 0xFFFFFF},
    {"contrast -100 makes 0 grey", with([](auto& r) { r.contrast = -100; }), 0, 0x808080},
    {"contrast -100 makes 255 grey", with([](auto& r) { r.contrast = -100; }), 255, 0x808080},
    {"contrast above 100 is held to 100", with([](auto& r) { r.contrast = 500; }), 128, 0xFFFFFF},
    {"gamma 2 lifts 64 to 128", with([](auto& r) { r.gamma = 2.0; }), 64, 0x808080},
    {"gamma 1 is the identity", with([](auto& r) { r.gamma = 1.0; }), 77, 77 * 0x010101u},
    {"negative gamma means none", with([](auto& r) { r.gamma = -3.0; }), 77, 77 * 0x010101u},
    {"solarize 0 changes nothing", with([](auto& r) { r.solarizeThreshold = 0; }), 10,
     10 * 0x010101u},
    {"solarize 256 inverts 255", with([](auto& r) { r.solarizeThreshold = 256; }), 255, 0x000000},
    {"solarize inverts below the threshold", with([](auto& r) { r.solarizeThreshold = 100; }), 99,
     156 * 0x010101u},
    {"solarize keeps the threshold", with([](auto& r) { r.solarizeThreshold = 100; }), 100,
     100 * 0x010101u},
    {"negative inverts", with([](auto& r) { r.negative = true; }), 30, 225 * 0x010101u},
    {"negative with solarize keeps levels below",
     with([](auto& r) { r.negative = true, r.solarizeThreshold = 100; }), 99, 99 * 0x010101u},
    {"negative with solarize inverts levels above",
     with([](auto& r) { r.negative = true, r.solarizeThreshold = 100; }), 200, 55 * 0x010101u},
    {"gamma applies after brightness", with([](auto& r) { r.brightness = 100, r.gamma = 2.0; }), 0,
     0xFFFFFF},
};

TEST(ColourAdjust, TableFollowsTheFormulasAtTheCorners) {
    for (const TableCase& c : kTableCases)
        EXPECT_EQ(buildAdjustmentTable(c.record)[c.input], c.expected) << c.name;
}

TEST(ColourAdjust, NeutralRecordIsTheIdentity) {
    const AdjustmentTable table = buildAdjustmentTable({});
    for (uint32_t i = 0; i < 256; ++i) ASSERT_EQ(table[i], i * 65793u);
}

TEST(ColourAdjust, ColourWarmsRedAndCoolsBlue) {
    const ColourAdjustment record = adjustmentOf(BrightnessContrastColour{0, 0, 20});
    EXPECT_EQ(buildAdjustmentTable(record)[100], rgb(151, 100, 49));
}

TEST(ColourAdjust, TrueColourTakesEachChannelFromItsOwnLevelAndPaletteImagesKeepPixels) {
    const ColourAdjustment record = adjustmentOf(RgbBalance{10, 0, -10});
    const AdjustmentTable table = buildAdjustmentTable(record);
    auto expected = [&](Colour c) {
        return rgb(redOf(table[redOf(c)]), greenOf(table[greenOf(c)]), blueOf(table[blueOf(c)]));
    };
    for (uint32_t bits : {24u, 8u, 4u, 1u}) {
        const Image source = test::patternImage(7, 5, bits);
        const OpResult result = adjustColours(source, record);
        ASSERT_TRUE(result);
        ASSERT_EQ(result->bitsPerPixel(), bits);
        if (bits <= 8) {
            EXPECT_TRUE(result->plane.sharesPixelsWith(source.plane));
        }
        for (uint32_t y = 0; y < 5; ++y)
            for (uint32_t x = 0; x < 7; ++x)
                ASSERT_EQ(test::colourAt(*result, x, y), expected(test::colourAt(source, x, y)))
                    << bits << " bits at " << x << "," << y;
    }
}

}  // namespace
}  // namespace vivark
