// ZipDecoder: the inflater of zlib-wrapped Deflate data (RFC 1950 around
// RFC 1951) that PNG image data and TIFF "Deflate (ZIP)" strips are read
// through.
//
// reset() checks the two-byte zlib header; decode() hands out exactly the
// bytes asked for, reading blocks as it needs them; finish() decodes and
// discards whatever the stream holds beyond what was asked, checks the
// Adler-32 trailer and leaves the source just after it. Every failure of the
// coded data throws ZIPERROR at the moment the data shows it: a bad trailer
// only in finish(), a request past the final block when a block header would
// be needed. Distances are not checked against the data decoded so far: the
// history starts zeroed, so such data decodes the same way every time.
// Running out of input is the source's business.
//
// Decoded bytes go into a linear buffer: 32768 bytes of history followed by
// a decoding area, slid down when the area is used up, so a match copy never
// wraps. Nothing is allocated after construction; code tables are fixed
// arrays inside the object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codecs/Adler32.h"
#include "codecs/CodeTable.h"
#include "codecs/StreamCodec.h"

namespace vivark {

class ZipDecoder final : public StreamDecoder {
  public:
    ZipDecoder();
    ~ZipDecoder() override;

    // After attach(source): reads and checks the two-byte zlib header
    // (ZIPERROR 0 and 1) and starts a new stream.
    void reset() override;
    // Fills exactly `length` bytes, reading blocks as needed.
    void decode(uint8_t* buffer, size_t length) override;
    // Drains the rest of the stream (data past what was asked is discarded),
    // checks the Adler-32 trailer, then tells the source to finish.
    void finish() override;

  private:
    static constexpr uint32_t kHistory = 32768;
    static constexpr uint32_t kArea = 1u << 17;
    static constexpr uint32_t kSlack = 258 + 32;  // a match past the limit, word overrun

    // Root widths and the most entries a valid code set needs: each sub-table
    // of width w under a complete code holds at least w + 1 codes, so 286
    // literal/length codes fill at most 58 sub-tables of 16 (root 11) and 30
    // distance codes at most 4 of 128 (root 8).
    using LiteralTable = CodeTable<11, 2048 + 58 * 16>;
    using DistanceTable = CodeTable<8, 256 + 4 * 128>;

    // Decodes until the write position reaches `limit` (a match may run past
    // it) or the final block has ended.
    void produce(size_t wanted);
    void slide();
    void readBlockHeader();
    void readDynamicTables();
    void inflateBlock(uint8_t* limit);
    void inflateBlockBmi2(uint8_t* limit);
    void inflateLoop(uint8_t* limit);
    bool decodeSymbolCarefully();
    void copyStored(uint8_t* limit);

    // Bit input on the member state, for headers and the careful path.
    void pullByte();
    void need(uint32_t count);
    uint32_t takeBits(uint32_t count);
    CodeEntry lookup(const CodeEntry* table, uint32_t mask);

    std::unique_ptr<uint8_t[]> buffer_;
    uint8_t* out_;   // next byte to decode
    uint8_t* read_;  // next byte to hand out; [read_, out_) is pending
    uint64_t bitBuffer_ = 0;
    uint32_t bitCount_ = 0;
    const uint8_t* windowStart_ = nullptr;  // first byte of the source's current window
    Adler32 adler_;
    bool historyDirty_ = false;  // the history holds a slid stream's bytes
    bool lastBlock_ = true;
    bool headerNeeded_ = true;
    uint32_t blockType_ = 0;
    uint32_t storedLeft_ = 0;
    const CodeEntry* literals_ = nullptr;
    const CodeEntry* distances_ = nullptr;
    LiteralTable dynamicLiterals_;
    DistanceTable dynamicDistances_;
    LiteralTable fixedLiterals_;
    DistanceTable fixedDistances_;
};

}  // namespace vivark
