// Decoding of Utah RLE images. After the 15-byte header come the background
// colour (one byte a channel, padded to an odd count; a single filler byte
// when the file has none), the colour maps (16-bit entries, the high byte
// used), an optional comment, and then the opcodes, scan line by scan line
// from the bottom of the picture:
//   skip lines n, set colour c (channel 0 to 2, or 255 for alpha; back to the
//   line's start), skip pixels n, byte data (n bytes, padded to an even
//   count), run data (n pixels of one 16-bit word's low byte), end of file.
// Each but set colour also has a long form (opcode + 0x40, a pad byte, a
// 16-bit operand); counts are stored less one.
//
// One channel gives an 8-bit image: indices through a three-channel colour
// map as its palette, or grey (through a one-channel map where there is
// one). Three or more channels give 24 bits (channels beyond the third are
// not shown), each channel through its own map where there are three, or
// through the single map. Pixels no opcode reaches are black, or the
// background colour where the file asks for the picture to be cleared to it
// first (as the Utah tools display it: a background alone fills nothing); an alpha channel becomes
// the alpha plane, transparent where nothing was written. Pixels and lines past the picture's edges
// are passed over, and reading stops at the picture's top line even without an end opcode.
//
// RLEUERROR::InvalidFile: a bad header or colour map size.
// RLEUERROR::DataIntegrity: an unknown opcode. RLEUERROR::UnsupportedChannels:
// no channel or two. RLEUERROR::UnsupportedDepth: other than 8 bits.
#include <algorithm>
#include <cstring>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/rle/RleReader.h"

namespace vivark {
namespace {

struct UtahHeader {
    uint32_t width = 0, height = 0;
    uint8_t flags = 0, channels = 0, pixelBits = 0, mapChannels = 0, mapLog2 = 0;
};

class UtahRleReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t raw[kUtahHeaderSize];
        file.read(raw, sizeof raw);
        UtahHeader h;
        if (loadLE16(raw) != 0xCC52) throw RLEUERROR::InvalidFile;
        h.width = loadLE16(raw + 6);
        h.height = loadLE16(raw + 8);
        h.flags = raw[10];
        h.channels = raw[11];
        h.pixelBits = raw[12];
        h.mapChannels = raw[13];
        h.mapLog2 = raw[14];
        if (h.width == 0 || h.height == 0) throw RLEUERROR::InvalidFile;
        if (h.pixelBits != 8) throw RLEUERROR::UnsupportedDepth;
        if (h.channels == 0 || h.channels == 2 || h.channels == 255)
            throw RLEUERROR::UnsupportedChannels;
        if (h.mapLog2 > 16) throw RLEUERROR::InvalidFile;
        const bool colour = h.channels >= 3;
        const uint32_t depth = colour ? 24 : 8;
        const bool alpha = (h.flags & kUtahAlpha) != 0;
        if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;

        uint8_t background[3] = {};
        const bool hasBackground = (h.flags & kUtahNoBackground) == 0;
        const bool fill = hasBackground && (h.flags & kUtahClearFirst) != 0;
        if (hasBackground) {
            for (uint32_t i = 0; i < (h.channels / 2u) * 2 + 1; ++i) {
                const uint8_t b = file.readByte();
                if (i < 3) background[i] = b;
            }
        } else {
            file.readByte();  // filler
        }

        // The maps of channels 0 to 2, 8-bit; identity where the file has none.
        uint8_t maps[3][256];
        for (auto& map : maps)
            for (uint32_t i = 0; i < 256; ++i) map[i] = static_cast<uint8_t>(i);
        const uint64_t mapLength = uint64_t{1} << h.mapLog2;
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && uint64_t{h.mapChannels} * mapLength * 2 > length)
            throw INFILEERROR::UnexpectedEnd;
        for (uint32_t c = 0; c < h.mapChannels; ++c)
            for (uint64_t i = 0; i < mapLength; ++i) {
                const uint16_t entry = file.readLE16();
                if (c < 3 && i < 256) maps[c][i] = static_cast<uint8_t>(entry >> 8);
            }
        if (h.flags & kUtahComment) {
            const uint32_t commentLength = file.readLE16();
            std::string comment(commentLength, '\0');
            file.read(comment.data(), commentLength);
            if (commentLength & 1) file.readByte();
            // The comment is NUL-separated "name=value" strings; shown one a line.
            while (!comment.empty() && comment.back() == '\0') comment.pop_back();
            std::replace(comment.begin(), comment.end(), '\0', '\n');
            if (options.keepComment) image.comment = comment;
        }
        if (options.headerOnly) {
            image.formatTag = makeTag("RLEU");
            return;
        }

        Image result(h.width, h.height, depth, !fill);
        if (fill) {
            for (uint32_t y = 0; y < h.height; ++y) {
                uint8_t* row = result.plane.mutableRow(y);
                if (colour) {
                    for (uint32_t x = 0; x < h.width; ++x) {
                        row[3 * x] = background[2];
                        row[3 * x + 1] = background[1];
                        row[3 * x + 2] = background[0];
                    }
                } else {
                    std::memset(row, background[0], h.width);
                }
            }
        }
        if (alpha) {
            result.secondPlane = PixelPlane(h.width, h.height, 8, true);
            result.secondPlaneKind = SecondPlane::Alpha;
        }
        decodeOpcodes(h, result, options);

        if (colour) {
            const bool mapped = h.mapChannels != 0;
            for (uint32_t y = 0; mapped && y < h.height; ++y) {
                uint8_t* row = result.plane.mutableRow(y);
                for (uint32_t x = 0; x < h.width; ++x)
                    for (uint32_t c = 0; c < 3; ++c) {
                        const uint8_t* map = maps[h.mapChannels >= 3 ? c : 0];
                        row[3 * x + 2 - c] = map[row[3 * x + 2 - c]];
                    }
            }
        } else {
            for (uint32_t i = 0; i < 256; ++i)
                result.palette[i] = h.mapChannels >= 3 ? rgb(maps[0][i], maps[1][i], maps[2][i])
                                                       : rgb(maps[0][i], maps[0][i], maps[0][i]);
            result.paletteCount = 256;
        }
        result.comment = std::move(image.comment);
        handOverImage(image, std::move(result), makeTag("RLEU"));
    }

  private:
    void decodeOpcodes(const UtahHeader& h, Image& result, const ReadOptions& options) {
        InFile& file = *file_;
        const bool colour = h.channels >= 3;
        uint32_t line = 0;  // scan lines from the bottom
        uint64_t x = 0;
        uint32_t channel = 0;
        uint8_t bytes[256];
        // Where channel `channel` of this line's pixel x lives, or null.
        auto target = [&]() -> uint8_t* {
            const uint32_t y = h.height - 1 - line;
            if (channel == kUtahAlphaChannel)
                return result.secondPlaneKind == SecondPlane::Alpha
                           ? result.secondPlane.mutableRow(y)
                           : nullptr;
            if (channel >= (colour ? 3u : 1u)) return nullptr;
            return result.plane.mutableRow(y);
        };
        auto store = [&](uint8_t* row, uint64_t at, uint8_t value) {
            if (row == nullptr || at >= h.width) return;
            if (channel == kUtahAlphaChannel || !colour)
                row[at] = value;
            else
                row[3 * at + 2 - channel] = value;
        };
        while (line < h.height) {
            const uint8_t op = file.readByte();
            const uint8_t operand = file.readByte();
            const uint8_t code = op & ~kUtahLongForm;
            // Set colour has no long form: the Utah tools take its operand
            // byte whatever the flag says.
            const bool longForm = (op & kUtahLongForm) && code != kUtahSetColour;
            const uint32_t datum = longForm ? file.readLE16() : operand;
            switch (code) {
                case kUtahSkipLines: {
                    const uint32_t next = std::min(h.height, line + datum);
                    for (uint32_t l = line; l < next; ++l)
                        if (progressCancelled(options.progress, l + 1, h.height))
                            throw INFILEERROR::Cancelled;
                    line = next;
                    x = 0;
                    break;
                }
                case kUtahSetColour:
                    channel = datum;
                    x = 0;
                    break;
                case kUtahSkipPixels:
                    x += datum;
                    break;
                case kUtahByteData: {
                    uint8_t* row = target();
                    uint32_t left = datum + 1;
                    const bool padded = left & 1;
                    while (left != 0) {
                        const uint32_t n = std::min<uint32_t>(left, sizeof bytes);
                        file.read(bytes, n);
                        for (uint32_t i = 0; i < n; ++i) store(row, x + i, bytes[i]);
                        x += n;
                        left -= n;
                    }
                    if (padded) file.readByte();
                    break;
                }
                case kUtahRunData: {
                    const uint8_t value = static_cast<uint8_t>(file.readLE16());
                    uint8_t* row = target();
                    const uint64_t end = std::min<uint64_t>(h.width, x + datum + 1);
                    for (uint64_t i = x; i < end; ++i) store(row, i, value);
                    x += datum + 1;
                    break;
                }
                case kUtahEof:
                    return;
                default:
                    throw RLEUERROR::DataIntegrity;
            }
        }
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeUtahRleReader(InFile& file) {
    return std::make_unique<UtahRleReader>(file);
}

}  // namespace vivark
