// Convolution against a plain reference written here: every sum formed
// directly in 64 bits, edges clamped, divided in floating point and rounded
// half away from zero, for user filters of odd shapes, extreme weights and
// divisors, and the built-in filters, over every depth.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/Convolution.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

Colour referencePixel(const Image& image, const ConvolutionFilter& f, int64_t x, int64_t y) {
    const int64_t rx = f.width / 2, ry = f.height / 2;
    Colour out = 0;
    for (int shift : {0, 8, 16}) {
        int64_t sum = 0;
        for (int64_t j = 0; j < f.height; ++j)
            for (int64_t i = 0; i < f.width; ++i) {
                const auto sx = std::clamp<int64_t>(x + i - rx, 0, image.width() - 1);
                const auto sy = std::clamp<int64_t>(y + j - ry, 0, image.height() - 1);
                const Colour c = test::colourAt(image, uint32_t(sx), uint32_t(sy));
                sum += int64_t{f.weights[j * f.width + i]} * ((c >> shift) & 255);
            }
        int64_t q = std::llround(double(sum) / f.divisor);
        if (f.absoluteValue) q = std::abs(q);
        out |= Colour(std::clamp<int64_t>(q + f.bias, 0, 255)) << shift;
    }
    return out;
}

ConvolutionFilter filter(uint32_t width, uint32_t height, std::vector<int32_t> weights,
                         int32_t divisor, int32_t bias = 0, bool absolute = false) {
    return {width, height, std::move(weights), divisor, bias, absolute};
}

std::vector<int32_t> alternating(size_t count, int32_t weight) {
    std::vector<int32_t> weights(count);
    for (size_t k = 0; k < count; ++k) weights[k] = k % 2 ? -weight : weight;
    return weights;
}

const ConvolutionFilter kFilters[] = {
    filter(1, 1, {1}, 1),
    filter(3, 3, {0, -1, 0, -1, 5, -1, 0, -1, 0}, 1),
    filter(3, 3, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1, 10, true),
    filter(3, 3, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1, 128),
    filter(5, 3, {1, 2, 3, 4, 5, 0, 0, 9, 0, 0, -1, -2, -3, -4, 6}, 7),
    filter(1, 7, {1, 1, 1, 1, 1, 1, 2}, 8),
    filter(3, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1}, -3, 255),
    filter(9, 9, std::vector<int32_t>(81, 9999), 1 << 24),
    filter(9, 9, alternating(81, 9999), 9999, 3, true),
    builtinFilter(BuiltinFilter::Blur, 30),
    builtinFilter(BuiltinFilter::Blur, 100),
    builtinFilter(BuiltinFilter::Soften, 60),
    builtinFilter(BuiltinFilter::Sharpen, 100),
};

// Pictures of every depth and of the shapes whose edges meet: one pixel,
// one column, one row.
std::vector<Image> pictures() {
    std::vector<Image> out;
    for (uint32_t bits : {24u, 8u, 4u, 1u}) out.push_back(test::patternImage(13, 9, bits));
    out.push_back(test::patternImage(1, 1, 24));
    out.push_back(test::patternImage(1, 7, 24));
    out.push_back(test::patternImage(9, 1, 24));
    Image grey = test::patternImage(11, 6, 8);
    grey.setGreyPalette();
    out.push_back(grey);
    return out;
}

TEST(Convolution, MatchesThePlainSumWithClampedEdges) {
    for (const Image& source : pictures()) {
        for (size_t n = 0; n < std::size(kFilters); ++n) {
            const OpResult result = convolve(source, kFilters[n]);
            ASSERT_TRUE(result);
            const bool levels = source.bitsPerPixel() == 8 && source.isGrey() &&
                                source.palette[200] == 200 * 0x010101u;
            ASSERT_EQ(result->bitsPerPixel(), levels ? 8u : 24u);
            for (uint32_t y = 0; y < source.height(); ++y)
                for (uint32_t x = 0; x < source.width(); ++x)
                    ASSERT_EQ(test::colourAt(*result, x, y),
                              referencePixel(source, kFilters[n], x, y))
                        << "filter " << n << ", " << source.width() << "x" << source.height() << "x"
                        << source.bitsPerPixel() << " at " << x << "," << y;
        }
    }
}

TEST(Convolution, RefusesFiltersItCannotRun) {
    const struct {
        ConvolutionFilter filter;
        FILTERERROR error;
    } cases[] = {
        {filter(2, 3, std::vector<int32_t>(6, 1), 1), FILTERERROR::EvenDimensions},
        {filter(3, 0, {}, 1), FILTERERROR::EvenDimensions},
        {filter(10, 11, std::vector<int32_t>(110, 1), 1), FILTERERROR::EvenDimensions},
        {filter(11, 11, std::vector<int32_t>(121, 1), 1), FILTERERROR::TooLarge},
        {filter(3, 3, std::vector<int32_t>(9, 1), 0), FILTERERROR::ZeroDivisor},
        {filter(3, 3, std::vector<int32_t>(8, 1), 1), FILTERERROR::BadWeight},
        {filter(1, 1, {1 << 23}, 1), FILTERERROR::BadWeight},
        {filter(1, 1, {1}, (1 << 24) + 1), FILTERERROR::BadWeight},
    };
    const Image source = test::patternImage(4, 4, 24);
    for (const auto& c : cases)
        EXPECT_EQ(test::thrownBy<FILTERERROR>([&] { convolve(source, c.filter); }), c.error)
            << c.filter.width << "x" << c.filter.height;
}

}  // namespace
}  // namespace vivark
