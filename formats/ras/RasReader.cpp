// Decoding of Sun raster images.
//
// Header: eight big-endian 32-bit values (magic, width, height, depth, data
// length, type, colour map type, colour map length), then the colour map,
// then the rows, top first, each padded to 16 bits.
// Types: 0 (old) and 1 (standard) hold the rows as they are; 2 is
// byte-encoded: 0x80 0x00 is one 0x80, 0x80 n v is n + 1 bytes v, and any
// other byte is itself (runs may cross rows); 3 holds 24- and 32-bit pixels
// red first instead of blue first. Other types are refused.
// Pixels: 1 bit (a 1 bit black unless a colour map says otherwise), 8 bits
// through the colour map (grey levels without one), 24 bits blue, green, red
// and 32 bits with a leading pad byte, then blue, green, red (red first in
// type 3 for both).
// Colour map: type 1 is three planes (all red, then green, then blue) of
// length / 3 entries each; type 0 none. A raw map (type 2) is skipped for
// true-colour pixels and refused otherwise.
//
// RASERROR: UnsupportedDepth for a depth other than 1, 8, 24 and 32;
// UnsupportedType for types above 3; UnsupportedMapType for map types above
// 2, a raw map that pixels would need, and a map of more than 256 entries.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/IdentifySupport.h"
#include "formats/ras/RasReader.h"

namespace vivark {
namespace {

constexpr uint32_t kTypeEncoded = 2, kTypeRgb = 3;
constexpr uint32_t kMapRgb = 1, kMapRaw = 2;

struct RasHeader {
    uint32_t width, height, depth, length, type, mapType, mapLength;
};

// The bytes of the rows: straight from the file, or through the run-length
// code with its state kept across rows.
class RasBytes {
  public:
    RasBytes(InFile& file, bool encoded) : file_(&file), encoded_(encoded) {}
    void read(uint8_t* out, size_t count) {
        if (!encoded_) {
            file_->read(out, count);
            return;
        }
        size_t at = 0;
        while (at < count) {
            if (runLeft_ == 0) {
                const uint8_t b = file_->readByte();
                if (b != 0x80) {
                    out[at++] = b;
                    continue;
                }
                const uint8_t n = file_->readByte();
                if (n == 0) {
                    out[at++] = 0x80;
                    continue;
                }
                runLeft_ = uint32_t{n} + 1;
                runValue_ = file_->readByte();
            }
            const size_t take = std::min<size_t>(runLeft_, count - at);
            std::memset(out + at, runValue_, take);
            at += take;
            runLeft_ -= static_cast<uint32_t>(take);
        }
    }

  private:
    InFile* file_;
    bool encoded_;
    uint32_t runLeft_ = 0;
    uint8_t runValue_ = 0;
};

class SunRasterReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t raw[32];
        file.read(raw, sizeof raw);
        RasHeader h{};
        uint32_t* fields[] = {&h.width, &h.height,  &h.depth,    &h.length,
                              &h.type,  &h.mapType, &h.mapLength};
        for (size_t i = 0; i < 7; ++i) *fields[i] = loadBE32(raw + 4 + 4 * i);
        if (h.depth != 1 && h.depth != 8 && h.depth != 24 && h.depth != 32)
            throw RASERROR::UnsupportedDepth;
        if (h.type > kTypeRgb) throw RASERROR::UnsupportedType;
        if (h.mapType > kMapRaw) throw RASERROR::UnsupportedMapType;
        if (h.width == 0 || h.height == 0) throw RASERROR::UnsupportedDepth;
        const uint32_t depth = h.depth <= 8 ? h.depth : 24;
        if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;
        // Rows the file cannot hold are not allocated for; three encoded
        // bytes hold at most 256.
        const uint64_t length = lengthFromOrigin(file);
        const uint64_t rowBytes = (uint64_t{h.width} * h.depth + 15) / 16 * 2;
        const uint64_t expansion = h.type == kTypeEncoded ? 86 : 1;
        if (length != 0 && rowBytes * h.height > length * expansion)
            throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("RAS ");
            return;
        }

        Image result(h.width, h.height, depth, false);
        if (h.mapType == kMapRgb && h.mapLength != 0) {
            const uint32_t entries = h.mapLength / 3;
            if (entries > 256 || h.mapLength % 3 != 0) throw RASERROR::UnsupportedMapType;
            uint8_t map[768];
            file.read(map, h.mapLength);
            if (depth <= 8) {
                for (uint32_t i = 0; i < entries; ++i)
                    result.palette[i] = rgb(map[i], map[entries + i], map[2 * entries + i]);
                result.paletteCount = entries;
            }
        } else {
            if (h.mapType == kMapRaw && h.mapLength != 0 && depth <= 8)
                throw RASERROR::UnsupportedMapType;
            file.skip(h.mapLength);
            if (depth == 1) {
                result.palette[0] = rgb(255, 255, 255);
                result.palette[1] = rgb(0, 0, 0);
                result.paletteCount = 2;
            } else if (depth == 8) {
                result.setGreyPalette();
            }
        }

        const size_t lineBytes = static_cast<size_t>(rowBytes);
        std::vector<uint8_t> line(lineBytes);
        RasBytes bytes(file, h.type == kTypeEncoded);
        const bool redFirst = h.type == kTypeRgb;
        const size_t packed = (size_t{h.width} * depth + 7) / 8;
        for (uint32_t y = 0; y < h.height; ++y) {
            bytes.read(line.data(), lineBytes);
            uint8_t* row = result.plane.mutableRow(y);
            if (depth <= 8) {
                std::memcpy(row, line.data(), packed);
                if (depth == 1 && h.width % 8 != 0)
                    row[packed - 1] &= static_cast<uint8_t>(0xFF00u >> (h.width % 8));
            } else if (h.depth == 24 && !redFirst) {
                std::memcpy(row, line.data(), size_t{h.width} * 3);
            } else if (h.depth == 24) {
                swapRedBlue(line.data(), row, h.width);
            } else {
                const uint8_t* p = line.data() + 1;
                for (uint32_t x = 0; x < h.width; ++x, p += 4) {
                    row[3 * x] = redFirst ? p[2] : p[0];
                    row[3 * x + 1] = p[1];
                    row[3 * x + 2] = redFirst ? p[0] : p[2];
                }
            }
            if (progressCancelled(options.progress, y + 1, h.height)) throw INFILEERROR::Cancelled;
        }
        result.formatTag = makeTag("RAS ");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeSunRasterReader(InFile& file) {
    return std::make_unique<SunRasterReader>(file);
}

}  // namespace vivark
