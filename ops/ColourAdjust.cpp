// The adjustment table and its application to the pixels or the palette.
#include "ops/ColourAdjust.h"

#include <algorithm>
#include <cmath>

namespace vivark {
namespace {

int32_t percent(int32_t value) {
    return std::clamp(value, -100, 100);
}

int32_t level(int32_t value) {
    return std::clamp(value, 0, 255);
}

// Contrast in levels k (-255..255) applied to one level; all divisions
// truncate toward zero.
int32_t applyContrast(int32_t x, int32_t k) {
    if (k > 0) return ((x - k / 2) * 255) / (256 - k);
    if (k < 0) return x + ((x - 128) * k) / 255;
    return x;
}

}  // namespace

AdjustmentTable buildAdjustmentTable(const ColourAdjustment& record) {
    std::array<uint8_t, 256> gammaTable{};
    const bool gamma = record.gamma > 0.0;  // 0, negatives and NaN mean none
    if (gamma) {
        const double exponent = 1.0 / std::clamp(record.gamma, 0.05, 20.0);
        for (int i = 0; i < 256; ++i)
            gammaTable[i] =
                static_cast<uint8_t>(std::floor(std::pow(i / 255.0, exponent) * 255.0 + 0.5));
    }
    const int32_t brightness = percent(record.brightness);
    const int32_t redShift = (percent(record.red) + brightness) * 255 / 100;
    const int32_t greenShift = (percent(record.green) + brightness) * 255 / 100;
    const int32_t blueShift = (percent(record.blue) + brightness) * 255 / 100;
    const int32_t k = percent(record.contrast) * 255 / 100;
    const int32_t threshold = std::clamp(record.solarizeThreshold, 0, 256);

    AdjustmentTable table{};
    for (int32_t i = 0; i < 256; ++i) {
        int32_t v = i < threshold ? 255 - i : i;
        if (record.negative) v = 255 - v;
        int32_t r = level(applyContrast(v + redShift, k));
        int32_t g = level(applyContrast(v + greenShift, k));
        int32_t b = level(applyContrast(v + blueShift, k));
        if (gamma) {
            r = gammaTable[r];
            g = gammaTable[g];
            b = gammaTable[b];
        }
        table[i] = rgb(static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b));
    }
    return table;
}

OpResult adjustColours(const Image& image, const ColourAdjustment& record,
                       ProgressCallback* progress, const Limits& limits) {
    const AdjustmentTable table = buildAdjustmentTable(record);
    const uint32_t height = image.height();
    if (image.hasPalette()) {
        // The pixels stay (shared); only the palette changes.
        checkResultSize(image.width(), height, image.bitsPerPixel(), limits);
        Image result = image;
        for (Colour& entry : result.palette.entries)
            entry = rgb(redOf(table[redOf(entry)]), greenOf(table[greenOf(entry)]),
                        blueOf(table[blueOf(entry)]));
        result.colourCount = 0;
        if (progressCancelled(progress, height, height)) return std::nullopt;
        return result;
    }
    std::array<uint8_t, 256> red{}, green{}, blue{};
    for (int i = 0; i < 256; ++i) {
        red[i] = redOf(table[i]);
        green[i] = greenOf(table[i]);
        blue[i] = blueOf(table[i]);
    }
    Image result = resultLike(image, image.width(), height, 24, limits);
    result.secondPlane = image.secondPlane;
    result.secondPlaneKind = image.secondPlaneKind;
    const uint32_t width = image.width();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* in = image.plane.row(y);
        uint8_t* out = result.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x, in += 3, out += 3) {
            out[0] = blue[in[0]];
            out[1] = green[in[1]];
            out[2] = red[in[2]];
        }
        if (progressCancelled(progress, y + 1, height)) return std::nullopt;
    }
    return result;
}

ColourAdjustment adjustmentOf(const BrightnessContrastColour& p) {
    ColourAdjustment record;
    record.brightness = p.brightness;
    record.contrast = p.contrast;
    record.red = percent(p.color);
    record.blue = -percent(p.color);
    return record;
}

ColourAdjustment adjustmentOf(const RgbBalance& p) {
    ColourAdjustment record;
    record.red = p.red;
    record.green = p.green;
    record.blue = p.blue;
    return record;
}

ColourAdjustment adjustmentOf(const GammaCorrection& p) {
    ColourAdjustment record;
    record.gamma = p.gamma;
    return record;
}

ColourAdjustment adjustmentOf(const Solarize& p) {
    ColourAdjustment record;
    record.solarizeThreshold = p.threshold;
    return record;
}

ColourAdjustment adjustmentOf(const Negative&) {
    ColourAdjustment record;
    record.negative = true;
    return record;
}

OpResult adjustBrightnessContrastColour(const Image& image, const BrightnessContrastColour& p,
                                        ProgressCallback* progress, const Limits& limits) {
    return adjustColours(image, adjustmentOf(p), progress, limits);
}

OpResult adjustRgbBalance(const Image& image, const RgbBalance& p, ProgressCallback* progress,
                          const Limits& limits) {
    return adjustColours(image, adjustmentOf(p), progress, limits);
}

OpResult adjustGamma(const Image& image, const GammaCorrection& p, ProgressCallback* progress,
                     const Limits& limits) {
    return adjustColours(image, adjustmentOf(p), progress, limits);
}

OpResult solarize(const Image& image, const Solarize& p, ProgressCallback* progress,
                  const Limits& limits) {
    return adjustColours(image, adjustmentOf(p), progress, limits);
}

OpResult negative(const Image& image, const Negative& p, ProgressCallback* progress,
                  const Limits& limits) {
    return adjustColours(image, adjustmentOf(p), progress, limits);
}

}  // namespace vivark
