// The colour cube: level values, quantisation bands and their extended ends,
// and the ordered dither's pattern.
#include <gtest/gtest.h>

#include <vector>

#include "ops/ColourCube.h"
#include "ops/ColourReduce.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

TEST(ColourCube, LevelsAndBandsPerLevelCount) {
    const struct {
        unsigned levels;
        std::vector<unsigned> values;
        std::vector<unsigned> bandEnds;  // the last value of each level but the top one
    } cases[] = {
        {2, {0, 255}, {128}},
        {4, {0, 85, 170, 255}, {43, 128, 213}},
        {6, {0, 51, 102, 153, 204, 255}, {26, 77, 128, 179, 230}},
        {7, {0, 43, 85, 128, 170, 213, 255}, {21, 64, 106, 149, 191, 234}},
        {8, {0, 36, 73, 109, 146, 182, 219, 255}, {18, 55, 91, 128, 164, 200, 237}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.levels);
        // Red is the channel with the largest multiplier: green x blue = 4.
        const ColourCube cube(c.levels, 2, 2);
        const unsigned top = c.levels - 1;
        for (unsigned i = 0; i < c.levels; ++i)
            EXPECT_EQ(ColourCube::levelValue(i, c.levels), c.values[i]) << i;
        for (unsigned i = 0; i < top; ++i) {
            EXPECT_EQ(cube.quantise(2, int(c.bandEnds[i])), i * 4) << i;
            EXPECT_EQ(cube.quantise(2, int(c.bandEnds[i]) + 1), (i + 1) * 4) << i;
        }
        EXPECT_EQ(cube.quantise(2, -255), 0u);
        EXPECT_EQ(cube.quantise(2, 510), top * 4);
        // Offsets span +-127 / (n - 1) from the matrix's 0 to its 255.
        EXPECT_EQ(cube.ditherOffset(2, 0, 0), int(127 / top));
        EXPECT_EQ(cube.ditherOffset(2, 0, 15), -int(127 / top));
    }
}

TEST(ColourCube, OrderedMidGreyIsAHalfPatternRepeatingEverySixteenPixels) {
    Image grey(40, 37, 24);
    for (uint32_t y = 0; y < grey.height(); ++y)
        std::fill_n(grey.plane.mutableRow(y), 3 * grey.width(), uint8_t{128});
    ASSERT_EQ(reduceColours(grey, 8, uint32_t(PaletteType::Cube222), uint32_t(DitherType::Ordered)),
              8u);
    unsigned white = 0;
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 16; ++x) {
            const uint8_t index = grey.plane.row(y)[x];
            // 128 + offset passes the band end 128 where the offset is at
            // least 1; the offsets of 127 and 128 both truncate to 0.
            EXPECT_EQ(index, ColourCube::ditherMatrix(y, x) < 127 ? 7 : 0) << x << "," << y;
            white += index == 7;
        }
    EXPECT_EQ(white, 127u);  // half, less the cell of 127
    for (uint32_t y = 0; y < grey.height(); ++y)
        for (uint32_t x = 0; x < grey.width(); ++x)
            ASSERT_EQ(grey.plane.row(y)[x], grey.plane.row(y % 16)[x % 16]) << x << "," << y;
    EXPECT_EQ(test::colourAt(grey, 0, 0), rgb(255, 255, 255));
}

}  // namespace
}  // namespace vivark
