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
// The frame shown is image.pageNumber (1-based; clamped to the frames
// present), composed as GifComposer.h describes; a viewer that steps through
// an animation keeps a GifComposer rather than reading each frame afresh. A
// headers-only read stops after the walk.
#pragma once

#include <memory>

#include "formats/ImageReader.h"
#include "formats/gif/GifFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeGifReader(InFile& file);

}  // namespace vivark
