// Fax3Decoder: the CCITT Group 3 one-dimensional (modified Huffman, T.4)
// decoder that raw fax files, structured fax files and TIFF compressions 2
// and 3 (one-dimensional) are read through, and that the raw-fax identify
// test runs on trial.
//
// Each row is a sequence of alternating white and black runs, starting with
// white, each run coded as make-up codes (multiples of 64) ended by one
// terminating code (0 to 63), until the runs fill the row's width. Rows may be
// preceded by an end-of-line code (eleven zeros and a one, after any number
// of fill zeros); two end-of-line codes in a row (the return-to-control that
// ends a page) end the page. Rows are handed out packed, the first pixel in
// the most significant bit, 1 for black, (columns + 7) / 8 bytes per row.
//
// An invalid code, a row whose runs overshoot its width and an end of line
// inside a row throw CCITTERROR::InvalidCode, and so does a row asked for
// after the end of the page; the decoder is finished after throwing. Running
// out of input is the source's business. The code tables are static and of
// fixed size; the decoder holds one row and allocates nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/StreamCodec.h"

namespace vivark {

class Fax3Decoder final : public StreamDecoder {
  public:
    static constexpr uint32_t kMaxColumns = 16384;

    struct Options {
        // Every row must be preceded by an end-of-line code.
        bool eolRequired = false;
        // Every row starts on a byte boundary (TIFF compression 2).
        bool byteAlignedRows = false;
    };

    // `columns` is clamped to 1..kMaxColumns.
    explicit Fax3Decoder(uint32_t columns = 1728) : Fax3Decoder(columns, Options{}) {}
    Fax3Decoder(uint32_t columns, Options options);

    // Sets the row width for the rows that follow (1..kMaxColumns).
    void setColumns(uint32_t columns);
    uint32_t columns() const { return columns_; }
    size_t rowBytes() const { return (columns_ + 7) / 8; }

    // Starts a new page: drops buffered bits, a partly handed-out row and the
    // row count.
    void reset() override;
    // Fills `length` bytes with packed rows; a row may be split across calls.
    void decode(uint8_t* buffer, size_t length) override;

    // Decodes one row of rowBytes() bytes into `row`; false at the end of the
    // page (no row is written then).
    bool decodeRow(uint8_t* row);
    // Decodes one row whose width is not known yet: its runs are taken up to
    // the next end-of-line code, and their sum is returned (the width of a
    // fax whose first rows are measured). The row's pixels are not kept.
    // Returns 0 at the end of the page.
    uint32_t measureRow();

    // Rows decoded (or measured) since the last reset.
    uint32_t rowsDecoded() const { return rowsDecoded_; }

  private:
    static constexpr int32_t kEndOfLine = -2;

    void ensureBits(int count);
    uint32_t peekBits(int count) const {
        return static_cast<uint32_t>(bitBuffer_ >> (bitCount_ - count)) & ((1u << count) - 1);
    }
    void dropBits(int count) { bitCount_ -= count; }
    // Reads one code of the colour's table: its run, or kEndOfLine.
    int32_t readCode(bool black);
    // True when the next bits begin an end-of-line code (eleven zeros).
    bool atEndOfLine();
    // Consumes a run of fill zeros and the one that ends an end-of-line code.
    void finishEndOfLine();
    // Consumes the end-of-line codes before a row; false at the end of the page.
    bool startRow();
    // Reads one run (make-up codes and a terminating code), or kEndOfLine when
    // `allowEndOfLine` and the line ends where a run would start.
    int32_t readRun(bool black, bool allowEndOfLine);

    uint32_t columns_ = 1728;
    Options options_;
    uint64_t bitBuffer_ = 0;  // the low bitCount_ bits are unread input
    int bitCount_ = 0;
    bool eolPending_ = false;  // measureRow consumed the next row's end of line
    bool endOfPage_ = false;
    uint32_t rowsDecoded_ = 0;
    size_t rowOffset_ = 0;  // bytes of row_ already handed out by decode()
    std::array<uint8_t, kMaxColumns / 8> row_{};
};

}  // namespace vivark
