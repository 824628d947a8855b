// The PackBits run-length encoder used by the TIFF, IFF and MacPaint writers.
// Its output is fixed byte for byte: every run of equal bytes goes out as run
// codes of at most 128, and every byte that does not start a run goes out as
// a literal of length one (two output bytes per input byte). Files written by
// the program this one replaces carry exactly these bytes, so the encoder
// does not merge literals even where that would be shorter. Each encode()
// call is coded on its own (codes never span calls); nothing is held back,
// so finish() has nothing to write.
#pragma once

#include "codecs/StreamCodec.h"

namespace vivark {

class PackBitsEncoder final : public StreamEncoder {
  public:
    void encode(const uint8_t* buffer, size_t length) override;
};

}  // namespace vivark
