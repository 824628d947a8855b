// LzwDecoder: the variable-width LZW decoder that GIF image data and TIFF
// LZW strips are read through.
//
// Three switches fixed at construction tell the formats apart: the bit order
// (least significant bit first for GIF, most significant first for TIFF),
// which is also the early-change amount (TIFF widens the code one entry
// sooner), and whether a strip is tested for the old-style TIFF variant (its
// first bytes 0x00 and an odd byte: a 9-bit clear code packed least
// significant bit first), which is then decoded as GIF-ordered data.
//
// The table stops growing at 12 bits: without a clear code, every further
// code overwrites the last entry. A clear code or end code directly after a
// clear code is taken as a literal byte. A code beyond the next free entry
// throws LZWERROR::InvalidCode; running out of input is the source's
// business. Each table entry knows its prefix, last byte, first byte and
// length, so a string is written backwards straight into the caller's
// buffer; only a string longer than the room left goes through the pending
// buffer. The tables and that buffer are fixed arrays inside the object;
// nothing is allocated while decoding.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codecs/StreamCodec.h"

namespace vivark {

class LzwDecoder final : public StreamDecoder {
  public:
    // initialCodeSize: bits of a root symbol (2..11 for GIF, 8 for TIFF).
    LzwDecoder(uint32_t initialCodeSize, bool msbFirst, bool detectOldStyle);

    // Starts a new run of coded data; call after attach() and before decode().
    void reset() override;
    // Writes `length` bytes unless the end code comes first; the rest of the
    // buffer is then left untouched. Holds an unread string tail between calls.
    void decode(uint8_t* buffer, size_t length) override;

    bool ended() const { return ended_; }
    // The bit order in force for this run (true: most significant bit first).
    bool msbMode() const { return msbMode_ != 0; }

  private:
    static constexpr uint32_t kTableSize = 4096;
    // The longest string a table without a loop holds, and the length that
    // marks the entry of a full table linked to itself.
    static constexpr uint32_t kLongest = kTableSize + 1;
    static constexpr uint16_t kLooped = 0xFFFF;

    uint16_t prefix_[kTableSize];
    uint16_t length_[kTableSize];
    uint8_t suffix_[kTableSize];
    uint8_t first_[kTableSize];
    uint8_t stack_[kLongest];
    uint32_t initialCodeSize_;
    uint32_t clearCode_;
    uint32_t endCode_;
    uint32_t firstFreeCode_;
    bool msbFirst_;
    bool detectOldStyle_;
    uint8_t* stackEnd_;
    uint8_t* stackPointer_;
    uint8_t firstChar_ = 0;
    uint32_t oldCode_ = 0;
    uint32_t nextCode_ = 0;
    uint32_t growLimit_ = 0;
    uint32_t codeMask_ = 0;
    uint64_t bitBuffer_ = 0;
    uint32_t bitCount_ = 0;
    uint32_t codeSize_ = 0;
    uint32_t msbMode_ = 0;
    bool ended_ = false;
};

}  // namespace vivark
