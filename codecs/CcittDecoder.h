// CcittDecoder: the one CCITT fax decoder (modified Huffman, T.4 one- and
// two-dimensional with end-of-line codes, T.6, byte- and word-aligned
// modified Huffman) that TIFF strips, raw Group 3 fax files and structured
// fax files are read through, and that the raw-fax identify test runs on
// trial. The mode word (codecs/CcittMode.h) chooses the coding and the pixel
// value of white runs; rows come out packed, 1 = black.
//
// Damage. Where rows are preceded by end-of-line codes (kEols), an invalid
// code, a row whose runs overshoot the width, or an end of line inside a row
// ends that row: what was decoded stays, the rest is white, the row is counted
// in damagedRows(), and decoding resumes at the next end of line. Coding
// without end-of-line codes cannot be resynchronised, so the same faults throw
// CCITTERROR::InvalidCode there. Running out of input is the source's business
// (its error propagates). Rows asked of decode() after the end-of-page code
// are white and counted as damaged.
//
// The width is fixed at construction, and so are the two change-list buffers
// and the row buffer sized from it; decoding allocates nothing. A width of 0
// or over kMaxColumns throws CCITTERROR::InvalidCode (callers check their own
// limits before that: a width is never clamped).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/CcittMode.h"
#include "codecs/StreamCodec.h"

namespace vivark {

class CcittDecoder final : public StreamDecoder {
  public:
    // The widest row any mode decodes: 16 Mi pixels, whose change lists take
    // 128 MiB; a fax page is 1728 to 4864 pixels wide.
    static constexpr uint32_t kMaxColumns = 1u << 24;

    // lsbFirst: FillOrder 2, the first bit of the code in each byte's least
    // significant bit.
    CcittDecoder(uint32_t columns, uint32_t mode, bool lsbFirst = false);

    uint32_t columns() const { return columns_; }
    uint32_t mode() const { return mode_; }
    size_t rowBytes() const { return rowBytes_; }

    // Starts a new run of coded data (a TIFF strip, a page): drops buffered
    // bits and any part of a row not yet handed out, makes the reference row
    // white, and clears rowsDecoded() and the end of page. damagedRows() is
    // kept (it counts over the decoder's life, e.g. over a page's strips).
    void reset() override;
    // Fills `length` bytes with packed rows; a row may be split across calls.
    void decode(uint8_t* buffer, size_t length) override;

    // Decodes one row of rowBytes() bytes into `row`; false at the end of the
    // page (an end-of-page code was read; nothing is written then).
    bool decodeRow(uint8_t* row);

    // For one-dimensional data with end-of-line codes (the raw-fax trial):
    // takes one row's end of line and its runs up to the next end of line, and
    // returns their sum, the width of a row not known yet; 0 at the end of the
    // page. The pixels are not kept. A sum over columns(), an invalid code or
    // a missing end of line throws CCITTERROR::InvalidCode.
    uint32_t measureRow();

    // Rows decoded or measured since the last reset().
    uint32_t rowsDecoded() const { return rowsDecoded_; }
    // Rows that were damaged (see above), since construction.
    uint32_t damagedRows() const { return damagedRows_; }
    bool endOfPage() const { return endOfPage_; }

  private:
    enum class RowEnd { Done, Damaged, EndOfPage };

    // The bit reader: bits_ holds count_ unread bits, most significant first.
    void fill();
    void need(int count);
    uint32_t peek(int count) const { return static_cast<uint32_t>(bits_ >> (64 - count)); }
    void drop(int count) {
        bits_ <<= count;
        count_ -= count;
    }
    // Bytes consumed since reset(), for the word-aligned rows.
    uint64_t bytesConsumed() const { return bytesLoaded_ - static_cast<uint64_t>(count_ / 8); }

    bool nextBitsAreZero(int count);
    bool skipToEol(bool scan);
    int32_t readRun(bool black);
    RowEnd decodeOneRow();
    RowEnd decode1D(uint32_t& n);
    RowEnd decode2D(uint32_t& n);
    void render(uint8_t* row) const;

    uint32_t columns_;
    uint32_t mode_;
    bool lsbFirst_;
    size_t rowBytes_;
    uint64_t bits_ = 0;
    int count_ = 0;
    uint64_t bytesLoaded_ = 0;
    bool eolPending_ = false;  // the next row's end of line was already taken
    bool endOfPage_ = false;
    uint32_t rowsDecoded_ = 0;
    uint32_t damagedRows_ = 0;
    // Change lists: positions where the colour changes, white to black first,
    // followed by sentinels at columns_. cur_ is the row being decoded, ref_
    // the reference row of two-dimensional coding.
    std::vector<uint32_t> listA_;
    std::vector<uint32_t> listB_;
    uint32_t* cur_;
    uint32_t* ref_;
    uint32_t curCount_ = 0;
    std::vector<uint8_t> row_;  // a row decode() hands out in parts
    size_t rowOffset_ = 0;
};

}  // namespace vivark
