// Writes X pixmaps as C source, in the "/* XPM */" layout or, when
// SaveOptions\XPM\Type is 1, in the older format-1 layout (defines, a colour
// array of name and value pairs, and a pixel array).
//
// Colours: the palette entries 0 to n - 1, where n is the image's palette
// count, raised where a pixel uses a higher index (so every pixel has its
// colour line). Each index is named by one or two characters (more than 221
// colours need two) from a table of 221: the bytes 0x20 to 0xFE without the
// double quote and the backslash, least significant base-221 digit first.
// The "/* XPM */" layout gives each colour as "c #RRGGBB"; format 1 as
// "#RRRRGGGGBBBB" (each byte repeated), or "#000" for black.
//
// The writer takes 1-, 4- and 8-bit palette images (the save path reduces
// true colour) and names the arrays after the output file (see
// sourceIdentifier).
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/xbm/XbmFormat.h"
#include "formats/xbm/XbmWriter.h"

namespace vivark {
namespace {

constexpr size_t kIdentifierCapacity = 39;
constexpr unsigned kCharCount = 221;

struct PixelChars {
    char table[kCharCount];
    constexpr PixelChars() : table{} {
        unsigned n = 0;
        for (unsigned c = 0x20; c <= 0xFE; ++c)
            if (c != '"' && c != '\\') table[n++] = static_cast<char>(c);
    }
};
constexpr PixelChars kPixelChars;

void writeText(OutFile& out, std::string_view text) {
    out.write(text.data(), text.size());
}

// Appends the characters of index `i`.
void appendChars(std::string& text, uint32_t i, unsigned charsPerPixel) {
    for (unsigned k = 0; k < charsPerPixel; ++k) {
        text.push_back(kPixelChars.table[i % kCharCount]);
        i /= kCharCount;
    }
}

}  // namespace

void writeXpm(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const std::string id = sourceIdentifier(out.name(), kIdentifierCapacity, "pixmap");
    const char* name = id.c_str();
    const uint32_t width = image.width(), height = image.height();
    const unsigned bits = image.bitsPerPixel();
    std::vector<uint8_t> indices(width);

    uint32_t ncolors = std::clamp<uint32_t>(image.paletteCount, 1, 256);
    for (uint32_t y = 0; y < height; ++y) {
        unpackIndices(image.plane.row(y), indices.data(), width, bits);
        for (uint8_t i : indices) ncolors = std::max<uint32_t>(ncolors, i + 1u);
    }
    unsigned charsPerPixel = 1;
    for (uint64_t reach = kCharCount; reach < ncolors; reach *= kCharCount) ++charsPerPixel;

    const bool formatOne = options.integer(saveKey::XpmType) == 1;
    char text[256];
    std::string line;
    if (formatOne) {
        std::snprintf(text, sizeof text,
                      "#define %s_format 1\n#define %s_width %u\n#define %s_height %u\n"
                      "#define %s_ncolors %u\n#define %s_chars_per_pixel %u\n",
                      name, name, width, name, height, name, ncolors, name, charsPerPixel);
        writeText(out, text);
        writeText(out, "static char * " + id + "_colors[] = {\n");
    } else {
        writeText(out, "/* XPM */\nstatic char * " + id + "[] = {\n");
        std::snprintf(
            text, sizeof text,
            "/* width height ncolors chars_per_pixel */\n\"%u %u %u %u\",\n/* colors */\n", width,
            height, ncolors, charsPerPixel);
        writeText(out, text);
    }
    for (uint32_t i = 0; i < ncolors; ++i) {
        const Colour c = image.palette[i];
        line.assign(1, '"');
        appendChars(line, i, charsPerPixel);
        if (formatOne) {
            line += "\", \"";
            if ((c & 0xFFFFFF) == 0) {
                line += "#000";
            } else {
                std::snprintf(text, sizeof text, "#%04X%04X%04X", redOf(c) * 257u,
                              greenOf(c) * 257u, blueOf(c) * 257u);
                line += text;
            }
            line += i + 1 < ncolors ? "\",\n" : "\"\n";
        } else {
            std::snprintf(text, sizeof text, " c #%02X%02X%02X\",\n", redOf(c), greenOf(c),
                          blueOf(c));
            line += text;
        }
        writeText(out, line);
    }
    writeText(out, formatOne ? "};\nstatic char * " + id + "_pixels[] = {\n" : "/* pixels */\n");

    for (uint32_t y = 0; y < height; ++y) {
        unpackIndices(image.plane.row(y), indices.data(), width, bits);
        line.assign(1, '"');
        for (uint8_t i : indices) appendChars(line, i, charsPerPixel);
        line += y + 1 < height ? "\",\n" : "\"\n";
        writeText(out, line);
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    writeText(out, "};\n");
}

}  // namespace vivark
