// The PBMPlus reader: header scanning, then the plain or raw samples of the
// three kinds. See PnmReader.h for what it makes of each.
#include "formats/pnm/PnmReader.h"

#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/pnm/PnmFormat.h"

namespace vivark {
namespace {

bool isSpace(uint8_t c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// Byte-level scanning of the text parts, with the end of the file known, so
// that a number ending the file is not an error.
class Scanner {
  public:
    explicit Scanner(InFile& file)
        : file_(file), end_(static_cast<int64_t>(file.size()) - file.origin()) {}

    bool atEnd() const { return file_.tell() >= end_; }
    uint64_t left() const { return atEnd() ? 0 : static_cast<uint64_t>(end_ - file_.tell()); }

    uint8_t peek() {
        if (file_.window().empty()) file_.refill();
        return file_.window()[0];
    }

    void skipSpaceAndComments() {
        while (!atEnd()) {
            const uint8_t c = peek();
            if (c == '#') {
                while (!atEnd() && peek() != '\n' && peek() != '\r') file_.consume(1);
            } else if (isSpace(c)) {
                file_.consume(1);
            } else {
                return;
            }
        }
    }

    // A decimal number of at most `max`; `fault` when there is none or it is larger.
    template <class Fault>
    uint32_t number(uint32_t max, Fault fault) {
        skipSpaceAndComments();
        if (atEnd()) throw INFILEERROR::UnexpectedEnd;
        if (peek() < '0' || peek() > '9') throw fault;
        uint64_t value = 0;
        while (!atEnd() && peek() >= '0' && peek() <= '9') {
            value = value * 10 + (peek() - '0');
            if (value > max) throw fault;
            file_.consume(1);
        }
        return static_cast<uint32_t>(value);
    }

    // A plain bitmap's pixel: '0' or '1', with or without whitespace between.
    uint8_t bit() {
        skipSpaceAndComments();
        const uint8_t c = file_.readByte();
        if (c != '0' && c != '1') throw PNMERROR::DataIntegrity;
        return static_cast<uint8_t>(c - '0');
    }

  private:
    InFile& file_;
    int64_t end_;
};

class PnmReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        file.seek(0);
        Scanner scan(file);
        if (file.readByte() != 'P') throw PNMERROR::InvalidFile;
        const uint8_t kind = file.readByte();
        if (kind < '1' || kind > '6') throw PNMERROR::InvalidFile;
        const bool raw = kind >= '4';
        const int family = (kind - '1') % 3;  // 0 bitmap, 1 graymap, 2 pixmap
        const uint32_t width = scan.number(0x7FFFFFFF, PNMERROR::InvalidFile);
        const uint32_t height = scan.number(0x7FFFFFFF, PNMERROR::InvalidFile);
        const uint32_t maxval = family == 0 ? 1 : scan.number(65535, PNMERROR::InvalidFile);
        if (width == 0 || height == 0 || maxval == 0) throw PNMERROR::InvalidFile;
        if (raw && !isSpace(file.readByte())) throw PNMERROR::InvalidFile;

        const uint32_t depth = family == 0 ? 1 : family == 1 ? 8 : 24;
        if (!options.limits.allows(width, height, depth)) throw IMAGEERROR::TooLarge;
        const uint32_t channels = family == 2 ? 3 : 1;
        const uint32_t sampleBytes = maxval > 255 ? 2 : 1;
        // Every sample takes at least one byte (raw bitmaps one bit), so a
        // file too short for its header's size is refused before allocating.
        const uint64_t rowBytes = family == 0 && raw ? (uint64_t{width} + 7) / 8
                                  : raw              ? uint64_t{width} * channels * sampleBytes
                                                     : uint64_t{width} * channels;
        if (rowBytes * height > scan.left()) throw INFILEERROR::UnexpectedEnd;

        Image result(width, height, depth, true);
        if (family == 0) {
            result.palette[0] = 0xFFFFFF;
            result.palette[1] = 0x000000;
            result.paletteCount = 2;
        } else if (family == 1) {
            result.setGreyPalette();
        }
        std::vector<uint8_t> scale(maxval + 1);
        for (uint32_t v = 0; v <= maxval; ++v)
            scale[v] = static_cast<uint8_t>((uint64_t{v} * 255 + maxval / 2) / maxval);

        std::vector<uint8_t> stored(raw ? rowBytes : 0);
        std::vector<uint8_t> samples(uint64_t{width} * channels);
        for (uint32_t y = 0; y < height; ++y) {
            uint8_t* out = result.plane.mutableRow(y);
            if (family == 0 && raw) {
                file.read(out, rowBytes);
            } else if (family == 0) {
                for (uint32_t x = 0; x < width; ++x) samples[x] = scan.bit();
                packIndices(samples.data(), out, width, 1);
            } else {
                if (raw) {
                    file.read(stored.data(), rowBytes);
                    for (size_t i = 0; i < samples.size(); ++i) {
                        const uint32_t v = sampleBytes == 2 ? loadBE16(&stored[2 * i]) : stored[i];
                        if (v > maxval) throw PNMERROR::DataIntegrity;
                        samples[i] = scale[v];
                    }
                } else {
                    for (auto& s : samples) s = scale[scan.number(maxval, PNMERROR::DataIntegrity)];
                }
                if (family == 1)
                    std::copy(samples.begin(), samples.end(), out);
                else
                    swapRedBlue(samples.data(), out, width);
            }
            if (progressCancelled(options.progress, y + 1, height)) throw INFILEERROR::Cancelled;
        }
        result.formatTag = family == 0   ? makeTag("PBM ")
                           : family == 1 ? makeTag("PGM ")
                                         : makeTag("PPM ");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makePnmReader(InFile& file) {
    return std::make_unique<PnmReader>(file);
}

}  // namespace vivark
