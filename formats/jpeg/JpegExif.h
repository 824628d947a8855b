// The orientation entry of an EXIF block: finding it, and rewriting it to
// "upright" after the pixels were turned.
//
// The block is the TIFF structure after the six bytes "Exif\0\0" of an APP1
// marker. Only what the orientation needs is read: the byte order, the first
// directory (offsets below 65536 only) and its 12-byte entries up to the end of
// the block. An orientation whose high byte is not zero is no orientation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vivark {

struct ExifOrientation {
    uint8_t value = 1;       // 1..255 as stored; 1 to 8 are meaningful
    size_t entryOffset = 0;  // where the 12-byte entry starts in the block
    bool bigEndian = false;
};

std::optional<ExifOrientation> findExifOrientation(std::span<const uint8_t> tiff);

// Rewrites the entry found above as type SHORT, count 1, value 1.
void resetExifOrientation(std::span<uint8_t> tiff, const ExifOrientation& found);

// The TIFF block of an APP1 marker's data, or an empty span when the data is
// not an EXIF block.
std::span<const uint8_t> exifBlockOfApp1(std::span<const uint8_t> data);

}  // namespace vivark
