// Row conversions from CMYK, YCbCr and CIE L*a*b*; see ColourSpaces.h.
#include "core/pixels/ColourSpaces.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vivark {
namespace {

using Table = std::array<std::array<uint8_t, 256>, 256>;

// T[k][v] = v * k / 255, both already "light" (255 minus ink).
const Table& productTable() {
    static const Table table = [] {
        Table t{};
        for (unsigned k = 0; k < 256; ++k)
            for (unsigned v = 0; v < 256; ++v) t[k][v] = static_cast<uint8_t>(v * k / 255);
        return t;
    }();
    return table;
}

uint8_t clampByte(double v) {
    return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L));
}

}  // namespace

void cmykToBgr(const uint8_t* cmyk, uint8_t* bgr, uint32_t count, bool inverted) {
    const Table& table = productTable();
    const uint8_t flip = inverted ? 0 : 255;
    for (uint32_t x = 0; x < count; ++x, cmyk += 4, bgr += 3) {
        const auto& k = table[cmyk[3] ^ flip];
        bgr[0] = k[cmyk[2] ^ flip];
        bgr[1] = k[cmyk[1] ^ flip];
        bgr[2] = k[cmyk[0] ^ flip];
    }
}

void ycbcrToBgr(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint32_t step, uint8_t* bgr,
                uint32_t count, const LumaCoefficients& c) {
    // R = Y + (2 - 2 Kr) Cr', B = Y + (2 - 2 Kb) Cb', G = (Y - Kr R - Kb B) / Kg.
    const double toRed = 2 - 2 * c.red, toBlue = 2 - 2 * c.blue;
    for (uint32_t x = 0; x < count; ++x, bgr += 3) {
        const double luma = y[x];
        const double blueDiff = cb[x / step] - 128.0, redDiff = cr[x / step] - 128.0;
        const double red = luma + toRed * redDiff;
        const double blue = luma + toBlue * blueDiff;
        const double green = (luma - c.red * red - c.blue * blue) / c.green;
        bgr[0] = clampByte(blue);
        bgr[1] = clampByte(green);
        bgr[2] = clampByte(red);
    }
}

void labToBgr(const uint8_t* lab, uint8_t* bgr, uint32_t count) {
    // D65 reference white; the sRGB matrix and transfer curve.
    constexpr double kWhiteX = 0.95047, kWhiteY = 1.0, kWhiteZ = 1.08883;
    auto finv = [](double t) {
        return t > 6.0 / 29 ? t * t * t : 3 * (6.0 / 29) * (6.0 / 29) * (t - 4.0 / 29);
    };
    auto encode = [](double linear) {
        linear = std::clamp(linear, 0.0, 1.0);
        const double v =
            linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
        return clampByte(v * 255);
    };
    for (uint32_t x = 0; x < count; ++x, lab += 3, bgr += 3) {
        const double l = lab[0] * 100.0 / 255.0;
        const double a = static_cast<int8_t>(lab[1]);
        const double b = static_cast<int8_t>(lab[2]);
        const double fy = (l + 16) / 116;
        const double X = kWhiteX * finv(fy + a / 500);
        const double Y = kWhiteY * finv(fy);
        const double Z = kWhiteZ * finv(fy - b / 200);
        bgr[2] = encode(3.2404542 * X - 1.5371385 * Y - 0.4985314 * Z);
        bgr[1] = encode(-0.9692660 * X + 1.8760108 * Y + 0.0415560 * Z);
        bgr[0] = encode(0.0556434 * X - 0.2040259 * Y + 1.0572252 * Z);
    }
}

}  // namespace vivark
