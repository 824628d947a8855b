// The writers of raw Group 3 fax streams and structured fax (SFF) files, from
// 1-bit images (the save path reduces other images to black and white first).
//
// Raw fax: every row as modified Huffman after an end-of-line code, and the
// end-of-page code (six end-of-line codes) after the last; no header, so the
// reader measures the width from the rows.
//
// SFF: one page, or every page of a multi-page source. The document header
// counts the pages; each page header gives the image's width and height, 203
// dots per inch across and normal (98) or fine (196) lines per inch down, the
// finer when the image states 150 or more. Each line is coded alone (modified
// Huffman, no end of line) into one record, runs of white lines become white-
// line records, and the end-of-document page header (254 with length 0)
// follows the last line.
#include <cstring>
#include <span>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/CcittEncoder.h"
#include "core/Errors.h"
#include "formats/fax/FaxFormat.h"

namespace vivark {
namespace {

// Turns an image row into coded rows: 1 for a dark pixel, whatever the
// palette order.
class BlackRows {
  public:
    explicit BlackRows(const Image& image) : image_(image), row_((size_t{image.width()} + 7) / 8) {
        auto dark = [&](unsigned i) {
            const Colour c = image.palette[i];
            return redOf(c) * 299u + greenOf(c) * 587u + blueOf(c) * 114u < 128000u;
        };
        dark0_ = dark(0);
        dark1_ = dark(1);
    }

    const uint8_t* row(uint32_t y) {
        const uint8_t* source = image_.plane.row(y);
        const size_t n = row_.size();
        if (!dark0_ && dark1_) {
            std::memcpy(row_.data(), source, n);
        } else if (dark0_ && !dark1_) {
            for (size_t i = 0; i < n; ++i) row_[i] = static_cast<uint8_t>(~source[i]);
        } else {
            std::memset(row_.data(), dark0_ ? 0xFF : 0x00, n);
        }
        if ((image_.width() & 7) != 0)
            row_[n - 1] &= static_cast<uint8_t>(0xFF00u >> (image_.width() & 7));
        return row_.data();
    }

  private:
    const Image& image_;
    std::vector<uint8_t> row_;
    bool dark0_ = false;
    bool dark1_ = true;
};

bool allZero(const uint8_t* row, size_t n) {
    for (size_t i = 0; i < n; ++i)
        if (row[i] != 0) return false;
    return true;
}

}  // namespace

void writeFax3(const Image& image, OutFile& out, const SaveOptions&, ProgressCallback* progress) {
    if (image.bitsPerPixel() != 1) throw FAX3WRITEERROR::Unknown;
    BlackRows rows(image);
    OutFileSink sink(out);
    CcittEncoder encoder(image.width(), kRawFaxMode | ccitt::kEndOfPage);
    encoder.attach(&sink);
    encoder.reset();
    for (uint32_t y = 0; y < image.height(); ++y) {
        encoder.encodeRow(rows.row(y));
        if (progressCancelled(progress, y + 1, image.height())) throw OUTFILEERROR::Cancelled;
    }
    encoder.finish();
    encoder.close();
}

namespace {

// One page: its header, then its lines. The offsets to the previous and the
// next page header are written as 1 ("none") at the document's ends and 0
// ("not known") between pages: fax software walks the pages in order and
// few readers follow the double chain, so no offsets are patched afterwards.
void writeSffPage(const Image& image, OutFile& out, bool first, bool last,
                  ProgressCallback* progress) {
    const uint32_t width = image.width();
    const uint32_t height = image.height();
    const bool fine = image.resolution.unit != ResolutionUnit::None && image.resolution.y >= 150.0;
    out.writeByte(254);
    out.writeByte(16);
    out.writeByte(fine ? 1 : 0);
    out.writeByte(0);  // 203 dots per inch
    out.writeByte(0);  // modified Huffman
    out.writeByte(0);
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeLE32(first ? 1 : 0);
    out.writeLE32(last ? 1 : 0);

    BlackRows rows(image);
    CcittEncoder encoder(width, ccitt::kMinIsWhite);
    std::vector<uint8_t> coded;
    uint32_t whiteLines = 0;
    auto flushWhite = [&]() {
        while (whiteLines != 0) {
            const uint32_t n = std::min<uint32_t>(whiteLines, 253 - 216);
            out.writeByte(static_cast<uint8_t>(216 + n));
            whiteLines -= n;
        }
    };
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = rows.row(y);
        if (allZero(row, encoder.rowBytes())) {
            ++whiteLines;
        } else {
            flushWhite();
            coded.clear();
            MemorySink sink(coded);
            encoder.attach(&sink);
            encoder.reset();
            encoder.encodeRow(row);
            encoder.finish();
            encoder.close();
            if (coded.size() <= 216) {
                out.writeByte(static_cast<uint8_t>(coded.size()));
            } else {
                out.writeByte(0);
                out.writeLE16(static_cast<uint16_t>(coded.size()));
            }
            out.write(coded.data(), coded.size());
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    flushWhite();
}

}  // namespace

void writeSffPages(std::span<const Image> pages, OutFile& out, const SaveOptions&,
                   ProgressCallback* progress) {
    // Line length and page length are 16-bit fields, the page count too.
    if (pages.empty() || pages.size() > 0xFFFF) throw FAX3WRITEERROR::Unknown;
    for (const Image& page : pages)
        if (page.bitsPerPixel() != 1 || page.width() > 0xFFFF || page.height() > 0xFFFF)
            throw FAX3WRITEERROR::Unknown;
    constexpr uint16_t kFirstPage = 20;
    out.write("Sfff", 4);
    out.writeByte(1);  // version
    out.writeByte(0);  // reserved
    out.writeLE16(0);  // user information
    out.writeLE16(static_cast<uint16_t>(pages.size()));
    out.writeLE16(kFirstPage);
    const int64_t lastField = out.tell();
    out.writeLE32(kFirstPage);  // the last page's header, patched below
    out.writeLE32(0);           // the end of the document, patched below

    int64_t lastHeader = kFirstPage;
    for (size_t i = 0; i < pages.size(); ++i) {
        lastHeader = out.tell();
        writeSffPage(pages[i], out, i == 0, i + 1 == pages.size(), progress);
    }
    const int64_t end = out.tell();
    out.writeByte(254);  // the end of the document
    out.writeByte(0);
    const int64_t after = out.tell();
    out.seek(lastField);
    out.writeLE32(static_cast<uint32_t>(lastHeader));
    out.writeLE32(static_cast<uint32_t>(end));
    out.seek(after);
}

void writeSff(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    writeSffPages(std::span<const Image>(&image, 1), out, options, progress);
}

}  // namespace vivark
