// The two passes of the separable scaling engine and the nearest-sample path.
#include "ops/ScaleEngine.h"

#include <algorithm>
#include <vector>

#include "core/Errors.h"

namespace vivark {
namespace {

// Intermediate samples carry six fraction bits.
constexpr int kFractionBits = 6;

// How an accumulated sum (source units times kWeightOne) becomes a sample of
// the pass's output type.
template <class In, class Out>
struct Narrow;
template <>
struct Narrow<uint8_t, int16_t> {
    static constexpr int kShift = kWeightBits - kFractionBits;
    static int16_t apply(int32_t sum) { return int16_t((sum + (1 << (kShift - 1))) >> kShift); }
};
template <>
struct Narrow<int16_t, uint8_t> {
    static constexpr int kShift = kWeightBits + kFractionBits;
    static uint8_t apply(int32_t sum) {
        return uint8_t(std::clamp((sum + (1 << (kShift - 1))) >> kShift, 0, 255));
    }
};

// One horizontal pass over `rows` rows: each output pixel sums its taps.
template <class In, class Out, unsigned Ch>
void horizontalRow(const In* __restrict in, Out* __restrict out, const AxisWeights& axis,
                   uint32_t outWidth) {
    for (uint32_t o = 0; o < outWidth; ++o) {
        const In* src = in + size_t{axis.first[o]} * Ch;
        const int16_t* w = &axis.weights[size_t{o} * axis.taps];
        const uint32_t n = axis.count[o];
        int32_t sum[Ch] = {};
        for (uint32_t k = 0; k < n; ++k)
            for (unsigned c = 0; c < Ch; ++c) sum[c] += int32_t(w[k]) * src[k * Ch + c];
        for (unsigned c = 0; c < Ch; ++c) out[size_t{o} * Ch + c] = Narrow<In, Out>::apply(sum[c]);
    }
}

template <class In, class Out>
void horizontalRowAny(unsigned channels, const In* in, Out* out, const AxisWeights& axis,
                      uint32_t outWidth) {
    switch (channels) {
        case 1:
            return horizontalRow<In, Out, 1>(in, out, axis, outWidth);
        case 2:
            return horizontalRow<In, Out, 2>(in, out, axis, outWidth);
        case 3:
            return horizontalRow<In, Out, 3>(in, out, axis, outWidth);
        default:
            return horizontalRow<In, Out, 4>(in, out, axis, outWidth);
    }
}

// One output row of the vertical pass: the weighted sum of its taps' rows,
// element by element (the loop the compiler vectorises).
template <class In, class Out>
void verticalRow(const In* row0, ptrdiff_t stride, const AxisWeights& axis, uint32_t o,
                 uint32_t elements, int32_t* __restrict sum, Out* __restrict out) {
    const int16_t* w = &axis.weights[size_t{o} * axis.taps];
    const uint32_t first = axis.first[o];
    {
        const In* __restrict src = row0 + ptrdiff_t(first) * stride;
        const int32_t weight = w[0];
        for (uint32_t x = 0; x < elements; ++x) sum[x] = weight * int32_t(src[x]);
    }
    for (uint32_t k = 1; k < axis.count[o]; ++k) {
        const In* __restrict src = row0 + ptrdiff_t(first + k) * stride;
        const int32_t weight = w[k];
        for (uint32_t x = 0; x < elements; ++x) sum[x] += weight * int32_t(src[x]);
    }
    for (uint32_t x = 0; x < elements; ++x) out[x] = Narrow<In, Out>::apply(sum[x]);
}

bool nearest(const ConstSurface& source, const Surface& destination, unsigned channels,
             ProgressCallback* progress) {
    const AxisWeights xs = axisWeights(FilterKind::Point, source.width, destination.width);
    const AxisWeights ys = axisWeights(FilterKind::Point, source.height, destination.height);
    for (uint32_t y = 0; y < destination.height; ++y) {
        const uint8_t* in = source.row(ys.first[y]);
        uint8_t* out = destination.row(y);
        if (channels == 1) {
            for (uint32_t x = 0; x < destination.width; ++x) out[x] = in[xs.first[x]];
        } else if (channels == 3) {
            for (uint32_t x = 0; x < destination.width; ++x) {
                const uint8_t* p = in + size_t{xs.first[x]} * 3;
                out[3 * x] = p[0];
                out[3 * x + 1] = p[1];
                out[3 * x + 2] = p[2];
            }
        } else {
            for (uint32_t x = 0; x < destination.width; ++x)
                std::copy_n(in + size_t{xs.first[x]} * channels, channels, out + x * channels);
        }
        if (progressCancelled(progress, y + 1, destination.height)) return false;
    }
    return true;
}

std::vector<int16_t> intermediate(uint64_t width, uint64_t height, unsigned channels) {
    // The intermediate is at most as large as the work it saves; refuse one
    // that no image of the limits could need.
    const uint64_t elements = width * height * channels;
    if (elements >= (uint64_t{1} << 31)) throw IMAGEERROR::TooLarge;
    return std::vector<int16_t>(elements);
}

}  // namespace

bool horizontalPassFirst(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, uint32_t kx,
                         uint32_t ky) {
    const double horizontal = double(dw) * (double(sh) * kx + double(dh) * ky);
    const double vertical = double(dh) * (double(sw) * ky + double(dw) * kx);
    return horizontal < vertical;
}

bool scaleSurface(const ConstSurface& source, const Surface& destination, unsigned channels,
                  FilterKind filterX, FilterKind filterY, ProgressCallback* progress) {
    const uint32_t sw = source.width, sh = source.height;
    const uint32_t dw = destination.width, dh = destination.height;
    if (sw == 0 || sh == 0 || dw == 0 || dh == 0) return true;
    if (filterX == FilterKind::Point && filterY == FilterKind::Point)
        return nearest(source, destination, channels, progress);

    const AxisWeights xs = axisWeights(filterX, sw, dw);
    const AxisWeights ys = axisWeights(filterY, sh, dh);
    const uint32_t kx = windowSize(filterX, double(dw) / sw);
    const uint32_t ky = windowSize(filterY, double(dh) / sh);
    const uint32_t total = (horizontalPassFirst(sw, sh, dw, dh, kx, ky) ? sh : dh) + dh;
    uint32_t done = 0;

    if (horizontalPassFirst(sw, sh, dw, dh, kx, ky)) {
        const size_t elements = size_t{dw} * channels;
        std::vector<int16_t> middle = intermediate(dw, sh, channels);
        for (uint32_t y = 0; y < sh; ++y) {
            horizontalRowAny<uint8_t, int16_t>(channels, source.row(y), &middle[y * elements], xs,
                                               dw);
            if (progressCancelled(progress, ++done, total)) return false;
        }
        std::vector<int32_t> sum(elements);
        for (uint32_t y = 0; y < dh; ++y) {
            verticalRow<int16_t, uint8_t>(middle.data(), ptrdiff_t(elements), ys, y,
                                          uint32_t(elements), sum.data(), destination.row(y));
            if (progressCancelled(progress, ++done, total)) return false;
        }
        return true;
    }
    const size_t elements = size_t{sw} * channels;
    std::vector<int16_t> middle = intermediate(sw, dh, channels);
    std::vector<int32_t> sum(elements);
    for (uint32_t y = 0; y < dh; ++y) {
        verticalRow<uint8_t, int16_t>(source.row0, source.stride, ys, y, uint32_t(elements),
                                      sum.data(), &middle[y * elements]);
        if (progressCancelled(progress, ++done, total)) return false;
    }
    for (uint32_t y = 0; y < dh; ++y) {
        horizontalRowAny<int16_t, uint8_t>(channels, &middle[y * elements], destination.row(y), xs,
                                           dw);
        if (progressCancelled(progress, ++done, total)) return false;
    }
    return true;
}

}  // namespace vivark
