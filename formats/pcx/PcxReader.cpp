// Decoding of PCX images, alone or as a DCX page.
//
// Pixel layout: planar data of 1, 2 or 4 bits per plane combine with plane 0
// as the least significant bits of the pixel value (plane p supplies bits
// p*bits and up), and within a plane byte the leftmost pixel is in the most
// significant bits. Such pixels (at most 4 bits) become 1-bit images when
// they have 1 bit, 4-bit images otherwise. 8 bits × 1 plane is an 8-bit
// palette image; 8 bits × 3 planes (red, green, blue) a 24-bit image.
// A 256-colour image of 896 bytes or less carries no palette; it gets 256
// grey levels.
// Resolution: the header's two values are taken as dots per inch when both
// are nonzero, and otherwise no resolution is stated.
// Each scan line is decoded on its own; a run that reaches past the line's
// end loses its overhang.
#include "formats/pcx/PcxReader.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/pcx/PcxFormat.h"

namespace vivark {

const Colour kPcxDefaultPalette[16] = {
    0x000000, 0xFFFFFF, 0x00AA00, 0x00AAAA, 0xAA0000, 0xAA00AA, 0xAAAA00, 0xAAAAAA,
    0x555555, 0x5555FF, 0x55FF55, 0x55FFFF, 0xFF5555, 0xFF55FF, 0xFFFF55, 0xFFFFFF,
};

namespace {

constexpr uint64_t kPaletteBlock = 768;
constexpr uint64_t kPaletteThreshold = 896;  // data longer than this has a 256-colour palette

struct PcxHeader {
    uint8_t version = 0;
    uint8_t encoding = 0;
    uint8_t bits = 0;
    uint8_t planes = 0;
    uint16_t width = 0;
    uint16_t height = 0;
    uint16_t xResolution = 0;
    uint16_t yResolution = 0;
    uint16_t bytesPerLine = 0;
    uint8_t palette[48] = {};
};

PcxHeader readHeader(InFile& file) {
    uint8_t raw[128];
    file.read(raw, sizeof raw);
    PcxHeader h;
    h.version = raw[1];
    h.encoding = raw[2];
    h.bits = raw[3];
    h.width = static_cast<uint16_t>(loadLE16(raw + 8) - loadLE16(raw + 4) + 1);
    h.height = static_cast<uint16_t>(loadLE16(raw + 10) - loadLE16(raw + 6) + 1);
    h.xResolution = loadLE16(raw + 12);
    h.yResolution = loadLE16(raw + 14);
    std::memcpy(h.palette, raw + 16, 48);
    h.planes = raw[65];
    h.bytesPerLine = loadLE16(raw + 66);
    return h;
}

void validate(const PcxHeader& h) {
    if (h.width == 0 || h.height == 0 || h.bytesPerLine == 0 || h.planes == 0)
        throw PCXERROR::DataIntegrity;
    if ((h.version != 0 && (h.version < 2 || h.version > 5)) || h.encoding != 1)
        throw PCXERROR::InvalidFile;
    const bool packed = (h.bits == 1 || h.bits == 2 || h.bits == 4) && h.bits * h.planes <= 4;
    const bool bytes = h.bits == 8 && (h.planes == 1 || h.planes == 3);
    if (!packed && !bytes) throw PCXERROR::InvalidFile;
}

uint32_t imageDepth(const PcxHeader& h) {
    const unsigned bits = unsigned{h.bits} * h.planes;
    if (bits == 1) return 1;
    if (bits <= 4) return 4;
    return bits;
}

// One scan line of PCX run-length code into `line` (exactly its size).
void decodeLine(InFile& file, uint8_t* line, size_t length) {
    size_t at = 0;
    while (at < length) {
        const uint8_t b = file.readByte();
        if ((b & 0xC0) != 0xC0) {
            line[at++] = b;
            continue;
        }
        size_t count = b & 0x3F;
        const uint8_t value = file.readByte();
        if (count > length - at) count = length - at;
        std::memset(line + at, value, count);
        at += count;
    }
}

void setPalette(InFile& file, const PcxHeader& h, int64_t start, uint64_t dataLength,
                Image& image) {
    if (h.bits == 1 && h.planes == 1) {
        image.palette[0] = 0x000000;
        image.palette[1] = 0xFFFFFF;
        image.paletteCount = 2;
        return;
    }
    if (h.bits == 8 && h.planes == 1) {
        image.paletteCount = 256;
        if (dataLength <= kPaletteThreshold) {
            image.setGreyPalette();
            return;
        }
        const int64_t back = file.tell();
        file.seek(start + static_cast<int64_t>(dataLength - kPaletteBlock));
        uint8_t rgbBytes[kPaletteBlock];
        file.read(rgbBytes, sizeof rgbBytes);
        for (unsigned i = 0; i < 256; ++i)
            image.palette[i] = rgb(rgbBytes[3 * i], rgbBytes[3 * i + 1], rgbBytes[3 * i + 2]);
        file.seek(back);
        return;
    }
    if (h.bits == 8) return;  // 24-bit colour
    bool allZero = true;
    for (uint8_t v : h.palette) allZero = allZero && v == 0;
    for (unsigned i = 0; i < 16; ++i) {
        image.palette[i] = allZero
                               ? kPcxDefaultPalette[i]
                               : rgb(h.palette[3 * i], h.palette[3 * i + 1], h.palette[3 * i + 2]);
    }
    image.paletteCount = 16;
}

// Combines the planes of one decoded scan line into the image row.
void storeRow(const PcxHeader& h, const uint8_t* line, uint8_t* row, uint32_t depth,
              std::vector<uint8_t>& indices, std::vector<uint8_t>& scratch) {
    const uint32_t width = h.width;
    const size_t planeBytes = h.bytesPerLine;
    if (h.bits == 8) {
        const size_t n = std::min<size_t>(width, planeBytes);
        if (h.planes == 1) {
            std::memcpy(row, line, n);
            return;
        }
        for (size_t x = 0; x < n; ++x) {
            row[3 * x] = line[2 * planeBytes + x];
            row[3 * x + 1] = line[planeBytes + x];
            row[3 * x + 2] = line[x];
        }
        return;
    }
    // Pixels each plane row holds; columns past them stay 0.
    const uint64_t held = uint64_t{planeBytes} * 8 / h.bits;
    const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(width, held));
    std::fill(indices.begin(), indices.end(), 0);
    for (unsigned p = 0; p < h.planes; ++p) {
        unpackIndices(line + p * planeBytes, scratch.data(), n, h.bits);
        for (uint32_t x = 0; x < n; ++x)
            indices[x] = static_cast<uint8_t>(indices[x] | (scratch[x] << (p * h.bits)));
    }
    packIndices(indices.data(), row, width, depth);
}

// Reads the PCX image at the file's current position; its data (the file's
// rest, or the DCX page) is `dataLength` bytes long.
void readPcx(InFile& file, uint64_t dataLength, Image& image, const ReadOptions& options) {
    const int64_t start = file.tell();
    const PcxHeader h = readHeader(file);
    validate(h);
    const uint32_t depth = imageDepth(h);
    if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;
    Image result(h.width, h.height, depth, true);
    setPalette(file, h, start, dataLength, result);
    if (h.xResolution != 0 && h.yResolution != 0)
        result.resolution = {static_cast<double>(h.xResolution), static_cast<double>(h.yResolution),
                             ResolutionUnit::PerInch};
    const size_t lineBytes = size_t{h.bytesPerLine} * h.planes;
    std::vector<uint8_t> line(lineBytes);
    std::vector<uint8_t> indices(h.bits == 8 ? 0 : h.width);
    std::vector<uint8_t> scratch(h.bits == 8 ? 0 : h.width);
    for (uint32_t y = 0; y < h.height; ++y) {
        decodeLine(file, line.data(), lineBytes);
        storeRow(h, line.data(), result.plane.mutableRow(y), depth, indices, scratch);
        if (progressCancelled(options.progress, y + 1, h.height)) throw INFILEERROR::Cancelled;
    }
    result.pageNumber = image.pageNumber;
    result.pageCount = image.pageCount;
    image = std::move(result);
}

uint64_t lengthFrom(const InFile& file, int64_t at) {
    const int64_t total = static_cast<int64_t>(file.size()) - file.origin();
    return at < total ? static_cast<uint64_t>(total - at) : 0;
}

class PcxReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        image.pageCount = 1;
        readPcx(*file_, lengthFrom(*file_, file_->tell()), image, options);
        image.formatTag = makeTag("PCX ");
    }
};

constexpr uint32_t kDcxMagic = 0x3ADE68B1u;
constexpr uint32_t kDcxMaxPages = 1024;

class DcxReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        if (file.readLE32() != kDcxMagic) throw PCXERROR::InvalidFile;
        std::vector<uint32_t> offsets;
        while (offsets.size() < kDcxMaxPages) {
            const uint32_t offset = file.readLE32();
            if (offset == 0) break;
            offsets.push_back(offset);
        }
        const uint32_t page = image.pageNumber;
        if (page == 0 || page > offsets.size()) throw PCXERROR::DataIntegrity;
        const int64_t at = offsets[page - 1];
        const uint64_t rest = lengthFrom(file, at);
        uint64_t length = rest;
        if (page < offsets.size() && offsets[page] > at)
            length = std::min<uint64_t>(rest, uint64_t{offsets[page]} - static_cast<uint64_t>(at));
        image.pageCount = static_cast<uint32_t>(offsets.size());
        file.seek(at);
        readPcx(file, length, image, options);
        image.formatTag = makeTag("DCX ");
    }
};

}  // namespace

std::unique_ptr<ImageReader> makePcxReader(InFile& file) {
    return std::make_unique<PcxReader>(file);
}

std::unique_ptr<ImageReader> makeDcxReader(InFile& file) {
    return std::make_unique<DcxReader>(file);
}

}  // namespace vivark
