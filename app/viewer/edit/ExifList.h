// ExifList: the entries of an EXIF block as label and value texts, for the
// information dialog.
//
// The block is the TIFF structure an Image keeps (Image::exif). The first
// directory, the Exif sub-directory and the GPS directory are walked; every
// entry whose tag is known gets its name, the others "Tag 0xNNNN". Values of
// the types ASCII, BYTE, SHORT, LONG, RATIONAL, SRATIONAL and SLONG are shown
// (at most 16 values an entry), the others as their value count. Offsets are
// checked against the block, directories are visited once, so any bytes give
// a list and nothing is read outside the block.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vivark::viewer {

std::vector<std::pair<std::string, std::string>> exifEntries(std::span<const uint8_t> tiff);

}  // namespace vivark::viewer
