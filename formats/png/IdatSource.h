// IdatSource: the ByteSource the PNG reader's ZipDecoder pulls from. It hands
// out the data of the current IDAT chunk in place from the InFile's buffer
// and, when that chunk is used up, finishes it (CRC check) and goes on into
// the next chunk, which must be IDAT again: any other type throws
// PNGERROR::BadIdatLength, so a zlib stream that runs past the last IDAT
// fails with that value. Bytes are counted into the chunk's CRC only as the
// decoder consumes them; finish() gives back what it did not take, for the
// reader's ChunkInput::end() to skip and check.
#pragma once

#include "codecs/StreamCodec.h"
#include "formats/png/PngChunkInput.h"

namespace vivark::png {

class IdatSource final : public ByteSource {
  public:
    explicit IdatSource(ChunkInput& chunks) : chunks_(chunks) {}
    ~IdatSource() override { release(); }

    void begin() override { release(); }
    void finish() override { release(); }
    void refill() override;

  private:
    // Counts the bytes consumed from the window and gives back the rest.
    void release();

    ChunkInput& chunks_;
    const uint8_t* start_ = nullptr;
};

}  // namespace vivark::png
