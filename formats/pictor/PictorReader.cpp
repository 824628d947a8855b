// Decoding of PC Paint/Pictor images.
//
// Header, 17 bytes little-endian: magic 0x1234, width, height, x and y
// offsets, the plane byte (low nibble bits per pixel, high nibble planes - 1),
// the palette flag (0xFF in files that carry the palette fields), the video
// mode, the palette type and the palette's length in bytes; then the palette
// and a 16-bit count of data blocks (0: the data follows uncompressed).
//
// Data: each plane in full, one after the other, every plane's rows bottom
// first, (width × bits + 7) / 8 bytes a row. A pixel's index takes plane p's
// value at bits p × bits and up: with four 1-bit planes, plane 0 is the EGA's
// blue bit and plane 3 its intensity. Three 8-bit planes are a 24-bit
// picture, blue, green and red in that order. Other layouts above 8 bits are
// refused.
//
// Blocks: a 5-byte header (the block's length with its header, its length
// unpacked, the run marker) and the packed bytes. A byte other than the
// marker stands for itself; the marker is followed by a count byte (0: a
// 16-bit count follows) and the byte to repeat. Runs may cross rows and
// planes; bytes beyond the picture are ignored, and a picture the blocks
// leave short keeps zeros in the rest.
//
// Palettes: none (black and white at one bit, the CGA's cyan, magenta and
// white at two, the EGA's default sixteen up to four and grey levels at
// eight); CGA (first byte the palette number, bit 0 choosing cyan,
// magenta, white over green, red, brown and bit 1 the bright half; second
// byte the background's colour number); PCjr (colour numbers of the PC's 16
// colours); EGA (colour numbers of the EGA's 64); VGA (red, green, blue
// triples of 6 bits).
//
// PICERROR: InvalidFile for a layout outside those above or a zero size;
// ColourMapTooLarge for a palette of more entries than the depth holds (or
// more than 768 bytes); DataIntegrity for a block shorter than its header.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/IdentifySupport.h"
#include "formats/PcColours.h"
#include "formats/ReadRows.h"
#include "formats/pictor/PictorReader.h"

namespace vivark {

Colour egaColour(uint8_t number) {
    auto level = [number](unsigned high, unsigned low) {
        return static_cast<uint8_t>(((number >> high) & 1) * 170 + ((number >> low) & 1) * 85);
    };
    return rgb(level(2, 5), level(1, 4), level(0, 3));
}

namespace {

// The bytes of the picture, decoded from the blocks into `raw`.
void readBlocks(InFile& file, uint32_t blocks, std::vector<uint8_t>& raw) {
    size_t at = 0;
    const size_t total = raw.size();
    auto put = [&](uint8_t value, size_t count) {
        const size_t n = std::min(count, total - at);
        std::memset(raw.data() + at, value, n);
        at += n;
    };
    for (uint32_t b = 0; b < blocks && at < total; ++b) {
        const uint32_t blockLength = file.readLE16();
        file.skip(2);  // unpacked length
        const uint8_t marker = file.readByte();
        if (blockLength < 5) throw PICERROR::DataIntegrity;
        const int64_t end = file.tell() + (blockLength - 5);
        while (file.tell() < end && at < total) {
            const uint8_t byte = file.readByte();
            if (byte != marker) {
                raw[at++] = byte;
                continue;
            }
            uint32_t count = file.readByte();
            if (count == 0) count = file.readLE16();
            put(file.readByte(), count);
        }
        file.seek(std::max(end, file.tell()));
    }
}

class PictorReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[17];
        file.read(header, sizeof header);
        if (loadLE16(header) != 0x1234) throw PICERROR::InvalidFile;
        const uint32_t width = loadLE16(header + 2), height = loadLE16(header + 4);
        const uint32_t bits = header[10] & 0x0Fu, planes = (header[10] >> 4) + 1u;
        const bool trueColour = bits == 8 && planes == 3;
        const uint32_t total = bits * planes;
        if (width == 0 || height == 0) throw PICERROR::InvalidFile;
        if ((bits != 1 && bits != 2 && bits != 4 && bits != 8) || (total > 8 && !trueColour))
            throw PICERROR::InvalidFile;
        const uint32_t depth = trueColour ? 24 : total == 1 ? 1 : total <= 4 ? 4 : 8;
        const uint16_t paletteType = header[11] == 0xFF ? loadLE16(header + 13) : 0;
        const uint32_t paletteLength = header[11] == 0xFF ? loadLE16(header + 15) : 0;
        if (!options.limits.allows(width, height, depth)) throw IMAGEERROR::TooLarge;

        uint8_t map[768] = {};
        if (paletteLength > sizeof map) throw PICERROR::ColourMapTooLarge;
        file.read(map, paletteLength);
        const uint32_t blocks = file.readLE16();

        const size_t rowBytes = (size_t{width} * bits + 7) / 8;
        const uint64_t planeBytes = uint64_t{rowBytes} * height;
        const uint64_t rawBytes = planeBytes * planes;
        // A block of 5 bytes unpacks to at most 65535 × 2 bytes; raw data
        // must be there in full.
        const uint64_t length = lengthFromOrigin(file);
        const uint64_t room = blocks == 0 ? length : length / 5 * 131070;
        if (length != 0 && rawBytes > room) throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("PIC ");
            return;
        }

        Image result(width, height, depth, false);
        if (depth <= 8) setPalette(result, total, paletteType, paletteLength, map);
        std::vector<uint8_t> raw(static_cast<size_t>(rawBytes), 0);
        if (blocks == 0)
            file.read(raw.data(), raw.size());
        else
            readBlocks(file, blocks, raw);

        std::vector<uint8_t> indices(width), planeIndices(width);
        for (uint32_t y = 0; y < height; ++y) {
            uint8_t* row = result.plane.mutableRow(y);
            const size_t lineOffset = size_t{height - 1 - y} * rowBytes;
            if (trueColour) {
                for (uint32_t x = 0; x < width; ++x)
                    for (uint32_t p = 0; p < 3; ++p)
                        row[3 * x + p] = raw[p * planeBytes + lineOffset + x];
            } else if (planes == 1 && (bits == 1 || bits == 4 || bits == 8)) {
                std::memcpy(row, raw.data() + lineOffset, rowBytes);
            } else {
                std::fill(indices.begin(), indices.end(), 0);
                for (uint32_t p = 0; p < planes; ++p) {
                    unpackIndices(raw.data() + p * planeBytes + lineOffset, planeIndices.data(),
                                  width, bits);
                    for (uint32_t x = 0; x < width; ++x)
                        indices[x] |= static_cast<uint8_t>(planeIndices[x] << (p * bits));
                }
                if (depth == 8)
                    std::memcpy(row, indices.data(), width);
                else
                    packIndices(indices.data(), row, width, depth);
            }
            if (depth == 1 && width % 8 != 0)
                row[rowBytes - 1] &= static_cast<uint8_t>(0xFF00u >> (width % 8));
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        handOverImage(image, std::move(result), makeTag("PIC "));
    }

  private:
    static void setPalette(Image& result, uint32_t total, uint16_t type, uint32_t length,
                           const uint8_t* map) {
        const uint32_t entries = 1u << total;
        result.paletteCount = entries;
        Palette& palette = result.palette;
        switch (type) {
            case pictorPalette::Cga: {
                // Background, then the three colours of the chosen palette.
                const bool second = map[0] & 1, bright = map[0] & 2;
                const uint8_t base = bright ? 8 : 0;
                const uint8_t colours[3] = {
                    static_cast<uint8_t>(base + (second ? 3 : 2)),
                    static_cast<uint8_t>(base + (second ? 5 : 4)),
                    static_cast<uint8_t>(second ? base + 7 : (bright ? 14 : 6))};
                palette[0] = kPcColours[map[1] & 15];
                for (uint32_t i = 1; i < 4 && i < entries; ++i)
                    palette[i] = kPcColours[colours[i - 1]];
                return;
            }
            case pictorPalette::Pcjr:
            case pictorPalette::Ega:
                if (length > entries) throw PICERROR::ColourMapTooLarge;
                for (uint32_t i = 0; i < entries; ++i) {
                    const uint8_t n = i < length ? map[i] : 0;
                    palette[i] =
                        type == pictorPalette::Pcjr ? kPcColours[n & 15] : egaColour(n & 63);
                }
                if (length == 0) break;  // an empty map: the default below
                return;
            case pictorPalette::Vga:
                if (length > 3 * entries) throw PICERROR::ColourMapTooLarge;
                for (uint32_t i = 0; i < length / 3; ++i) {
                    auto level = [&](uint32_t k) {
                        const uint8_t v = map[3 * i + k] & 63;
                        return static_cast<uint8_t>(v << 2 | v >> 4);
                    };
                    palette[i] = rgb(level(0), level(1), level(2));
                }
                if (length == 0) break;
                return;
            default:
                break;
        }
        if (total == 1) {
            palette[0] = rgb(0, 0, 0);
            palette[1] = rgb(255, 255, 255);
        } else if (total == 2) {
            for (uint32_t i = 0; i < 4; ++i) palette[i] = kPcColours[i == 0 ? 0 : 9 + 2 * i];
        } else if (total <= 4) {
            for (uint32_t i = 0; i < 16; ++i) palette[i] = kPcColours[i];
        } else {
            result.setGreyPalette();
        }
    }
};

}  // namespace

std::unique_ptr<ImageReader> makePictorReader(InFile& file) {
    return std::make_unique<PictorReader>(file);
}

}  // namespace vivark
