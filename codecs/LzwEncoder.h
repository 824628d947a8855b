// LzwEncoder: the LZW encoder that the GIF and TIFF writers code pixel data
// with.
//
// tiffMode selects most significant bit first packing and the early change
// of the code width (TIFF), and a new table at the code that brings the next
// free entry past 4093 instead of 4096 (GIF), so the width never exceeds 12
// bits. Strings are found through a fixed 9001-slot open-addressing hash with
// quadratic probing; nothing is allocated while coding.
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
    static constexpr uint32_t kHashSize = 9001;

    void putCode(uint32_t code);
    void newTable();
    void flushBits();

    struct Slot {
        uint32_t key;
        uint32_t code;
    };
    Slot hash_[kHashSize];
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
    uint32_t bitBuffer_ = 0;
    uint32_t bitCount_ = 0;
};

}  // namespace vivark
