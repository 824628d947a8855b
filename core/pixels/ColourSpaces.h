// Conversions of whole rows from the colour spaces files carry to the
// Image's blue, green, red: CMYK (plain or inverted, as Adobe's JPEG files
// store it), YCbCr with horizontal chroma subsampling, and CIE L*a*b*.
//
// Each works on caller buffers of `count` pixels, allocates nothing and
// never fails; its tables are built once, on first use.
#pragma once

#include <cstdint>

namespace vivark {

// CMYK samples, four bytes a pixel, to blue, green, red: each channel is
// (255 - ink) * (255 - black) / 255. With `inverted` the samples hold 255
// minus the ink, as Adobe writes CMYK and YCCK JPEG files.
void cmykToBgr(const uint8_t* cmyk, uint8_t* bgr, uint32_t count, bool inverted);

// The YCbCr coefficients of red, green and blue in luma (ITU-R BT.601 unless
// a file says otherwise, as TIFF's YCbCrCoefficients tag can).
struct LumaCoefficients {
    double red = 0.299, green = 0.587, blue = 0.114;
};

// Full-range YCbCr to blue, green, red. `y` holds `count` luma samples; `cb`
// and `cr` one chroma sample per `step` pixels (1, 2 or 4: the horizontal
// subsampling), the chroma of pixel x being sample x / step.
void ycbcrToBgr(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint32_t step, uint8_t* bgr,
                uint32_t count, const LumaCoefficients& coefficients = {});

// CIE L*a*b* with 8-bit samples as TIFF stores them (L* scaled 0..255 to
// 0..100, a* and b* signed bytes) to sRGB blue, green, red, under the D65
// white point.
void labToBgr(const uint8_t* lab, uint8_t* bgr, uint32_t count);

}  // namespace vivark
