// The decoders a TIFF page's compression needs, made once per page and reset
// for each strip or tile, and the two small row coders that belong to TIFF
// alone: NeXT 2-bit (32766) and ThunderScan 4-bit (32809).
#pragma once

#include <cstdint>
#include <memory>

#include "codecs/StreamCodec.h"
#include "formats/tiff/TiffPage.h"

namespace vivark {

// The decoder of the page's compression for chunks `columns` pixels wide
// (rows of `rowBytes` bytes). Compressions 6 and 7 are decoded elsewhere and
// are not served here.
std::unique_ptr<StreamDecoder> makeTiffDecoder(const TiffPageInfo& info, uint32_t columns,
                                               uint32_t rowBytes);

// The CCITT family (2, 3, 4, 32771): the mode word and the decoder.
uint32_t tiffFaxMode(const TiffPageInfo& info);
std::unique_ptr<StreamDecoder> makeTiffFaxDecoder(const TiffPageInfo& info, uint32_t columns);
// The encoder of compression 3 (with `t4Options`) or 4 (with `t6Options`)
// for rows of `columns` pixels, 1 black, packed as the Image packs them.
std::unique_ptr<StreamEncoder> makeTiffFaxEncoder(uint32_t compression, uint32_t t4Options,
                                                  uint32_t t6Options, uint32_t columns);

// NeXT 2-bit: per row a code byte: 0 a literal row, 0x40 a literal span
// (offset and count, 16 bits each, big-endian) on a white row, otherwise runs
// of one grey level (high two bits) and a length (low six bits) until the row
// is full. Requests are whole rows.
class NextDecoder final : public StreamDecoder {
  public:
    NextDecoder(uint32_t columns, uint32_t rowBytes) : columns_(columns), rowBytes_(rowBytes) {}
    void decode(uint8_t* buffer, size_t length) override;

  private:
    void decodeRow(uint8_t* row);
    uint32_t columns_, rowBytes_;
};

// ThunderScan 4-bit: per row codes of two bits and six: a run of the last
// value, three 2-bit deltas, two 3-bit deltas, or a raw value, until the row
// is full. Requests are whole rows.
class ThunderScanDecoder final : public StreamDecoder {
  public:
    ThunderScanDecoder(uint32_t columns, uint32_t rowBytes)
        : columns_(columns), rowBytes_(rowBytes) {}
    void decode(uint8_t* buffer, size_t length) override;

  private:
    void decodeRow(uint8_t* row);
    uint32_t columns_, rowBytes_;
};

}  // namespace vivark
