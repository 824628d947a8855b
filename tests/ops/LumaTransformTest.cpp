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
        unsigned red, green, blue;
        int32_t ycc[3];
    } cases[] = {{255, 255, 255, {255, 128, 128}},
                 {255, 0, 0, {76, 85, 255}},
                 {0, 0, 255, {29, 255, 107}},
                 {30, 90, 210, {86, 198, 88}}};
    for (const auto& c : cases) {
        int32_t out[3];
        toLuma(c.blue, c.green, c.red, out);
        EXPECT_TRUE(std::equal(out, out + 3, c.ycc)) << c.red << "," << c.green << "," << c.blue;
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
