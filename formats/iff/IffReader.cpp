// Decoding of IFF ILBM and PBM pictures into Images.
//
// The file is one group chunk (FORM, LIST or CAT) whose chunks are followed
// in order, entering nested groups, to the first FORM ILBM or FORM PBM with
// a BODY; the BMHD, CMAP and CAMG chunks met on the way (in PROP groups of a
// LIST too) describe it. Other FORMs inside a CAT or LIST are passed over.
//
// The BODY holds the rows from the top, each as its bit planes one after
// another (ILBM, a plane row being a whole number of 16-bit words) or as one
// byte per pixel (PBM); with ByteRun1 compression each plane row is coded on
// its own as PackBits. A mask plane (masking 1) follows each row's planes.
//
// Results:
//  - 1 to 8 planes: a palette image of 1, 4 or 8 bits from CMAP (grey
//    levels when there is none). Extra-halfbrite (CAMG bit 0x80, or six
//    planes with a 32-colour CMAP and no CAMG, as early Amiga programs wrote
//    them) doubles the palette with each colour at half brightness.
//  - Hold-and-modify (CAMG bit 0x800, six or eight planes): a 24-bit image.
//    Each pixel's top two bits choose: take the palette colour of the low
//    bits, or keep the pixel to the left and replace the top bits of its
//    blue, red or green by the low bits; each row starts from colour 0.
//  - 24 and 32 planes: 24-bit images; planes 0-7 are red from its lowest bit
//    up, 8-15 green, 16-23 blue, 24-31 alpha.
//  - The mask plane becomes the alpha plane (0 or 255); masking 2 makes the
//    BMHD's transparent colour the transparent index of a palette image.
//
// IFFERROR values:
//  - NotIff (0): no FORM, LIST or CAT at the start.
//  - UnknownSubtype (2): a FORM of a type other than ILBM and PBM at the top.
//  - UnknownMask (3): a masking value above 3.
//  - UnknownCompression (4): compression other than none (0) and ByteRun1 (1).
//  - ChunkTooShort (8): a BMHD shorter than 20 bytes or a CAMG shorter than 4.
//  - NoBody (9): the picture ends without a BODY.
//  - NoBmhd (10): a BODY before any BMHD.
//  - UnsupportedPlanes (11): ILBM planes other than 1 to 8, 24 or 32,
//    hold-and-modify other than 6 or 8, PBM other than 8; a zero size.
#include "formats/iff/IffReader.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/PackBitsDecoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"

namespace vivark {
namespace {

constexpr uint32_t id(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) << 24 | uint32_t(uint8_t(s[1])) << 16 |
           uint32_t(uint8_t(s[2])) << 8 | uint8_t(s[3]);
}

constexpr uint32_t kCamgHam = 0x800, kCamgHalfbrite = 0x80;

struct Picture {
    bool haveHeader = false;
    bool chunky = false;  // PBM
    uint32_t width = 0, height = 0, planes = 0;
    uint8_t masking = 0, compression = 0;
    uint16_t transparent = 0;
    Colour map[256] = {};
    uint32_t mapCount = 0;
    bool haveCamg = false;
    uint32_t camg = 0;
};

void readBmhd(InFile& file, uint32_t length, Picture& p) {
    if (length < 20) throw IFFERROR::ChunkTooShort;
    uint8_t raw[20];
    file.read(raw, sizeof raw);
    p.width = loadBE16(raw);
    p.height = loadBE16(raw + 2);
    p.planes = raw[8];
    p.masking = raw[9];
    p.compression = raw[10];
    p.transparent = loadBE16(raw + 12);
    p.haveHeader = true;
    file.skip(length - 20);
}

void readCmap(InFile& file, uint32_t length, Picture& p) {
    const uint32_t count = std::min<uint32_t>(length / 3, 256);
    uint8_t raw[768];
    file.read(raw, size_t{count} * 3);
    for (uint32_t i = 0; i < count; ++i) p.map[i] = rgb(raw[3 * i], raw[3 * i + 1], raw[3 * i + 2]);
    p.mapCount = count;
    file.skip(length - count * 3);
}

// Bit x of a plane row, leftmost pixel in the top bit of the first byte.
inline uint32_t bitAt(const uint8_t* row, uint32_t x) {
    return row[x >> 3] >> (7 - (x & 7)) & 1u;
}

// A held channel with its top `bits` bits (4 or 6) replaced by `value`; the
// low bits stay those of the pixel to the left, as the Amiga's AGA chips
// and netpbm's ilbmtoppm do.
inline uint8_t modify(uint8_t held, uint32_t value, uint32_t bits) {
    const uint32_t low = (1u << (8 - bits)) - 1;
    return static_cast<uint8_t>(value << (8 - bits) | (held & low));
}

class IffReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const uint32_t top = file.readBE32();
        if (top != id("FORM") && top != id("LIST") && top != id("CAT ")) throw IFFERROR::NotIff;
        const uint32_t topLength = file.readBE32();
        const uint32_t topType = file.readBE32();
        if (top == id("FORM") && topType != id("ILBM") && topType != id("PBM "))
            throw IFFERROR::UnknownSubtype;
        // The end of the outer group, or of the data when it claims more.
        const int64_t available = static_cast<int64_t>(file.size()) - file.origin();
        const int64_t end = std::min<int64_t>(8 + int64_t{topLength}, available);

        Picture p;
        p.chunky = top == id("FORM") && topType == id("PBM ");
        bool inPicture = top == id("FORM");
        while (file.tell() + 8 <= end) {
            const uint32_t chunk = file.readBE32();
            const uint32_t length = file.readBE32();
            const int64_t next = file.tell() + length + (length & 1);
            if (chunk == id("FORM") || chunk == id("LIST") || chunk == id("CAT ") ||
                chunk == id("PROP")) {
                const uint32_t type = length >= 4 ? file.readBE32() : 0;
                if (chunk != id("FORM")) continue;  // their chunks follow
                if (type == id("ILBM") || type == id("PBM ")) {
                    p.chunky = type == id("PBM ");
                    inPicture = true;
                    continue;
                }
                file.seek(next);  // a FORM of another kind
                continue;
            }
            if (chunk == id("BMHD")) {
                readBmhd(file, length, p);
            } else if (chunk == id("CMAP")) {
                readCmap(file, length, p);
            } else if (chunk == id("CAMG")) {
                if (length < 4) throw IFFERROR::ChunkTooShort;
                p.camg = file.readBE32();
                p.haveCamg = true;
            } else if (chunk == id("BODY") && inPicture) {
                if (!p.haveHeader) throw IFFERROR::NoBmhd;
                decodeBody(file, length, p, image, options);
                return;
            }
            file.seek(next);
        }
        throw p.haveHeader ? IFFERROR::NoBody : IFFERROR::NoBmhd;
    }

  private:
    void decodeBody(InFile& file, uint32_t length, const Picture& p, Image& image,
                    const ReadOptions& options) {
        if (p.masking > 3) throw IFFERROR::UnknownMask;
        if (p.compression > 1) throw IFFERROR::UnknownCompression;
        const bool ham = !p.chunky && p.haveCamg && (p.camg & kCamgHam) != 0;
        const bool deep = !p.chunky && (p.planes == 24 || p.planes == 32);
        if (p.width == 0 || p.height == 0) throw IFFERROR::UnsupportedPlanes;
        if (p.chunky ? p.planes != 8 : !deep && (p.planes < 1 || p.planes > 8))
            throw IFFERROR::UnsupportedPlanes;
        if (ham && p.planes != 6 && p.planes != 8) throw IFFERROR::UnsupportedPlanes;
        const bool halfbrite = !p.chunky && !ham && p.planes == 6 &&
                               (p.haveCamg ? (p.camg & kCamgHalfbrite) != 0 : p.mapCount == 32);

        const uint32_t width = p.width, height = p.height;
        const uint32_t depth = deep || ham ? 24 : p.planes == 1 ? 1 : p.planes <= 4 ? 4 : 8;
        const bool maskPlane = p.masking == 1 && !p.chunky;
        const bool alpha = maskPlane || p.planes == 32;
        if (!options.limits.allows(width, height, depth) ||
            (alpha && !options.limits.allows(width, height, 8)) ||
            !options.limits.allows(width, 33, 8))  // the row's planes
            throw IMAGEERROR::TooLarge;

        Image result(width, height, depth, true);
        Colour palette[256];
        const uint32_t colours = std::min<uint32_t>(1u << std::min<uint32_t>(p.planes, 8), 256);
        for (uint32_t i = 0; i < colours; ++i) {
            const uint32_t level = colours > 1 ? i * 255 / (colours - 1) : 0;
            palette[i] = p.mapCount != 0 ? (i < p.mapCount ? p.map[i] : rgb(0, 0, 0))
                                         : rgb(uint8_t(level), uint8_t(level), uint8_t(level));
        }
        if (halfbrite)
            for (uint32_t i = 0; i < 32; ++i) {
                const Colour c = palette[i];
                palette[32 + i] = rgb(redOf(c) / 2, greenOf(c) / 2, blueOf(c) / 2);
            }
        if (depth <= 8) {
            for (uint32_t i = 0; i < colours; ++i) result.palette[i] = palette[i];
            result.paletteCount = 1u << depth;
            if (p.masking == 2 && p.transparent < colours)
                result.transparentIndex = static_cast<uint8_t>(p.transparent);
        }
        if (alpha) {
            result.secondPlane = PixelPlane(width, height, 8, true);
            result.secondPlaneKind = SecondPlane::Alpha;
        }

        // One row as stored: its planes (and mask) side by side, or its bytes.
        const size_t planeBytes =
            p.chunky ? size_t{width} + (width & 1) : (size_t{width} + 15) / 16 * 2;
        const uint32_t storedPlanes = p.chunky ? 1 : p.planes + (maskPlane ? 1 : 0);
        std::vector<uint8_t> stored(planeBytes * storedPlanes);
        std::vector<uint8_t> indices(width);

        InFileRangeSource source(file, length);
        StreamDecoder plain;
        PackBitsDecoder packBits(true);
        StreamDecoder& decoder = p.compression == 1 ? packBits : plain;
        decoder.attach(&source);
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t plane = 0; plane < storedPlanes; ++plane)
                decoder.decode(&stored[plane * planeBytes], planeBytes);
            uint8_t* row = result.plane.mutableRow(y);
            uint8_t* alphaRow = alpha ? result.secondPlane.mutableRow(y) : nullptr;
            if (p.chunky) {
                std::memcpy(indices.data(), stored.data(), width);
            } else if (deep) {
                for (uint32_t x = 0; x < width; ++x) {
                    uint32_t value = 0;
                    for (uint32_t b = 0; b < p.planes; ++b)
                        value |= bitAt(&stored[b * planeBytes], x) << b;
                    row[3 * x + 2] = uint8_t(value);
                    row[3 * x + 1] = uint8_t(value >> 8);
                    row[3 * x] = uint8_t(value >> 16);
                    if (p.planes == 32) alphaRow[x] = uint8_t(value >> 24);
                }
            } else {
                for (uint32_t x = 0; x < width; ++x) {
                    uint32_t value = 0;
                    for (uint32_t b = 0; b < p.planes; ++b)
                        value |= bitAt(&stored[b * planeBytes], x) << b;
                    indices[x] = uint8_t(value);
                }
            }
            if (ham) {
                const uint32_t bits = p.planes - 2;
                const uint32_t low = (1u << bits) - 1;
                uint8_t red = redOf(palette[0]), green = greenOf(palette[0]),
                        blue = blueOf(palette[0]);
                for (uint32_t x = 0; x < width; ++x) {
                    const uint32_t value = indices[x] & low;
                    switch (indices[x] >> bits) {
                        case 0:
                            red = redOf(palette[value]);
                            green = greenOf(palette[value]);
                            blue = blueOf(palette[value]);
                            break;
                        case 1:
                            blue = modify(blue, value, bits);
                            break;
                        case 2:
                            red = modify(red, value, bits);
                            break;
                        default:
                            green = modify(green, value, bits);
                            break;
                    }
                    row[3 * x] = blue, row[3 * x + 1] = green, row[3 * x + 2] = red;
                }
            } else if (depth <= 8) {
                packIndices(indices.data(), row, width, depth);
            }
            if (maskPlane) {
                const uint8_t* mask = &stored[p.planes * planeBytes];
                for (uint32_t x = 0; x < width; ++x) alphaRow[x] = bitAt(mask, x) ? 255 : 0;
            }
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        decoder.finish();
        result.pageNumber = image.pageNumber;
        result.pageCount = 1;
        result.formatTag = makeTag("IFF ");
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeIffReader(InFile& file) {
    return std::make_unique<IffReader>(file);
}

}  // namespace vivark
