// The PBMPlus writers: "PBMPlus Portable Bitmap" (1-bit images), "...
// Graymap" (8-bit images with a grey palette), "... Pixmap" (24-bit and palette images)
// and "... Anymap", which picks by content: a black-and-white palette gives a
// bitmap, a grey palette a graymap, anything else a pixmap.
//
// Each reads its RawData option (SaveOptions\PBM, PGM, PPM, PNM): 1, the
// default, writes the raw forms P4/P5/P6; 0 the plain text forms P1/P2/P3,
// with lines of at most 70 characters. Graymaps and pixmaps use maxval 255;
// a bitmap pixel is black (1) when its palette colour is dark. A cancel
// throws OUTFILEERROR::Cancelled.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/pnm/PnmFormat.h"

namespace vivark {

void writePortableBitmap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress);
void writePortableGraymap(const Image& image, OutFile& out, const SaveOptions& options,
                          ProgressCallback* progress);
void writePortablePixmap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress);
void writePortableAnymap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress);

}  // namespace vivark
