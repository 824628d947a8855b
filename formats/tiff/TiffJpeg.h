// TiffJpegDecoder: JPEG-compressed strips and tiles through libjpeg. New-style
// pages (compression 7) carry their tables once, in JPEGTables, as an
// abbreviated table stream that is read before every strip. Old-style pages
// (compression 6) carry a whole JPEG stream (JPEGInterchangeFormat) or only
// their quantisation and Huffman tables as tags; for those the frame and scan
// headers are built here from the page's tags in front of the strip's data.
//
// The library hands out colour (YCbCr converted) as blue, green, red where it
// offers that order (writesBgr()), else as RGB; grey as grey and CMYK as
// CMYK, 8 bits a sample, one strip or tile row per decode() row.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "codecs/StreamCodec.h"
#include "formats/tiff/TiffPage.h"

namespace vivark {

class TiffJpegDecoder final : public StreamDecoder {
  public:
    // `rowBytes`: bytes of one decoded row of a strip or tile.
    TiffJpegDecoder(const TiffPageInfo& info, uint32_t rowBytes);
    ~TiffJpegDecoder() override;
    // Whether colour rows come blue, green, red: the Image's order, so they
    // need no swap.
    static bool writesBgr();
    // Starts a strip or tile of `columns` x `rows` pixels from its coded bytes
    // (which must stay alive while it is decoded).
    void start(std::span<const uint8_t> coded, uint32_t columns, uint32_t rows);
    // Fills whole rows.
    void decode(uint8_t* buffer, size_t length) override;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vivark
