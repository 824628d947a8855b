// reduceColours: an image (true colour, or indexed with more colours than
// wanted) to an 8-bit indexed image of at most a requested number of
// colours, with the palette type and dither type the caller's settings name.
//
// Palette types: 0 adaptive (chosen from the image, AdaptivePalette.h);
// 1 fixed system palette (FixedPalette16 for 16 colours or fewer, else
// FixedPalette256); 2..5 the cubes 2x2x2, 8x8x4, 6x7x6 and 6x6x6 (red x
// green x blue); any other value is adaptive. Dither types: 0 nearest colour,
// 1 ordered (cubes only; nearest colour otherwise), 2 error diffusion.
//
// An indexed image whose palette (paletteCount entries, 256 when 0) already
// fits the request is left untouched under the adaptive type only, and the
// request is returned; the fixed and cube types always remap.
//
// The image changes only when the reduction completes: the result is built
// beside it and swapped in, keeping the image's descriptive fields. Progress
// is reported per row (the adaptive type counts its histogram pass and its
// mapping pass as one run of twice the rows), then (1, 1) on completion; a
// cancel returns nothing and leaves the image as it was. A failed allocation
// throws std::bad_alloc, the shared out-of-memory condition, also with the
// image unchanged.
//
// reduceToBlackAndWhite maps an image to black (entry 0) and white (entry 1)
// by luminance, diffusing the error under dither type 2 and thresholding at
// mid-grey otherwise; the save path packs the result into one bit.
#pragma once

#include <cstdint>
#include <optional>

#include "core/Image.h"
#include "core/Progress.h"

namespace vivark {

enum class PaletteType : uint32_t {
    Adaptive = 0,
    FixedSystem = 1,
    Cube222 = 2,
    Cube884 = 3,
    Cube676 = 4,
    Cube666 = 5,
};

enum class DitherType : uint32_t { None = 0, Ordered = 1, Diffusion = 2 };

// The number of colours of the result, or nothing when cancelled.
std::optional<uint32_t> reduceColours(Image& image, uint32_t requestedCount, uint32_t paletteType,
                                      uint32_t ditherType, ProgressCallback* progress = nullptr);

// False when cancelled (the image is then unchanged).
bool reduceToBlackAndWhite(Image& image, uint32_t ditherType, ProgressCallback* progress = nullptr);

}  // namespace vivark
