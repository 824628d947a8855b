// The inverse colour map against a brute-force search: every cell gets an
// entry at the least distance from its centre, for scattered, clustered and
// duplicated palettes of several sizes.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ops/InverseColourMap.h"

namespace vivark {
namespace {

int32_t distance(const MapPoint& p, unsigned a, unsigned b, unsigned c) {
    const int32_t da = p[0] - int32_t(a * 4 + 2), db = p[1] - int32_t(b * 4 + 2),
                  dc = p[2] - int32_t(c * 4 + 2);
    return da * da + db * db + dc * dc;
}

TEST(InverseColourMap, EveryCellHoldsATrueNearestEntry) {
    std::mt19937 random(12345);
    const struct {
        unsigned count;
        int spread, base;  // points lie in [base, base + spread)
        unsigned stride;   // cells checked: every stride-th
    } cases[] = {{1, 256, 0, 1},   {2, 256, 0, 1}, {17, 256, 0, 1},
                 {40, 24, 200, 3}, {64, 4, 0, 3},  {256, 256, 0, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        std::vector<MapPoint> points(c.count);
        for (MapPoint& p : points)
            for (int32_t& v : p) v = c.base + int32_t(random() % unsigned(c.spread));
        InverseColourMap map(points.data(), c.count);
        unsigned wrong = 0;
        for (unsigned cell = 0; cell < InverseColourMap::kCells; cell += c.stride) {
            const unsigned a = cell >> 12, b = cell >> 6 & 63, cc = cell & 63;
            const uint8_t chosen = map.lookup(a * 4 + 3, b * 4, cc * 4 + 1);
            ASSERT_LT(chosen, c.count);
            int32_t best = INT32_MAX;
            for (const MapPoint& p : points) best = std::min(best, distance(p, a, b, cc));
            wrong += distance(points[chosen], a, b, cc) != best;
        }
        EXPECT_EQ(wrong, 0u);
    }
}

TEST(InverseColourMap, ResetForgetsTheOldPalette) {
    const MapPoint black{0, 0, 0}, white{255, 255, 255};
    InverseColourMap map(&black, 1);
    EXPECT_EQ(map.lookup(255, 255, 255), 0);
    const MapPoint both[2] = {black, white};
    map.reset(both, 2);
    EXPECT_EQ(map.lookup(255, 255, 255), 1);
    EXPECT_EQ(map.lookup(0, 0, 0), 0);
}

}  // namespace
}  // namespace vivark
