// Decoding of GEM Paint (IMG) images. Each scan line holds its planes one
// after the other, (width + 7) / 8 bytes each, coded as a stream of:
//   0 0 FF n    the scan line that follows stands for n lines (vertical
//               replication; only at a line's start);
//   0 n p...    the pattern of the header's pattern length, n times;
//   80 n b...   n literal bytes (a bit string);
//   other b     a solid run of b & 7F bytes, all ones when b's top bit is set.
// A run may pass from one plane into the next of the same line, never past
// the line's end (IMGERROR::DataIntegrity).
//
// A set bit is ink: one plane gives a 1-bit image, index 0 white and 1 black.
// Two to eight planes give indices, plane 0 the lowest bit, through the XIMG
// palette where the file has one, otherwise through the colours GEM's
// screens used (white, red, green, black for two planes, the sixteen of the
// colour desktop for three and four; for five to eight, which carry no
// common default, a ramp from white at 0 to black at the top index).
// Twenty-four planes are true colour: planes 0 to 7 red, 8 to 15 green, 16 to
// 23 blue, each from its lowest bit.
//
// IMGERROR::InvalidFile: a header that is no GEM header, or an XIMG palette
// of another colour model. IMGERROR::BadPlaneCount: planes outside 1 to 8 and 24.
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/gem/GemReader.h"

namespace vivark {
namespace {

// The sixteen colours of GEM's colour desktop, by plane value.
constexpr Colour kDesktopColours[16] = {
    rgb(255, 255, 255), rgb(255, 0, 0),   rgb(0, 255, 0),   rgb(255, 255, 0),
    rgb(0, 0, 255),     rgb(255, 0, 255), rgb(0, 255, 255), rgb(170, 170, 170),
    rgb(85, 85, 85),    rgb(170, 0, 0),   rgb(0, 170, 0),   rgb(170, 170, 0),
    rgb(0, 0, 170),     rgb(170, 0, 170), rgb(0, 170, 170), rgb(0, 0, 0)};

struct Header {
    uint32_t planes = 0, patternLength = 0, width = 0, height = 0;
    bool ximg = false;
};

class GemReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t words[kGemHeaderWords * 2];
        file.read(words, sizeof words);
        Header h;
        const uint32_t headerWords = loadBE16(words + 2);
        h.planes = loadBE16(words + 4);
        h.patternLength = loadBE16(words + 6);
        h.width = loadBE16(words + 12);
        h.height = loadBE16(words + 14);
        if (loadBE16(words) != 1 || headerWords < kGemHeaderWords) throw IMGERROR::InvalidFile;
        if (h.planes == 0 || (h.planes > 8 && h.planes != 24)) throw IMGERROR::BadPlaneCount;
        if (h.patternLength < 1 || h.patternLength > 8 || h.width == 0 || h.height == 0)
            throw IMGERROR::InvalidFile;
        const uint32_t depth = h.planes == 1 ? 1 : h.planes <= 4 ? 4 : h.planes <= 8 ? 8 : 24;
        if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;

        Palette palette{};
        defaultPalette(h.planes, palette);
        uint32_t consumed = kGemHeaderWords;
        if (h.planes <= 8 && headerWords == ximgHeaderWords(h.planes)) {
            uint8_t tag[6];
            file.read(tag, sizeof tag);
            consumed += 3;
            if (std::memcmp(tag, "XIMG", 4) == 0) {
                if (loadBE16(tag + 4) != 0) throw IMGERROR::InvalidFile;
                for (uint32_t i = 0; i < (1u << h.planes); ++i) {
                    uint8_t entry[6];
                    file.read(entry, sizeof entry);
                    palette[i] = rgb(level(loadBE16(entry)), level(loadBE16(entry + 2)),
                                     level(loadBE16(entry + 4)));
                }
                consumed = headerWords;
            }
        }
        file.skip(uint64_t{headerWords - consumed} * 2);
        if (options.headerOnly) {
            image.formatTag = makeTag("GEMP");
            return;
        }

        Image result(h.width, h.height, depth, false);
        if (depth <= 8) {
            result.palette = palette;
            result.paletteCount = 1u << depth;
        }
        const size_t planeBytes = (size_t{h.width} + 7) / 8;
        std::vector<uint8_t> line(planeBytes * h.planes);
        std::vector<uint8_t> indices(depth == 4 ? h.width : 0);
        uint32_t y = 0;
        while (y < h.height) {
            const uint32_t repeat = decodeLine(file, h, line.data(), line.size());
            for (uint32_t r = 0; r < repeat && y < h.height; ++r, ++y) {
                storeRow(h, line.data(), planeBytes, result.plane.mutableRow(y), indices.data());
                if (progressCancelled(options.progress, y + 1, h.height))
                    throw INFILEERROR::Cancelled;
            }
        }
        handOverImage(image, std::move(result), makeTag("GEMP"));
    }

  private:
    static uint8_t level(uint32_t permille) {
        return static_cast<uint8_t>(permille >= 1000 ? 255 : (permille * 255 + 500) / 1000);
    }

    static void defaultPalette(uint32_t planes, Palette& palette) {
        if (planes == 1) {
            palette[0] = rgb(255, 255, 255);
            palette[1] = rgb(0, 0, 0);
        } else if (planes == 2) {
            palette[0] = kDesktopColours[0];
            palette[1] = kDesktopColours[1];
            palette[2] = kDesktopColours[2];
            palette[3] = kDesktopColours[15];
        } else if (planes <= 4) {
            for (uint32_t i = 0; i < 16; ++i) palette[i] = kDesktopColours[i];
        } else if (planes <= 8) {
            const uint32_t top = (1u << planes) - 1;
            for (uint32_t i = 0; i <= top; ++i) {
                const uint8_t v = static_cast<uint8_t>(255 - i * 255 / top);
                palette[i] = rgb(v, v, v);
            }
        }
    }

    // Decodes one scan line (all its planes) into `line` and returns how
    // many lines it stands for.
    static uint32_t decodeLine(InFile& file, const Header& h, uint8_t* line, size_t size) {
        uint32_t repeat = 1;
        size_t at = 0;
        auto room = [&](size_t n) {
            if (n > size - at) throw IMGERROR::DataIntegrity;
        };
        while (at < size) {
            const uint8_t code = file.readByte();
            if (code == 0) {
                const uint8_t count = file.readByte();
                if (count == 0) {
                    if (at != 0 || file.readByte() != 0xFF) throw IMGERROR::DataIntegrity;
                    repeat = file.readByte();
                    continue;
                }
                uint8_t pattern[8];
                file.read(pattern, h.patternLength);
                room(size_t{count} * h.patternLength);
                for (uint32_t i = 0; i < count; ++i, at += h.patternLength)
                    std::memcpy(line + at, pattern, h.patternLength);
            } else if (code == 0x80) {
                const uint8_t count = file.readByte();
                room(count);
                file.read(line + at, count);
                at += count;
            } else {
                const size_t count = code & 0x7Fu;
                room(count);
                std::memset(line + at, code & 0x80 ? 0xFF : 0x00, count);
                at += count;
            }
        }
        return repeat;
    }

    static uint32_t bitAt(const uint8_t* plane, uint32_t x) {
        return plane[x / 8] >> (7 - x % 8) & 1u;
    }

    static void storeRow(const Header& h, const uint8_t* line, size_t planeBytes, uint8_t* row,
                         uint8_t* indices) {
        if (h.planes == 1) {
            std::memcpy(row, line, planeBytes);
            if (h.width % 8 != 0)
                row[planeBytes - 1] &= static_cast<uint8_t>(0xFF00u >> (h.width % 8));
            return;
        }
        if (h.planes == 24) {
            for (uint32_t x = 0; x < h.width; ++x)
                for (uint32_t c = 0; c < 3; ++c) {
                    uint32_t value = 0;
                    for (uint32_t b = 0; b < 8; ++b)
                        value |= bitAt(line + (c * 8 + b) * planeBytes, x) << b;
                    row[3 * x + 2 - c] = static_cast<uint8_t>(value);
                }
            return;
        }
        uint8_t* out = h.planes <= 4 ? indices : row;
        for (uint32_t x = 0; x < h.width; ++x) {
            uint32_t value = 0;
            for (uint32_t p = 0; p < h.planes; ++p) value |= bitAt(line + p * planeBytes, x) << p;
            out[x] = static_cast<uint8_t>(value);
        }
        if (h.planes <= 4) packIndices(indices, row, h.width, 4);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeGemReader(InFile& file) {
    return std::make_unique<GemReader>(file);
}

}  // namespace vivark
