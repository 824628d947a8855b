// Decoding of Softimage pictures.
//
// Header, 104 bytes big-endian: magic 0x5380F634, version (a float), an
// 80-byte comment, "PICT", width and height (16 bits each), the pixel ratio
// (a float), the fields code and a pad word. Channel packets follow, 4 bytes
// each: chained (non-zero when another packet follows), bits per channel
// (8), compression (0 none, 1 pure run-length, 2 mixed run-length) and the
// channels it carries (0x80 red, 0x40 green, 0x20 blue, 0x10 alpha). At most
// 8 packets are taken.
//
// Rows go top first; each row holds, packet after packet, that packet's
// pixels, each pixel its channels in the order red, green, blue, alpha:
//   none   width pixels;
//   pure   runs of a count byte (1..255) and one pixel;
//   mixed  a byte c: below 128, c + 1 pixels follow; 128, a 16-bit count
//          and one pixel; above 128, c - 127 repeats of one pixel.
// Runs end with the row. Pixels with an alpha channel get an alpha plane;
// channels no packet carries are 0 (alpha 255).
//
// PICSERROR: BadMagic and BadHeader for a wrong magic, "PICT" or size;
// BadChannels for a packet of other than 8 bits, an unknown compression, no
// channels or more than 8 packets; DataIntegrity for a run beyond the row.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/softimage/SoftimageReader.h"

namespace vivark {
namespace {

struct Packet {
    uint8_t compression;
    uint8_t channels;    // how many it carries
    uint8_t offsets[4];  // their offsets in a red-green-blue-alpha pixel
};

class SoftimageReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[104];
        file.read(header, sizeof header);
        if (loadBE32(header) != 0x5380F634u) throw PICSERROR::BadMagic;
        if (loadBE32(header + 88) != 0x50494354u) throw PICSERROR::BadHeader;
        const uint32_t width = loadBE16(header + 92), height = loadBE16(header + 94);
        if (width == 0 || height == 0) throw PICSERROR::BadHeader;

        std::vector<Packet> packets;
        uint8_t present = 0;
        for (bool chained = true; chained;) {
            uint8_t raw[4];
            file.read(raw, sizeof raw);
            chained = raw[0] != 0;
            if (raw[1] != 8 || raw[2] > 2 || (raw[3] & 0xF0) == 0 || packets.size() == 8)
                throw PICSERROR::BadChannels;
            Packet packet{raw[2], 0, {}};
            for (uint8_t c = 0; c < 4; ++c)
                if (raw[3] & (0x80 >> c)) packet.offsets[packet.channels++] = c;
            present |= raw[3];
            packets.push_back(packet);
        }
        const bool alpha = (present & 0x10) != 0;
        if (!options.limits.allows(width, height, 24) ||
            (alpha && !options.limits.allows(width, height, 8)))
            throw IMAGEERROR::TooLarge;
        // Each row takes at least two bytes a packet.
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && uint64_t{height} * 2 * packets.size() > length)
            throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("PICS");
            return;
        }

        Image result(width, height, 24, false);
        if (alpha) {
            result.secondPlane = PixelPlane(width, height, 8, false);
            result.secondPlaneKind = SecondPlane::Alpha;
        }
        std::vector<uint8_t> rgba(size_t{width} * 4);
        for (uint32_t y = 0; y < height; ++y) {
            for (size_t i = 0; i < rgba.size(); i += 4) {
                rgba[i] = rgba[i + 1] = rgba[i + 2] = 0;
                rgba[i + 3] = 255;
            }
            for (const Packet& packet : packets) readPacketRow(packet, rgba.data(), width);
            uint8_t* row = result.plane.mutableRow(y);
            for (uint32_t x = 0; x < width; ++x) {
                row[3 * x] = rgba[4 * x + 2];
                row[3 * x + 1] = rgba[4 * x + 1];
                row[3 * x + 2] = rgba[4 * x];
            }
            if (alpha) {
                uint8_t* a = result.secondPlane.mutableRow(y);
                for (uint32_t x = 0; x < width; ++x) a[x] = rgba[4 * x + 3];
            }
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        handOverImage(image, std::move(result), makeTag("PICS"));
    }

  private:
    void readPixel(const Packet& packet, uint8_t* pixel) {
        uint8_t values[4];
        file_->read(values, packet.channels);
        for (uint8_t c = 0; c < packet.channels; ++c) pixel[packet.offsets[c]] = values[c];
    }

    // Repeats the pixel at x over the next count - 1 pixels of the packet's channels.
    static void repeat(const Packet& packet, uint8_t* rgba, uint32_t x, uint32_t count) {
        for (uint32_t i = 1; i < count; ++i)
            for (uint8_t c = 0; c < packet.channels; ++c)
                rgba[4 * (x + i) + packet.offsets[c]] = rgba[4 * x + packet.offsets[c]];
    }

    void readPacketRow(const Packet& packet, uint8_t* rgba, uint32_t width) {
        InFile& file = *file_;
        uint32_t x = 0;
        while (x < width) {
            if (packet.compression == 0) {
                readPixel(packet, rgba + 4 * x++);
                continue;
            }
            const uint8_t code = file.readByte();
            uint32_t count;
            bool literal = false;
            if (packet.compression == 1) {
                count = code;
            } else if (code < 128) {
                count = code + 1u;
                literal = true;
            } else if (code == 128) {
                count = file.readBE16();
            } else {
                count = code - 127u;
            }
            if (count == 0 || count > width - x) throw PICSERROR::DataIntegrity;
            if (literal) {
                for (uint32_t i = 0; i < count; ++i) readPixel(packet, rgba + 4 * (x + i));
            } else {
                readPixel(packet, rgba + 4 * x);
                repeat(packet, rgba, x, count);
            }
            x += count;
        }
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeSoftimageReader(InFile& file) {
    return std::make_unique<SoftimageReader>(file);
}

}  // namespace vivark
