// CodeTable: the two-level lookup table through which the Deflate decoder
// turns canonical Huffman codes (RFC 1951, 3.2.2) into symbols.
//
// A table is indexed by the next rootBits input bits, least significant bit
// first. Each entry says how many bits its code takes and what it means: a
// literal byte, the end of a block, a length or distance base with the number
// of extra bits that follow, a link to a sub-table for codes longer than
// rootBits, or an invalid code. Lengths and distances come out of a single
// lookup with their base already resolved.
//
// The builder checks the code set and throws ZIPERROR::TooManyCodes for an
// over-subscribed set and ZIPERROR::IncompleteCodeSet for an incomplete one
// when asked to reject it (a lone code of length 1 is always accepted).
// Reading bits and acting on the entries is the decoder's business. Tables
// are fixed arrays sized at the most entries any valid code set needs.
#pragma once

#include <array>
#include <cstdint>

namespace vivark {

struct CodeEntry {
    // 0..13: length or distance base in value, op extra bits follow;
    // kLiteral: the byte in value; kEndOfBlock; kInvalid; above kLiteral (and
    // not kInvalid): link to the sub-table at value, indexed by op - kLiteral bits.
    // The count comes first: the decoder reads an entry as one word and
    // shifts by its low byte.
    uint8_t bits;  // bits the code takes at this level
    uint8_t op;
    uint16_t value;

    static constexpr uint8_t kEndOfBlock = 15;
    static constexpr uint8_t kLiteral = 16;
    static constexpr uint8_t kInvalid = 99;
};

// What a table is built from: one code length per symbol (0: unused, at most
// 15) and what each symbol means (its op and value; the bit count is the
// builder's).
struct CodeSet {
    const uint8_t* lengths;
    uint32_t count;
    const CodeEntry* meanings;
    bool rejectIncomplete;
};

// The meanings of the three Deflate alphabets: literal/length symbols 0-287
// (literals, end of block, length bases with their extra bits, 286 and 287
// invalid), distance symbols 0-29, and code-length symbols 0-18 (taken as
// plain values).
extern const std::array<CodeEntry, 288> kLiteralLengthMeanings;
extern const std::array<CodeEntry, 30> kDistanceMeanings;
extern const std::array<CodeEntry, 19> kCodeLengthMeanings;

// Fills `table` (room for `capacity` entries) for the code set; returns the
// number of entries used. Throws as described above.
uint32_t buildCodeTable(CodeEntry* table, uint32_t capacity, uint32_t rootBits, const CodeSet& set);

// A table with its entries inside. Capacity is the proven maximum for the
// code sets it is built from (see ZipDecoder.h).
template <uint32_t RootBits, uint32_t Capacity>
class CodeTable {
  public:
    static constexpr uint32_t kRootBits = RootBits;
    static constexpr uint32_t kMask = (1u << RootBits) - 1;

    void build(const CodeSet& set) { buildCodeTable(entries_, Capacity, RootBits, set); }
    const CodeEntry* entries() const { return entries_; }

  private:
    CodeEntry entries_[Capacity];
};

}  // namespace vivark
