// The Seattle FilmWorks reader: a JPEG stream behind the film lab's own
// header, with its marker codes moved, read through the JFIF reader.
//
// The file starts with "SFW9"; its JPEG stream starts at the first 0xFF 0xC8
// 0xFF 0xD0. The reader copies that stream into memory with the markers put
// back (0xC8 start of image, 0xD0 APP0, 0xCB quantisation tables, 0xA0 start
// of frame, 0xA4 Huffman tables, 0xCA start of scan, 0xC9 end of image) and
// hands it to the JFIF reader. Film lab files leave out the Huffman tables
// when they are the standard ones; the library supplies those itself. The
// rows are stored bottom line first, so the picture is turned upright after
// decoding. Format tag "SFW ".
//
// A file without the magic or without the start of its JPEG stream throws
// JPEGERROR::BadHeader; the JFIF reader's errors pass through unchanged.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "formats/ImageReader.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {

std::unique_ptr<ImageReader> makeSfwReader(InFile& file);

// The JPEG stream inside a Seattle FilmWorks file's bytes, markers restored;
// empty when the magic or the stream's start is missing.
std::vector<uint8_t> jpegOfSfw(std::span<const uint8_t> file);

}  // namespace vivark
