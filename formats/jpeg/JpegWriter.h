// The JFIF writer: an 8-bit grey-palette image as one grey component, every
// other image as RGB (palette images expanded row by row). The five
// SaveOptions\JFIF settings choose quality (baseline tables forced),
// smoothing, optimised Huffman tables, progression and whether the image's
// EXIF block goes out as an APP1 in place of the JFIF APP0. Density comes from
// the image's resolution; a comment becomes one COM marker of at most 65533
// bytes. Library errors throw JFIFWRITEERROR::LibraryError.
//
// The EXIF block is written as the image carries it, except for the entries
// the pixels decide: its orientation entry is reset to 1, because every Image
// that carries a block holds the picture upright (the reader turns the pixels
// as the orientation says), and the pixel dimensions of the Exif
// sub-directory are set to the image's width and height, which rotation or
// resizing may have changed since the block was read.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {

void writeJfif(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress);

}  // namespace vivark
