// The SGI log decoder of TIFF compressions 34676 and 34677: LogL
// (photometric 32844) stores 16-bit log luminance, LogLuv (32845) 32-bit
// pixels of log luminance and 8-bit u', v' chroma; each row is coded byte
// plane by byte plane, most significant first, in runs and literals. LogLuv
// under 34677 is instead packed, 24 bits a pixel: 10 bits of log luminance
// and the index of a chroma cell (TiffSgiLogGamut.h). The decoder hands out
// rows already brought to 8 bits for display: grey for LogL, red-green-blue
// for LogLuv.
#pragma once

#include <cstdint>
#include <vector>

#include "codecs/StreamCodec.h"

namespace vivark {

class SgiLogDecoder final : public StreamDecoder {
  public:
    // Rows of `columns` pixels; `colour` for LogLuv pages, `packed` for
    // LogLuv pages in the 24-bit form.
    SgiLogDecoder(uint32_t columns, bool colour, bool packed);
    // Requests are whole rows (columns bytes, or 3 x columns for colour).
    void decode(uint8_t* buffer, size_t length) override;

  private:
    void decodeRow(uint8_t* row);

    uint32_t columns_;
    bool colour_;
    bool packed_;
    std::vector<uint32_t> values_;  // one row of coded pixels
};

}  // namespace vivark
