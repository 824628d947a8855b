// The resampling filters of resize and rotate, and the per-axis weight
// tables the scaling engine precomputes once per pass.
//
// Mitchell-Netravali's cubic with B = C = 1/3 (support 2) is the one smooth
// filter; the point filter does no weighting and takes the source sample
// under the mapped centre. A weight table holds, for every output coordinate
// of one axis, the first contributing source index and its taps as 14-bit
// fixed-point weights that sum to exactly 1 << 14, so a flat area stays flat
// to the level. Taps beyond the source edge are dropped and the remaining
// weights renormalised: the border is neither darkened nor repeated.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace vivark {

enum class FilterKind : uint8_t { Mitchell, Point };

// Mitchell-Netravali cubic, B = C = 1/3, at distance x (in source pixels).
constexpr double mitchell(double x) {
    const double a = x < 0 ? -x : x;
    if (a < 1.0) return (7.0 / 6.0) * a * a * a - 2.0 * a * a + 8.0 / 9.0;
    if (a < 2.0) return (-7.0 / 18.0) * a * a * a + 2.0 * a * a - (10.0 / 3.0) * a + 16.0 / 9.0;
    return 0.0;
}
constexpr double kMitchellSupport = 2.0;

// One fixed-point unit of weight.
constexpr int kWeightBits = 14;
constexpr int32_t kWeightOne = 1 << kWeightBits;

// The taps of one axis: output o reads source indexes first[o] ..
// first[o] + count[o] - 1 with weights weights[o * taps ...].
struct AxisWeights {
    uint32_t taps = 0;  // window size: the stride of `weights`
    std::vector<uint32_t> first;
    std::vector<uint32_t> count;
    std::vector<int16_t> weights;
};

// The window size of an axis scaled by `scale` (destination / source extent),
// ceil(2 x support), the support widening by 1 / scale when shrinking: what
// the scaling engine's choice of pass order counts.
uint32_t windowSize(FilterKind filter, double scale);

// Weights for `outCount` output pixels of an axis where the destination
// extent `dstExtent` covers the whole source extent `srcExtent`: output
// pixel o (0-based inside the destination extent) maps its centre o + 0.5 to
// (o + 0.5) * srcExtent / dstExtent in the source, whose pixel i is centred
// at i + 0.5.
AxisWeights axisWeights(FilterKind filter, uint32_t srcExtent, uint32_t dstExtent);

}  // namespace vivark
