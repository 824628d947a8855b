// LumaTransform: the luminance and colour-difference coordinates in which
// colours are compared when they map to a fixed or cube palette.
//
// Y = 0.299 R + 0.587 G + 0.114 B; Cb = -0.16874 R - 0.33126 G + 0.5 B + 128;
// Cr = 0.5 R - 0.41869 G - 0.08131 B + 128, each rounded. Each coordinate is
// the sum of three 256-entry tables in 16.16 fixed point (the offset of 128
// and the rounding half ride in the blue tables), so a transform is nine
// look-ups and six additions. The two extremes that round up to 256 (pure
// blue for Cb, pure red for Cr) are held at 255. Constant data; no errors.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace vivark {

struct LumaTables {
    // [coordinate: Y, Cb, Cr][channel: blue, green, red][channel value]
    std::array<std::array<std::array<int32_t, 256>, 3>, 3> steps{};
};

constexpr LumaTables makeLumaTables() {
    // Per unit of blue, green, red, in 1/65536.
    constexpr int32_t kStep[3][3] = {
        {7471, 38470, 19595},
        {32768, -21709, -11059},
        {-5329, -27439, 32768},
    };
    constexpr int32_t kHalf = 1 << 15;
    constexpr int32_t kOffset[3] = {kHalf, (128 << 16) + kHalf, (128 << 16) + kHalf};
    LumaTables t;
    for (int k = 0; k < 3; ++k)
        for (int c = 0; c < 3; ++c)
            for (int32_t v = 0; v < 256; ++v)
                t.steps[k][c][v] = kStep[k][c] * v + (c == 0 ? kOffset[k] : 0);
    return t;
}

inline constexpr LumaTables kLumaTables = makeLumaTables();

// Writes Y, Cb, Cr (each 0..255) of the colour blue, green, red to `out`.
inline void toLuma(unsigned blue, unsigned green, unsigned red, int32_t out[3]) {
    for (int k = 0; k < 3; ++k) {
        const auto& s = kLumaTables.steps[k];
        out[k] = std::min((s[0][blue] + s[1][green] + s[2][red]) >> 16, 255);
    }
}

}  // namespace vivark
