// The colour histogram, the variance-minimising box split and the k-means
// refinement.
#include "ops/AdaptivePalette.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vivark {
namespace {

constexpr unsigned kSide = InverseColourMap::kSide;
constexpr unsigned kCells = InverseColourMap::kCells;
constexpr int kRefinementPasses = 6;

// Sums over a set of cells: pixel count, colour sums, sum of squared colours.
struct Moment {
    double weight = 0, red = 0, green = 0, blue = 0, squares = 0;

    Moment& operator+=(const Moment& o) {
        weight += o.weight, red += o.red, green += o.green, blue += o.blue, squares += o.squares;
        return *this;
    }
    Moment& operator-=(const Moment& o) {
        weight -= o.weight, red -= o.red, green -= o.green, blue -= o.blue, squares -= o.squares;
        return *this;
    }
    friend Moment operator-(Moment a, const Moment& b) { return a -= b; }
    double pull() const { return (red * red + green * green + blue * blue) / weight; }
    double error() const { return weight > 0 ? squares - pull() : 0; }
};

// A box of cells: low (exclusive) and high (inclusive) per axis, 0..64 in
// the moment tables' coordinates.
struct Box {
    int low[3];
    int high[3];
    double error = 0;
};

// Cumulative moments over a 65 x 65 x 65 grid whose first plane of each axis
// is zero, so the sum over any box is eight look-ups.
class MomentTable {
  public:
    static constexpr unsigned kEdge = kSide + 1;

    explicit MomentTable(const ColourHistogram& histogram) : table_(size_t{kEdge} * kEdge * kEdge) {
        for (unsigned cell = 0; cell < kCells; ++cell) {
            const uint16_t count = histogram.count(cell);
            if (count == 0) continue;
            const auto& s = histogram.sums(cell);
            Moment& m = at(int(cell >> 12) + 1, int(cell >> 6 & 63) + 1, int(cell & 63) + 1);
            m.weight = count;
            m.red = s[0], m.green = s[1], m.blue = s[2];
            // The spread inside a cell is not kept; its mean stands for it.
            m.squares = (double(s[0]) * s[0] + double(s[1]) * s[1] + double(s[2]) * s[2]) / count;
        }
        // Running sums along blue, then green, then red.
        for (int r = 1; r <= int(kSide); ++r)
            for (int g = 1; g <= int(kSide); ++g)
                for (int b = 1; b <= int(kSide); ++b) at(r, g, b) += at(r, g, b - 1);
        for (int r = 1; r <= int(kSide); ++r)
            for (int g = 1; g <= int(kSide); ++g)
                for (int b = 1; b <= int(kSide); ++b) at(r, g, b) += at(r, g - 1, b);
        for (int r = 1; r <= int(kSide); ++r)
            for (int g = 1; g <= int(kSide); ++g)
                for (int b = 1; b <= int(kSide); ++b) at(r, g, b) += at(r - 1, g, b);
    }

    Moment sum(const Box& box) const {
        const int* lo = box.low;
        const int* hi = box.high;
        Moment m = at(hi[0], hi[1], hi[2]);
        m -= at(lo[0], hi[1], hi[2]);
        m -= at(hi[0], lo[1], hi[2]);
        m -= at(hi[0], hi[1], lo[2]);
        m += at(lo[0], lo[1], hi[2]);
        m += at(lo[0], hi[1], lo[2]);
        m += at(hi[0], lo[1], lo[2]);
        m -= at(lo[0], lo[1], lo[2]);
        return m;
    }

  private:
    Moment& at(int r, int g, int b) { return table_[(size_t(r) * kEdge + g) * kEdge + b]; }
    const Moment& at(int r, int g, int b) const {
        return table_[(size_t(r) * kEdge + g) * kEdge + b];
    }

    std::vector<Moment> table_;
};

// Cuts `box` where the two halves keep the least squared error; false when
// no cut leaves pixels on both sides.
bool cutBox(const MomentTable& moments, Box& box, Box& other) {
    const Moment whole = moments.sum(box);
    double best = -1;
    int bestAxis = -1, bestPlane = 0;
    for (int axis = 0; axis < 3; ++axis) {
        Box lower = box;
        for (int plane = box.low[axis] + 1; plane < box.high[axis]; ++plane) {
            lower.high[axis] = plane;
            const Moment below = moments.sum(lower);
            const Moment above = whole - below;
            if (below.weight <= 0 || above.weight <= 0) continue;
            // Squared error = squares - pull; the squares are the same for
            // every cut, so the best cut has the largest pull.
            const double pull = below.pull() + above.pull();
            if (pull > best) {
                best = pull;
                bestAxis = axis;
                bestPlane = plane;
            }
        }
    }
    if (bestAxis < 0) return false;
    other = box;
    box.high[bestAxis] = bestPlane;
    other.low[bestAxis] = bestPlane;
    box.error = moments.sum(box).error();
    other.error = moments.sum(other).error();
    return true;
}

Colour meanColour(double red, double green, double blue, double weight) {
    auto level = [weight](double sum) {
        return uint8_t(std::clamp(sum / weight + 0.5, 0.0, 255.0));
    };
    return rgb(level(red), level(green), level(blue));
}

unsigned splitBoxes(const ColourHistogram& histogram, unsigned wanted, Colour* palette) {
    const MomentTable moments(histogram);
    std::vector<Box> boxes;
    boxes.reserve(wanted);
    Box all{{0, 0, 0}, {int(kSide), int(kSide), int(kSide)}, 0};
    all.error = moments.sum(all).error();
    boxes.push_back(all);
    while (boxes.size() < wanted) {
        size_t worst = 0;
        for (size_t i = 1; i < boxes.size(); ++i)
            if (boxes[i].error > boxes[worst].error) worst = i;
        if (boxes[worst].error <= 0) break;
        Box other;
        if (cutBox(moments, boxes[worst], other))
            boxes.push_back(other);
        else
            boxes[worst].error = 0;
    }
    for (size_t i = 0; i < boxes.size(); ++i) {
        const Moment m = moments.sum(boxes[i]);
        palette[i] = meanColour(m.red, m.green, m.blue, m.weight);
    }
    return unsigned(boxes.size());
}

// Moves each entry to the mean of the cells whose centres lie nearest to it.
void refine(const ColourHistogram& histogram, const std::vector<uint32_t>& occupied, unsigned count,
            Colour* palette) {
    std::array<MapPoint, 256> points;
    auto setPoints = [&] {
        for (unsigned i = 0; i < count; ++i)
            points[i] = {redOf(palette[i]), greenOf(palette[i]), blueOf(palette[i])};
    };
    setPoints();
    InverseColourMap map(points.data(), count);
    for (int pass = 0; pass < kRefinementPasses; ++pass) {
        std::array<Moment, 256> members{};
        for (uint32_t cell : occupied) {
            const uint8_t index =
                map.lookup((cell >> 12) << 2, (cell >> 6 & 63) << 2, (cell & 63) << 2);
            const auto& s = histogram.sums(cell);
            Moment& m = members[index];
            m.weight += histogram.count(cell);
            m.red += s[0], m.green += s[1], m.blue += s[2];
        }
        bool moved = false;
        for (unsigned i = 0; i < count; ++i) {
            const Moment& m = members[i];
            if (m.weight <= 0) continue;
            const Colour mean = meanColour(m.red, m.green, m.blue, m.weight);
            moved |= mean != palette[i];
            palette[i] = mean;
        }
        if (!moved) break;
        setPoints();
        map.reset(points.data(), count);
    }
}

}  // namespace

ColourHistogram::ColourHistogram()
    : counts_(new uint16_t[kCells]()), sums_(new std::array<uint32_t, 3>[kCells]()) {}

void ColourHistogram::addRow(const uint8_t* bgr, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x, bgr += 3) {
        const unsigned cell = cellOf(bgr[2], bgr[1], bgr[0]);
        uint16_t& n = counts_[cell];
        if (n == 0xFFFF) continue;
        ++n;
        auto& s = sums_[cell];
        s[0] += bgr[2];
        s[1] += bgr[1];
        s[2] += bgr[0];
    }
}

unsigned chooseAdaptivePalette(const ColourHistogram& histogram, unsigned wanted, Colour* palette) {
    wanted = std::clamp(wanted, 1u, 256u);
    std::vector<uint32_t> occupied;
    for (uint32_t cell = 0; cell < kCells; ++cell)
        if (histogram.count(cell) != 0) occupied.push_back(cell);
    if (occupied.empty()) {
        palette[0] = 0;
        return 1;
    }
    if (occupied.size() <= wanted) {
        for (size_t i = 0; i < occupied.size(); ++i) {
            const auto& s = histogram.sums(occupied[i]);
            palette[i] = meanColour(s[0], s[1], s[2], histogram.count(occupied[i]));
        }
        return unsigned(occupied.size());
    }
    const unsigned count = splitBoxes(histogram, wanted, palette);
    refine(histogram, occupied, count, palette);
    return count;
}

}  // namespace vivark
