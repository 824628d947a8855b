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
// business.
//
// Decoded bytes go into a history buffer and are handed out from there.
// Every table entry is a string that was decoded once already (the previous
// string and the first byte of the one after it), so besides its prefix and
// last byte each entry keeps its length, first byte and where in the history
// it lies: a code is a short forward copy rather than a walk down its
// prefixes. An entry whose bytes have left the history (a full table kept
// without clear codes) is walked once and points at its new copy from then
// on. The tables and the history are fixed arrays inside the object;
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
    // buffer is then left untouched. Decoded bytes not yet asked for wait in
    // the history for the next call.
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
    // The history: bytes kept behind the newest when it slides, the area
    // decoded into between slides, and room for the last string to overrun
    // the area in 8-byte steps.
    static constexpr uint32_t kKeep = 8192;
    static constexpr uint32_t kArea = 32768;
    static constexpr uint32_t kHistory = kKeep + kArea + kLongest + 16;

    // Decodes codes until `wanted` bytes wait or the area is used up.
    void produce(size_t wanted);
    void slide();

    uint16_t prefix_[kTableSize];
    uint16_t length_[kTableSize];
    uint8_t suffix_[kTableSize];
    uint8_t first_[kTableSize];
    int32_t place_[kTableSize];  // where the entry's bytes lie in history_; -1: not there
    uint8_t history_[kHistory];
    uint32_t initialCodeSize_;
    uint32_t clearCode_;
    uint32_t endCode_;
    uint32_t firstFreeCode_;
    bool msbFirst_;
    bool detectOldStyle_;
    uint8_t* out_;            // next byte to decode into
    uint8_t* read_;           // next byte to hand out; [read_, out_) waits
    int32_t lastStart_ = -1;  // where the last code's string starts in history_; -1: none
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
