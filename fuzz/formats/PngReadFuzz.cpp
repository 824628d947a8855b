// Fuzzes the PNG reader over arbitrary bytes. The last input byte picks the
// InFile buffer size (low 5 bits, 1 to 32 bytes, so IDAT data and chunk
// headers straddle refills), whether a display follows the rows with block
// display on (bit 5), and whether every chunk's CRC is set right before the
// read (bit 6), so that mutated chunks reach the header checks and the
// decoder instead of all failing their CRC; the rest is in fuzz/ReaderFuzz.h.
#include <cstdint>
#include <span>
#include <vector>

#include "core/ByteOrder.h"

#include "formats/RowDisplay.h"
#include "formats/png/PngCrc.h"
#include "formats/png/PngReader.h"
#include "fuzz/ReaderFuzz.h"

using namespace vivark;

namespace {

// Draws interlaced passes as blocks and takes every row.
class BlockDisplay final : public RowDisplay {
  public:
    bool blockDisplay() const override { return true; }
    uint32_t rowThreshold() const override { return 1; }
    void showRows(const Image&, uint32_t) override {}
    void passFinished(const Image&, uint32_t) override {}
};

// A reader whose read() runs with the block display attached.
class DisplayedReader final : public ImageReader {
  public:
    explicit DisplayedReader(InFile& file) : ImageReader(file), inner_(makePngReader(file)) {}

  protected:
    void readInto(Image& image, const ReadOptions& options) override {
        ReadOptions withDisplay = options;
        withDisplay.display = &display_;
        inner_->read(image, withDisplay);
    }

  private:
    std::unique_ptr<ImageReader> inner_;
    BlockDisplay display_;
};

std::unique_ptr<ImageReader> makeDisplayedReader(InFile& file) {
    return std::make_unique<DisplayedReader>(file);
}

// Rewrites the stored CRC of every whole chunk after the signature.
void fixCrcs(std::vector<uint8_t>& bytes) {
    for (size_t at = 8; at + 12 <= bytes.size();) {
        const uint32_t length = loadBE32(&bytes[at]);
        if (length > bytes.size() - at - 12) break;
        png::Crc32 crc;
        crc.update(&bytes[at + 4], length + 4);
        storeBE32(&bytes[at + 8 + length], crc.value());
        at += 12 + size_t{length};
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t control = data[size - 1];
    std::vector<uint8_t> bytes(data, data + size - 1);
    if (control & 64) fixCrcs(bytes);
    return fuzz::readImage(bytes, size_t{control & 31u} + 1, 1,
                           (control & 32) ? makeDisplayedReader : makePngReader);
}
