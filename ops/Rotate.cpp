// Rotate: the turned picture's geometry, the point-sampled path in 16.16
// fixed point and the bicubic path.
#include "ops/Rotate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/Errors.h"
#include "ops/PixelAccess.h"
#include "ops/ResampleFilter.h"
#include "ops/ResampleImage.h"

namespace vivark {
namespace {

struct SineCosine {
    double s = 0;
    double c = 1;
};

SineCosine sineCosine(int32_t angle) {
    constexpr int64_t kQuarter = 90 * int64_t{kAngleUnitsPerDegree};
    if (angle % kQuarter == 0) {
        static constexpr SineCosine kTurns[4] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
        return kTurns[((angle / kQuarter) % 4 + 4) % 4];
    }
    const double radians = double(angle) / kAngleUnitsPerDegree * std::numbers::pi / 180.0;
    return {std::sin(radians), std::cos(radians)};
}

// The turned size as an Image size, checked against the limits.
void checkTurnedSize(const RotatedSize& size, uint32_t bitsPerPixel, const Limits& limits) {
    if (size.width > UINT32_MAX || size.height > UINT32_MAX) throw IMAGEERROR::TooLarge;
    checkResultSize(uint32_t(size.width), uint32_t(size.height), bitsPerPixel, limits);
}

int64_t fixed(double value) {
    return int64_t(std::floor(value * 65536.0));
}

// Point sampling of one plane; rows are counted in storage order (bottom up),
// as the fixed-point walk is defined on them.
template <class Access>
bool rotatePlane(Access, const PixelPlane& source, PixelPlane& destination, SineCosine sc,
                 uint32_t outside, ProgressCallback* progress) {
    const int64_t w = source.width(), h = source.height();
    const uint32_t width = destination.width(), height = destination.height();
    std::vector<int64_t> columnX(width), columnY(width);
    for (uint32_t j = 0; j < width; ++j) {
        const double u = double(int64_t(j) - int64_t(width / 2));
        columnX[j] = fixed(u * sc.c + double(w / 2)) + 32768;
        columnY[j] = fixed(u * sc.s + double(h / 2)) + 32768;
    }
    const uint8_t* sourceRows = source.data();
    const size_t sourceStride = source.rowStride();
    uint8_t* rows = destination.mutableData();
    for (uint32_t i = 0; i < height; ++i) {
        const double v = double(int64_t(i) - int64_t(height / 2));
        const int64_t dx = fixed(v * sc.s), dy = fixed(v * sc.c);
        uint8_t* out = rows + size_t{i} * destination.rowStride();
        for (uint32_t j = 0; j < width; ++j) {
            const int64_t x = (columnX[j] - dx) >> 16, y = (columnY[j] + dy) >> 16;
            const bool inside = x >= 0 && x < w && y >= 0 && y < h;
            Access::put(
                out, j,
                inside ? Access::get(sourceRows + size_t(y) * sourceStride, uint32_t(x)) : outside);
        }
        if (progressCancelled(progress, i + 1, height)) return false;
    }
    return true;
}

// The largest upright rectangle inside a w x h rectangle turned by the angle
// whose sine and cosine are given. When the short side is small against the
// long one, the best rectangle touches the long sides only (a half-short-side
// square argument); otherwise all four sides, solving the two edge equations.
std::pair<double, double> innerRectangle(double w, double h, SineCosine sc) {
    const double s = std::fabs(sc.s), c = std::fabs(sc.c);
    if (s < 1e-12 || c < 1e-12) return s < 1e-12 ? std::pair{w, h} : std::pair{h, w};
    const bool wide = w >= h;
    const double longSide = wide ? w : h, shortSide = wide ? h : w;
    if (shortSide <= 2.0 * s * c * longSide || std::fabs(s - c) < 1e-10) {
        const double half = 0.5 * shortSide;
        return wide ? std::pair{half / s, half / c} : std::pair{half / c, half / s};
    }
    const double cos2 = c * c - s * s;
    return {(w * c - h * s) / cos2, (h * c - w * s) / cos2};
}

// Mitchell weights of the four taps around a sample at fraction f (in 1/256)
// past the second tap, in 14-bit fixed point summing to one.
using Taps = std::array<int16_t, 4>;
std::array<Taps, 257> bicubicTable() {
    std::array<Taps, 257> table{};
    for (unsigned phase = 0; phase <= 256; ++phase) {
        const double f = phase / 256.0;
        const double exact[4] = {mitchell(f + 1), mitchell(f), mitchell(1 - f), mitchell(2 - f)};
        int total = 0;
        for (unsigned k = 0; k < 4; ++k) {
            table[phase][k] = int16_t(std::lround(exact[k] * kWeightOne));
            total += table[phase][k];
        }
        table[phase][f < 0.5 ? 1 : 2] = int16_t(table[phase][f < 0.5 ? 1 : 2] + kWeightOne - total);
    }
    return table;
}

// The 4 x 4 weighted sum of one output pixel's Ch channels; `at` yields the
// address of a tap's pixel. Each row's sum keeps six fraction bits (the
// vector path below holds it in 16 bits), the total twenty.
template <unsigned Ch, class At>
inline void bicubicPixel(const Taps& wx, const Taps& wy, At at, uint8_t* pixel) {
    int32_t sum[Ch] = {};
    for (unsigned r = 0; r < 4; ++r) {
        int32_t across[Ch] = {};
        for (unsigned k = 0; k < 4; ++k) {
            const uint8_t* p = at(k, r);
            for (unsigned c = 0; c < Ch; ++c) across[c] += wx[k] * p[c];
        }
        for (unsigned c = 0; c < Ch; ++c) sum[c] += wy[r] * ((across[c] + 128) >> 8);
    }
    for (unsigned c = 0; c < Ch; ++c)
        pixel[c] = uint8_t(std::clamp((sum[c] + (1 << 19)) >> 20, 0, 255));
}

#if defined(__SSE2__)
// Pairs of weights as the multiply-add instruction takes them: (w0, w1) and
// (w2, w3) in the two halves of each 32-bit lane.
struct TapPairs {
    int32_t low = 0;
    int32_t high = 0;
};
std::array<TapPairs, 257> tapPairs(const std::array<Taps, 257>& table) {
    std::array<TapPairs, 257> pairs{};
    for (unsigned phase = 0; phase <= 256; ++phase) {
        const Taps& t = table[phase];
        pairs[phase].low = int32_t(uint16_t(t[0]) | (uint32_t(uint16_t(t[1])) << 16));
        pairs[phase].high = int32_t(uint16_t(t[2]) | (uint32_t(uint16_t(t[3])) << 16));
    }
    return pairs;
}

// The same sum for four-byte pixels whose 4 x 4 taps all lie inside the
// source: a row's four pixels are one 16-byte load, and each pair of taps
// is one multiply-add of the pixels' channels interleaved.
inline __m128i bicubicPixel4(const uint8_t* corner, ptrdiff_t stride, const TapPairs& wx,
                             const TapPairs& wy) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i x01 = _mm_set1_epi32(wx.low), x23 = _mm_set1_epi32(wx.high);
    __m128i rows[4];
    for (unsigned r = 0; r < 4; ++r) {
        const __m128i v =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(corner + ptrdiff_t(r) * stride));
        const __m128i first = _mm_unpacklo_epi8(v, zero), last = _mm_unpackhi_epi8(v, zero);
        const __m128i a = _mm_madd_epi16(_mm_unpacklo_epi16(first, _mm_srli_si128(first, 8)), x01);
        const __m128i b = _mm_madd_epi16(_mm_unpacklo_epi16(last, _mm_srli_si128(last, 8)), x23);
        rows[r] = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(a, b), _mm_set1_epi32(128)), 8);
    }
    const __m128i r01 = _mm_packs_epi32(rows[0], rows[1]);
    const __m128i r23 = _mm_packs_epi32(rows[2], rows[3]);
    __m128i sum = _mm_add_epi32(
        _mm_madd_epi16(_mm_unpacklo_epi16(r01, _mm_srli_si128(r01, 8)), _mm_set1_epi32(wy.low)),
        _mm_madd_epi16(_mm_unpacklo_epi16(r23, _mm_srli_si128(r23, 8)), _mm_set1_epi32(wy.high)));
    sum = _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(1 << 19)), 20);
    const __m128i words = _mm_packs_epi32(sum, sum);
    return _mm_packus_epi16(words, words);  // held to 0..255
}
#endif

// Samples beyond the source's edge are the fill colour, so the turned edge
// blends into the corners; with clampEdges (an inner crop, where no corner
// shows) they repeat the edge instead, so no fill leaks in. Source positions
// step along each output row in fixed point with 24 fraction bits (the
// integer part has room for any image's coordinates, the drift over a row
// stays far below a phase); the fraction's top eight bits, rounded, choose
// the weights.
template <unsigned SrcCh, unsigned Ch>
bool rotateBicubic(const ConstSurface& source, const Surface& destination, SineCosine sc,
                   const uint8_t* fill, bool clampEdges, ProgressCallback* progress) {
    static const std::array<Taps, 257> kTable = bicubicTable();
#if defined(__SSE2__)
    static const std::array<TapPairs, 257> kPairs = tapPairs(kTable);
#endif
    constexpr int kFraction = 24;
    constexpr double kOne = double(int64_t{1} << kFraction);
    const int64_t w = source.width, h = source.height;
    const double halfWidth = destination.width / 2.0, halfHeight = destination.height / 2.0;
    const int64_t stepX = std::llround(sc.c * kOne), stepY = std::llround(-sc.s * kOne);
    for (uint32_t yp = 0; yp < destination.height; ++yp) {
        // In picture coordinates (y down) the clockwise turn of the storage
        // walk maps an offset (u, v) from the centre to (u c + v s, -u s + v c).
        const double v = yp + 0.5 - halfHeight, u = 0.5 - halfWidth;
        int64_t x = std::llround((u * sc.c + v * sc.s + w / 2.0 - 0.5) * kOne);
        int64_t y = std::llround((-u * sc.s + v * sc.c + h / 2.0 - 0.5) * kOne);
        uint8_t* out = destination.row(yp);
        for (uint32_t xp = 0; xp < destination.width; ++xp, x += stepX, y += stepY) {
            uint8_t* pixel = out + size_t{xp} * Ch;
            constexpr int64_t kMask = (int64_t{1} << kFraction) - 1,
                              kHalf = int64_t{1} << (kFraction - 9);
            const int64_t ix = (x >> kFraction) - 1, iy = (y >> kFraction) - 1;  // first taps
            const size_t phaseX = ((x & kMask) + kHalf) >> (kFraction - 8);
            const size_t phaseY = ((y & kMask) + kHalf) >> (kFraction - 8);
            const Taps& wx = kTable[phaseX];
            const Taps& wy = kTable[phaseY];
            if (uint64_t(ix) < uint64_t(w - 3) && uint64_t(iy) < uint64_t(h - 3) && w > 3 &&
                h > 3) {
                const uint8_t* corner = source.row(uint32_t(iy)) + size_t(ix) * SrcCh;
                const ptrdiff_t stride = source.stride;
#if defined(__SSE2__)
                if constexpr (SrcCh == 4) {
                    const uint32_t bytes = uint32_t(_mm_cvtsi128_si32(
                        bicubicPixel4(corner, stride, kPairs[phaseX], kPairs[phaseY])));
                    for (unsigned c = 0; c < Ch; ++c) pixel[c] = uint8_t(bytes >> (8 * c));
                    continue;
                }
#endif
                bicubicPixel<Ch>(
                    wx, wy,
                    [=](unsigned k, unsigned r) {
                        return corner + ptrdiff_t(r) * stride + k * SrcCh;
                    },
                    pixel);
            } else if (clampEdges) {
                bicubicPixel<Ch>(
                    wx, wy,
                    [&](unsigned k, unsigned r) {
                        return source.row(uint32_t(std::clamp<int64_t>(iy + r, 0, h - 1))) +
                               size_t(std::clamp<int64_t>(ix + k, 0, w - 1)) * SrcCh;
                    },
                    pixel);
            } else if (ix + 3 < 0 || iy + 3 < 0 || ix >= w || iy >= h) {
                std::copy_n(fill, Ch, pixel);
            } else {
                bicubicPixel<Ch>(
                    wx, wy,
                    [&](unsigned k, unsigned r) {
                        const int64_t tx = ix + k, ty = iy + r;
                        return tx >= 0 && tx < w && ty >= 0 && ty < h
                                   ? source.row(uint32_t(ty)) + size_t(tx) * SrcCh
                                   : fill;
                    },
                    pixel);
            }
        }
        if (progressCancelled(progress, yp + 1, destination.height)) return false;
    }
    return true;
}

}  // namespace

RotatedSize rotatedSize(uint32_t width, uint32_t height, int32_t angle) {
    const SineCosine sc = sineCosine(angle);
    const double s = std::fabs(sc.s), c = std::fabs(sc.c);
    return {uint64_t(std::ceil(height * s + width * c)),
            uint64_t(std::ceil(width * s + height * c))};
}

OpResult rotatePoint(const Image& image, const RotateRequest& request, ProgressCallback* progress,
                     const Limits& limits) {
    if (image.plane.empty()) return image;
    const SineCosine sc = sineCosine(request.angle);
    const RotatedSize size = rotatedSize(image.width(), image.height(), request.angle);
    const bool second = !image.secondPlane.empty() && image.secondPlane.width() == image.width() &&
                        image.secondPlane.height() == image.height();
    checkTurnedSize(size, image.bitsPerPixel(), limits);
    if (second) checkTurnedSize(size, image.secondPlane.bitsPerPixel(), limits);

    Image result = image;
    result.plane =
        PixelPlane(uint32_t(size.width), uint32_t(size.height), image.bitsPerPixel(), true);
    result.colourCount = 0;
    const bool done = withDepth(image.bitsPerPixel(), [&](auto access) {
        return rotatePlane(access, image.plane, result.plane, sc, 0, progress);
    });
    if (!done) return std::nullopt;
    if (second) {
        // Outside the picture: transparent alpha, or an AND mask of 1.
        const uint32_t clear = image.secondPlaneKind == SecondPlane::AndMask ? 1 : 0;
        result.secondPlane = PixelPlane(uint32_t(size.width), uint32_t(size.height),
                                        image.secondPlane.bitsPerPixel(), true);
        withDepth(image.secondPlane.bitsPerPixel(), [&](auto access) {
            return rotatePlane(access, image.secondPlane, result.secondPlane, sc, clear, nullptr);
        });
    } else {
        result.secondPlane = PixelPlane();
        result.secondPlaneKind = SecondPlane::None;
    }
    return result;
}

OpResult rotateResampled(const Image& image, const RotateRequest& request,
                         ProgressCallback* progress, const Limits& limits) {
    if (image.plane.empty()) return image;
    const SineCosine sc = sineCosine(request.angle);
    RotatedSize size = rotatedSize(image.width(), image.height(), request.angle);
    if (request.cropInside) {
        const auto [width, height] = innerRectangle(image.width(), image.height(), sc);
        size = {std::max<uint64_t>(1, uint64_t(width + 1e-9)),
                std::max<uint64_t>(1, uint64_t(height + 1e-9))};
    }
    const ResampleFormat format = resampleFormatOf(image);
    checkTurnedSize(size, 8, limits);
    ResampleTarget target(image, uint32_t(size.width), uint32_t(size.height), format, limits);
    const ResampleSource source(image, format);
    uint8_t fill[4] = {};
    fillSamples(request.fill, format, fill);
    bool done = false;
    switch (format.channels) {
        case 1:
            done = rotateBicubic<1, 1>(source.surface(), target.surface(), sc, fill,
                                       request.cropInside, progress);
            break;
        case 2:
            done = rotateBicubic<2, 2>(source.surface(), target.surface(), sc, fill,
                                       request.cropInside, progress);
            break;
        case 3: {
            // Three channels are widened to four bytes a pixel once, so
            // every tap row is one 16-byte load in the vector path.
            const ConstSurface& three = source.surface();
            std::vector<uint8_t> wide(size_t{three.width} * three.height * 4);
            for (uint32_t y = 0; y < three.height; ++y) {
                const uint8_t* in = three.row(y);
                uint8_t* out = &wide[size_t{y} * three.width * 4];
                for (uint32_t x = 0; x < three.width; ++x)
                    std::copy_n(in + 3 * size_t{x}, 3, out + 4 * size_t{x});
            }
            const ConstSurface four{wide.data(), ptrdiff_t(three.width) * 4, three.width,
                                    three.height};
            done =
                rotateBicubic<4, 3>(four, target.surface(), sc, fill, request.cropInside, progress);
            break;
        }
        default:
            done = rotateBicubic<4, 4>(source.surface(), target.surface(), sc, fill,
                                       request.cropInside, progress);
            break;
    }
    if (!done) return std::nullopt;
    return target.finish();
}

}  // namespace vivark
