// The entries of an EXIF block that change when the pixels do: the orientation
// (finding it, and rewriting it to "upright" after the pixels were turned) and
// the pixel dimensions of the Exif sub-directory.
//
// The block is the TIFF structure after the six bytes "Exif\0\0" of an APP1
// marker. Only what these entries need is read: the byte order, the first
// directory (offsets below 65536 only), the Exif sub-directory it points to and
// their 12-byte entries up to the end of the block. An orientation whose high
// byte is not zero is no orientation. Nothing here throws: a block that does
// not hold an entry is left as it is.
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

// Sets the pixel dimensions (tags 0xA002 and 0xA003, SHORT or LONG, count 1)
// of the Exif sub-directory to width and height, where the block has them; a
// SHORT entry that cannot hold its new value becomes a LONG.
void updateExifPixelSize(std::span<uint8_t> tiff, uint32_t width, uint32_t height);

// The TIFF block of an APP1 marker's data, or an empty span when the data is
// not an EXIF block.
std::span<const uint8_t> exifBlockOfApp1(std::span<const uint8_t> data);

}  // namespace vivark
