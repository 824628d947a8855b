// Colour adjustments: brightness, contrast, colour, RGB balance, gamma,
// solarize and negative as one point operation.
//
// Every adjustment fills its part of one ColourAdjustment record and leaves
// the rest neutral; the record becomes a table of 256 colours (0x00RRGGBB),
// one per input level, and the table is applied per channel: a 24-bit pixel's
// red takes the red of the entry of its red level, and so on; an indexed
// image keeps its pixels and has each palette entry mapped the same way. The
// second plane (alpha or mask) is kept as it is.
//
// Ranges: the percentages (red, green, blue, brightness, contrast, color)
// are held to -100..100, the solarize threshold to 0..256 and a gamma above
// 0 to 0.05..20; a gamma of 0 or below means no gamma correction. Holding
// contrast to 100 keeps its divisor (256 - 255) above zero.
#pragma once

#include <array>
#include <cstdint>

#include "core/Palette.h"
#include "ops/Operation.h"

namespace vivark {

struct ColourAdjustment {
    int32_t red = 0;                // red shift, percent of full scale
    int32_t green = 0;              // green shift, percent
    int32_t blue = 0;               // blue shift, percent
    int32_t brightness = 0;         // shift of all three channels, percent
    int32_t contrast = 0;           // percent: positive raises, negative lowers
    int32_t solarizeThreshold = 0;  // input levels below it are inverted
    bool negative = false;          // invert all levels
    double gamma = 0.0;             // exponent; 0 = none
};

using AdjustmentTable = std::array<Colour, 256>;

// The 256 output colours of the record, for input levels 0 to 255.
AdjustmentTable buildAdjustmentTable(const ColourAdjustment& record);

// The record applied to an image of any depth.
OpResult adjustColours(const Image& image, const ColourAdjustment& record,
                       ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

// The parameter records of the single adjustments and the part of the
// adjustment record each fills.
struct BrightnessContrastColour {
    int32_t brightness = 0;
    int32_t contrast = 0;
    // Colour temperature in percent: positive warms (red up, blue down by the
    // same amount), negative cools. A single number cannot say more through
    // one table of levels, and warm/cool is what users of a single colour
    // slider in today's editors expect from it.
    int32_t color = 0;
};
struct RgbBalance {
    int32_t red = 0;
    int32_t green = 0;
    int32_t blue = 0;
};
struct GammaCorrection {
    double gamma = 1.0;
};
struct Solarize {
    int32_t threshold = 128;
};
struct Negative {};

ColourAdjustment adjustmentOf(const BrightnessContrastColour& p);
ColourAdjustment adjustmentOf(const RgbBalance& p);
ColourAdjustment adjustmentOf(const GammaCorrection& p);
ColourAdjustment adjustmentOf(const Solarize& p);
ColourAdjustment adjustmentOf(const Negative& p);

OpResult adjustBrightnessContrastColour(const Image& image, const BrightnessContrastColour& p,
                                        ProgressCallback* progress = nullptr,
                                        const Limits& limits = Limits{});
OpResult adjustRgbBalance(const Image& image, const RgbBalance& p,
                          ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult adjustGamma(const Image& image, const GammaCorrection& p,
                     ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult solarize(const Image& image, const Solarize& p, ProgressCallback* progress = nullptr,
                  const Limits& limits = Limits{});
OpResult negative(const Image& image, const Negative& p = {}, ProgressCallback* progress = nullptr,
                  const Limits& limits = Limits{});

}  // namespace vivark
