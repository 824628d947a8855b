// Decoding of SGI images into Images.
//
// An SGI file holds its channels one after another, each as rows from the
// bottom of the picture up; verbatim files store the rows back to back,
// run-length files give each row's offset in a table after the 512-byte
// header. Results: one channel becomes an 8-bit image with a grey palette,
// two a grey image with alpha, three a 24-bit image and four (or more: the
// fifth and later channels are dropped) a 24-bit image with alpha.
// Two-byte samples are scaled to 8 bits over their full range; PIXMIN and
// PIXMAX are not used, as most writers put 0 and the maximum there anyway
// and netpbm and ImageMagick scale the same way.
//
// SGIERROR values:
//  - InvalidFile (0): a bad magic number, a dimension other than 1 to 3, a
//    zero size.
//  - DataIntegrity (1): a run that passes the end of its row.
//  - ColourMapOnly (2): colour map type 3 (the file holds only a colour map).
//  - UnsupportedColourType (3): colour map type 1 (dithered) or above 3.
//  - UnsupportedStorage (4): a storage byte other than 0 and 1.
//  - UnsupportedChannelSize (5): a sample size other than 1 and 2 bytes.
#include "formats/sgi/SgiReader.h"

#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/pixels/Samples.h"

namespace vivark {
namespace {

struct SgiHeader {
    bool rle = false;
    uint32_t bytesPerSample = 1;
    uint32_t width = 0, height = 0, channels = 0;
};

SgiHeader readHeader(InFile& file) {
    uint8_t raw[512];
    file.read(raw, sizeof raw);
    if (loadBE16(raw) != 474) throw SGIERROR::InvalidFile;
    SgiHeader h;
    if (raw[2] > 1) throw SGIERROR::UnsupportedStorage;
    h.rle = raw[2] == 1;
    if (raw[3] != 1 && raw[3] != 2) throw SGIERROR::UnsupportedChannelSize;
    h.bytesPerSample = raw[3];
    const uint16_t dimension = loadBE16(raw + 4);
    if (dimension < 1 || dimension > 3) throw SGIERROR::InvalidFile;
    h.width = loadBE16(raw + 6);
    h.height = dimension >= 2 ? loadBE16(raw + 8) : 1;
    h.channels = dimension == 3 ? loadBE16(raw + 10) : 1;
    if (h.width == 0 || h.height == 0 || h.channels == 0) throw SGIERROR::InvalidFile;
    const uint32_t colourMap = loadBE32(raw + 104);
    if (colourMap == 3) throw SGIERROR::ColourMapOnly;
    if (colourMap != 0 && colourMap != 2) throw SGIERROR::UnsupportedColourType;
    return h;
}

// Expands one run-length row of `width` samples of `size` bytes from the
// file. A code is one sample-sized count: its low seven bits give the number
// of samples, bit 7 set means that many literal samples follow, clear a run
// of the one sample that follows; a zero count ends the row.
void decodeRow(InFile& file, uint8_t* out, uint32_t width, uint32_t size) {
    uint32_t at = 0;
    for (;;) {
        const uint32_t code = size == 1 ? file.readByte() : file.readBE16();
        const uint32_t count = code & 0x7F;
        if (count == 0) break;
        if (count > width - at) throw SGIERROR::DataIntegrity;
        if (code & 0x80) {
            file.read(out + size_t{at} * size, size_t{count} * size);
        } else {
            uint8_t sample[2];
            file.read(sample, size);
            for (uint32_t i = 0; i < count; ++i)
                for (uint32_t b = 0; b < size; ++b) out[size_t{at + i} * size + b] = sample[b];
        }
        at += count;
    }
    // A row that ends early leaves the rest of its samples black.
    for (size_t i = size_t{at} * size; i < size_t{width} * size; ++i) out[i] = 0;
}

class SgiReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const SgiHeader h = readHeader(file);
        const uint32_t used = h.channels >= 4 ? 4 : h.channels;
        const bool colour = used >= 3;
        const bool alpha = used == 2 || used == 4;
        const uint32_t depth = colour ? 24 : 8;
        if (!options.limits.allows(h.width, h.height, depth) ||
            (alpha && !options.limits.allows(h.width, h.height, depth + 8)))
            throw IMAGEERROR::TooLarge;

        // Run-length files: the start of each row, channel by channel; only
        // the channels used are read from the table.
        std::vector<uint32_t> starts;
        if (h.rle) {
            starts.resize(size_t{h.height} * used);
            std::vector<uint8_t> table(starts.size() * 4);
            file.read(table.data(), table.size());
            for (size_t i = 0; i < starts.size(); ++i) starts[i] = loadBE32(&table[i * 4]);
        }

        Image result(h.width, h.height, depth, true);
        if (!colour) result.setGreyPalette();
        if (alpha) {
            result.secondPlane = PixelPlane(h.width, h.height, 8, true);
            result.secondPlaneKind = SecondPlane::Alpha;
        }
        std::vector<uint8_t> stored(size_t{h.width} * h.bytesPerSample);
        std::vector<uint8_t> samples(h.width);
        const uint64_t rowBytes = stored.size();
        const uint32_t total = h.height * used;
        for (uint32_t c = 0; c < used; ++c) {
            // Where channel c goes: grey or the colour bytes (blue, green,
            // red in the Image), or the alpha plane.
            const bool toAlpha = alpha && c == used - 1;
            const uint32_t step = toAlpha || !colour ? 1 : 3;
            const uint32_t offset = toAlpha || !colour ? 0 : 2 - c;
            if (!h.rle) file.seek(512 + int64_t(c) * h.height * int64_t(rowBytes));
            for (uint32_t row = 0; row < h.height; ++row) {
                if (h.rle) {
                    file.seek(starts[size_t{c} * h.height + row]);
                    decodeRow(file, stored.data(), h.width, h.bytesPerSample);
                } else {
                    file.read(stored.data(), stored.size());
                }
                const uint8_t* eight = stored.data();
                if (h.bytesPerSample == 2) {
                    scale16To8(stored.data(), samples.data(), h.width, true);
                    eight = samples.data();
                }
                // Stored rows go from the bottom of the picture up.
                const uint32_t y = h.height - 1 - row;
                uint8_t* out =
                    toAlpha ? result.secondPlane.mutableRow(y) : result.plane.mutableRow(y);
                for (uint32_t x = 0; x < h.width; ++x) out[size_t{x} * step + offset] = eight[x];
                const uint32_t done = c * h.height + row + 1;
                if (progressCancelled(options.progress, done, total)) throw INFILEERROR::Cancelled;
            }
        }
        result.pageNumber = image.pageNumber;
        result.pageCount = 1;
        result.formatTag = makeTag("SGI ");
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeSgiReader(InFile& file) {
    return std::make_unique<SgiReader>(file);
}

}  // namespace vivark
