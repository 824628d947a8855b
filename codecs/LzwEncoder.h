// LzwEncoder: the LZW encoder that the GIF and TIFF writers code pixel data
// with.
//
// tiffMode selects most significant bit first packing and the early change
// of the code width (TIFF), and a new table at the code that brings the next
// free entry past 4093 instead of 4096 (GIF), so the width never exceeds 12
// bits. The output is fixed byte for byte by those rules alone: how strings
// are found is this class's own business.
//
// Strings are found through a fixed open-addressing hash of 8192 slots, each
// one 32-bit word holding the string's prefix code, its last byte and its
// own code, so the whole table (32 KiB) stays in the first-level cache and a
// lookup is one load. At most 4094 strings are live, so probes stay short.
// Codes collect in a 64-bit accumulator and leave it four bytes at a time.
// Nothing is allocated while coding, and reset() clears nothing: an encoder
// is meant to be kept and reused for every strip of a page.
//
// The first encode() of a run writes the clear code and takes its first byte
// unconditionally; finish() writes the open string, the end code and the
// final partial byte (zero padded). A run with no encode() at all writes only
// the end code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codecs/StreamCodec.h"

namespace vivark {

class LzwEncoder final : public StreamEncoder {
  public:
    LzwEncoder(uint32_t initialCodeSize, bool tiffMode);

    void reset() override;
    void encode(const uint8_t* buffer, size_t length) override;
    void finish() override;

  private:
    static constexpr uint32_t kSlots = 8192;  // a power of two, over twice 4094

    void putCode(uint32_t code);
    void putWord(uint32_t word);
    void newTable();
    void flushBits();

    // (prefix << 20) | (byte << 12) | code; 0 is an empty slot (no string
    // gets a code below firstFreeCode, so no live slot is 0).
    uint32_t slots_[kSlots];
    uint32_t initialCodeSize_;
    uint32_t clearCode_;
    uint32_t endCode_;
    uint32_t firstFreeCode_;
    uint32_t tiffMode_;
    uint32_t maxCode_;
    int32_t prefix_ = -1;
    uint32_t nextCode_ = 0;
    uint32_t growLimit_ = 0;
    uint32_t codeSize_ = 0;
    uint64_t bitBuffer_ = 0;  // the low bitCount_ bits are pending
    uint32_t bitCount_ = 0;   // below 32 between calls
};

}  // namespace vivark
