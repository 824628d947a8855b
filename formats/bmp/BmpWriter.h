// The bitmap writers: "Windows Bitmap" (40-byte header) and "OS/2 Bitmap"
// (12-byte OS/2 1.x header, or the 64-byte OS/2 2.x header).
//
// Both take images of 1, 4, 8 or 24 bits (the save path converts others) and
// write them bottom-up. Options:
//  - SaveOptions\Windows Bitmap\Encode: RLE8 for 8-bit and RLE4 for 4-bit
//    images; 1- and 24-bit images are always stored uncompressed.
//  - SaveOptions\OS2 Bitmap\Format: 0 writes the 1.x header (sizes up to
//    65535, three-byte palette entries, no compression), 1 the 2.x header.
//  - SaveOptions\OS2 Bitmap\Encode: RLE as above, with the 2.x header only.
//    The 2.x header's other codings (Huffman 1D for 1 bit, RLE24) are not
//    written: hardly any program but OS/2's own reads them, and this reader
//    refuses them too.
// A cancel throws OUTFILEERROR::Cancelled; an image too large for the 1.x
// header SAVEERROR::TooLargeForFormat.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark {

void writeWindowsBitmap(const Image& image, OutFile& out, const SaveOptions& options,
                        ProgressCallback* progress);
void writeOs2Bitmap(const Image& image, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress);

}  // namespace vivark
