// The PBMPlus reader: portable bitmaps, graymaps and pixmaps, plain (P1, P2,
// P3) and raw (P4, P5, P6). Only the first image of a file is read.
//
//  - P1/P4 become 1-bit images whose palette entry 0 is white and entry 1
//    black, so the file's bits (1 = black) are kept as they are.
//  - P2/P5 become 8-bit images with 256 grey levels; P3/P6 24-bit images.
//  - Any maxval from 1 to 65535 is scaled to 0..255 with rounding; samples
//    of raw files with a maxval above 255 are two bytes, most significant
//    first.
//  - Comments ("#" to the end of the line) may stand wherever whitespace
//    may in the header and between the samples of a plain file.
// Header faults throw PNMERROR::InvalidFile, samples above maxval or foreign
// characters in plain data PNMERROR::DataIntegrity, sizes past the caller's
// limits IMAGEERROR::TooLarge; missing data is InFile's UnexpectedEnd.
// Format tags: "PBM ", "PGM ", "PPM ".
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/pnm/PnmFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePnmReader(InFile& file);

}  // namespace vivark
