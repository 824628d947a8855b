// The block half of the Deflate encoder: the bit writer with its 4096-byte
// output buffer, the symbol frequencies of the block being collected, the
// Huffman trees built from them, and the emission of one block as stored,
// fixed or dynamic, whichever is shortest.
//
// Trees are built with a binary heap ordered by frequency and then by subtree
// depth, so equal frequencies always resolve the same way; lengths over the
// limit are repaired by moving leaves up from the deepest level that can take
// them. The code lengths are sent run-length coded (16, 17, 18), the literal
// and distance lists each on their own. The match finder, the window and the
// symbol buffer belong to ZipEncoder. Nothing here allocates or throws; sink
// failures (OUTFILEERROR) propagate from ByteSink::write.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codecs/DeflateTables.h"
#include "codecs/StreamCodec.h"

namespace vivark::deflate {

inline constexpr uint32_t kLiteralLengthCodes = 286;  // 0..285: literals, end of block, lengths
inline constexpr uint32_t kHeapSize = 2 * kLiteralLengthCodes + 1;
inline constexpr uint32_t kMaxCodeLengthBits = 7;

// Length - 3 (0..255) to length code (0..28) and distance - 1 to distance code:
// distances up to 256 index the first half directly, longer ones by distance >> 7.
struct SymbolCodes {
    uint8_t length[256];
    uint8_t distance[512];
};
extern const SymbolCodes kSymbolCodes;

inline uint32_t distanceCode(uint32_t distanceMinusOne) {
    return distanceMinusOne < 256 ? kSymbolCodes.distance[distanceMinusOne]
                                  : kSymbolCodes.distance[256 + (distanceMinusOne >> 7)];
}

// Bits go out least significant first through a 64-bit accumulator into an
// output buffer that is handed to the sink whenever it is full.
class BitWriter {
  public:
    void start(ByteSink* sink, uint8_t* buffer, size_t size) {
        sink_ = sink;
        buffer_ = buffer;
        size_ = size;
        used_ = 0;
        bits_ = 0;
        count_ = 0;
    }
    // Appends the low `count` bits of `value` (count <= 32, higher bits clear).
    void put(uint32_t value, uint32_t count) {
        bits_ |= static_cast<uint64_t>(value) << count_;
        count_ += count;
        if (count_ >= 32) spill();
    }
    // Pads with zero bits to the next byte boundary.
    void alignToByte();
    // Byte-aligned output (after alignToByte()).
    void putByte(uint8_t value) {
        if (used_ == size_) drain();
        buffer_[used_++] = value;
    }
    void putBytes(const uint8_t* data, size_t length);
    // Hands the filled part of the buffer to the sink.
    void drain();

  private:
    void spill();

    ByteSink* sink_ = nullptr;
    uint8_t* buffer_ = nullptr;
    size_t size_ = 0;
    size_t used_ = 0;
    uint64_t bits_ = 0;
    uint32_t count_ = 0;
};

class DeflateTrees {
  public:
    DeflateTrees();
    DeflateTrees(const DeflateTrees&) = delete;
    DeflateTrees& operator=(const DeflateTrees&) = delete;

    // Clears the frequencies for a new block.
    void startBlock();
    void countLiteral(uint8_t value) { literalTree_.freq[value]++; }
    void countMatch(uint32_t distance, uint32_t lengthMinus3) {
        literalTree_.freq[kSymbolCodes.length[lengthMinus3] + kEndOfBlock + 1]++;
        distanceTree_.freq[distanceCode(distance - 1)]++;
    }

    // Writes the block of `symbols` tallied symbols (distance 0 marks a
    // literal) in its cheapest form. `stored` is the block's uncompressed
    // data, or null when it has left the window; `last` sets BFINAL. Starts
    // the next block.
    void writeBlock(BitWriter& out, const uint16_t* distances, const uint8_t* values,
                    size_t symbols, const uint8_t* stored, size_t storedLength, bool last);

  private:
    struct Tree {
        uint32_t* freq;
        uint16_t* len;
        uint16_t* code;
        uint16_t* dad;
        uint32_t elements;
        uint32_t maxLength;
        const uint16_t* staticLengths;  // null for the code-length tree
        const uint8_t* extraBits;
        uint32_t extraBase;
        int maxCode;
    };
    template <size_t N>
    struct Storage {
        uint32_t freq[N];
        uint16_t len[N];
        uint16_t code[N];
        uint16_t dad[N];
    };

    template <size_t N>
    static Tree treeOver(Storage<N>& storage, uint32_t elements, uint32_t maxLength,
                         const uint16_t* staticLengths, const uint8_t* extraBits,
                         uint32_t extraBase);
    void buildTree(Tree& tree);
    void assignLengths(Tree& tree);
    void assignCodes(Tree& tree);
    void downHeap(const uint32_t* freq, int k);
    bool smaller(const uint32_t* freq, int n, int m) const {
        return freq[n] < freq[m] || (freq[n] == freq[m] && depth_[n] <= depth_[m]);
    }
    void countCodeLengths(const Tree& tree);
    void sendCodeLengths(BitWriter& out, const Tree& tree);
    int buildCodeLengthTree();
    void sendTrees(BitWriter& out, int codeLengthCodes);
    void sendSymbols(BitWriter& out, const uint16_t* literalCode, const uint16_t* literalLen,
                     const uint16_t* distanceCodeBits, const uint16_t* distanceLen,
                     const uint16_t* distances, const uint8_t* values, size_t symbols);

    Storage<kHeapSize> literal_;
    Storage<2 * kDistanceCodes + 1> distance_;
    Storage<2 * kCodeLengthCodes + 1> codeLength_;
    Tree literalTree_;
    Tree distanceTree_;
    Tree codeLengthTree_;

    int heap_[kHeapSize];
    int heapLength_ = 0;
    int heapMax_ = 0;
    uint8_t depth_[kHeapSize];
    uint16_t lengthCount_[kMaxBits + 1];
    uint64_t optimalBits_ = 0;  // dynamic-tree bits of the block, trees included
    uint64_t staticBits_ = 0;   // fixed-tree bits of the block
};

}  // namespace vivark::deflate
