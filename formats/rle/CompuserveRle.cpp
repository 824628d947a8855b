// Compuserve RLE pictures, read and written: after ESC 'G' and 'M' (medium
// resolution, 128 × 96) or 'H' (high resolution, 256 × 192), each character
// from 32 to 127 is a run of (character − 32) pixels, the runs alternating
// between background and foreground, background first, through the whole
// picture from its top left corner; ESC 'G' 'N' ends it. Control characters
// between runs (the line breaks that mail and terminals put in) are passed
// over. The terminals that showed these pictures drew light on a dark
// screen, so the background is black and the foreground white.
//
// Reading: runs past the picture's end are dropped and pixels no run reached
// stay background. RLECERROR::InvalidFile: a character above 127, an escape
// other than ESC 'G' 'N', or no picture header.
//
// Writing takes 1-bit images (the save path makes black and white of
// anything else; a light palette colour is foreground). A picture that fits
// 128 × 96 goes out at medium resolution, any other at high resolution from
// its top left corner (a larger one is cropped; the writer entry's canvas
// makes the command line say so). A run longer than 95 pixels is split by an
// empty run of the other colour.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/rle/RleReader.h"
#include "formats/rle/RleWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kLongestRun = 95;

class CompuserveRleReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        if (file.readByte() != kRlecEscape || file.readByte() != 'G') throw RLECERROR::InvalidFile;
        const uint8_t resolution = file.readByte();
        if (resolution != 'H' && resolution != 'M') throw RLECERROR::InvalidFile;
        const bool high = resolution == 'H';
        const uint32_t width = high ? kRlecHighWidth : kRlecMediumWidth;
        const uint32_t height = high ? kRlecHighHeight : kRlecMediumHeight;
        if (!options.limits.allows(width, height, 1)) throw IMAGEERROR::TooLarge;
        if (options.headerOnly) {
            image.formatTag = makeTag("RLEC");
            return;
        }
        Image result(width, height, 1, true);
        result.palette[0] = rgb(0, 0, 0);
        result.palette[1] = rgb(255, 255, 255);
        result.paletteCount = 2;
        const uint64_t total = uint64_t{width} * height;
        uint64_t at = 0;
        bool foreground = false;
        uint32_t rowsDone = 0;
        for (;;) {
            const uint8_t c = file.readByte();
            if (c == kRlecEscape) {
                if (file.readByte() != 'G' || file.readByte() != 'N') throw RLECERROR::InvalidFile;
                break;
            }
            if (c < 32) continue;
            if (c > 127) throw RLECERROR::InvalidFile;
            const uint64_t end = std::min<uint64_t>(total, at + (c - 32u));
            if (foreground) {
                for (uint64_t p = at; p < end; ++p) {
                    uint8_t* row = result.plane.mutableRow(static_cast<uint32_t>(p / width));
                    const uint32_t x = static_cast<uint32_t>(p % width);
                    row[x / 8] |= static_cast<uint8_t>(0x80u >> (x % 8));
                }
            }
            at = std::max(at, end);
            foreground = !foreground;
            for (; rowsDone < at / width; ++rowsDone)
                if (progressCancelled(options.progress, rowsDone + 1, height))
                    throw INFILEERROR::Cancelled;
        }
        result.formatTag = makeTag("RLEC");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

bool isLight(Colour c) {
    return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16 & 0xFF) >= 384;
}

}  // namespace

std::unique_ptr<ImageReader> makeCompuserveRleReader(InFile& file) {
    return std::make_unique<CompuserveRleReader>(file);
}

void writeCompuserveRle(const Image& image, OutFile& out, const SaveOptions&,
                        ProgressCallback* progress) {
    const bool medium = image.width() <= kRlecMediumWidth && image.height() <= kRlecMediumHeight;
    const uint32_t width = medium ? kRlecMediumWidth : kRlecHighWidth;
    const uint32_t height = medium ? kRlecMediumHeight : kRlecHighHeight;
    const uint8_t head[3] = {kRlecEscape, 'G', uint8_t(medium ? 'M' : 'H')};
    out.write(head, sizeof head);
    const bool light[2] = {isLight(image.palette[0]), isLight(image.palette[1])};
    const uint32_t usedWidth = std::min(width, image.width());
    bool foreground = false;  // the colour of the run being counted
    uint32_t run = 0;
    auto emit = [&](uint32_t n) {
        while (n > kLongestRun) {
            out.writeByte(static_cast<uint8_t>(32 + kLongestRun));
            out.writeByte(32);  // an empty run of the other colour
            n -= kLongestRun;
        }
        out.writeByte(static_cast<uint8_t>(32 + n));
    };
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = y < image.height() ? image.plane.row(y) : nullptr;
        for (uint32_t x = 0; x < width; ++x) {
            const bool pixel =
                row != nullptr && x < usedWidth && light[row[x / 8] >> (7 - x % 8) & 1];
            if (pixel != foreground) {
                emit(run);
                foreground = pixel;
                run = 0;
            }
            ++run;
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    emit(run);
    const uint8_t tail[3] = {kRlecEscape, 'G', 'N'};
    out.write(tail, sizeof tail);
}

}  // namespace vivark
