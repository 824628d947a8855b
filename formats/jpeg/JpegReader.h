// The JFIF reader: one JPEG image through libjpeg into an Image.
//
//  - Greyscale files become 8-bit images with a 256-level grey palette, all
//    others 24-bit; CMYK as Adobe writes it (inverted) is turned into RGB.
//  - With ReadOptions::previewSize the library scales down by 1/2, 1/4 or 1/8;
//    otherwise a progressive file is read in buffered-image mode and each pass
//    is reported through the progress callback.
//  - The EXIF orientation of an APP1 block is applied while reading, so the
//    Image is upright; the block itself is kept in Image::exif.
//  - Resolution comes from the JFIF density, comments from COM markers (when
//    the image keeps comments). The library's warning is recorded as a
//    "JFIFInfo" item with the library's code as value and its own text; kind
//    kJfifDamage marks a warning that pixels were lost (a premature end,
//    corrupt data), which the family reports as damage (ImageInfo.h).
// Library errors throw JFIFERROR (message 11000 + value); a header the library
// refuses throws JPEGERROR::BadHeader. Format tag "JFIF".
#pragma once

#include <memory>

#include "core/ImageInfo.h"
#include "formats/ImageReader.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeJpegReader(InFile& file);

// The family of the reader's info items: kind 0 is a warning about the
// headers, kJfifDamage one about the pixel data.
inline constexpr uint32_t kJfifDamage = 1;
extern const InfoFamily kJfifInfo;

}  // namespace vivark
