// The luminance and colour-difference transform against its defining
// formulas: exact on the primaries and a few colours clear of rounding
// boundaries, within one step everywhere on a grid.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ops/LumaTransform.h"

namespace vivark {
namespace {

TEST(LumaTransform, FollowsTheFormulasWithHalfAddedAndTopsHeldAt255) {
    const struct {
        int red, green, blue;
        int32_t y, cb, cr;
    } cases[] = {
        {0, 0, 0, 0, 128, 128},     {255, 255, 255, 255, 128, 128}, {100, 100, 100, 100, 128, 128},
        {255, 0, 0, 76, 85, 255},   {0, 255, 0, 150, 44, 21},       {0, 0, 255, 29, 255, 107},
        {30, 90, 210, 86, 198, 88},
    };
    for (const auto& c : cases) {
        int32_t out[3];
        toLuma(unsigned(c.blue), unsigned(c.green), unsigned(c.red), out);
        EXPECT_EQ(out[0], c.y) << c.red << "," << c.green << "," << c.blue;
        EXPECT_EQ(out[1], c.cb) << c.red << "," << c.green << "," << c.blue;
        EXPECT_EQ(out[2], c.cr) << c.red << "," << c.green << "," << c.blue;
    }
    // Fixed-point steps may land a value exactly on .5 one step lower.
    unsigned far = 0;
    for (int r = 0; r < 256; r += 15)
        for (int g = 0; g < 256; g += 15)
            for (int b = 0; b < 256; b += 15) {
                const double exact[3] = {0.299 * r + 0.587 * g + 0.114 * b + 0.5,
                                         -0.16874 * r - 0.33126 * g + 0.5 * b + 128.5,
                                         0.5 * r - 0.41869 * g - 0.08131 * b + 128.5};
                int32_t out[3];
                toLuma(unsigned(b), unsigned(g), unsigned(r), out);
                for (int k = 0; k < 3; ++k)
                    far += std::abs(out[k] - std::min(255, int(std::floor(exact[k])))) > 1;
            }
    EXPECT_EQ(far, 0u);
}

}  // namespace
}  // namespace vivark
