// Decoding of Microsoft Paint images. After the 32-byte header, version 1
// stores the rows as they are; version 2 stores a map of one 16-bit coded
// length per row and then the rows, each coded on its own: a byte n > 0
// announces n literal bytes, a 0 byte is followed by a count and the byte to
// repeat. A row of coded length 0 is white, and a row whose codes end short
// keeps white for the rest. Rows are top first, the leftmost pixel in the
// most significant bit, a 1 bit white; the result is a 1-bit image, index 0
// black and 1 white, so decoded rows are copied as they stand.
//
// The header's checksum is not verified: a picture whose header was patched
// by another program is still the picture.
//
// MSPERROR::NotMsp: another key or a zero size. MSPERROR::DataIntegrity: a
// row whose codes give more bytes than the row holds.
#include <cstring>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/ReadRows.h"
#include "formats/msp/MspReader.h"

namespace vivark {
namespace {

// Decodes one version-2 row of `codedLength` bytes into `row` (pre-filled white).
void decodeRow(const uint8_t* coded, size_t codedLength, uint8_t* row, size_t rowBytes) {
    size_t in = 0, out = 0;
    while (in < codedLength) {
        const uint8_t type = coded[in++];
        if (type == 0) {
            if (codedLength - in < 2) throw MSPERROR::DataIntegrity;
            const uint8_t count = coded[in], value = coded[in + 1];
            in += 2;
            if (count > rowBytes - out) throw MSPERROR::DataIntegrity;
            std::memset(row + out, value, count);
            out += count;
        } else {
            if (type > codedLength - in || type > rowBytes - out) throw MSPERROR::DataIntegrity;
            std::memcpy(row + out, coded + in, type);
            in += type;
            out += type;
        }
    }
}

class MspReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[kMspHeaderSize];
        file.read(header, sizeof header);
        const uint16_t key[2] = {loadLE16(header), loadLE16(header + 2)};
        const bool version2 = key[0] == kMspKey2[0] && key[1] == kMspKey2[1];
        if (!version2 && !(key[0] == kMspKey1[0] && key[1] == kMspKey1[1])) throw MSPERROR::NotMsp;
        const uint32_t width = loadLE16(header + 4), height = loadLE16(header + 6);
        if (width == 0 || height == 0) throw MSPERROR::NotMsp;
        if (!options.limits.allows(width, height, 1)) throw IMAGEERROR::TooLarge;
        const size_t rowBytes = (size_t{width} + 7) / 8;
        // What the file must at least hold: every row (version 1) or the map.
        const uint64_t needed = version2 ? uint64_t{height} * 2 : uint64_t{rowBytes} * height;
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && kMspHeaderSize + needed > length) throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("MSP ");
            return;
        }
        Image result(width, height, 1, false);
        result.setGreyPalette(1);
        std::vector<uint8_t> map, coded;
        if (version2) {
            map.resize(size_t{height} * 2);
            file.read(map.data(), map.size());
            coded.resize(0x10000);
        }
        readRowsTopFirst(result, options.progress, [&](uint32_t y, uint8_t* row) {
            if (version2) {
                const size_t codedLength = loadLE16(&map[size_t{y} * 2]);
                file.read(coded.data(), codedLength);
                std::memset(row, 0xFF, rowBytes);
                decodeRow(coded.data(), codedLength, row, rowBytes);
            } else {
                file.read(row, rowBytes);
            }
        });
        handOverImage(image, std::move(result), makeTag("MSP "));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeMspReader(InFile& file) {
    return std::make_unique<MspReader>(file);
}

}  // namespace vivark
