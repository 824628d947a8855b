// The readers of ZSoft PCX images and DCX multi-page files (a table of page
// offsets in front of PCX images). They throw PCXERROR: InvalidFile for an
// unsupported version, encoding, depth or plane layout and a bad DCX magic,
// DataIntegrity for a zero size, zero bytes per line or planes and a missing
// DCX page. Identification lives in PcxIdentify.cpp.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/pcx/PcxFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makePcxReader(InFile& file);
std::unique_ptr<ImageReader> makeDcxReader(InFile& file);

// The 16 colours used when a header's palette is all zero. Entries 1 (white)
// and 6 (0xAAAA00) differ from the usual EGA colours; files made by the
// program this one replaces show them so.
extern const Colour kPcxDefaultPalette[16];

}  // namespace vivark
