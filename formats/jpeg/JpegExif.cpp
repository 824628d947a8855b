// EXIF orientation lookup and reset (see JpegExif.h).
#include "formats/jpeg/JpegExif.h"

#include <cstring>

namespace vivark {
namespace {

uint16_t load16(const uint8_t* p, bool big) {
    return big ? static_cast<uint16_t>(p[0] << 8 | p[1]) : static_cast<uint16_t>(p[1] << 8 | p[0]);
}

void store16(uint8_t* p, uint16_t v, bool big) {
    p[big ? 0 : 1] = static_cast<uint8_t>(v >> 8);
    p[big ? 1 : 0] = static_cast<uint8_t>(v & 0xFF);
}

uint32_t load32(const uint8_t* p, bool big) {
    const uint32_t first = load16(p, big), second = load16(p + 2, big);
    return big ? first << 16 | second : second << 16 | first;
}

void store32(uint8_t* p, uint32_t v, bool big) {
    store16(p + (big ? 0 : 2), static_cast<uint16_t>(v >> 16), big);
    store16(p + (big ? 2 : 0), static_cast<uint16_t>(v & 0xFFFF), big);
}

// The byte order and first directory of a TIFF block.
struct Directory {
    bool big = false;
    size_t offset = 0;
};

std::optional<Directory> firstDirectory(std::span<const uint8_t> tiff) {
    const size_t length = tiff.size();
    if (length < 12) return std::nullopt;
    const uint8_t* p = tiff.data();
    bool big;
    if (p[0] == 'I' && p[1] == 'I' && p[2] == 0x2A && p[3] == 0)
        big = false;
    else if (p[0] == 'M' && p[1] == 'M' && p[2] == 0 && p[3] == 0x2A)
        big = true;
    else
        return std::nullopt;
    const uint16_t high = load16(p + (big ? 4 : 6), big);
    const uint16_t low = load16(p + (big ? 6 : 4), big);
    if (high != 0 || low > length - 2) return std::nullopt;
    return Directory{big, low};
}

// Where the entry of `tag` starts in the directory at dir.offset, if it is
// there and whole.
std::optional<size_t> findEntry(std::span<const uint8_t> tiff, const Directory& dir, uint16_t tag) {
    const size_t length = tiff.size();
    if (dir.offset > length - 2) return std::nullopt;
    const size_t count = load16(tiff.data() + dir.offset, dir.big);
    size_t entry = dir.offset + 2;
    for (size_t i = 0; i < count && entry + 12 <= length; ++i, entry += 12)
        if (load16(tiff.data() + entry, dir.big) == tag) return entry;
    return std::nullopt;
}

constexpr uint16_t kShort = 3, kLong = 4;

void setDimension(std::span<uint8_t> tiff, const Directory& dir, uint16_t tag, uint32_t value) {
    const auto entry = findEntry(tiff, dir, tag);
    if (!entry) return;
    uint8_t* e = tiff.data() + *entry;
    const uint16_t type = load16(e + 2, dir.big);
    if ((type != kShort && type != kLong) || load32(e + 4, dir.big) != 1) return;
    if (type == kShort && value <= 0xFFFF) {
        store16(e + 8, static_cast<uint16_t>(value), dir.big);
        store16(e + 10, 0, dir.big);
    } else {
        store16(e + 2, kLong, dir.big);
        store32(e + 8, value, dir.big);
    }
}

}  // namespace

std::span<const uint8_t> exifBlockOfApp1(std::span<const uint8_t> data) {
    static const uint8_t kHeader[6] = {'E', 'x', 'i', 'f', 0, 0};
    if (data.size() <= 5 || data.size() < 6 || std::memcmp(data.data(), kHeader, 6) != 0) return {};
    return data.subspan(6);
}

std::optional<ExifOrientation> findExifOrientation(std::span<const uint8_t> tiff) {
    const auto dir = firstDirectory(tiff);
    if (!dir) return std::nullopt;
    const auto entry = findEntry(tiff, *dir, 0x0112);
    if (!entry) return std::nullopt;
    const uint16_t value = load16(tiff.data() + *entry + 8, dir->big);
    if ((value >> 8) != 0) return std::nullopt;
    return ExifOrientation{static_cast<uint8_t>(value & 0xFF), *entry, dir->big};
}

void updateExifPixelSize(std::span<uint8_t> tiff, uint32_t width, uint32_t height) {
    const auto first = firstDirectory(tiff);
    if (!first) return;
    const auto pointer = findEntry(tiff, *first, 0x8769);
    if (!pointer) return;
    const uint32_t offset = load32(tiff.data() + *pointer + 8, first->big);
    if (offset > tiff.size() - 2) return;
    const Directory exif{first->big, offset};
    setDimension(tiff, exif, 0xA002, width);
    setDimension(tiff, exif, 0xA003, height);
}

void resetExifOrientation(std::span<uint8_t> tiff, const ExifOrientation& found) {
    uint8_t* e = tiff.data() + found.entryOffset;
    store16(e + 2, 3, found.bigEndian);
    std::memset(e + 4, 0, 8);
    e[found.bigEndian ? 7 : 4] = 1;  // count 1
    store16(e + 8, 1, found.bigEndian);
}

}  // namespace vivark
