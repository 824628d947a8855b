// Decoding of WAP bitmaps of type 0: the type and the fixed header byte
// (both 0), width and height as multi-byte integers (seven bits a byte, the
// high bit set on every byte but the last), then the rows, top first, each
// padded to a whole byte, the leftmost pixel in the most significant bit and
// a 1 bit white. The result is a 1-bit image: index 0 black, 1 white, so the
// rows are copied as they stand.
//
// WBMPERROR::InvalidFile: another type, a fixed header announcing extension
// headers, a zero size or a multi-byte integer beyond 32 bits.
#include <cstring>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/wbmp/WbmpReader.h"

namespace vivark {
namespace {

uint32_t readMultiByte(InFile& file) {
    uint64_t value = 0;
    for (;;) {
        const uint8_t b = file.readByte();
        value = value << 7 | (b & 0x7Fu);
        if (value > 0xFFFFFFFFu) throw WBMPERROR::InvalidFile;
        if ((b & 0x80) == 0) return static_cast<uint32_t>(value);
    }
}

class WbmpReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        if (readMultiByte(file) != 0 || file.readByte() != 0) throw WBMPERROR::InvalidFile;
        const uint32_t width = readMultiByte(file), height = readMultiByte(file);
        if (width == 0 || height == 0) throw WBMPERROR::InvalidFile;
        if (!options.limits.allows(width, height, 1)) throw IMAGEERROR::TooLarge;
        // Rows the file cannot hold are not allocated for.
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && (uint64_t{width} + 7) / 8 * height > length)
            throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("WBMP");
            return;
        }
        Image result(width, height, 1, false);
        result.setGreyPalette(1);
        const size_t rowBytes = (size_t{width} + 7) / 8;
        readRowsTopFirst(result, options.progress,
                         [&](uint32_t, uint8_t* row) { file.read(row, rowBytes); });
        handOverImage(image, std::move(result), makeTag("WBMP"));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeWbmpReader(InFile& file) {
    return std::make_unique<WbmpReader>(file);
}

}  // namespace vivark
