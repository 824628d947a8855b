// Icons, cursors and pointers: the picture of a Windows icon or cursor file
// (its largest image, the first among equals) and of an OS/2 icon or pointer
// (the colour bitmap of "CI" and "CP", the lower half of the black-and-white
// bitmap of "IC" and "PT"). A Windows icon's AND mask, which follows its
// picture, becomes the Image's second plane (1 where the screen shows
// through); a file that ends before its mask keeps its picture without one.
// An icon image stored as PNG is refused with BMPERROR::UnsupportedCompression.
#include <vector>

#include "core/Errors.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark::bmp {
namespace {

constexpr uint32_t kIconEntrySize = 16;
constexpr uint32_t kPngSignature = 0x474E5089;  // 0x89 "PNG" read little-endian

// The info header of an image whose stored height covers the picture and
// its mask.
BmpHeader readMaskedHeader(InFile& file) {
    BmpHeader header = readInfoHeader(file);
    if (header.height < 2) throw BMPERROR::InvalidFile;
    header.height /= 2;
    return header;
}

// The AND mask right after the picture: 1 bit a pixel, rows bottom-up and
// padded to four bytes, as a 1-bit plane lays them out.
void readAndMask(InFile& file, const BmpHeader& header, Image& image) {
    PixelPlane mask(header.width, header.height, 1, false);
    try {
        const uint32_t stride = mask.rowStride();
        for (uint32_t i = 0; i < header.height; ++i)
            file.read(mask.mutableRow(header.height - 1 - i), stride);
    } catch (INFILEERROR error) {
        if (error != INFILEERROR::UnexpectedEnd) throw;
        return;
    }
    image.secondPlane = std::move(mask);
    image.secondPlaneKind = SecondPlane::AndMask;
}

}  // namespace

void readWindowsIcon(InFile& file, Image& image, const ReadOptions& options) {
    file.readLE16();  // reserved, 0
    const uint16_t type = file.readLE16();
    const uint16_t count = file.readLE16();
    if ((type != 1 && type != 2) || count == 0) throw BMPERROR::InvalidFile;
    if (uint64_t{count} * kIconEntrySize > bytesLeft(file)) throw INFILEERROR::UnexpectedEnd;

    uint64_t bestArea = 0;
    uint32_t bestOffset = 0;
    for (uint16_t i = 0; i < count; ++i) {
        uint8_t entry[kIconEntrySize];
        file.read(entry, sizeof entry);
        const uint64_t width = entry[0] ? entry[0] : 256;
        const uint64_t height = entry[1] ? entry[1] : 256;
        if (width * height > bestArea) {
            bestArea = width * height;
            bestOffset = loadLE32(entry + 12);
        }
    }
    const uint64_t total = file.size() - static_cast<uint64_t>(file.origin());
    if (!rangeInside(bestOffset, 4, total)) throw BMPERROR::InvalidFile;
    file.seek(bestOffset);
    if (file.readLE32() == kPngSignature) throw BMPERROR::UnsupportedCompression;
    file.seek(bestOffset);
    const BmpHeader header = readMaskedHeader(file);
    readBitmapBody(file, header, 0, image, options);
    if (header.compression == kNone && !header.topDown) readAndMask(file, header, image);
    image.formatTag = type == 1 ? kTagWindowsIcon : kTagCursor;
}

void readOs2Icon(InFile& file, Image& image, const ReadOptions& options) {
    const uint16_t type = file.readLE16();
    file.skip(8);  // size, hot spot
    const uint32_t maskOffset = file.readLE32();
    const bool pointer = type == kTypePointer || type == kTypeColourPointer;
    if (type == kTypeIcon || type == kTypePointer) {
        const BmpHeader header = readMaskedHeader(file);
        readBitmapBody(file, header, maskOffset, image, options);
    } else {
        const BmpHeader mask = readInfoHeader(file);
        if (mask.bitCount <= 8) file.skip((uint64_t{1} << mask.bitCount) * mask.paletteEntrySize);
        if (file.readLE16() != type) throw BMPERROR::InvalidFile;
        file.skip(8);
        const uint32_t colourOffset = file.readLE32();
        const BmpHeader colour = readInfoHeader(file);
        readBitmapBody(file, colour, colourOffset, image, options);
    }
    image.formatTag = pointer ? kTagPointer : kTagOs2Icon;
}

}  // namespace vivark::bmp
