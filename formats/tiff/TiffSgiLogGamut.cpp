// The table of LogLuv chroma cells (see TiffSgiLogGamut.h), derived from the
// CIE 1931 2-degree colour-matching functions rather than stored.
//
// The gamut is the region bounded by the spectral locus, sampled every
// nanometre from 360 to 830 nm, and the line of purples that closes it. The
// rows of cells are laid as follows:
// - Rows are 0.0035 high in v' and placed so that the neutral point
//   (v' = 9/19) lies on the middle of a row, so greys keep their v'. The
//   first row is the lowest whose lower edge lies within the gamut; the last
//   is the highest whose lower edge does.
// - A row is as wide as the gamut is at the locus samples that lie in the
//   row (the widest span over them); a row that the locus crosses without a
//   sample in it takes the width at the next sample above it.
// - The row holds that width plus a tenth of a cell, rounded up to whole
//   cells, centred on the middle of the span.
// The matching functions are tabulated every 5 nm; the samples between come
// from a six-point Lagrange interpolation, the usual way to fill in 1 nm
// steps from the 5 nm table.
#include "formats/tiff/TiffSgiLogGamut.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vivark {
namespace {

constexpr int kSamples = 95;  // 360 to 830 nm in 5 nm steps
// The CIE 1931 2-degree standard observer, x-bar, y-bar and z-bar.
constexpr double kXBar[kSamples] = {
    0.0001299,      0.0002321,      0.0004149,      0.0007416,      0.001368,      0.002236,
    0.004243,       0.00765,        0.01431,        0.02319,        0.04351,       0.07763,
    0.13438,        0.21477,        0.2839,         0.3285,         0.34828,       0.34806,
    0.3362,         0.3187,         0.2908,         0.2511,         0.19536,       0.1421,
    0.09564,        0.05795001,     0.03201,        0.0147,         0.0049,        0.0024,
    0.0093,         0.0291,         0.06327,        0.1096,         0.1655,        0.2257499,
    0.2904,         0.3597,         0.4334499,      0.5120501,      0.5945,        0.6784,
    0.7621,         0.8425,         0.9163,         0.9786,         1.0263,        1.0567,
    1.0622,         1.0456,         1.0026,         0.9384,         0.8544499,     0.7514,
    0.6424,         0.5419,         0.4479,         0.3608,         0.2835,        0.2187,
    0.1649,         0.1212,         0.0874,         0.0636,         0.04677,       0.0329,
    0.0227,         0.01584,        0.01135916,     0.008110916,    0.005790346,   0.004109457,
    0.002899327,    0.00204919,     0.001439971,    0.0009999493,   0.0006900786,  0.0004760213,
    0.0003323011,   0.0002348261,   0.0001661505,   0.000117413,    0.00008307527, 0.00005870652,
    0.00004150994,  0.00002935326,  0.00002067383,  0.00001455977,  0.00001025398, 0.000007221456,
    0.000005085868, 0.000003581652, 0.000002522525, 0.000001776509, 0.000001251141};
constexpr double kYBar[kSamples] = {
    0.000003917,  0.000006965,  0.00001239,    0.00002202,    0.000039,     0.000064,
    0.00012,      0.000217,     0.000396,      0.00064,       0.00121,      0.00218,
    0.004,        0.0073,       0.0116,        0.01684,       0.023,        0.0298,
    0.038,        0.048,        0.06,          0.0739,        0.09098,      0.1126,
    0.13902,      0.1693,       0.20802,       0.2586,        0.323,        0.4073,
    0.503,        0.6082,       0.71,          0.7932,        0.862,        0.9148501,
    0.954,        0.9803,       0.9949501,     1.0,           0.995,        0.9786,
    0.952,        0.9154,       0.87,          0.8163,        0.757,        0.6949,
    0.631,        0.5668,       0.503,         0.4412,        0.381,        0.321,
    0.265,        0.217,        0.175,         0.1382,        0.107,        0.0816,
    0.061,        0.04458,      0.032,         0.0232,        0.017,        0.01192,
    0.00821,      0.005723,     0.004102,      0.002929,      0.002091,     0.001484,
    0.001047,     0.00074,      0.00052,       0.0003611,     0.0002492,    0.0001719,
    0.00012,      0.0000848,    0.00006,       0.0000424,     0.00003,      0.0000212,
    0.00001499,   0.0000106,    0.0000074657,  0.0000052578,  0.0000037029, 0.0000026078,
    0.0000018366, 0.0000012934, 0.00000091093, 0.00000064153, 0.00000045181};
constexpr double kZBar[kSamples] = {
    0.0006061, 0.001086,   0.001946,    0.003486,    0.006450001, 0.01054999,    0.02005001,
    0.03621,   0.06785001, 0.1102,      0.2074,      0.3713,      0.6456,        1.0390501,
    1.3856,    1.62296,    1.74706,     1.7826,      1.77211,     1.7441,        1.6692,
    1.5281,    1.28764,    1.0419,      0.8129501,   0.6162,      0.46518,       0.3533,
    0.272,     0.2123,     0.1582,      0.1117,      0.07824999,  0.05725001,    0.04216,
    0.02984,   0.0203,     0.0134,      0.008749999, 0.005749999, 0.0039,        0.002749999,
    0.0021,    0.0018,     0.001650001, 0.0014,      0.0011,      0.001,         0.0008,
    0.0006,    0.00034,    0.00024,     0.00019,     0.0001,      0.00004999999, 0.00003,
    0.00002,   0.00001,    0.0,         0.0,         0.0,         0.0,           0.0,
    0.0,       0.0,        0.0,         0.0,         0.0,         0.0,           0.0,
    0.0,       0.0,        0.0,         0.0,         0.0,         0.0,           0.0,
    0.0,       0.0,        0.0,         0.0,         0.0,         0.0,           0.0,
    0.0,       0.0,        0.0,         0.0,         0.0,         0.0,           0.0,
    0.0,       0.0,        0.0,         0.0};

constexpr int kSteps = 5;                               // 1 nm samples per 5 nm step
constexpr int kVertices = (kSamples - 1) * kSteps + 1;  // 360 to 830 nm
constexpr double kCell = 0.0035;
constexpr double kNeutralU = 4.0 / 19.0, kNeutralV = 9.0 / 19.0;
constexpr int kMaxRows = 256;  // the gamut spans v' 0.016 to 0.587: 163 rows

struct Point {
    double u, v;
};

// A matching function at 360 + 5 * step + sub nm (sub 0 to 4).
double sampleAt(const double* f, int step, int sub) {
    if (sub == 0) return f[step];
    const int first = std::clamp(step - 2, 0, kSamples - 6);
    const double x = step + sub / double(kSteps);
    double sum = 0.0;
    for (int a = first; a < first + 6; ++a) {
        double weight = 1.0;
        for (int b = first; b < first + 6; ++b)
            if (b != a) weight *= (x - b) / double(a - b);
        sum += weight * f[a];
    }
    return sum;
}

struct Cells {
    double vStart = 0.0;
    uint32_t rows = 0;
    std::array<double, kMaxRows> uStart{};
    std::array<uint32_t, kMaxRows + 1> firstIndex{};  // firstIndex[rows] = cell count
};

// The gamut's leftmost and rightmost u' along the line at `v`.
void spanAt(const std::array<Point, kVertices>& locus, double v, double& left, double& right) {
    for (int i = 0; i < kVertices; ++i) {
        const Point& a = locus[i];
        const Point& b = locus[(i + 1) % kVertices];  // the last edge is the line of purples
        if ((a.v - v) * (b.v - v) > 0.0 || a.v == b.v) continue;
        const double u = a.u + (v - a.v) * (b.u - a.u) / (b.v - a.v);
        left = std::min(left, u);
        right = std::max(right, u);
    }
}

Cells buildCells() {
    std::array<Point, kVertices> locus{};
    double vMin = 1.0, vMax = 0.0;
    for (int i = 0; i < kVertices; ++i) {
        const int step = i / kSteps, sub = i % kSteps;
        const double x = sampleAt(kXBar, step, sub), y = sampleAt(kYBar, step, sub),
                     z = sampleAt(kZBar, step, sub);
        const double d = x + 15.0 * y + 3.0 * z;
        locus[i] = {4.0 * x / d, 9.0 * y / d};
        vMin = std::min(vMin, locus[i].v);
        vMax = std::max(vMax, locus[i].v);
    }
    Cells cells;
    const double below = std::floor((kNeutralV - vMin) / kCell - 0.5);
    cells.vStart = kNeutralV - (below + 0.5) * kCell;
    cells.rows = static_cast<uint32_t>(std::floor((vMax - cells.vStart) / kCell)) + 1;
    uint32_t next = 0;
    for (uint32_t r = 0; r < cells.rows; ++r) {
        const double bottom = cells.vStart + r * kCell, top = bottom + kCell;
        double left = std::numeric_limits<double>::max(), right = -left;
        double above = std::numeric_limits<double>::max();
        bool sampled = false;
        for (const Point& p : locus) {
            if (p.v >= bottom && p.v < top) {
                spanAt(locus, p.v, left, right);
                sampled = true;
            } else if (p.v >= top) {
                above = std::min(above, p.v);
            }
        }
        if (!sampled) spanAt(locus, above, left, right);
        const double count = std::ceil((right - left) / kCell + 0.1);
        cells.uStart[r] = (left + right) / 2.0 - count * kCell / 2.0;
        cells.firstIndex[r] = next;
        next += static_cast<uint32_t>(count);
    }
    cells.firstIndex[cells.rows] = next;
    return cells;
}

const Cells& cells() {
    static const Cells table = buildCells();
    return table;
}

}  // namespace

uint32_t logLuvCellCount() {
    return cells().firstIndex[cells().rows];
}

void logLuvCellCentre(uint32_t index, double& u, double& v) {
    const Cells& c = cells();
    if (index >= c.firstIndex[c.rows]) {
        u = kNeutralU;
        v = kNeutralV;
        return;
    }
    const auto* end = c.firstIndex.data() + c.rows + 1;
    const uint32_t row = static_cast<uint32_t>(std::upper_bound(c.firstIndex.data(), end, index) -
                                               c.firstIndex.data()) -
                         1;
    u = c.uStart[row] + (index - c.firstIndex[row] + 0.5) * kCell;
    v = c.vStart + (row + 0.5) * kCell;
}

}  // namespace vivark
