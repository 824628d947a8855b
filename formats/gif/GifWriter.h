// The GIF writer, "Graphics Interchange Format": one image of 1, 4 or 8 bits
// per pixel with a global colour table and no local one. Options:
//  - SaveOptions\GIF\GIF89a: the "GIF89a" signature (also forced by
//    Transparent); a GIF89a screen descriptor carries the sort flag.
//  - SaveOptions\GIF\Interlace: rows in the four-pass interlaced order.
//  - SaveOptions\GIF\Transparent and Transparent Index: a graphic control
//    block naming the transparent colour (low byte of the index).
//  - SaveOptions\GIF\Background and Background Index: the screen's
//    background colour index (else 0).
// The table holds 2^bits entries, bits being the bit length of the palette
// count less one (at least 1), widened when a pixel uses a higher index so
// that every pixel stays representable. The image's comment goes out as a
// comment block. A cancel throws OUTFILEERROR::Cancelled.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/gif/GifFormat.h"

namespace vivark {

void writeGif(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

// The i-th row written when `height` rows go out interlaced.
uint32_t gifInterlacedRow(uint32_t i, uint32_t height);

}  // namespace vivark
