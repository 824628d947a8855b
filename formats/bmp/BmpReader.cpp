// The bitmap reader's entry: the file header and type word, the info header
// variants, the palette and the uncompressed rows of 1, 2, 4, 8 and 24 bits.
// Compressed, bit-field and icon variants are handed to their own files.
//
// Depths: 1, 4 and 8 bits stay palette images; 2-bit OS/2 bitmaps widen to
// 4 bits; 16- and 32-bit pixels become 24-bit images. A palette shorter than
// the depth's keeps paletteCount at its true length; a bitmap whose palette
// is missing entirely gets grey levels. The resolution comes from the
// pels-per-metre fields when both are positive.
#include "formats/bmp/BmpReader.h"

#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark {
namespace bmp {
namespace {

void checkCompression(const BmpHeader& h) {
    switch (h.compression) {
        case kNone:
            return;
        case kRle8:
            if (h.bitCount != 8) throw BMPERROR::InvalidFile;
            return;
        case kRle4:
            if (h.bitCount != 4) throw BMPERROR::InvalidFile;
            return;
        case kBitFields:
        case kAlphaBitFields:
            if (h.os2Numbering) throw BMPERROR::UnsupportedCompression;
            if (h.bitCount != 16 && h.bitCount != 32) throw BMPERROR::InvalidFile;
            return;
        default:
            throw BMPERROR::UnsupportedCompression;
    }
}

// Palette entries the file holds for this header, bounded by the pixel offset.
uint32_t paletteEntries(const InFile& file, const BmpHeader& h, int64_t pixelOffset) {
    if (h.bitCount > 8) return 0;
    const uint32_t full = 1u << h.bitCount;
    uint32_t entries = (h.coloursUsed != 0 && h.coloursUsed < full) ? h.coloursUsed : full;
    const int64_t here = file.tell();
    if (pixelOffset > here) {
        const uint64_t fit = static_cast<uint64_t>(pixelOffset - here) / h.paletteEntrySize;
        if (fit < entries) entries = static_cast<uint32_t>(fit);
    } else if (pixelOffset != 0) {
        entries = 0;  // the pixels start where the palette would
    }
    return entries;
}

void readUncompressed(InFile& file, const BmpHeader& h, Image& image, const ReadOptions& options) {
    const uint64_t stored = storedRowBytes(h.width, h.bitCount);
    if (*checkedMul(stored, h.height) > bytesLeft(file)) throw INFILEERROR::UnexpectedEnd;
    std::vector<uint8_t> row(h.bitCount == 2 ? stored : 0);
    std::vector<uint8_t> indices(h.bitCount == 2 ? h.width : 0);
    for (uint32_t i = 0; i < h.height; ++i) {
        const uint32_t y = h.topDown ? i : h.height - 1 - i;
        if (h.bitCount == 2) {
            file.read(row.data(), stored);
            unpackIndices(row.data(), indices.data(), h.width, 2);
            packIndices(indices.data(), image.plane.mutableRow(y), h.width, 4);
        } else {
            file.read(image.plane.mutableRow(y), stored);  // same padding as the Image
        }
        rowDone(options, i + 1, h.height);
    }
}

}  // namespace

uint64_t bytesLeft(const InFile& file) {
    const int64_t total = static_cast<int64_t>(file.size()) - file.origin();
    const int64_t at = file.tell();
    return at < total ? static_cast<uint64_t>(total - at) : 0;
}

void rowDone(const ReadOptions& options, uint32_t done, uint32_t total) {
    if (progressCancelled(options.progress, done, total)) throw INFILEERROR::Cancelled;
}

BmpHeader readInfoHeader(InFile& file) {
    BmpHeader h;
    h.headerSize = file.readLE32();
    if (h.headerSize == kCoreHeaderSize) {
        h.width = file.readLE16();
        h.height = file.readLE16();
        file.readLE16();  // planes
        h.bitCount = file.readLE16();
        h.paletteEntrySize = 3;
        h.os2Numbering = true;
    } else {
        if (h.headerSize < 16 || h.headerSize > kMaxHeaderSize) throw BMPERROR::InvalidFile;
        uint8_t fields[kV5HeaderSize - 4] = {};
        const uint32_t known = std::min<uint32_t>(h.headerSize - 4, sizeof fields);
        file.read(fields, known);
        file.skip(h.headerSize - 4 - known);
        const int32_t width = static_cast<int32_t>(loadLE32(fields));
        const int32_t height = static_cast<int32_t>(loadLE32(fields + 4));
        if (width <= 0 || height == 0 || height == INT32_MIN) throw BMPERROR::InvalidFile;
        h.width = static_cast<uint32_t>(width);
        h.topDown = height < 0;
        h.height = static_cast<uint32_t>(height < 0 ? -height : height);
        h.bitCount = loadLE16(fields + 10);
        h.compression = loadLE32(fields + 12);
        h.xPelsPerMetre = static_cast<int32_t>(loadLE32(fields + 20));
        h.yPelsPerMetre = static_cast<int32_t>(loadLE32(fields + 24));
        h.coloursUsed = loadLE32(fields + 28);
        h.os2Numbering = !isWindowsHeaderSize(h.headerSize);
        if (!h.os2Numbering && h.headerSize >= 52) {
            h.masks = {loadLE32(fields + 36), loadLE32(fields + 40), loadLE32(fields + 44)};
        } else if (!h.os2Numbering &&
                   (h.compression == kBitFields || h.compression == kAlphaBitFields)) {
            h.masks = {file.readLE32(), file.readLE32(), file.readLE32()};
            if (h.compression == kAlphaBitFields) file.readLE32();
        }
    }
    if (h.width == 0 || h.height == 0) throw BMPERROR::InvalidFile;
    switch (h.bitCount) {
        case 1:
        case 2:
        case 4:
        case 8:
        case 16:
        case 24:
        case 32:
            break;
        default:
            throw BMPERROR::InvalidFile;
    }
    return h;
}

void readBitmapBody(InFile& file, const BmpHeader& h, int64_t pixelOffset, Image& image,
                    const ReadOptions& options) {
    checkCompression(h);
    const uint32_t depth = h.bitCount <= 8 ? (h.bitCount == 2 ? 4 : h.bitCount) : 24;
    if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;

    const uint32_t entries = paletteEntries(file, h, pixelOffset);
    Palette palette;
    for (uint32_t i = 0; i < entries; ++i) {
        uint8_t bgr[4];
        file.read(bgr, h.paletteEntrySize);
        palette[i] = rgb(bgr[2], bgr[1], bgr[0]);
    }
    if (pixelOffset != 0) {
        const int64_t total = static_cast<int64_t>(file.size()) - file.origin();
        if (pixelOffset < 0 || pixelOffset >= total) throw BMPERROR::InvalidFile;
        file.seek(pixelOffset);
    }

    Image result(h.width, h.height, depth, true);
    if (h.bitCount <= 8) {
        if (entries == 0) {
            result.setGreyPalette(h.bitCount);
        } else {
            result.palette = palette;
            result.paletteCount = entries;
        }
    }
    if (h.xPelsPerMetre > 0 && h.yPelsPerMetre > 0)
        result.resolution = {double(h.xPelsPerMetre), double(h.yPelsPerMetre),
                             ResolutionUnit::PerMetre};

    if (h.compression == kRle4 || h.compression == kRle8)
        readRlePixels(file, h, result, options);
    else if (h.bitCount == 16 || h.bitCount == 32)
        readBitFieldPixels(file, h, result, options);
    else
        readUncompressed(file, h, result, options);

    result.keepRequestOf(image);
    image = std::move(result);
}

namespace {

class BmpReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        file.seek(0);
        uint16_t type = file.readLE16();
        if (type == 0) {
            file.seek(0);
            readWindowsIcon(file, image, options);
            return;
        }
        bool inArray = false;
        uint32_t pages = 1;
        std::vector<InfoItem> listed;
        if (type == kTypeArray) {
            const ArrayElement element = chooseArrayElement(file, image.pageNumber, image.keepInfo);
            file.seek(element.offset + kFileHeaderSize);
            inArray = true;
            pages = element.count;
            listed = element.listed;
            type = file.readLE16();
        }
        if (type == kTypeIcon || type == kTypePointer || type == kTypeColourIcon ||
            type == kTypeColourPointer) {
            file.seek(file.tell() - 2);
            readOs2Icon(file, image, options);
            image.pageCount = pages;
            image.info.insert(image.info.begin(), listed.begin(), listed.end());
            return;
        }
        if (type != kTypeBitmap) throw BMPERROR::InvalidFile;
        file.readLE32();  // file size: often wrong, never needed
        file.readLE32();  // hot spot
        const uint32_t pixelOffset = file.readLE32();
        const BmpHeader header = readInfoHeader(file);
        readBitmapBody(file, header, pixelOffset, image, options);
        image.pageCount = pages;
        image.info.insert(image.info.begin(), listed.begin(), listed.end());
        const bool windows =
            !inArray && header.headerSize == kInfoHeaderSize && header.compression < 4;
        image.formatTag = windows ? kTagWindowsBitmap : kTagBitmap;
    }
};

}  // namespace
}  // namespace bmp

std::unique_ptr<ImageReader> makeBmpReader(InFile& file) {
    return std::make_unique<bmp::BmpReader>(file);
}

}  // namespace vivark
