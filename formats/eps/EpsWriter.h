// The Encapsulated PostScript writer: one page that draws the image with the
// level 2 image operator over its bounding box, the samples in ASCII85 text
// after run-length or Flate coding (SaveOptions\EPS, see EpsFormat.h), and
// optionally a TIFF preview behind the DOS binary header.
//
// The page measures the image at its resolution, 72 pixels an inch when it
// has none. Grey palettes are written as grey samples (one bit each for
// black and white), other palettes as their colours, 24-bit images as red,
// green and blue. A cancel throws OUTFILEERROR::Cancelled.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeEps(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

}  // namespace vivark
