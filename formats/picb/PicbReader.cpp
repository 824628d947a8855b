// Decoding of PICB images: the 76-byte header, then for 1, 4 and 8 bits a
// palette of 2^bits entries (red, green, blue, one byte each), then the rows,
// top first, each padded to a whole byte; packed pixels hold the leftmost
// pixel in the most significant bits, and 24-bit pixels are stored blue,
// green, red.
//
// PICBERROR::InvalidFile: another magic, a zero size or another depth.
#include <cstring>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/pixels/Samples.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/picb/PicbReader.h"

namespace vivark {
namespace {

class PicbReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[kPicbHeaderSize];
        file.read(header, sizeof header);
        if (loadLE16(header) != kPicbMagic) throw PICBERROR::InvalidFile;
        const uint32_t width = loadLE16(header + 2), height = loadLE16(header + 4);
        const uint32_t bits = loadLE16(header + 6);
        if (width == 0 || height == 0) throw PICBERROR::InvalidFile;
        if (bits != 1 && bits != 4 && bits != 8 && bits != 24) throw PICBERROR::InvalidFile;
        if (!options.limits.allows(width, height, bits)) throw IMAGEERROR::TooLarge;
        const size_t rowBytes = (size_t{width} * bits + 7) / 8;
        const uint32_t colours = bits <= 8 ? 1u << bits : 0;
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && kPicbHeaderSize + colours * 3ull + uint64_t{rowBytes} * height > length)
            throw INFILEERROR::UnexpectedEnd;
        uint8_t map[256 * 3];
        file.read(map, colours * 3);
        if (options.headerOnly) {
            image.formatTag = makeTag("PICB");
            return;
        }
        Image result(width, height, bits, false);
        if (colours != 0) {
            paletteFromRgb(map, colours, result.palette);
            result.paletteCount = colours;
        }
        readRowsTopFirst(result, options.progress,
                         [&](uint32_t, uint8_t* row) { file.read(row, rowBytes); });
        handOverImage(image, std::move(result), makeTag("PICB"));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makePicbReader(InFile& file) {
    return std::make_unique<PicbReader>(file);
}

}  // namespace vivark
