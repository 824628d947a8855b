// The PBMPlus writers: header, then raw rows or plain text lines.
#include "formats/pnm/PnmWriter.h"

#include <span>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"
#include "formats/pnm/PnmFormat.h"

namespace vivark {
namespace {

enum class Kind { Bitmap, Graymap, Pixmap };

constexpr size_t kMaxLine = 70;

uint8_t luminance(Colour c) {
    return static_cast<uint8_t>((redOf(c) * 299u + greenOf(c) * 587u + blueOf(c) * 114u + 500) /
                                1000);
}

// Plain text output: tokens separated by blanks, lines broken before 70.
class PlainLines {
  public:
    explicit PlainLines(OutFile& out, bool separate) : out_(out), separate_(separate) {}

    void token(const char* text, size_t length) {
        const size_t needed = length + (separate_ && column_ > 0 ? 1 : 0);
        if (column_ > 0 && column_ + needed > kMaxLine) endLine();
        if (separate_ && column_ > 0) {
            out_.writeByte(' ');
            ++column_;
        }
        out_.write(text, length);
        column_ += length;
    }
    void number(unsigned value) {
        const std::string text = std::to_string(value);
        token(text.data(), text.size());
    }
    void endLine() {
        out_.writeByte('\n');
        column_ = 0;
    }

  private:
    OutFile& out_;
    bool separate_;
    size_t column_ = 0;
};

void writePnm(const Image& image, OutFile& out, Kind kind, bool raw, ProgressCallback* progress) {
    const uint32_t width = image.width();
    const uint32_t height = image.height();
    const char magic = static_cast<char>('1' + static_cast<int>(kind) + (raw ? 3 : 0));
    std::string header = std::string("P") + magic + "\n" + std::to_string(width) + " " +
                         std::to_string(height) + "\n";
    if (kind != Kind::Bitmap) header += "255\n";
    out.write(header.data(), header.size());

    std::vector<uint8_t> indices(width);
    std::vector<uint8_t> samples(kind == Kind::Pixmap ? size_t{width} * 3 : width);
    std::vector<uint8_t> packed((width + 7) / 8);
    PlainLines lines(out, kind != Kind::Bitmap);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        // Colour rows: red first, from a palette or from blue-first pixels.
        const uint8_t* ix = row;
        if (kind == Kind::Pixmap && image.hasPalette() && image.bitsPerPixel() != 8) {
            unpackIndices(row, indices.data(), width, image.bitsPerPixel());
            ix = indices.data();
        }
        auto toRgb = [&](uint8_t* rgb) {
            if (image.hasPalette())
                expandToRgb(ix, image.palette, rgb, width);
            else
                swapRedBlue(row, rgb, width);
        };
        if (kind == Kind::Pixmap && raw) {
            // Straight into the output buffer: the one pass the row needs.
            const size_t bytes = size_t{width} * 3;
            std::span<uint8_t> space = out.space();
            if (space.size() < bytes) {
                out.flush();
                space = out.space();
            }
            if (space.size() >= bytes) {
                toRgb(space.data());
                out.advance(bytes);
                if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
                continue;
            }
        }
        if (kind == Kind::Pixmap) {
            toRgb(samples.data());
        } else {
            unpackIndices(row, indices.data(), width, image.bitsPerPixel());
            for (uint32_t x = 0; x < width; ++x) {
                const uint8_t level = luminance(image.palette[indices[x]]);
                samples[x] = kind == Kind::Graymap ? level : (level < 128 ? 1 : 0);
            }
        }
        if (raw && kind == Kind::Bitmap) {
            packIndices(samples.data(), packed.data(), width, 1);
            out.write(packed.data(), packed.size());
        } else if (raw) {
            out.write(samples.data(), samples.size());
        } else {
            for (uint8_t s : samples) {
                if (kind == Kind::Bitmap)
                    lines.token(s ? "1" : "0", 1);
                else
                    lines.number(s);
            }
            lines.endLine();
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace

void writePortableBitmap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress) {
    writePnm(image, out, Kind::Bitmap, options.flag(saveKey::PbmRawData), progress);
}

void writePortableGraymap(const Image& image, OutFile& out, const SaveOptions& options,
                          ProgressCallback* progress) {
    writePnm(image, out, Kind::Graymap, options.flag(saveKey::PgmRawData), progress);
}

void writePortablePixmap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress) {
    writePnm(image, out, Kind::Pixmap, options.flag(saveKey::PpmRawData), progress);
}

void writePortableAnymap(const Image& image, OutFile& out, const SaveOptions& options,
                         ProgressCallback* progress) {
    const bool raw = options.flag(saveKey::PnmRawData);
    if (image.hasPalette() && image.isBlackAndWhite())
        writePnm(image, out, Kind::Bitmap, raw, progress);
    else if (image.hasPalette() && image.isGrey())
        writePnm(image, out, Kind::Graymap, raw, progress);
    else
        writePnm(image, out, Kind::Pixmap, raw, progress);
}

}  // namespace vivark
