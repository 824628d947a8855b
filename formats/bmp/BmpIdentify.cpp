// Identifies Windows and OS/2 bitmaps, icons, cursors and pointers.
//
// The first little-endian word names the file: "BM" bitmap, "IC" and "CI"
// icons, "PT" and "CP" pointers, "BA" an array (its first element, 14 bytes
// on, is identified instead, one level deep), or 0 followed by resource type
// 1 or 2 (a Windows icon or cursor file, whose directory entries give the
// offsets of the image headers). The image header's size must be 12 (16-bit
// fields) or at least 16 (32-bit width and height); width must be positive,
// height non-zero (a negative one counts by its size) and the bit count 1 to
// 32. Icons ("IC", Windows icons and cursors) and "PT" pointers stack image and
// mask, so their height is halved. Tags: "BMP ", or "BMPW" for a "BM" file with
// a 40-byte header and compression below 4; "ICO " ("IC", "CI"), "ICOW",
// "CUR ", "PTR " ("PT", "CP"). A "BMP " file whose header only Windows writes
// (version 4 and 5 among them) is named as a Windows bitmap through
// FormatInfo::namedAs. An array reports its first element's tag. A
// Windows icon or cursor is measured by the entry its reader shows first (the
// largest, then the deepest); an entry stored as PNG by its directory entry.
#include <algorithm>

#include "formats/IdentifySupport.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark {
namespace {

constexpr uint16_t typeWord(char a, char b) {
    return static_cast<uint16_t>(static_cast<uint8_t>(a) | (static_cast<uint8_t>(b) << 8));
}

// Reads the image header at the current position.
bool measureHeader(InFile& file, FormatInfo& found, bool halveHeight, bool wideTag) {
    const uint32_t headerSize = file.readLE32();
    int64_t width, height;
    uint32_t bitCount, compression = 0;
    if (headerSize == 12) {
        width = file.readLE16();
        height = file.readLE16();
        file.readLE16();  // planes
        bitCount = file.readLE16();
    } else if (headerSize >= 16) {
        width = static_cast<int32_t>(file.readLE32());
        height = static_cast<int32_t>(file.readLE32());
        file.readLE16();  // planes
        bitCount = file.readLE16();
        if (headerSize >= 20) compression = file.readLE32();
    } else {
        return false;
    }
    if (width <= 0 || height == 0 || bitCount < 1 || bitCount > 32) return false;
    if (height < 0) height = -height;
    if (halveHeight) height /= 2;
    found.width = static_cast<uint32_t>(width);
    found.height = static_cast<uint32_t>(height);
    found.bitsPerPixel = bitCount;
    if (wideTag && headerSize == 40 && compression < 4) {
        found.formatTag = bmp::kTagWindowsBitmap;
    } else if (wideTag && bmp::isWindowsHeaderSize(headerSize)) {
        // Still tagged "BMP ", but only Windows writes such a header (version
        // 4 and 5 among them): the file is named a Windows bitmap.
        found.namedAs = bmp::kTagWindowsBitmap;
    }
    return true;
}

// A file (or array element) starting at the current position.
bool measureFile(InFile& file, FormatInfo& found, bool insideArray) {
    const int64_t start = file.tell();
    const uint16_t type = file.readLE16();
    if (type == typeWord('B', 'A')) {
        if (insideArray) return false;
        file.seek(start + 14);
        return measureFile(file, found, true);
    }
    if (type == 0) {
        if (insideArray) return false;
        const uint16_t resourceType = file.readLE16();
        if (resourceType != 1 && resourceType != 2) return false;
        const uint16_t count = file.readLE16();
        if (count == 0 || count > 1024) return false;  // no images, or not an icon
        // The entry the reader shows first: the largest, then the deepest.
        uint8_t entry[16], candidate[16];
        file.read(entry, sizeof entry);
        for (uint16_t i = 1; i < count; ++i) {
            file.read(candidate, sizeof candidate);
            auto area = [](const uint8_t* e) {
                return uint32_t(e[0] ? e[0] : 256) * uint32_t(e[1] ? e[1] : 256);
            };
            // A cursor's entry holds its hot spot where an icon's holds its depth.
            if (area(candidate) > area(entry) ||
                (resourceType == 1 && area(candidate) == area(entry) &&
                 loadLE16(candidate + 6) > loadLE16(entry + 6)))
                std::copy(candidate, candidate + sizeof candidate, entry);
        }
        found.formatTag = resourceType == 1 ? makeTag("ICOW") : makeTag("CUR ");
        file.seek(start + loadLE32(entry + 12));
        // An entry stored as PNG: the directory gives its size and depth.
        if (file.readLE32() == 0x474E5089) {
            found.width = entry[0] != 0 ? entry[0] : 256;
            found.height = entry[1] != 0 ? entry[1] : 256;
            found.bitsPerPixel =
                resourceType == 1 && loadLE16(entry + 6) != 0 ? loadLE16(entry + 6) : 32;
            return true;
        }
        file.seek(start + loadLE32(entry + 12));
        return measureHeader(file, found, true, false);
    }
    bool halve = false;
    if (type == typeWord('B', 'M')) {
        found.formatTag = makeTag("BMP ");
    } else if (type == typeWord('I', 'C') || type == typeWord('C', 'I')) {
        found.formatTag = makeTag("ICO ");
        halve = type == typeWord('I', 'C');
    } else if (type == typeWord('P', 'T') || type == typeWord('C', 'P')) {
        found.formatTag = makeTag("PTR ");
        halve = type == typeWord('P', 'T');
    } else {
        return false;
    }
    file.seek(start + 14);
    return measureHeader(file, found, halve, type == typeWord('B', 'M'));
}

}  // namespace

bool identifyBmp(InFile& file, FormatInfo* info) {
    FormatInfo found;
    if (!measureFile(file, found, false)) return false;
    if (info != nullptr) info->namedAs = found.namedAs;
    return accept(info, found.width, found.height, found.bitsPerPixel, found.formatTag);
}

}  // namespace vivark
