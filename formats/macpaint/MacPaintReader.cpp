// Decoding of MacPaint documents: a 512-byte header (whose patterns a viewer
// has no use for), then 720 rows of 72 bytes, each coded on its own in
// PackBits, the leftmost pixel in the most significant bit and a 1 bit
// black. The result is a 1-bit image, index 0 white and 1 black, so the rows
// are copied as they decode.
//
// A document still wrapped in its MacBinary header is reached by the loader,
// which probes again 128 bytes on. Runs that reach past a row's end are
// clipped to it (the codec's tolerant mode): some writers let a run cross
// rows, and what fits is still the right picture.
#include "formats/macpaint/MacPaintReader.h"
#include "codecs/ByteSources.h"
#include "codecs/PackBitsDecoder.h"
#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/ReadRows.h"

namespace vivark {
namespace {

class MacPaintReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const uint32_t width = kMacPaintWidth, height = kMacPaintHeight;
        if (!options.limits.allows(width, height, 1)) throw IMAGEERROR::TooLarge;
        file.seek(kMacPaintHeaderSize);
        if (options.headerOnly) {
            image.formatTag = makeTag("PNTG");
            return;
        }
        Image result(width, height, 1, false);
        result.palette[0] = rgb(255, 255, 255);
        result.palette[1] = rgb(0, 0, 0);
        result.paletteCount = 2;
        InFileSource source(file);
        PackBitsDecoder packBits(true);
        packBits.attach(&source);
        for (uint32_t y = 0; y < height; ++y) {
            packBits.decode(result.plane.mutableRow(y), kMacPaintRowBytes);
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        packBits.finish();
        handOverImage(image, std::move(result), makeTag("PNTG"));
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeMacPaintReader(InFile& file) {
    return std::make_unique<MacPaintReader>(file);
}

}  // namespace vivark
