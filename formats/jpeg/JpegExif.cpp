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

}  // namespace

std::span<const uint8_t> exifBlockOfApp1(std::span<const uint8_t> data) {
    static const uint8_t kHeader[6] = {'E', 'x', 'i', 'f', 0, 0};
    if (data.size() <= 5 || data.size() < 6 || std::memcmp(data.data(), kHeader, 6) != 0) return {};
    return data.subspan(6);
}

std::optional<ExifOrientation> findExifOrientation(std::span<const uint8_t> tiff) {
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
    const size_t count = load16(p + low, big);
    size_t entry = low + 2;
    for (size_t i = 0; i < count && entry + 12 <= length; ++i, entry += 12) {
        if (load16(p + entry, big) != 0x0112) continue;
        const uint16_t value = load16(p + entry + 8, big);
        if ((value >> 8) != 0) return std::nullopt;
        return ExifOrientation{static_cast<uint8_t>(value & 0xFF), entry, big};
    }
    return std::nullopt;
}

void resetExifOrientation(std::span<uint8_t> tiff, const ExifOrientation& found) {
    uint8_t* e = tiff.data() + found.entryOffset;
    store16(e + 2, 3, found.bigEndian);
    std::memset(e + 4, 0, 8);
    e[found.bigEndian ? 7 : 4] = 1;  // count 1
    store16(e + 8, 1, found.bigEndian);
}

}  // namespace vivark
