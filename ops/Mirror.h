// Mirror, flip and the quarter turns: lossless moves of whole pixels for
// images of 1, 4, 8 and 24 bits, their palette and second plane (alpha or
// AND mask) moved alike.
//
// mirror(image, flipRows, mirrorRows) first reverses the order of the rows
// (a vertical flip), then the pixels within each row (a horizontal mirror);
// both together turn the picture by 180 degrees. turnClockwise and
// turnAnticlockwise turn it by a quarter, as shown, and swap the width and
// height and the two resolutions.
//
// Each builds the result beside the image and swaps it in only when
// complete; progress per output row; a cancel returns false with the image
// untouched; a turned size beyond `limits` throws IMAGEERROR::TooLarge.
#pragma once

#include "core/Image.h"
#include "core/Limits.h"
#include "core/Progress.h"

namespace vivark {

bool mirror(Image& image, bool flipRows, bool mirrorRows, ProgressCallback* progress = nullptr);
bool turnClockwise(Image& image, ProgressCallback* progress = nullptr,
                   const Limits& limits = Limits{});
bool turnAnticlockwise(Image& image, ProgressCallback* progress = nullptr,
                       const Limits& limits = Limits{});

}  // namespace vivark
