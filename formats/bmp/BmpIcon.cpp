// Icons, cursors and pointers: the picture of a Windows icon or cursor file
// (its largest image, the first among equals) and of an OS/2 icon or pointer
// (the colour bitmap of "CI" and "CP", the lower half of the black-and-white
// bitmap of "IC" and "PT"). The AND mask, which follows a Windows icon's
// picture and is the upper half of an OS/2 icon's black-and-white bitmap,
// becomes the Image's second plane (1 where the screen shows through); a
// file that ends before its mask keeps its picture without one. An OS/2
// array's elements are its pages, in file order (BmpReader.cpp).
//
// A Windows icon file holds several pictures of one icon. Its pages are its
// entries ordered largest first, then deepest, then in file order, so page 1
// (the default) is the best picture and --page picks another; the reader
// lists every entry as an "IconInfo" item in that order. An entry stored as
// PNG (as icons have been since 2007) is read by the PNG reader, with its
// alpha.
#include <algorithm>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/png/PngReader.h"

namespace vivark::bmp {
namespace {

constexpr uint32_t kIconEntrySize = 16;
constexpr uint32_t kMaxIconEntries = 1024;      // far beyond any real icon
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

struct IconEntry {
    uint32_t width, height, bitCount, offset, size;
    bool png = false;
};

std::string describeEntry(const IconEntry& e) {
    return std::to_string(e.width) + "x" + std::to_string(e.height) + ", " +
           std::to_string(e.bitCount) + (e.bitCount == 1 ? " bit" : " bits") +
           (e.png ? ", PNG" : "");
}

const InfoFamily kIconInfo = {
    "IconInfo",
    [](const InfoItem& item) { return "Entry " + std::to_string(item.kind + 1); },
    [](const InfoItem& item) { return item.text; },
};

// The picture of an entry stored as PNG, read by the PNG reader from the
// entry's offset, which becomes the file's origin for the read.
void readPngEntry(InFile& file, const IconEntry& entry, Image& image, const ReadOptions& options) {
    const int64_t origin = file.origin();
    file.setOrigin(origin + entry.offset);
    file.seek(0);
    ReadOptions one = options;
    one.page = 1;
    Image picture;
    try {
        makePngReader(file)->read(picture, one);
    } catch (...) {
        file.setOrigin(origin);
        throw;
    }
    file.setOrigin(origin);
    picture.keepRequestOf(image);
    image = std::move(picture);
}

}  // namespace

void readWindowsIcon(InFile& file, Image& image, const ReadOptions& options) {
    file.readLE16();  // reserved, 0
    const uint16_t type = file.readLE16();
    const uint16_t count = file.readLE16();
    if ((type != 1 && type != 2) || count == 0) throw BMPERROR::InvalidFile;
    if (uint64_t{count} * kIconEntrySize > bytesLeft(file) || count > kMaxIconEntries)
        throw INFILEERROR::UnexpectedEnd;

    const uint64_t total = file.size() - static_cast<uint64_t>(file.origin());
    std::vector<IconEntry> entries;
    entries.reserve(count);
    for (uint16_t i = 0; i < count; ++i) {
        uint8_t entry[kIconEntrySize];
        file.read(entry, sizeof entry);
        IconEntry e{entry[0] ? entry[0] : 256u, entry[1] ? entry[1] : 256u, loadLE16(entry + 6),
                    loadLE32(entry + 12), loadLE32(entry + 8)};
        // Old files leave the bit count 0 and give the colour count instead.
        if (e.bitCount == 0 && entry[2] != 0)
            for (uint32_t colours = 2, bits = 1; bits <= 8; colours <<= 1, ++bits)
                if (colours >= entry[2]) {
                    e.bitCount = bits;
                    break;
                }
        entries.push_back(e);
    }
    // A cursor's directory holds the hot spot where an icon's holds planes
    // and depth: its depth comes from the picture's own header, and only
    // the size orders its pictures (as the identify test, reading the
    // directory alone, orders them).
    const bool cursor = type == 2;
    for (IconEntry& e : entries) {
        if (!rangeInside(e.offset, 4, total)) continue;
        file.seek(e.offset);
        e.png = file.readLE32() == kPngSignature;
        if (cursor) {
            e.bitCount = e.png ? 32 : 0;
            if (!e.png && rangeInside(e.offset, 16, total)) {
                file.skip(10);
                e.bitCount = file.readLE16();
            }
        }
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [cursor](const IconEntry& a, const IconEntry& b) {
                         const uint64_t areaA = uint64_t{a.width} * a.height;
                         const uint64_t areaB = uint64_t{b.width} * b.height;
                         if (areaA != areaB) return areaA > areaB;
                         return !cursor && a.bitCount > b.bitCount;
                     });
    std::vector<InfoItem> listed;
    if (image.keepInfo)
        for (uint32_t i = 0; i < entries.size(); ++i)
            listed.push_back({&kIconInfo, i, 0, describeEntry(entries[i])});
    // A page beyond the entries reads the first; the caller refuses it by
    // the page count.
    const IconEntry& chosen =
        entries[image.pageNumber >= 1 && image.pageNumber <= count ? image.pageNumber - 1 : 0];
    if (!rangeInside(chosen.offset, 4, total)) throw BMPERROR::InvalidFile;
    if (chosen.png) {
        readPngEntry(file, chosen, image, options);
    } else {
        file.seek(chosen.offset);
        const BmpHeader header = readMaskedHeader(file);
        readBitmapBody(file, header, 0, image, options);
        if (header.compression == kNone && !header.topDown) readAndMask(file, header, image);
    }
    image.info.insert(image.info.begin(), listed.begin(), listed.end());
    image.pageCount = count;
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
        if (header.bitCount == 1 && header.compression == kNone)
            readAndMask(file, header, image);  // right after the XOR half
    } else {
        const BmpHeader mask = readMaskedHeader(file);
        if (mask.bitCount <= 8) file.skip((uint64_t{1} << mask.bitCount) * mask.paletteEntrySize);
        if (file.readLE16() != type) throw BMPERROR::InvalidFile;
        file.skip(8);
        const uint32_t colourOffset = file.readLE32();
        const BmpHeader colour = readInfoHeader(file);
        readBitmapBody(file, colour, colourOffset, image, options);
        // The AND half of the mask bitmap, after its XOR half.
        if (mask.bitCount == 1 && mask.compression == kNone && mask.width == colour.width &&
            mask.height == colour.height) {
            file.seek(int64_t{maskOffset} + int64_t(storedRowBytes(mask.width, 1) * mask.height));
            readAndMask(file, mask, image);
        }
    }
    image.formatTag = pointer ? kTagPointer : kTagOs2Icon;
}

namespace {

// Elements of an array beyond any real file's (an icon holds a handful).
constexpr uint32_t kMaxArrayElements = 1024;

// The picture's header of the element at `at`: the colour bitmap's of "CI"
// and "CP" (after the mask bitmap's header and palette), else the first.
IconEntry describeArrayElement(InFile& file, int64_t at) {
    file.seek(at + kFileHeaderSize);
    const uint16_t type = file.readLE16();
    file.skip(kFileHeaderSize - 2);
    BmpHeader header = readInfoHeader(file);
    if (type == kTypeColourIcon || type == kTypeColourPointer) {
        if (header.bitCount <= 8)
            file.skip((uint64_t{1} << header.bitCount) * header.paletteEntrySize);
        file.skip(kFileHeaderSize);
        header = readInfoHeader(file);
    } else if (type != kTypeBitmap) {
        header.height /= 2;
    }
    return {header.width, header.height, header.bitCount, 0, 0};
}

}  // namespace

ArrayElement chooseArrayElement(InFile& file, uint32_t page, bool list) {
    const int64_t total = static_cast<int64_t>(file.size()) - file.origin();
    ArrayElement chosen;
    int64_t at = 0;
    for (uint32_t index = 1;; ++index) {
        chosen.count = index;
        if (index == page) chosen.offset = at;
        if (list) {
            try {
                chosen.listed.push_back(
                    {&kIconInfo, index - 1, 0, describeEntry(describeArrayElement(file, at))});
            } catch (BMPERROR) {
                list = false;  // a damaged element ends the list, not the read
            } catch (INFILEERROR error) {
                if (error != INFILEERROR::UnexpectedEnd) throw;
                list = false;
            }
        }
        // A chain that turns back, or leads out of the file, ends there.
        file.seek(at + 6);
        const int64_t next = file.readLE32();
        if (next <= at || next + int64_t{kFileHeaderSize} >= total || index == kMaxArrayElements)
            break;
        file.seek(next);
        if (file.readLE16() != kTypeArray) break;
        at = next;
    }
    return chosen;
}

}  // namespace vivark::bmp
