// Reading and writing palette files, and applying a loaded palette.
#include "ops/PaletteFile.h"

#include <strings.h>
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/Errors.h"
#include "core/SafeOutFile.h"
#include "ops/PaletteMapping.h"
#include "ops/TextScan.h"

namespace vivark {
namespace {

constexpr size_t kLineCapacity = 256;

bool startsWithNoCase(const char* line, const char* signature) {
    return strncasecmp(line, signature, std::char_traits<char>::length(signature)) == 0;
}

// "Colors = %u": the word exactly, spaces around the equals sign optional.
bool readColorsLine(const char* line, uint64_t& count) {
    const char* p = line;
    skipSpace(p);
    if (std::strncmp(p, "Colors", 6) != 0) return false;  // stops at the line's end
    p += 6;
    skipSpace(p);
    if (*p++ != '=') return false;
    return readUnsigned(p, count);
}

}  // namespace

PaletteColours readPalette(InFile& file) {
    char line[kLineCapacity];
    file.readLine(line, sizeof line);
    uint64_t count = 0;
    if (startsWithNoCase(line, "Vivark Palette")) {
        file.readLine(line, sizeof line);
        readColorsLine(line, count);
    } else if (startsWithNoCase(line, "JASC-PAL")) {
        file.readLine(line, sizeof line);  // the version
        file.readLine(line, sizeof line);
        const char* p = line;
        readUnsigned(p, count);
    } else {
        throw PALERROR::UnknownSignature;
    }
    if (count < 1 || count > 256) throw PALERROR::BadCount;

    PaletteColours palette;
    palette.count = static_cast<uint32_t>(count);
    for (uint32_t filled = 0; filled < palette.count;) {
        file.readLine(line, sizeof line);
        const char* p = line;
        uint64_t red, green, blue;
        if (!readUnsigned(p, red) || !readUnsigned(p, green) || !readUnsigned(p, blue)) continue;
        if (red > 255 || green > 255 || blue > 255) throw PALERROR::BadCount;
        palette.entries[filled++] =
            rgb(static_cast<uint8_t>(red), static_cast<uint8_t>(green), static_cast<uint8_t>(blue));
    }
    return palette;
}

PaletteColours readPaletteFile(const std::string& path) {
    InFile file;
    file.open(path);
    return readPalette(file);
}

void writePalette(OutFile& file, const PaletteColours& palette) {
    char text[64];
    int length = std::snprintf(text, sizeof text, "JASC-PAL\r\n0100\r\n%u\r\n", palette.count);
    file.write(text, static_cast<size_t>(length));
    for (uint32_t i = 0; i < palette.count && i < palette.entries.size(); ++i) {
        const Colour c = palette.entries[i];
        length = std::snprintf(text, sizeof text, "%3u %3u %3u\r\n", unsigned{redOf(c)},
                               unsigned{greenOf(c)}, unsigned{blueOf(c)});
        file.write(text, static_cast<size_t>(length));
    }
}

bool writePaletteFile(const std::string& path, const PaletteColours& palette) {
    return writeWholeFile(path, [&](OutFile& out) { writePalette(out, palette); });
}

std::optional<PaletteColours> paletteOf(const Image& image) {
    if (!image.hasPalette() || image.bitsPerPixel() == 0) return std::nullopt;
    const uint32_t indexable = 1u << image.bitsPerPixel();
    PaletteColours palette;
    palette.count = image.paletteCount == 0 ? indexable : std::min(image.paletteCount, indexable);
    std::copy_n(image.palette.entries.begin(), palette.count, palette.entries.begin());
    return palette;
}

OpResult applyPalette(const Image& image, const ApplyPalette& p, ProgressCallback* progress,
                      const Limits& limits) {
    const PaletteColours& loaded = p.palette;
    if (loaded.count < 1 || loaded.count > 256) throw PALERROR::BadCount;
    const uint32_t width = image.width(), height = image.height();
    if (image.hasPalette()) {
        checkResultSize(width, height, image.bitsPerPixel(), limits);
        Image result = image;
        std::copy_n(loaded.entries.begin(), loaded.count, result.palette.entries.begin());
        const uint32_t indexable = image.bitsPerPixel() == 0 ? 256 : 1u << image.bitsPerPixel();
        result.paletteCount = std::min(std::max(loaded.count, image.paletteCount), indexable);
        result.colourCount = 0;
        if (progressCancelled(progress, height, height)) return std::nullopt;
        return result;
    }
    Image result = resultLike(image, width, height, 8, limits);
    std::copy_n(loaded.entries.begin(), loaded.count, result.palette.entries.begin());
    result.paletteCount = loaded.count;
    result.secondPlane = image.secondPlane;
    result.secondPlaneKind = image.secondPlaneKind;
    if (!mapToPalette(image, loaded.entries.data(), loaded.count, MapSpace::Rgb, false, result,
                      progress))
        return std::nullopt;
    return result;
}

}  // namespace vivark
