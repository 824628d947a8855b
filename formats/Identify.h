// The identify tests of every readable format.
//
// Each test reads from the file's current origin (position 0), decides from
// the first bytes alone whether the content is of its format and, when it is
// and `info` is not null, fills in the size, depth and format tag. A test never
// allocates memory sized by the file and throws nothing of its own: reading
// past the end of a short file throws INFILEERROR::UnexpectedEnd from the
// InFile, which identifyFormat takes as "not this format". Tests that must
// read an unknown amount (GIF extensions, PNG and IFF chunks, TIFF entries)
// stop after a fixed number of steps.
//
// The tests live in their format families' folders; this header gathers their
// declarations for the format table.
#pragma once

#include "core/InFile.h"
#include "formats/FormatInfo.h"

namespace vivark {

bool identifyGif(InFile& file, FormatInfo* info);
bool identifyJpeg(InFile& file, FormatInfo* info);
bool identifyPng(InFile& file, FormatInfo* info);
bool identifyTiff(InFile& file, FormatInfo* info);
bool identifyPsd(InFile& file, FormatInfo* info);
bool identifyBmp(InFile& file, FormatInfo* info);
bool identifyPcx(InFile& file, FormatInfo* info);
bool identifyDcx(InFile& file, FormatInfo* info);
bool identifyIff(InFile& file, FormatInfo* info);
bool identifyPcd(InFile& file, FormatInfo* info);
bool identifySlideShow(InFile& file, FormatInfo* info);
bool identifySff(InFile& file, FormatInfo* info);
bool identifySfw(InFile& file, FormatInfo* info);
bool identifySgi(InFile& file, FormatInfo* info);
bool identifyCompuserveRle(InFile& file, FormatInfo* info);
bool identifyUtahRle(InFile& file, FormatInfo* info);
bool identifySunRaster(InFile& file, FormatInfo* info);
bool identifyPnm(InFile& file, FormatInfo* info);
bool identifyPictor(InFile& file, FormatInfo* info);
bool identifySoftimage(InFile& file, FormatInfo* info);
bool identifyMsp(InFile& file, FormatInfo* info);
bool identifyGem(InFile& file, FormatInfo* info);
bool identifyWpg(InFile& file, FormatInfo* info);
bool identifyXwd(InFile& file, FormatInfo* info);
bool identifyTga(InFile& file, FormatInfo* info);
bool identifyFits(InFile& file, FormatInfo* info);
bool identifyXpm(InFile& file, FormatInfo* info);
bool identifyXbm(InFile& file, FormatInfo* info);
bool identifyWbmp(InFile& file, FormatInfo* info);
bool identifyBootLogo(InFile& file, FormatInfo* info);
bool identifyPicb(InFile& file, FormatInfo* info);
bool identifyMacPaint(InFile& file, FormatInfo* info);
bool identifyFax3(InFile& file, FormatInfo* info);

}  // namespace vivark
