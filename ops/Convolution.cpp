// The convolution engine and the built-in filters.
#include "ops/Convolution.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "ops/SourceRows.h"

namespace vivark {
namespace {

// The largest sum of weight magnitudes and divisor magnitude the engine
// takes: 255 times the sum, plus half the divisor, stays below 2^31.
constexpr int64_t kMaxWeightSum = (int64_t{1} << 23) - 1;
constexpr int64_t kMaxDivisor = int64_t{1} << 24;
static_assert(255 * kMaxWeightSum + kMaxDivisor / 2 < (int64_t{1} << 31));

// Division by a fixed divisor, rounded to nearest with halves away from
// zero, as one multiplication and shift: for n < 2^31 and l = ceil(log2 d),
// m = ceil(2^(31 + l) / d) gives floor(n / d) = (n * m) >> (31 + l)
// exactly, and n * m stays below 2^64 since m <= 2^32 + 1.
class RoundingDivider {
  public:
    explicit RoundingDivider(int32_t divisor)
        : negative_(divisor < 0),
          magnitude_(static_cast<uint32_t>(std::abs(int64_t{divisor}))),
          half_(magnitude_ / 2) {
        const unsigned l = static_cast<unsigned>(std::bit_width(magnitude_ - 1));
        shift_ = 31 + l;
        magic_ = ((uint64_t{1} << shift_) + magnitude_ - 1) / magnitude_;
    }

    int32_t operator()(int32_t sum) const {
        const uint32_t n = static_cast<uint32_t>(sum < 0 ? -sum : sum) + half_;
        const auto q = static_cast<int32_t>((uint64_t{n} * magic_) >> shift_);
        return (sum < 0) != negative_ ? -q : q;
    }

  private:
    bool negative_;
    uint32_t magnitude_;
    uint32_t half_;
    unsigned shift_ = 0;
    uint64_t magic_ = 0;
};

// An 8-bit image whose valid entries are the grey levels in order: filtered
// as one channel of levels.
bool isLevelImage(const Image& image) {
    if (image.bitsPerPixel() != 8) return false;
    const uint32_t count = image.paletteCount == 0 ? 256 : std::min(image.paletteCount, 256u);
    for (uint32_t i = 0; i < count; ++i)
        if (image.palette[i] != i * 0x010101u) return false;
    return true;
}

// The source rows with their edges repeated: ring slot k holds an expanded
// row of (width + 2 rx) pixels, rx pixels of left edge first.
class RowRing {
  public:
    RowRing(const Image& image, unsigned channels, uint32_t rx, uint32_t rows)
        : image_(image),
          channels_(channels),
          rx_(rx),
          rowBytes_((size_t{image.width()} + 2 * rx) * channels),
          ring_(rowBytes_ * rows),
          rows_(rows) {
        if (channels == 3 && image.bitsPerPixel() != 24) expanded_.emplace(image);
    }

    // Loads picture row `source` (clamped to the picture) into slot `slot`.
    void load(int64_t source, uint32_t slot) {
        const auto y = static_cast<uint32_t>(std::clamp<int64_t>(source, 0, image_.height() - 1));
        const uint8_t* in = expanded_ ? expanded_->row(y) : image_.plane.row(y);
        uint8_t* out = ring_.data() + slot * rowBytes_;
        const size_t pixelBytes = channels_;
        const size_t inBytes = size_t{image_.width()} * pixelBytes;
        std::memcpy(out + rx_ * pixelBytes, in, inBytes);
        for (uint32_t i = 0; i < rx_; ++i) {
            std::memcpy(out + i * pixelBytes, in, pixelBytes);
            std::memcpy(out + (rx_ + image_.width() + i) * pixelBytes, in + inBytes - pixelBytes,
                        pixelBytes);
        }
    }

    const uint8_t* slot(uint32_t k) const { return ring_.data() + k * rowBytes_; }
    uint32_t rows() const { return rows_; }

  private:
    const Image& image_;
    unsigned channels_;
    uint32_t rx_;
    size_t rowBytes_;
    std::vector<uint8_t> ring_;
    uint32_t rows_;
    std::optional<SourceRows> expanded_;
};

}  // namespace

MessageId messageOf(FILTERERROR error) {
    switch (error) {
        case FILTERERROR::EvenDimensions:
            return msg::FilterEven;
        case FILTERERROR::TooLarge:
            return msg::FilterTooLarge;
        case FILTERERROR::ZeroDivisor:
            return msg::FilterZeroDivisor;
        case FILTERERROR::NoName:
            return msg::FilterNoName;
        case FILTERERROR::BadWeight:
            return msg::FilterBadWeight;
    }
    return msg::Unknown;
}

void checkFilter(const ConvolutionFilter& filter) {
    if (filter.width % 2 == 0 || filter.height % 2 == 0) throw FILTERERROR::EvenDimensions;
    if (filter.width > kFilterMaxSize || filter.height > kFilterMaxSize)
        throw FILTERERROR::TooLarge;
    if (filter.weights.size() != size_t{filter.width} * filter.height) throw FILTERERROR::BadWeight;
    if (filter.divisor == 0) throw FILTERERROR::ZeroDivisor;
    int64_t sum = 0;
    for (int32_t w : filter.weights) sum += std::abs(int64_t{w});
    if (sum > kMaxWeightSum || std::abs(int64_t{filter.divisor}) > kMaxDivisor)
        throw FILTERERROR::BadWeight;
}

OpResult convolve(const Image& image, const ConvolutionFilter& filter, ProgressCallback* progress,
                  const Limits& limits) {
    checkFilter(filter);
    const bool levels = isLevelImage(image);
    const unsigned channels = levels ? 1 : 3;
    const uint32_t width = image.width(), height = image.height();
    Image result = resultLike(image, width, height, levels ? 8 : 24, limits);
    if (levels) result.setGreyPalette();
    result.secondPlane = image.secondPlane;
    result.secondPlaneKind = image.secondPlaneKind;
    // The filtered colours have no index left to be transparent; the clear
    // pixels are kept as alpha, unfiltered like any second plane.
    carryTransparencyAsAlpha(image, result, limits);
    if (width == 0 || height == 0) return result;

    const uint32_t rx = filter.width / 2, ry = filter.height / 2;
    RowRing ring(image, channels, rx, filter.height);
    // Slot of unclamped source row s (from -ry on): (s + ry) mod height of the grid.
    for (int64_t s = -int64_t{ry}; s < int64_t{ry}; ++s)
        ring.load(s, static_cast<uint32_t>((s + ry) % filter.height));

    const size_t count = size_t{width} * channels;
    std::vector<int32_t> sums(count);
    const RoundingDivider divide(filter.divisor);
    const int32_t bias = filter.bias;
    for (uint32_t y = 0; y < height; ++y) {
        ring.load(int64_t{y} + ry, (y + 2 * ry) % filter.height);
        std::fill(sums.begin(), sums.end(), 0);
        for (uint32_t j = 0; j < filter.height; ++j) {
            const uint8_t* row = ring.slot((y + j) % filter.height);
            for (uint32_t i = 0; i < filter.width; ++i) {
                const int32_t weight = filter.weights[j * filter.width + i];
                if (weight == 0) continue;
                const uint8_t* in = row + size_t{i} * channels;
                int32_t* sum = sums.data();
                for (size_t k = 0; k < count; ++k) sum[k] += weight * in[k];
            }
        }
        uint8_t* out = result.plane.mutableRow(y);
        if (filter.absoluteValue) {
            for (size_t k = 0; k < count; ++k)
                out[k] = static_cast<uint8_t>(std::clamp(std::abs(divide(sums[k])) + bias, 0, 255));
        } else {
            for (size_t k = 0; k < count; ++k)
                out[k] = static_cast<uint8_t>(std::clamp(divide(sums[k]) + bias, 0, 255));
        }
        if (progressCancelled(progress, y + 1, height)) return std::nullopt;
    }
    return result;
}

ConvolutionFilter builtinFilter(BuiltinFilter kind, int32_t strength) {
    const int32_t s = std::clamp(strength, 1, 100);
    ConvolutionFilter filter;
    const int32_t binomial3[3] = {1, 2, 1};
    const int32_t binomial5[5] = {1, 4, 6, 4, 1};
    const bool wide = kind == BuiltinFilter::Blur;
    const uint32_t size = wide ? 5 : 3;
    const int32_t* taps = wide ? binomial5 : binomial3;
    const int32_t total = wide ? 256 : 16;  // the sum of the blur's weights
    filter.width = filter.height = size;
    filter.weights.assign(size_t{size} * size, 0);
    for (uint32_t j = 0; j < size; ++j)
        for (uint32_t i = 0; i < size; ++i) filter.weights[j * size + i] = taps[j] * taps[i];
    const size_t centre = size_t{size} * size / 2;
    // picture + s% (blur - picture) for blurs; picture + s% (picture - blur) to sharpen.
    for (size_t k = 0; k < filter.weights.size(); ++k) {
        const int32_t identity = k == centre ? total : 0;
        filter.weights[k] = kind == BuiltinFilter::Sharpen
                                ? (100 + s) * identity - s * filter.weights[k]
                                : s * filter.weights[k] + (100 - s) * identity;
    }
    filter.divisor = 100 * total;
    return filter;
}

OpResult blur(const Image& image, const FilterStrength& p, ProgressCallback* progress,
              const Limits& limits) {
    return convolve(image, builtinFilter(BuiltinFilter::Blur, p.strength), progress, limits);
}

OpResult soften(const Image& image, const FilterStrength& p, ProgressCallback* progress,
                const Limits& limits) {
    return convolve(image, builtinFilter(BuiltinFilter::Soften, p.strength), progress, limits);
}

OpResult sharpen(const Image& image, const FilterStrength& p, ProgressCallback* progress,
                 const Limits& limits) {
    return convolve(image, builtinFilter(BuiltinFilter::Sharpen, p.strength), progress, limits);
}

}  // namespace vivark
