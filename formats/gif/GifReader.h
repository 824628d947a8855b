// The GIF reader: GIF87a and GIF89a files, single images and animations.
//
// The whole block sequence is walked first: it records the GIFInfo items,
// the comment, the NETSCAPE2.0 loop count (0 stored as -1, for ever), every
// frame's placement, delay, disposal and transparency in image.animation, and
// the page count; it also refuses a frame without a colour table
// (GIFERROR::NoColourMap) or with a code size outside 2..11
// (GIFERROR::BadLzwCodeSize). Bytes other than the three block introducers
// are skipped. A file whose trailer comes before any image throws
// GIFERROR::PrematureEnd; LZW data errors pass through as LZWERROR.
//
// Composition, as a viewer shows frame image.pageNumber (1-based; clamped to
// the frames present): the canvas is as large as the logical screen, grown to
// hold the first frame when it reaches beyond it (later frames are clipped to
// the canvas), and starts filled with the background colour index. Frames 1
// to pageNumber are drawn in turn; a pixel equal to the frame's transparent
// index leaves the canvas unchanged. Before a frame is drawn, the previous
// frame's disposal is applied to the previous frame's rectangle: 0 and 1
// leave it, 2 fills it with the background, 3 puts back what it covered.
// The canvas has 8 bits per pixel and the global table (or, for the first
// frame alone, that frame's table) as its palette when every frame drawn uses
// the same table; otherwise it has 24 bits, and the background is the global
// table's colour at the background index (black without a global table).
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/gif/GifFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeGifReader(InFile& file);

}  // namespace vivark
