// Convolution filters: the user's filter (an odd grid of integer weights, a
// divisor, a bias and an absolute-value option) and the built-in Blur,
// Soften and Sharpen with a strength.
//
// For every output pixel and channel: sum = the weights times the source
// levels under the grid (the grid's centre on the pixel, its top row over
// the row above); q = sum / divisor rounded to the nearest integer, halves
// away from zero; with the absolute value taken, q = |q|; then the level is
// q + bias, held to 0..255. So an edge filter with the absolute value shows
// edges of either sign alike, and the bias lifts the whole result. Pixels
// past the picture's edges are those of the nearest edge (clamped), so a
// flat picture stays flat under any filter whose weights sum to the divisor.
//
// A 24-bit image is filtered per channel; an 8-bit image whose palette is
// the 256 grey levels is filtered as one channel and stays grey; any other
// indexed image is expanded to 24 bits first and the result is 24-bit. The
// second plane is kept; a transparent index becomes an alpha plane.
//
// Grids are at most 9 × 9. The engine takes weights whose magnitudes sum to
// below 2^23 and a divisor within ±2^24, so every sum fits in 32 bits and
// the rows are summed in plain 32-bit lanes; filters typed as text hold each
// weight, the divisor and the bias to ±9999 (FilterFile.h), well inside.
// The source rows live in a ring of as many expanded rows as the grid is
// high; the inner loops run over whole rows, one weight at a time, and the
// division is a multiplication by a reciprocal computed once.
//
// Invalid filters throw FILTERERROR.
#pragma once

#include <cstdint>
#include <vector>

#include "ops/Operation.h"

namespace vivark {

inline constexpr uint32_t kFilterMaxSize = 9;      // widest and highest grid
inline constexpr int32_t kFilterMaxWeight = 9999;  // largest weight magnitude

enum class FILTERERROR : uint32_t {
    EvenDimensions = 0,  // width or height is even
    TooLarge = 1,        // width or height above kFilterMaxSize
    ZeroDivisor = 2,     // the divisor is 0
    NoName = 3,          // a filter accepted without a name
    BadWeight = 4,       // a weight, divisor or bias is no number or out of range
};

namespace msg {
inline constexpr MessageId FilterEven = 11250;      // "%ux%u": the filter's dimensions
inline constexpr MessageId FilterTooLarge = 11251;  // "%ux%u": the filter's dimensions
inline constexpr MessageId FilterZeroDivisor = 11252;
inline constexpr MessageId FilterNoName = 11253;
inline constexpr MessageId FilterBadWeight = 11254;
}  // namespace msg

MessageId messageOf(FILTERERROR error);

struct ConvolutionFilter {
    uint32_t width = 1;               // odd, 1..kFilterMaxSize
    uint32_t height = 1;              // odd, 1..kFilterMaxSize
    std::vector<int32_t> weights{1};  // width × height, top row first
    int32_t divisor = 1;              // not 0
    int32_t bias = 0;
    bool absoluteValue = false;
};

// Throws the FILTERERROR the filter breaks, if any (a weight count that is
// not width × height, or weights past the engine's range, are BadWeight).
void checkFilter(const ConvolutionFilter& filter);

OpResult convolve(const Image& image, const ConvolutionFilter& filter,
                  ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

// The built-in filters. Strength is held to 1..100. Blur mixes a 5 × 5
// binomial blur into the picture, Soften a 3 × 3 one, each by strength
// percent (100 is the whole blur); Sharpen adds strength percent of the
// difference between the picture and its 3 × 3 binomial blur.
enum class BuiltinFilter : uint8_t { Blur, Soften, Sharpen };
struct FilterStrength {
    int32_t strength = 50;
};

ConvolutionFilter builtinFilter(BuiltinFilter kind, int32_t strength);

OpResult blur(const Image& image, const FilterStrength& p, ProgressCallback* progress = nullptr,
              const Limits& limits = Limits{});
OpResult soften(const Image& image, const FilterStrength& p, ProgressCallback* progress = nullptr,
                const Limits& limits = Limits{});
OpResult sharpen(const Image& image, const FilterStrength& p, ProgressCallback* progress = nullptr,
                 const Limits& limits = Limits{});

}  // namespace vivark
