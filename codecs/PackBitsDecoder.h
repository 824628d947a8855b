// The PackBits run-length decoder used by the TIFF, MacPaint, IFF and PSD
// readers. A header byte h announces h + 1 literal bytes (0..127), nothing
// (128) or a run of 257 - h copies of the next byte (129..255). No state is
// kept between calls: each decode() call is one unit (a row or a plane row)
// and codes do not span units. What happens when a code reaches past the
// bytes asked for is the mode chosen at construction: strict throws
// PACKBITSERROR::Overrun, tolerant keeps what fits and consumes the rest of
// the code. Running out of input is the source's error.
#pragma once

#include "codecs/StreamCodec.h"

namespace vivark {

class PackBitsDecoder final : public StreamDecoder {
  public:
    explicit PackBitsDecoder(bool tolerant) : tolerant_(tolerant) {}

    void decode(uint8_t* buffer, size_t length) override;

    bool tolerant() const { return tolerant_; }

  private:
    bool tolerant_;
};

}  // namespace vivark
