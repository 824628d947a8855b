// CcittEncoder: the one CCITT fax encoder (modified Huffman, T.4 one- and
// two-dimensional with end-of-line codes, optionally byte-aligned, T.6, byte-
// and word-aligned modified Huffman) that the TIFF, raw fax and structured
// fax writers code rows with. The mode word (codecs/CcittMode.h) chooses the
// coding; rows go in packed, 1 = black, as CcittDecoder hands them out.
//
// Rows go in whole through encodeRow(), or in any amounts through encode()
// (a partial row is held until it is complete). finish() ends the run of data
// (a strip, a page): the end-of-page code when the mode asks for it, then
// zero bits up to a byte boundary. reset() starts the next run with a white
// reference row. The change lists are sized from the width at construction;
// coding allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/CcittMode.h"
#include "codecs/StreamCodec.h"

namespace vivark {

class CcittEncoder final : public StreamEncoder {
  public:
    static constexpr uint32_t kMaxColumns = 1u << 24;

    // kFactor (two-dimensional T.4 only): every kFactor-th row from the start
    // of a run is coded one-dimensionally, the first always; 0 codes only the
    // first row of each run one-dimensionally. lsbFirst: FillOrder 2.
    // A width of 0 or over kMaxColumns throws CCITTERROR::InvalidCode.
    CcittEncoder(uint32_t columns, uint32_t mode, uint32_t kFactor = 4, bool lsbFirst = false);

    uint32_t columns() const { return columns_; }
    size_t rowBytes() const { return rowBytes_; }

    // Starts a new run of data: white reference row, row count 0. Call after
    // finish() for the next strip.
    void reset() override;
    // Takes packed rows in any amounts.
    void encode(const uint8_t* buffer, size_t length) override;
    // Codes one row of rowBytes() bytes.
    void encodeRow(const uint8_t* row);
    // Ends the run of data (see above). A partial row held by encode() is
    // coded first, its missing pixels white.
    void finish() override;

    uint32_t rowsEncoded() const { return rowsEncoded_; }

  private:
    void put(uint32_t code, int length);
    void putRun(uint32_t run, bool black);
    void putEol();
    void alignTo(int bits);
    void flushBits();
    uint32_t findChanges(const uint8_t* row, uint32_t* list) const;
    void code1D(uint32_t count);
    void code2D(uint32_t count);

    uint32_t columns_;
    uint32_t mode_;
    uint32_t kFactor_;
    bool lsbFirst_;
    size_t rowBytes_;
    uint64_t acc_ = 0;  // pending bits, most significant first
    int accBits_ = 0;
    uint64_t bytesWritten_ = 0;  // since reset(), for the word alignment
    uint32_t rowsEncoded_ = 0;
    std::vector<uint32_t> listA_;
    std::vector<uint32_t> listB_;
    uint32_t* cur_;
    uint32_t* ref_;
    std::vector<uint8_t> partial_;
    size_t partialFill_ = 0;
};

}  // namespace vivark
