// Weight tables of the resampling filters.
#include "ops/ResampleFilter.h"

#include <algorithm>

namespace vivark {
namespace {

double supportFor(FilterKind filter, double scale) {
    if (filter == FilterKind::Point) return 0.5;
    return std::max(0.5, kMitchellSupport * std::max(1.0, 1.0 / scale));
}

}  // namespace

uint32_t windowSize(FilterKind filter, double scale) {
    if (filter == FilterKind::Point) return 1;
    return uint32_t(std::ceil(2.0 * supportFor(filter, scale)));
}

AxisWeights axisWeights(FilterKind filter, uint32_t srcExtent, uint32_t dstExtent) {
    AxisWeights table;
    const double scale = double(dstExtent) / double(srcExtent);
    const double support = supportFor(filter, scale);
    // Shrinking stretches the filter over 1 / scale source pixels.
    const double stretch = std::max(1.0, 1.0 / scale);
    // A window's pixels may straddle one more pixel than its width.
    table.taps = windowSize(filter, scale) + (filter == FilterKind::Point ? 0 : 1);
    table.first.resize(dstExtent);
    table.count.resize(dstExtent);
    table.weights.assign(size_t{dstExtent} * table.taps, 0);
    std::vector<double> exact(table.taps);
    for (uint32_t o = 0; o < dstExtent; ++o) {
        const double centre = (o + 0.5) / scale;
        int16_t* out = &table.weights[size_t{o} * table.taps];
        if (filter == FilterKind::Point) {
            table.first[o] = std::min(uint32_t(centre), srcExtent - 1);
            table.count[o] = 1;
            out[0] = int16_t(kWeightOne);
            continue;
        }
        // Source pixels whose centres lie within the support of `centre`.
        const int64_t low = std::max<int64_t>(0, int64_t(std::floor(centre - support + 0.5)));
        const int64_t high =
            std::min<int64_t>(srcExtent, int64_t(std::floor(centre + support + 0.5)));
        uint32_t n = uint32_t(std::min<int64_t>(high - low, table.taps));
        double sum = 0;
        for (uint32_t k = 0; k < n; ++k) {
            exact[k] = mitchell((double(low + k) + 0.5 - centre) / stretch);
            sum += exact[k];
        }
        if (n == 0 || sum <= 0) {  // degenerate: take the nearest sample
            table.first[o] = std::min(uint32_t(centre), srcExtent - 1);
            table.count[o] = 1;
            out[0] = int16_t(kWeightOne);
            continue;
        }
        // Quantise, then give the rounding remainder to the largest tap so
        // the weights sum to exactly one.
        int32_t total = 0;
        uint32_t largest = 0;
        for (uint32_t k = 0; k < n; ++k) {
            const int32_t w = int32_t(std::lround(exact[k] / sum * kWeightOne));
            out[k] = int16_t(w);
            total += w;
            if (exact[k] > exact[largest]) largest = k;
        }
        out[largest] = int16_t(out[largest] + (kWeightOne - total));
        // Trim zero taps at both ends so the inner loops do no dead work.
        uint32_t start = 0;
        while (start + 1 < n && out[start] == 0) ++start;
        while (n > start + 1 && out[n - 1] == 0) --n;
        if (start > 0) std::copy(out + start, out + n, out);
        std::fill(out + (n - start), out + table.taps, int16_t(0));
        table.first[o] = uint32_t(low) + start;
        table.count[o] = n - start;
    }
    return table;
}

}  // namespace vivark
