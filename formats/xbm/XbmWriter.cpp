// Writes X bitmaps as X11 C source: two size defines and an array of 8-bit
// chars, each row packed into whole bytes with its leftmost pixel in the
// least significant bit. A pixel whose palette colour is black gives a 1
// bit; every other colour a 0 bit. Values go eleven to a line.
//
// The writer takes 1-, 4- and 8-bit palette images (the save path makes
// black and white of anything else) and names the arrays after the output
// file (see sourceIdentifier).
#include <cstdio>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/xbm/XbmWriter.h"

namespace vivark {
namespace {

constexpr size_t kIdentifierCapacity = 31;
constexpr size_t kValuesPerLine = 11;

void writeText(OutFile& out, std::string_view text) {
    out.write(text.data(), text.size());
}

}  // namespace

std::string sourceIdentifier(std::string_view fileName, size_t capacity,
                             std::string_view fallback) {
    std::string id;
    for (char c : fileName.substr(0, capacity)) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))) break;
        id.push_back(c);
    }
    return id.empty() ? std::string(fallback) : id;
}

void writeXbm(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    const std::string id = sourceIdentifier(out.name(), kIdentifierCapacity, "bitmap");
    const uint32_t width = image.width(), height = image.height();
    char text[160];
    std::snprintf(text, sizeof text, "#define %s_width %u\n#define %s_height %u\n", id.c_str(),
                  width, id.c_str(), height);
    writeText(out, text);
    writeText(out, "static char " + id + "_bits[] = {");

    // Black palette entries give 1 bits.
    uint8_t black[256] = {};
    for (unsigned i = 0; i < 256; ++i) black[i] = (image.palette[i] & 0xFFFFFF) == 0;
    std::vector<uint8_t> indices(width);
    const size_t rowBytes = (size_t{width} + 7) / 8;
    size_t written = 0;
    for (uint32_t y = 0; y < height; ++y) {
        unpackIndices(image.plane.row(y), indices.data(), width, image.bitsPerPixel());
        for (size_t b = 0; b < rowBytes; ++b) {
            unsigned value = 0;
            for (unsigned bit = 0; bit < 8 && b * 8 + bit < width; ++bit)
                value |= unsigned{black[indices[b * 8 + bit]]} << bit;
            // Values are separated by ", " within a line; a full line ends
            // with the comma and the next begins with three spaces.
            const char* lead = written == 0                    ? "\n   "
                               : written % kValuesPerLine == 0 ? ",\n   "
                                                               : ", ";
            std::snprintf(text, sizeof text, "%s0x%02X", lead, value);
            writeText(out, text);
            ++written;
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    writeText(out, "\n   };\n");
}

}  // namespace vivark
