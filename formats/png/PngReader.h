// The PNG reader: every colour type and bit depth of ISO/IEC 15948, plain or
// Adam7 interlaced, into an 8-bit image (grey through a grey-ramp palette of
// min(depth, 8) bits, palette images through their PLTE) or a 24-bit one
// (colour types 2 and 6). 16-bit samples give their high byte; alpha is
// dropped. pHYs becomes the image's resolution (per metre when its unit byte
// is 1, else a ratio); gAMA is kept (gamma()) but never applied; tRNS, bKGD,
// hIST, tIME, text and unknown chunks are skipped.
//
// Every chunk's CRC is checked. Failures are PNGERROR values at the moment
// the chunk sequence proves them (see PngReader.cpp), ZIPERROR for damaged
// compressed data, INFILEERROR::UnexpectedEnd for a short file and
// INFILEERROR::Cancelled when ReadOptions::progress cancels. Interlaced
// passes are shown through ReadOptions::display when one is given.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/png/PngFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePngReader(InFile& file);

}  // namespace vivark
