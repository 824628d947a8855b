// Decoding of X window dumps: X11 dumps (file version 7) and the older X10
// dumps (version 6), with big-endian headers.
//
// X11: a 100-byte header of 25 values, the window name up to header_size, a
// colour map of ncolors 12-byte entries (pixel value, 16-bit red, green and
// blue, flags, pad), then height lines of bytes_per_line bytes, xoffset
// pixels into each line. Lines are first brought to one canonical form, most
// significant bit first and multi-byte pixels big-endian, and then read by
// one loop:
//  - one bit a pixel (XYBitmap, a one-plane XYPixmap, or a 1-bit ZPixmap):
//    bitmap_unit-bit units whose bytes come in byte_order and whose leftmost
//    pixel is their most or least significant bit by bitmap_bit_order;
//  - four bits a pixel: byte_order says which nibble comes first;
//  - 16, 24 and 32 bits a pixel: byte_order is the order of a pixel's bytes.
// Grey and colour-mapped visuals (StaticGray, GrayScale, StaticColor,
// PseudoColor) of 1 to 8 planes give palette images of 1, 4 or 8 bits whose
// palette entry p is the colour of the map entry with pixel value p; grey
// visuals without a map get grey levels (0 black). TrueColor and
// DirectColor visuals give 24-bit images from red_mask, green_mask and
// blue_mask (each a run of set bits, scaled to 8 bits; DirectColor's map is
// not applied).
// X10: a 40-byte header (display planes, pixmap format, size, window colour
// count); one plane is a bitmap in 16-bit big-endian units with the leftmost
// pixel in the least significant bit, more planes are one byte a pixel;
// lines are padded to 16 bits; the colour map entries are 12 bytes (pixel
// value, red, green, blue, two bytes of padding).
//
// XWDERROR: BadImageData for a header_size shorter than the header, a zero
// size or lines too short for their pixels; UnknownByteOrder,
// UnknownBitOrder for values other than 0 and 1; UnsupportedUnit for a
// bitmap_unit other than 8, 16, 32; UnsupportedDepth for bits per pixel
// other than 1, 4, 8, 16, 24, 32, a depth above bits per pixel or a mapped
// depth above 8; UnsupportedFormat for a pixmap format above 2 and
// XYPixmaps of more than one plane; BadBitmask for an empty or broken mask;
// ColourMapTooLarge for more than 65536 entries; MissingColourMap for a
// colour-mapped visual without a map.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "core/pixels/Samples.h"
#include "formats/IdentifySupport.h"
#include "formats/xwd/XwdReader.h"

namespace vivark {
namespace {

enum : uint32_t { XYBitmap = 0, XYPixmap = 1, ZPixmap = 2 };
enum : uint32_t { StaticGray = 0, GrayScale = 1, StaticColor = 2, PseudoColor = 3 };
enum : uint32_t { LSBFirst = 0, MSBFirst = 1 };

constexpr uint32_t kMaxColourMap = 65536;

// What the pixel loop needs, from either header form.
struct XwdLayout {
    uint32_t width = 0, height = 0, depth = 0, format = ZPixmap;
    uint32_t xOffset = 0, byteOrder = MSBFirst, unit = 8, bitOrder = MSBFirst;
    uint32_t bitsPerPixel = 0, bytesPerLine = 0, visualClass = PseudoColor;
    uint32_t masks[3] = {};
    uint32_t colours = 0;
    uint32_t colourEntryBytes = 12;
};

XwdLayout readX11Header(InFile& file, const uint8_t* first8) {
    uint8_t raw[100];
    std::memcpy(raw, first8, 8);
    file.read(raw + 8, 92);
    auto field = [&](int i) { return loadBE32(raw + 4 * i); };
    XwdLayout l;
    const uint32_t headerSize = field(0);
    l.format = field(2);
    l.depth = field(3);
    l.width = field(4);
    l.height = field(5);
    l.xOffset = field(6);
    l.byteOrder = field(7);
    l.unit = field(8);
    l.bitOrder = field(9);
    l.bitsPerPixel = field(11);
    l.bytesPerLine = field(12);
    l.visualClass = field(13);
    l.masks[0] = field(14);
    l.masks[1] = field(15);
    l.masks[2] = field(16);
    l.colours = field(19);
    if (headerSize < 100) throw XWDERROR::BadImageData;
    file.skip(headerSize - 100);  // the window name
    if (l.format > ZPixmap) throw XWDERROR::UnsupportedFormat;
    if (l.byteOrder > MSBFirst) throw XWDERROR::UnknownByteOrder;
    if (l.bitOrder > MSBFirst) throw XWDERROR::UnknownBitOrder;
    if (l.format != ZPixmap) l.bitsPerPixel = 1;
    if (l.format == XYPixmap && l.depth != 1) throw XWDERROR::UnsupportedFormat;
    return l;
}

XwdLayout readX10Header(InFile& file, const uint8_t* first8) {
    uint8_t raw[40];
    std::memcpy(raw, first8, 8);
    file.read(raw + 8, 32);
    XwdLayout l;
    const uint32_t headerSize = loadBE32(raw);
    l.depth = loadBE32(raw + 12);
    l.width = loadBE32(raw + 20);
    l.height = loadBE32(raw + 24);
    l.colours = loadBE16(raw + 38);
    if (headerSize < 40) throw XWDERROR::BadImageData;
    file.skip(headerSize - 40);
    l.colourEntryBytes = 12;
    if (l.depth == 1) {
        l.format = XYBitmap;
        l.bitsPerPixel = 1;
        l.unit = 16;
        l.bitOrder = LSBFirst;
        l.visualClass = StaticGray;
        l.bytesPerLine = static_cast<uint32_t>((uint64_t{l.width} + 15) / 16 * 2);
    } else {
        l.bitsPerPixel = 8;
        l.bytesPerLine = static_cast<uint32_t>((uint64_t{l.width} + 1) / 2 * 2);
    }
    return l;
}

void validate(const XwdLayout& l) {
    if (l.width == 0 || l.height == 0) throw XWDERROR::BadImageData;
    if (l.unit != 8 && l.unit != 16 && l.unit != 32) throw XWDERROR::UnsupportedUnit;
    const uint32_t bpp = l.bitsPerPixel;
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
        throw XWDERROR::UnsupportedDepth;
    if (l.depth == 0 || l.depth > bpp) throw XWDERROR::UnsupportedDepth;
    if (uint64_t{l.xOffset + uint64_t{l.width}} * bpp > uint64_t{l.bytesPerLine} * 8)
        throw XWDERROR::BadImageData;
    if (l.colours > kMaxColourMap) throw XWDERROR::ColourMapTooLarge;
}

bool isMapped(const XwdLayout& l) {
    return l.visualClass <= PseudoColor;
}

uint8_t scaled(uint32_t value, uint32_t max) {
    return static_cast<uint8_t>((uint64_t{value} * 255 + max / 2) / max);
}

// A mask as a shift and a width; BadBitmask unless it is one run of bits.
struct Channel {
    uint32_t shift = 0, max = 0;
    // The channel of pixel v in 8 bits (8-bit channels, the usual ones, as they are).
    uint8_t level(uint32_t v) const {
        const uint32_t c = v >> shift & max;
        return max == 255 ? static_cast<uint8_t>(c) : scaled(c, max);
    }
};
Channel channelOf(uint32_t mask) {
    if (mask == 0) throw XWDERROR::BadBitmask;
    Channel c;
    while ((mask >> c.shift & 1) == 0) ++c.shift;
    const uint32_t run = mask >> c.shift;
    if ((run & (run + 1)) != 0) throw XWDERROR::BadBitmask;
    c.max = run;
    return c;
}

// Brings a line to most significant bit first and big-endian pixels.
void canonical(const XwdLayout& l, uint8_t* line, size_t length) {
    const uint32_t bpp = l.bitsPerPixel;
    auto reverseGroups = [&](size_t group) {
        for (size_t at = 0; at + group <= length; at += group)
            std::reverse(line + at, line + at + group);
    };
    if (bpp == 1) {
        const size_t unitBytes = l.unit / 8;
        // Units are assembled so that reversing the bits afterwards, when
        // the leftmost pixel is the least significant, keeps pixel order.
        const uint32_t wantedOrder = l.bitOrder == MSBFirst ? MSBFirst : LSBFirst;
        if (unitBytes > 1 && l.byteOrder != wantedOrder) reverseGroups(unitBytes);
        if (l.bitOrder == LSBFirst) reverseBits(line, length);
    } else if (bpp == 4) {
        if (l.byteOrder == LSBFirst)
            for (size_t i = 0; i < length; ++i)
                line[i] = static_cast<uint8_t>(line[i] << 4 | line[i] >> 4);
    } else if (bpp > 8 && l.byteOrder == LSBFirst) {
        reverseGroups(bpp / 8);
    }
}

// Pixel x of a canonical line.
inline uint32_t pixelAt(const uint8_t* line, uint64_t bitAt, uint32_t bpp) {
    if (bpp >= 8) {
        const uint8_t* p = line + bitAt / 8;
        uint32_t v = 0;
        for (uint32_t i = 0; i < bpp / 8; ++i) v = v << 8 | p[i];
        return v;
    }
    const uint32_t shift = 8 - bpp - static_cast<uint32_t>(bitAt % 8);
    return (line[bitAt / 8] >> shift) & ((1u << bpp) - 1);
}

class XwdReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t first8[8];
        file.read(first8, 8);
        const uint32_t version = loadBE32(first8 + 4);
        if (version != 6 && version != 7) throw XWDERROR::UnsupportedFormat;
        const XwdLayout l =
            version == 7 ? readX11Header(file, first8) : readX10Header(file, first8);
        validate(l);
        const bool mapped = isMapped(l);
        if (mapped && l.depth > 8) throw XWDERROR::UnsupportedDepth;
        const uint32_t depth = !mapped ? 24 : l.depth == 1 ? 1 : l.depth <= 4 ? 4 : 8;
        if (!options.limits.allows(l.width, l.height, depth)) throw IMAGEERROR::TooLarge;
        // Lines the whole file cannot hold are refused before anything is
        // made for them.
        const uint64_t length = lengthFromOrigin(file);
        if (l.bytesPerLine > options.limits.maxBytes ||
            (length != 0 && uint64_t{l.bytesPerLine} * l.height > length))
            throw XWDERROR::BadImageData;
        if (options.headerOnly) {
            image.formatTag = makeTag("XWD ");
            return;
        }
        Channel channels[3];
        if (!mapped)
            for (int c = 0; c < 3; ++c) channels[c] = channelOf(l.masks[c]);

        Image result(l.width, l.height, depth, false);
        if (mapped) {
            const uint32_t levels = 1u << l.depth;
            if (l.colours == 0) {
                if (l.visualClass != StaticGray && l.visualClass != GrayScale)
                    throw XWDERROR::MissingColourMap;
                for (uint32_t i = 0; i < levels; ++i) {
                    const uint8_t v = scaled(i, levels - 1);
                    result.palette[i] = rgb(v, v, v);
                }
            }
            for (uint32_t i = 0; i < l.colours; ++i) {
                uint8_t entry[12];
                file.read(entry, l.colourEntryBytes);
                const uint32_t pixel = loadBE32(entry);
                if (pixel < levels) result.palette[pixel] = rgb(entry[4], entry[6], entry[8]);
            }
            result.paletteCount = levels;
        } else {
            file.skip(uint64_t{l.colours} * l.colourEntryBytes);
        }

        std::vector<uint8_t> line(l.bytesPerLine);
        std::vector<uint8_t> indices(mapped ? l.width : 0);
        const uint32_t bpp = l.bitsPerPixel;
        const uint32_t valueMask = l.depth >= 32 ? 0xFFFFFFFFu : (1u << l.depth) - 1;
        for (uint32_t y = 0; y < l.height; ++y) {
            file.read(line.data(), line.size());
            canonical(l, line.data(), line.size());
            uint8_t* row = result.plane.mutableRow(y);
            uint64_t bitAt = uint64_t{l.xOffset} * bpp;
            if (mapped) {
                for (uint32_t x = 0; x < l.width; ++x, bitAt += bpp)
                    indices[x] = static_cast<uint8_t>(pixelAt(line.data(), bitAt, bpp) & valueMask);
                packIndices(indices.data(), row, l.width, depth);
            } else {
                for (uint32_t x = 0; x < l.width; ++x, bitAt += bpp) {
                    const uint32_t v = pixelAt(line.data(), bitAt, bpp);
                    for (int c = 0; c < 3; ++c) row[3 * x + 2 - c] = channels[c].level(v);
                }
            }
            if (progressCancelled(options.progress, y + 1, l.height)) throw INFILEERROR::Cancelled;
        }
        result.formatTag = makeTag("XWD ");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeXwdReader(InFile& file) {
    return std::make_unique<XwdReader>(file);
}

}  // namespace vivark
