// The lazily filled inverse colour map.
#include "ops/InverseColourMap.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vivark {

InverseColourMap::InverseColourMap(const MapPoint* points, unsigned count)
    : InverseColourMap(Cells(new uint16_t[kCells]), points, count) {}

InverseColourMap::InverseColourMap(Cells cells, const MapPoint* points, unsigned count)
    : cells_(std::move(cells)) {
    reset(points, count);
}

void InverseColourMap::reset(const MapPoint* points, unsigned count) {
    count_ = std::min(count, 256u);
    std::copy(points, points + count_, points_.begin());
    std::memset(cells_.get(), 0, kCells * sizeof(uint16_t));
}

void InverseColourMap::fillBlock(unsigned blockA, unsigned blockB, unsigned blockC) {
    // The block's cell centres run from low to high in each coordinate.
    const int32_t low[3] = {int32_t(blockA) * 32 + 2, int32_t(blockB) * 32 + 2,
                            int32_t(blockC) * 32 + 2};
    std::array<int64_t, 256> nearest;
    int64_t bound = std::numeric_limits<int64_t>::max();
    for (unsigned i = 0; i < count_; ++i) {
        int64_t nearSum = 0, farSum = 0;
        for (int k = 0; k < 3; ++k) {
            const int32_t p = points_[i][k];
            const int32_t lo = low[k], hi = low[k] + 28;
            const int64_t near = p < lo ? lo - p : p > hi ? p - hi : 0;
            const int64_t far = std::max(p - lo, hi - p);
            nearSum += near * near;
            farSum += far * far;
        }
        nearest[i] = nearSum;
        bound = std::min(bound, farSum);
    }
    unsigned candidateCount = 0;
    for (unsigned i = 0; i < count_; ++i)
        if (nearest[i] <= bound) candidates_[candidateCount++] = static_cast<uint8_t>(i);

    for (unsigned a = 0; a < 8; ++a) {
        const int32_t ca = low[0] + int32_t(a) * 4;
        for (unsigned b = 0; b < 8; ++b) {
            const int32_t cb = low[1] + int32_t(b) * 4;
            uint16_t* row = &cells_[(blockA * 8 + a) << 12 | (blockB * 8 + b) << 6 | blockC * 8];
            for (unsigned c = 0; c < 8; ++c) {
                const int32_t cc = low[2] + int32_t(c) * 4;
                int32_t best = std::numeric_limits<int32_t>::max();
                unsigned bestIndex = 0;
                for (unsigned j = 0; j < candidateCount; ++j) {
                    const MapPoint& p = points_[candidates_[j]];
                    const int32_t da = p[0] - ca, db = p[1] - cb, dc = p[2] - cc;
                    const int32_t d = da * da + db * db + dc * dc;
                    if (d < best) {
                        best = d;
                        bestIndex = candidates_[j];
                    }
                }
                row[c] = static_cast<uint16_t>(bestIndex + 1);
            }
        }
    }
}

}  // namespace vivark
