// The PNG writer: output form, chunk framing with length patching, the
// ancillary chunks and the filtered, deflated image rows.
#include "formats/png/PngWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "codecs/ZipEncoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"
#include "formats/png/PngCrc.h"
#include "formats/png/PngFilters.h"
#include "formats/png/PngFormat.h"

namespace vivark {
namespace {

using namespace png;

// Writes one chunk: a placeholder length, the type and data (both into the
// CRC), the CRC; then the real length is written over the placeholder.
class ChunkWriter {
  public:
    explicit ChunkWriter(OutFile& out) : out_(out) {}

    void begin(uint32_t type) {
        start_ = out_.tell();
        out_.writeBE32(0);
        uint8_t t[4];
        storeBE32(t, type);
        crc_.reset();
        write(t, 4);
    }
    void write(const uint8_t* data, size_t count) {
        crc_.update(data, count);
        out_.write(data, count);
    }
    void writeByte(uint8_t value) { write(&value, 1); }
    void writeBE16(uint16_t value) {
        uint8_t b[2];
        storeBE16(b, value);
        write(b, 2);
    }
    void writeBE32(uint32_t value) {
        uint8_t b[4];
        storeBE32(b, value);
        write(b, 4);
    }
    void end() {
        out_.writeBE32(crc_.value());
        const int64_t end = out_.tell();
        out_.seek(start_);
        out_.writeBE32(static_cast<uint32_t>(end - start_ - 12));
        out_.seek(end);
    }

  private:
    OutFile& out_;
    Crc32 crc_;
    int64_t start_ = 0;
};

// The ZipEncoder's sink: compressed bytes go into the open IDAT chunk.
class IdatSink final : public ByteSink {
  public:
    explicit IdatSink(ChunkWriter& chunk) : chunk_(chunk) {}

    void begin() override {
        cursor = buffer_.data();
        end = buffer_.data() + buffer_.size();
    }
    void flush() override {
        chunk_.write(buffer_.data(), static_cast<size_t>(cursor - buffer_.data()));
        cursor = buffer_.data();
    }
    void finish() override { flush(); }

  private:
    ChunkWriter& chunk_;
    std::array<uint8_t, 16384> buffer_;
};

struct OutputForm {
    uint8_t colourType;
    uint8_t depth;
};

// The depth of a type-3 image using `entries` palette entries.
uint8_t palettedDepth(uint32_t entries) {
    uint8_t n = 0;
    while ((1u << n) < entries) ++n;
    if (n == 3) return 4;
    if (n > 4) return 8;
    return n;
}

// Colour with an alpha plane keeps it (type 6); a palette with a transparent
// index stays a palette, whose tRNS names that index.
OutputForm chooseForm(const Image& image, uint32_t entriesUsed) {
    if (!image.hasPalette()) return {image.secondPlaneKind == SecondPlane::Alpha ? kRgba : kRgb, 8};
    if (image.isGrey() && !image.transparentIndex)
        return {kGrey, static_cast<uint8_t>(image.isBlackAndWhite() ? 1 : 8)};
    return {kPaletted, palettedDepth(entriesUsed)};
}

// hIST entries: counts shifted right until entry 0 fits 16 bits.
uint16_t histogramEntry(uint32_t count, unsigned shift) {
    uint32_t value = count >> shift;
    if (count != 0 && value == 0) value = 1;
    return static_cast<uint16_t>(value & 0xFFFF);
}

uint32_t roundResolution(double value) {
    if (!(value > 0)) return 0;
    if (value >= 4294967295.0) return 0xFFFFFFFFu;
    return static_cast<uint32_t>(value + 0.5);
}

void writePhys(ChunkWriter& chunk, const Resolution& resolution) {
    double x = resolution.x, y = resolution.y;
    uint8_t unit = 0;
    if (resolution.unit == ResolutionUnit::PerInch) {
        x *= 100.0 / 2.54;
        y *= 100.0 / 2.54;
        unit = 1;
    } else if (resolution.unit == ResolutionUnit::PerMetre) {
        unit = 1;
    }
    chunk.begin(kPhys);
    chunk.writeBE32(roundResolution(x));
    chunk.writeBE32(roundResolution(y));
    chunk.writeByte(unit);
    chunk.end();
}

void writeTime(ChunkWriter& chunk) {
    const std::time_t now = std::time(nullptr);
    std::tm t{};
    gmtime_r(&now, &t);
    chunk.begin(kTime);
    chunk.writeBE16(static_cast<uint16_t>(t.tm_year + 1900));
    chunk.writeByte(static_cast<uint8_t>(t.tm_mon + 1));
    chunk.writeByte(static_cast<uint8_t>(t.tm_mday));
    chunk.writeByte(static_cast<uint8_t>(t.tm_hour));
    chunk.writeByte(static_cast<uint8_t>(t.tm_min));
    chunk.writeByte(static_cast<uint8_t>(std::min(t.tm_sec, 60)));
    chunk.end();
}

// A colour option 0xRRGGBB as three 16-bit samples.
void writeColour16(ChunkWriter& chunk, int32_t colour) {
    const Colour c = static_cast<Colour>(colour);
    chunk.writeBE16(redOf(c));
    chunk.writeBE16(greenOf(c));
    chunk.writeBE16(blueOf(c));
}

// Filters and deflates the rows of every pass.
class RowCoder {
  public:
    RowCoder(const Image& image, OutputForm form, bool interlace, ProgressCallback* progress)
        : image_(image), form_(form), interlace_(interlace), progress_(progress) {
        const uint32_t channels = form.colourType == kRgba ? 4 : form.colourType == kRgb ? 3 : 1;
        bytesPerPixel_ = std::max<uint32_t>(1, (form.depth * channels + 7) / 8);
        const size_t full = static_cast<size_t>(rowBytes(form.depth, channels, image.width()));
        const size_t withMargin = full + bytesPerPixel_;
        current_.assign(withMargin, 0);
        previous_.assign(withMargin, 0);
        candidate_.assign(full + 1, 0);
        best_.assign(full + 1, 0);
        samples_.assign(std::max<size_t>(size_t{image.width()} * 3, 1), 0);
        indices_.assign(image.width(), 0);
        filtered_ = form.colourType != kPaletted && form.depth >= 8;
        if (form.colourType == kGrey)
            for (uint32_t i = 0; i < 256; ++i) greyOf_[i] = static_cast<uint8_t>(image.palette[i]);
    }

    void run(ByteSink& sink) {
        auto encoder = std::make_unique<ZipEncoder>(9, 8, 15, 8, 0);
        encoder->attach(&sink);
        encoder->reset();
        const uint32_t width = image_.width(), height = image_.height();
        for (uint32_t passNumber = interlace_ ? 1 : 0; passNumber <= (interlace_ ? 7u : 0u);
             ++passNumber) {
            const Pass& pass = kPasses[passNumber];
            if (pass.startColumn >= width || pass.startRow >= height) continue;
            const uint32_t passWidth = pass.width(width);
            std::fill(previous_.begin(), previous_.end(), 0);
            for (uint32_t y = pass.startRow; y < height;) {
                const size_t length = packRow(y, pass, passWidth);
                encoder->encode(chooseFilter(length), length + 1);
                std::swap(current_, previous_);
                y += pass.rowStep;
                uint32_t done = y, total = height;
                if (passNumber != 0) passProgress(y, passNumber, height, done, total);
                if (y < height && progressCancelled(progress_, done, total))
                    throw OUTFILEERROR::Cancelled;
            }
        }
        encoder->finish();
        encoder->close();
    }

  private:
    uint8_t* row() { return current_.data() + bytesPerPixel_; }
    const uint8_t* previousRow() const { return previous_.data() + bytesPerPixel_; }

    // Puts the samples of picture row y in this pass into the current row;
    // returns its length in bytes.
    size_t packRow(uint32_t y, const Pass& pass, uint32_t passWidth) {
        const uint8_t* source = image_.plane.row(y);
        uint8_t* out = row();
        if (form_.colourType == kRgba) {
            const uint8_t* alpha = image_.secondPlane.row(y);
            for (uint32_t k = 0; k < passWidth; ++k) {
                const uint32_t x = pass.startColumn + k * pass.columnStep;
                const uint8_t* p = source + size_t{x} * 3;
                out[4 * k] = p[2];
                out[4 * k + 1] = p[1];
                out[4 * k + 2] = p[0];
                out[4 * k + 3] = alpha[x];
            }
            return size_t{passWidth} * 4;
        }
        if (form_.colourType == kRgb) {
            for (uint32_t k = 0; k < passWidth; ++k) {
                const uint8_t* p = source + size_t{pass.startColumn + k * pass.columnStep} * 3;
                out[3 * k] = p[2];
                out[3 * k + 1] = p[1];
                out[3 * k + 2] = p[0];
            }
            return size_t{passWidth} * 3;
        }
        unpackIndices(source, indices_.data(), image_.width(), image_.bitsPerPixel());
        for (uint32_t k = 0; k < passWidth; ++k) {
            const uint8_t index = indices_[pass.startColumn + k * pass.columnStep];
            samples_[k] = form_.colourType == kGrey ? greyOf_[index] : index;
        }
        const size_t length = static_cast<size_t>(rowBytes(form_.depth, 1, passWidth));
        if (form_.depth == 8) {
            std::memcpy(out, samples_.data(), passWidth);
        } else if (form_.depth != 0) {
            packIndices(samples_.data(), out, passWidth, form_.depth);
        }
        return length;
    }

    // The filter byte and the filtered row, ready to deflate.
    const uint8_t* chooseFilter(size_t length) {
        best_[0] = kNone;
        if (length != 0) std::memcpy(&best_[1], row(), length);
        if (!filtered_) return best_.data();
        uint64_t bestScore = filterScore(&best_[1], length);
        for (uint8_t type = kSub; type < kFilterCount; ++type) {
            filterRow(type, row(), previousRow(), &candidate_[1], length, bytesPerPixel_);
            const uint64_t score = filterScore(&candidate_[1], length);
            if (score < bestScore) {
                bestScore = score;
                candidate_[0] = type;
                std::swap(candidate_, best_);
            }
        }
        return best_.data();
    }

    const Image& image_;
    OutputForm form_;
    bool interlace_;
    ProgressCallback* progress_;
    uint32_t bytesPerPixel_;
    bool filtered_;
    std::array<uint8_t, 256> greyOf_{};
    std::vector<uint8_t> current_, previous_;  // with a zeroed margin of one pixel
    std::vector<uint8_t> candidate_, best_;    // filter byte, then the row
    std::vector<uint8_t> samples_, indices_;
};

}  // namespace

void writePng(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    // A palette image with an alpha plane is written as colour with alpha.
    if (image.hasPalette() && image.secondPlaneKind == SecondPlane::Alpha)
        return writePng(expandToTrueColour(image), out, options, progress);
    // Pixel counts per palette entry, and the entries in use.
    std::array<uint32_t, 256> counts{};
    uint32_t entriesUsed = 0;
    if (image.hasPalette()) {
        std::vector<uint8_t> indices(image.width());
        for (uint32_t y = 0; y < image.height(); ++y) {
            unpackIndices(image.plane.row(y), indices.data(), image.width(), image.bitsPerPixel());
            for (uint8_t index : indices) ++counts[index];
        }
        for (uint32_t i = 0; i < 256; ++i)
            if (counts[i] != 0) entriesUsed = i + 1;
    }
    const OutputForm form = chooseForm(image, entriesUsed);
    const bool interlace = options.flag(saveKey::PngInterlace);
    const bool paletted = form.colourType == kPaletted;

    out.write(kSignature, sizeof kSignature);
    ChunkWriter chunk(out);

    chunk.begin(kIhdr);
    chunk.writeBE32(image.width());
    chunk.writeBE32(image.height());
    chunk.writeByte(form.depth);
    chunk.writeByte(form.colourType);
    chunk.writeByte(0);
    chunk.writeByte(0);
    chunk.writeByte(interlace ? 1 : 0);
    chunk.end();

    if (paletted) {
        chunk.begin(kPlte);
        for (uint32_t i = 0; i < entriesUsed; ++i) {
            const uint8_t c[3] = {redOf(image.palette[i]), greenOf(image.palette[i]),
                                  blueOf(image.palette[i])};
            chunk.write(c, 3);
        }
        chunk.end();
    }

    if (options.flag(saveKey::PngTransparent) && form.colourType != kRgba) {
        const int32_t index = options.integer(saveKey::PngTransparentIndex);
        chunk.begin(kTrns);
        if (form.colourType == kGrey) {
            chunk.writeBE16(static_cast<uint16_t>(index));
        } else if (form.colourType == kRgb) {
            writeColour16(chunk, options.integer(saveKey::PngTransparentColor));
        } else {
            for (uint32_t i = 0; i < entriesUsed; ++i)
                chunk.writeByte(i == (static_cast<uint32_t>(index) & 0xFF) ? 0 : 0xFF);
        }
        chunk.end();
    } else if (paletted && image.transparentIndex && *image.transparentIndex < entriesUsed) {
        // The Transparent option left off: the image's own transparent index,
        // as the file it came from had it, so a conversion keeps transparency.
        chunk.begin(kTrns);
        for (uint32_t i = 0; i <= *image.transparentIndex; ++i)
            chunk.writeByte(i == *image.transparentIndex ? 0 : 0xFF);
        chunk.end();
    }

    if (options.flag(saveKey::PngBackground)) {
        const int32_t index = options.integer(saveKey::PngBackgroundIndex);
        chunk.begin(kBkgd);
        if (paletted) {
            chunk.writeByte(static_cast<uint8_t>(index));
        } else if (form.colourType == kGrey) {
            chunk.writeBE16(static_cast<uint16_t>(index));
        } else {
            writeColour16(chunk, options.integer(saveKey::PngBackgroundColor));
        }
        chunk.end();
    }

    if (paletted && options.flag(saveKey::PngHistogram)) {
        unsigned shift = 0;
        while ((counts[0] >> shift) > 0xFFFF) ++shift;
        chunk.begin(kHist);
        for (uint32_t i = 0; i < entriesUsed; ++i)
            chunk.writeBE16(histogramEntry(counts[i], shift));
        chunk.end();
    }

    writePhys(chunk, image.resolution);

    chunk.begin(kIdat);
    IdatSink sink(chunk);
    RowCoder(image, form, interlace, progress).run(sink);
    chunk.end();

    if (options.flag(saveKey::PngTime)) writeTime(chunk);

    chunk.begin(kIend);
    chunk.end();
}

}  // namespace vivark
