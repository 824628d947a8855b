// The PNG writer, "Portable Network Graphics".
//
// Output form: a 24-bit image becomes colour type 2 (RGB, 8 bits); a palette
// image whose palette is grey becomes colour type 0 with depth 1 when the
// palette is black and white, else 8 (each sample being the low depth bits of
// its palette entry's first byte); any other palette image becomes colour
// type 3 with the depth n for which 2^n first reaches the count of palette
// entries in use (the highest index used plus one), 3 raised to 4 and
// anything above 4 to 8. One entry in use gives depth 0, and the file is
// written so: that form is part of what this writer produces.
//
// Chunks, in this order: IHDR, PLTE (type 3), tRNS, bKGD, hIST, pHYs, IDAT,
// tIME, IEND. Each is framed by seeking back over its length, so the OutFile
// must be seekable. Options (SaveOptions\PNG\...):
//  - Interlace: Adam7.
//  - Transparent with Transparent Index / Transparent Color: tRNS (not for
//    colour types 4 and 6, which this writer never makes): type 0 the index
//    as a 16-bit grey, type 2 the colour 0xRRGGBB as three 16-bit samples,
//    type 3 one byte per entry in use, 0xFF except entry (index & 0xFF) at 0.
//  - Background with Background Index / Background Color: bKGD alike (type 3
//    one index byte).
//  - Histogram: hIST for type 3, the pixel count of each entry in use shifted
//    right until entry 0's fits 16 bits; a non-zero count that shifts to 0 is
//    written as 1, a count still above 0xFFFF keeps its low 16 bits.
//  - Time: tIME with the time of writing in universal time.
// pHYs is always written: per metre (converted from per inch) when the image
// has a resolution unit, else unit 0 with the bare values. All image data
// goes into one IDAT through ZipEncoder(9, 8, 15, 8, 0); rows of type 3 and of
// depths below 8 are unfiltered, other rows take the filter whose output has
// the smallest sum of signed magnitudes (the lower filter on a tie).
//
// A cancel throws OUTFILEERROR::Cancelled; file failures are OUTFILEERROR.
#pragma once

#include <cstdint>

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/png/PngFormat.h"

namespace vivark {

void writePng(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

}  // namespace vivark
