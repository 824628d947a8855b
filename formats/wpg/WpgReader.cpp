// Decoding of the bitmaps of WordPerfect graphics (version 1 files).
//
// The file is a 16-byte header (0xFF "WPC", the offset of the first record,
// product type 1, file type 0x16, version 1.0) and a chain of records: a type
// byte and a length (WpgFormat.h). The reader walks them to the first bitmap
// (record 11, or record 20 whose angle and corner words come first), keeping
// the last colour map (record 14) on the way; record 16 ends the picture,
// and a picture that ends without a bitmap holds vector graphics only.
//
// A bitmap gives width, height, depth (1, 2, 4 or 8 bits) and resolution,
// then rows top first, (width × depth + 7) / 8 bytes each, in a run-length
// code whose runs may cross rows:
//   0x81..0xFF  the next byte, repeated (code & 0x7F) times;
//   0x80 n      n bytes 0xFF;
//   0x01..0x7F  that many bytes copied;
//   0x00 n      the last complete row, repeated n times.
// Two-bit pixels are widened to four bits. A bitmap without a colour map
// gets black and white at one bit, the sixteen colours of the EGA at two
// and four bits and grey levels at eight, which is what such files were
// drawn for.
//
// WPGERROR: InvalidFile for a depth other than 1, 2, 4 and 8 or a zero size;
// NoRaster for a picture without a bitmap; DataIntegrity for a colour map
// beyond 256 entries and a row repeat with no complete row before it.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/IdentifySupport.h"
#include "formats/PcColours.h"
#include "formats/ReadRows.h"
#include "formats/wpg/WpgReader.h"

namespace vivark {
namespace {

// Fills rows of `rowBytes` from the run-length code and hands each complete
// row to `emit`; stops once `rows` rows are out.
template <typename Emit>
void decodeRows(InFile& file, size_t rowBytes, uint32_t rows, Emit&& emit) {
    std::vector<uint8_t> line(rowBytes);
    size_t at = 0;
    uint32_t done = 0;
    auto put = [&](uint8_t value) {
        line[at++] = value;
        if (at == rowBytes) {
            emit(line.data(), done++);
            at = 0;
        }
    };
    while (done < rows) {
        const uint8_t code = file.readByte();
        const uint32_t count = code & 0x7Fu;
        if (code & 0x80) {
            const uint8_t value = count != 0 ? file.readByte() : 0xFF;
            const uint32_t times = count != 0 ? count : file.readByte();
            for (uint32_t i = 0; i < times && done < rows; ++i) put(value);
        } else if (count != 0) {
            for (uint32_t i = 0; i < count && done < rows; ++i) put(file.readByte());
        } else {
            const uint32_t times = file.readByte();
            if (at != 0 || done == 0) throw WPGERROR::DataIntegrity;
            for (uint32_t i = 0; i < times && done < rows; ++i) emit(line.data(), done++);
        }
    }
}

class WpgReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        uint8_t header[16];
        file.read(header, sizeof header);
        if (loadBE32(header) != 0xFF575043u || header[8] != 1 || header[9] != 0x16)
            throw WPGERROR::InvalidFile;
        file.seek(loadLE32(header + 4));

        Palette palette{};
        bool haveMap = false;
        for (;;) {
            const uint8_t type = file.readByte();
            const uint32_t length = readWpgRecordLength(file);
            if (type == wpgRecord::End) throw WPGERROR::NoRaster;
            if (type == wpgRecord::ColourMap) {
                const uint32_t first = file.readLE16(), count = file.readLE16();
                if (first + count > 256) throw WPGERROR::DataIntegrity;
                for (uint32_t i = 0; i < count; ++i) {
                    uint8_t c[3];
                    file.read(c, 3);
                    palette[first + i] = rgb(c[0], c[1], c[2]);
                }
                haveMap = true;
                const uint32_t used = 4 + 3 * count;
                if (length > used) file.skip(length - used);
                continue;
            }
            if (type == wpgRecord::Bitmap1 || type == wpgRecord::Bitmap2) {
                if (type == wpgRecord::Bitmap2) file.skip(10);
                readBitmap(image, options, haveMap ? &palette : nullptr);
                return;
            }
            file.skip(length);
        }
    }

  private:
    void readBitmap(Image& image, const ReadOptions& options, const Palette* map) {
        InFile& file = *file_;
        const uint32_t width = file.readLE16(), height = file.readLE16();
        const uint32_t bits = file.readLE16();
        file.skip(4);  // horizontal and vertical resolution
        if (width == 0 || height == 0) throw WPGERROR::InvalidFile;
        if (bits != 1 && bits != 2 && bits != 4 && bits != 8) throw WPGERROR::InvalidFile;
        const uint32_t depth = bits == 2 ? 4 : bits;
        if (!options.limits.allows(width, height, depth)) throw IMAGEERROR::TooLarge;
        // A row repeat of two bytes makes at most 255 rows: a file cannot
        // hold more rows than that.
        const size_t rowBytes = (size_t{width} * bits + 7) / 8;
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && uint64_t{height} > (length / 2 + 1) * 255)
            throw INFILEERROR::UnexpectedEnd;
        if (options.headerOnly) {
            image.formatTag = makeTag("WPG ");
            return;
        }

        Image result(width, height, depth, false);
        if (map != nullptr) {
            result.palette = *map;
            result.paletteCount = 1u << bits;
        } else if (bits == 1) {
            result.palette[0] = rgb(0, 0, 0);
            result.palette[1] = rgb(255, 255, 255);
            result.paletteCount = 2;
        } else if (bits == 8) {
            result.setGreyPalette();
        } else {
            std::copy(std::begin(kPcColours), std::end(kPcColours), result.palette.entries.begin());
            result.paletteCount = 1u << bits;
        }
        std::vector<uint8_t> indices(bits == 2 ? width : 0);
        decodeRows(file, rowBytes, height, [&](const uint8_t* line, uint32_t y) {
            uint8_t* row = result.plane.mutableRow(y);
            if (bits == 2) {
                unpackIndices(line, indices.data(), width, 2);
                packIndices(indices.data(), row, width, 4);
            } else {
                std::memcpy(row, line, rowBytes);
                if (bits == 1 && width % 8 != 0)
                    row[rowBytes - 1] &= static_cast<uint8_t>(0xFF00u >> (width % 8));
            }
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        });
        handOverImage(image, std::move(result), makeTag("WPG "));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeWpgReader(InFile& file) {
    return std::make_unique<WpgReader>(file);
}

}  // namespace vivark
