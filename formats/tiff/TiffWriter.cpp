// The TIFF writer. Each page is one image file directory written after its
// strips and its long values, so every offset is known when it is written;
// the header's and each directory's next-directory offsets are patched as
// the following directory is placed. No Orientation tag is written (rows are
// stored top first, as TIFF readers assume without one).
//
// How images are stored: bilevel images (a two-entry black and white
// palette) as one bit, min-is-white unless the Photometric option asks for
// min-is-black; grey palettes of 8 bits as grey; other palettes as palette
// images with a 16-bit colour map, or expanded to RGB when the Photometric
// option says RGB or the compression is JPEG; 24 bits as RGB, with the alpha
// plane as a fourth, unassociated sample. JPEG colour is stored as YCbCr
// with 2x2 subsampled chroma, strips a multiple of 16 rows, each strip a
// complete JPEG stream (quality 75). The predictor applies to LZW and
// Deflate pages of 8-bit grey and RGB samples.
//
// The StripSize option chooses the coded strip's target size: 0 to 6 are 1,
// 2, 4, 8, 16, 32 and 64 KiB of uncompressed rows, 7 and above one strip.
#include "formats/tiff/TiffWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/LzwEncoder.h"
#include "codecs/PackBitsEncoder.h"
#include "codecs/ZipEncoder.h"
#include "codecs/jpeg/JpegLibrary.h"
#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/tiff/TiffCodecs.h"
#include "formats/tiff/TiffFormat.h"

namespace vivark {
namespace {

using namespace tiffChoice;

enum class Form { Bilevel, Grey, Palette, Rgb, Rgba };

// One directory entry before it is placed: its values as bytes in the file's order.
struct Entry {
    uint16_t tag, type;
    uint32_t count;
    std::vector<uint8_t> data;
};

class PageWriter {
  public:
    PageWriter(OutFile& out, const SaveOptions& options)
        : out_(out), options_(options), bigEndian_(options.flag(saveKey::TiffByteOrder)) {}

    void header() {
        const uint8_t mark[4] = {uint8_t(bigEndian_ ? 'M' : 'I'), uint8_t(bigEndian_ ? 'M' : 'I'),
                                 0, 0};
        out_.write(mark, 2);
        put16(42);
        nextLink_ = out_.tell();
        put32(0);
    }
    void page(const Image& image, uint32_t index, uint32_t total, ProgressCallback* progress);

  private:
    void put16(uint16_t v) { bigEndian_ ? out_.writeBE16(v) : out_.writeLE16(v); }
    void put32(uint32_t v) { bigEndian_ ? out_.writeBE32(v) : out_.writeLE32(v); }
    void store16(uint8_t* p, uint16_t v) const { bigEndian_ ? storeBE16(p, v) : storeLE16(p, v); }
    void store32(uint8_t* p, uint32_t v) const { bigEndian_ ? storeBE32(p, v) : storeLE32(p, v); }

    void add(uint16_t tag, uint16_t type, std::span<const uint32_t> values);
    void addShort(uint16_t tag, uint32_t v) { add(tag, 3, std::span<const uint32_t>(&v, 1)); }
    void addLong(uint16_t tag, uint32_t v) { add(tag, 4, std::span<const uint32_t>(&v, 1)); }
    void addRational(uint16_t tag, double value);
    void writeDirectory();
    void writeStrip(const uint8_t* rows, uint32_t count, uint64_t rowBytes);

    OutFile& out_;
    const SaveOptions& options_;
    bool bigEndian_;
    int64_t nextLink_ = 0;
    std::vector<Entry> entries_;

    // The page being written.
    uint32_t compression_ = 1;
    uint32_t width_ = 0;
    uint32_t samples_ = 1;
    uint32_t bits_ = 8;
    bool predictor_ = false;
    bool ycbcr_ = false;
    uint32_t t4_ = 0, t6_ = 0;
    std::vector<uint32_t> offsets_, counts_;
    // The page's stream coder (LZW, Deflate, PackBits or fax), made once and
    // reset for every strip: its tables and buffers are set up once per page,
    // not once per strip.
    std::unique_ptr<StreamEncoder> coder_;
    // The page's JPEG compressor, likewise made once per page.
    struct JpegStrips {
        JpegCompressor compressor{nullptr};
        JpegOutFileDestination destination;
        std::vector<JSAMPROW> rows;
    };
    std::unique_ptr<JpegStrips> jpeg_;
};

void PageWriter::add(uint16_t tag, uint16_t type, std::span<const uint32_t> values) {
    Entry e{tag, type, uint32_t(values.size()), {}};
    const size_t size = type == 3 ? 2 : 4;
    e.data.resize(values.size() * size);
    for (size_t i = 0; i < values.size(); ++i) {
        if (type == 3)
            store16(e.data.data() + 2 * i, uint16_t(values[i]));
        else
            store32(e.data.data() + 4 * i, values[i]);
    }
    entries_.push_back(std::move(e));
}

void PageWriter::addRational(uint16_t tag, double value) {
    Entry e{tag, 5, 1, std::vector<uint8_t>(8)};
    const uint32_t denominator = value < 400000 ? 10000 : 1;
    const double n = std::round(value * denominator);
    store32(e.data.data(), n > 4294967295.0 ? 0xFFFFFFFFu : uint32_t(n));
    store32(e.data.data() + 4, denominator);
    entries_.push_back(std::move(e));
}

// Long values first (each on an even offset), then the directory itself,
// and the link to it from the header or the previous directory.
void PageWriter::writeDirectory() {
    std::sort(entries_.begin(), entries_.end(),
              [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
    std::vector<uint32_t> valueOffsets(entries_.size(), 0);
    for (size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].data.size() <= 4) continue;
        if (out_.tell() & 1) out_.writeByte(0);
        valueOffsets[i] = uint32_t(out_.tell());
        out_.write(entries_[i].data.data(), entries_[i].data.size());
    }
    if (out_.tell() & 1) out_.writeByte(0);
    const int64_t directory = out_.tell();
    if (directory > 0xFFFFFFF0) throw OUTFILEERROR::WriteFailed;
    put16(uint16_t(entries_.size()));
    for (size_t i = 0; i < entries_.size(); ++i) {
        const Entry& e = entries_[i];
        put16(e.tag);
        put16(e.type);
        put32(e.count);
        uint8_t value[4] = {0, 0, 0, 0};
        if (e.data.size() <= 4)
            std::memcpy(value, e.data.data(), e.data.size());
        else
            store32(value, valueOffsets[i]);
        out_.write(value, 4);
    }
    const int64_t link = out_.tell();
    put32(0);
    out_.seek(nextLink_);
    put32(uint32_t(directory));
    out_.seek(link + 4);
    nextLink_ = link;
    entries_.clear();
}

void PageWriter::writeStrip(const uint8_t* rows, uint32_t count, uint64_t rowBytes) {
    const int64_t start = out_.tell();
    if (start > 0xFFFFFFF0) throw OUTFILEERROR::WriteFailed;
    offsets_.push_back(uint32_t(start));
    const size_t length = size_t(rowBytes) * count;
    switch (compression_) {
        case 1:
            out_.write(rows, length);
            break;
        case 7: {
            // Every strip is a complete JPEG stream (tables included) from
            // the page's one compressor, whose parameters were set once.
            jpeg_compress_struct& c = jpeg_->compressor.cinfo;
            jpeg_->destination.attach(&c, out_);
            c.image_height = count;
            // Without `rows` the caller has pointed the row list at its rows.
            if (rows != nullptr) {
                for (uint32_t r = 0; r < count; ++r)
                    jpeg_->rows[r] = const_cast<uint8_t*>(rows + r * rowBytes);
            }
            guarded(jpeg_->compressor.state, [&] {
                jpeg_start_compress(&c, TRUE);
                while (c.next_scanline < count)
                    jpeg_write_scanlines(&c, jpeg_->rows.data() + c.next_scanline,
                                         count - c.next_scanline);
                jpeg_finish_compress(&c);
            });
            break;
        }
        default: {
            OutFileSink sink(out_);
            coder_->attach(&sink);
            coder_->reset();
            if (compression_ == 5 || compression_ == 8) {
                coder_->encode(rows, length);
            } else {
                // PackBits and the fax coders take one row per call.
                for (uint32_t r = 0; r < count; ++r) coder_->encode(rows + r * rowBytes, rowBytes);
            }
            coder_->finish();
            coder_->close();
            break;
        }
    }
    counts_.push_back(uint32_t(out_.tell() - start));
}

// Horizontal differencing of 8-bit samples, in place: each sample less the
// one `samples` bytes before it. The row is walked from its end in blocks of
// 16 bytes, each loaded whole before it is stored, so every subtraction sees
// the original values and the block loop compiles to vector code.
void applyPredictor(uint8_t* row, size_t rowBytes, size_t samples) {
    size_t i = rowBytes;
    for (; i >= samples + 16; i -= 16) {
        uint8_t current[16], previous[16];
        std::memcpy(current, row + i - 16, 16);
        std::memcpy(previous, row + i - 16 - samples, 16);
        for (size_t k = 0; k < 16; ++k) current[k] = uint8_t(current[k] - previous[k]);
        std::memcpy(row + i - 16, current, 16);
    }
    for (; i > samples; --i) row[i - 1] = uint8_t(row[i - 1] - row[i - 1 - samples]);
}

bool isGreyRamp(const Image& image) {
    if (image.bitsPerPixel() != 8) return false;
    for (uint32_t i = 0; i < std::min<uint32_t>(image.paletteCount, 256); ++i)
        if (image.palette[i] != i * 0x010101u) return false;
    return true;
}

void PageWriter::page(const Image& image, uint32_t index, uint32_t total,
                      ProgressCallback* progress) {
    const uint32_t depth = image.bitsPerPixel();
    if (!PixelPlane::isSupportedDepth(depth) || image.width() == 0 || image.height() == 0)
        throw TIFFERROR::UnsupportedDataType;
    const int32_t photometricChoice = options_.integer(saveKey::TiffPhotometric);
    const int32_t colourChoice = options_.integer(saveKey::TiffCompressionColor);
    const bool jpeg = colourChoice == ColourJpeg;

    Form form;
    if (depth == 24)
        form = image.secondPlaneKind == SecondPlane::Alpha && !jpeg ? Form::Rgba : Form::Rgb;
    else if (depth == 1 && image.isBlackAndWhite())
        form = Form::Bilevel;
    else if (isGreyRamp(image))
        form = Form::Grey;
    else
        form = photometricChoice == Rgb || jpeg ? Form::Rgb : Form::Palette;

    width_ = image.width();
    const uint32_t height = image.height();
    samples_ = form == Form::Rgba ? 4 : form == Form::Rgb ? 3 : 1;
    bits_ = form == Form::Rgb || form == Form::Rgba || form == Form::Grey ? 8 : depth;
    // Bilevel pages are min-is-white unless asked otherwise; grey ones min-is-black.
    bool minIsWhite =
        form == Form::Bilevel ? photometricChoice != MinIsBlack : photometricChoice == MinIsWhite;
    uint32_t photometric = form == Form::Palette ? 3 : samples_ >= 3 ? 2 : minIsWhite ? 0 : 1;

    if (form == Form::Bilevel) {
        switch (options_.integer(saveKey::TiffCompressionBlackWhite)) {
            case BwNone:
                compression_ = 1;
                break;
            case BwLzw:
                compression_ = 5;
                break;
            case BwGroup3OneD:
                compression_ = 3;
                break;
            case BwGroup3TwoD:
                compression_ = 3;
                break;
            case BwGroup4:
                compression_ = 4;
                break;
            default:
                compression_ = 32773;
                break;
        }
        const int32_t choice = options_.integer(saveKey::TiffCompressionBlackWhite);
        t4_ = uint32_t(options_.integer(saveKey::TiffT4Options)) & ~1u;
        if (choice == BwGroup3TwoD) t4_ |= 1;
        t6_ = uint32_t(options_.integer(saveKey::TiffT6Options));
    } else {
        static constexpr uint32_t kColour[] = {1, 32773, 5, 8, 7};
        compression_ = colourChoice >= 0 && colourChoice <= 4 ? kColour[colourChoice] : 32773;
        if (compression_ == 7 && bits_ != 8) compression_ = 32773;
    }
    // Fax coding is of black runs on white: those pages are min-is-white.
    if (compression_ == 3 || compression_ == 4) {
        minIsWhite = true;
        photometric = 0;
    }
    ycbcr_ = compression_ == 7 && samples_ == 3;
    if (ycbcr_) photometric = 6;
    predictor_ = options_.integer(saveKey::TiffPredictor) == 2 &&
                 (compression_ == 5 || compression_ == 8) && bits_ == 8 && form != Form::Palette;

    const uint64_t rowBytes = (uint64_t{width_} * samples_ * bits_ + 7) / 8;
    const int32_t sizeChoice = options_.integer(saveKey::TiffStripSize);
    uint64_t rowsPerStrip = height;
    if (sizeChoice >= 0 && sizeChoice <= 6)
        rowsPerStrip = std::max<uint64_t>(1, (uint64_t{1024} << sizeChoice) / rowBytes);
    if (compression_ == 7) rowsPerStrip = (rowsPerStrip + 15) / 16 * 16;
    rowsPerStrip = std::min<uint64_t>(rowsPerStrip, height);

    coder_.reset();
    if (compression_ == 5)
        coder_ = std::make_unique<LzwEncoder>(8, true);
    else if (compression_ == 8)
        coder_ = std::make_unique<ZipEncoder>(6);
    else if (compression_ == 32773)
        coder_ = std::make_unique<PackBitsEncoder>();
    else if (compression_ != 1 && compression_ != 7)
        coder_ = makeTiffFaxEncoder(compression_, t4_, t6_, width_);
    // The JPEG library takes 24-bit rows in their stored blue, green, red
    // order straight from the image, without a copy.
    const bool bgrJpeg = compression_ == 7 && depth == 24 && samples_ == 3;
    jpeg_.reset();
    if (compression_ == 7) {
        jpeg_ = std::make_unique<JpegStrips>();
        jpeg_->rows.resize(size_t(rowsPerStrip));
        jpeg_compress_struct& c = jpeg_->compressor.cinfo;
        c.image_width = width_;
        c.image_height = uint32_t(rowsPerStrip);
        c.input_components = int(samples_);
        c.in_color_space = samples_ == 1 ? JCS_GRAYSCALE : bgrJpeg ? JCS_EXT_BGR : JCS_RGB;
        guarded(jpeg_->compressor.state, [&] {
            jpeg_set_defaults(&c);
            jpeg_set_quality(&c, 75, TRUE);
            c.write_JFIF_header = FALSE;
            c.write_Adobe_marker = FALSE;
        });
    }

    // One strip of rows in the stored form.
    std::vector<uint8_t> strip(size_t(rowBytes * rowsPerStrip) + 8);
    std::vector<uint8_t> indices(size_t{width_} + 8);
    offsets_.clear();
    counts_.clear();
    for (uint32_t top = 0; top < height; top += uint32_t(rowsPerStrip)) {
        const uint32_t rows = uint32_t(std::min<uint64_t>(rowsPerStrip, height - top));
        if (bgrJpeg) {
            for (uint32_t r = 0; r < rows; ++r) {
                jpeg_->rows[r] = const_cast<uint8_t*>(image.plane.row(top + r));
                if (progressCancelled(progress, top + r + 1, height)) throw OUTFILEERROR::Cancelled;
            }
            writeStrip(nullptr, rows, rowBytes);
            continue;
        }
        for (uint32_t r = 0; r < rows; ++r) {
            const uint32_t y = top + r;
            const uint8_t* in = image.plane.row(y);
            uint8_t* row = strip.data() + size_t(rowBytes * r);
            switch (form) {
                case Form::Bilevel: {
                    // Pixel value 1 is white when palette entry 1 is the lighter one.
                    const bool oneIsWhite =
                        (image.palette[1] & 0xFFFFFF) > (image.palette[0] & 0xFFFFFF);
                    std::memcpy(row, in, size_t(rowBytes));
                    if (oneIsWhite == minIsWhite)
                        for (uint64_t i = 0; i < rowBytes; ++i) row[i] = uint8_t(~row[i]);
                    if (width_ % 8) row[rowBytes - 1] &= uint8_t(0xFF << (8 - width_ % 8));
                    break;
                }
                case Form::Grey:
                    if (minIsWhite)
                        for (uint32_t x = 0; x < width_; ++x) row[x] = uint8_t(255 - in[x]);
                    else
                        std::memcpy(row, in, width_);
                    break;
                case Form::Palette:
                    std::memcpy(row, in, size_t(rowBytes));
                    break;
                case Form::Rgb:
                    if (depth == 24) {
                        swapRedBlue(in, row, width_);
                    } else {
                        if (depth == 8)
                            std::memcpy(indices.data(), in, width_);
                        else
                            unpackIndices(in, indices.data(), width_, depth);
                        expandToRgb(indices.data(), image.palette, row, width_);
                    }
                    break;
                case Form::Rgba: {
                    const uint8_t* alpha = image.secondPlane.row(y);
                    for (uint32_t x = 0; x < width_; ++x) {
                        row[4 * x] = in[3 * x + 2];
                        row[4 * x + 1] = in[3 * x + 1];
                        row[4 * x + 2] = in[3 * x];
                        row[4 * x + 3] = alpha[x];
                    }
                    break;
                }
            }
            if (predictor_) applyPredictor(row, size_t(rowBytes), samples_);
            if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
        }
        writeStrip(strip.data(), rows, rowBytes);
    }

    if (total > 1) addLong(254, 2);
    addLong(256, width_);
    addLong(257, height);
    const std::vector<uint32_t> bits(samples_, bits_);
    add(258, 3, bits);
    addShort(259, compression_);
    addShort(262, photometric);
    add(273, 4, offsets_);
    addShort(277, samples_);
    addLong(278, uint32_t(rowsPerStrip));
    add(279, 4, counts_);
    const Resolution& res = image.resolution;
    if (res.unit != ResolutionUnit::None && res.x > 0 && res.y > 0) {
        const double scale = res.unit == ResolutionUnit::PerMetre ? 0.01 : 1.0;
        addRational(282, res.x * scale);
        addRational(283, res.y * scale);
        addShort(296, res.unit == ResolutionUnit::PerInch    ? 2
                      : res.unit == ResolutionUnit::PerMetre ? 3
                                                             : 1);
    }
    addShort(284, 1);
    if (compression_ == 3) addLong(292, t4_);
    if (compression_ == 4) addLong(293, t6_);
    if (total > 1) {
        const uint32_t number[2] = {index, total};
        add(297, 3, number);
    }
    if (predictor_) addShort(317, 2);
    if (form == Form::Palette) {
        const uint32_t n = 1u << bits_;
        std::vector<uint32_t> map(3 * n, 0);
        for (uint32_t i = 0; i < n && i < 256; ++i) {
            map[i] = redOf(image.palette[i]) * 257u;
            map[n + i] = greenOf(image.palette[i]) * 257u;
            map[2 * n + i] = blueOf(image.palette[i]) * 257u;
        }
        add(320, 3, map);
    }
    if (form == Form::Rgba) addShort(338, 2);
    if (ycbcr_) {
        const uint32_t sub[2] = {2, 2};
        add(530, 3, sub);
    }
    writeDirectory();
}

}  // namespace

void writeTiffPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress) {
    PageWriter writer(out, options);
    writer.header();
    const uint32_t total = uint32_t(pages.size());
    for (uint32_t i = 0; i < total; ++i) writer.page(pages[i], i, total, progress);
}

void writeTiff(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress) {
    writeTiffPages(std::span<const Image>(&image, 1), out, options, progress);
}

}  // namespace vivark
