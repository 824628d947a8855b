// Mirror, flip and the quarter turns: lossless moves of whole pixels for
// images of 1, 4, 8 and 24 bits, their palette and second plane (alpha or
// AND mask) moved alike.
//
// mirror first reverses the order of the rows (flipRows: a vertical flip),
// then the pixels within each row (mirrorRows: a horizontal mirror); both
// together turn the picture by 180 degrees. turnClockwise and
// turnAnticlockwise turn it by a quarter, as shown, and swap the width and
// height and the two resolutions.
//
// Each builds its result beside the source and returns it (Operation.h);
// progress per output row; a cancel returns nothing; a turned size beyond
// `limits` throws IMAGEERROR::TooLarge.
#pragma once

#include "core/Image.h"
#include "core/Limits.h"
#include "core/Progress.h"
#include "ops/Operation.h"

namespace vivark {

struct MirrorRequest {
    bool flipRows = false;    // vertical flip: the last row first
    bool mirrorRows = false;  // horizontal mirror: each row right to left
};

OpResult mirror(const Image& image, const MirrorRequest& request,
                ProgressCallback* progress = nullptr);
OpResult turnClockwise(const Image& image, ProgressCallback* progress = nullptr,
                       const Limits& limits = Limits{});
OpResult turnAnticlockwise(const Image& image, ProgressCallback* progress = nullptr,
                           const Limits& limits = Limits{});

}  // namespace vivark
