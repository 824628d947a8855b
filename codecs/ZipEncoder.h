// ZipEncoder: the Deflate encoder that the PNG and TIFF writers compress
// with, producing a zlib stream (RFC 1950 header, RFC 1951 blocks, Adler-32
// trailer).
//
// It owns the match finder: the sliding window of twice the window size, the
// hash chains over 3-byte strings (head and prev), the per-level search
// limits, and the symbol buffer that collects one block. Levels 1-3 take the
// first match found (greedy), levels 4-9 defer each match by one byte in
// case the next one is longer (lazy); strategy 1 (filtered) drops short
// matches, strategy 2 (Huffman only) searches none. Level 0 runs the greedy
// path with every limit at zero. Trees, block choice and bit packing belong
// to DeflateTrees. Searching stops while fewer than 262 bytes of lookahead
// are held, until finish(), so every match sees the same data however the
// input is split.
//
// The output is zlib's, byte for byte, at every level. At the levels with
// long chains (7-9) a second set of chains links the positions whose first
// four bytes hash alike, and each position keeps its ordinal in its 3-byte
// chain: once a match of 3 or more is held, only a candidate that agrees in
// four bytes can beat it, so the search follows the 4-byte chain and counts
// the 3-byte links it jumps over against the chain limit, stopping exactly
// where the walk of every link would.
//
// Throws nothing of its own: sink failures (OUTFILEERROR) propagate.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "codecs/Adler32.h"
#include "codecs/DeflateTrees.h"
#include "codecs/StreamCodec.h"

namespace vivark {

class ZipEncoder final : public StreamEncoder {
  public:
    // All buffers (window, prev, head, symbol buffers, 4096-byte output buffer) are
    // allocated here; nothing is allocated while coding.
    explicit ZipEncoder(int level = 9, int method = 8, int windowBits = 15, int memLevel = 8,
                        int strategy = 0);
    ~ZipEncoder() override;
    ZipEncoder(const ZipEncoder&) = delete;
    ZipEncoder& operator=(const ZipEncoder&) = delete;

    // After attach(sink): resets state, writes the two-byte zlib header (0x78 0xDA at level 9).
    void reset() override;
    // Takes `length` more bytes of input; compresses without flushing.
    void encode(const uint8_t* buffer, size_t length) override;
    // Compresses the rest with the final block, pads to a byte, writes the Adler-32
    // trailer and hands the output buffer to the sink. (close() then finishes the sink.)
    void finish() override;

  private:
    static constexpr uint32_t kMinLookahead = deflate::kMaxMatch + deflate::kMinMatch + 1;
    static constexpr uint32_t kTooFar = 4096;
    static constexpr size_t kOutputSize = 4096;
    static constexpr size_t kWindowSlack = 16;  // word-wide compares may read past the end
    static constexpr uint32_t kQuadBits = 16;   // the 4-byte chains' hash size

    void clearState();
    void compress(bool flush);
    void compressGreedy(bool flush);
    void compressLazy(bool flush);
    void compressLiterals(bool flush);
    void fillWindow();
    void slideWindow();
    uint32_t longestMatch(uint32_t candidate);
    void flushBlock(bool last);

    // The hash chains, copied into locals by the compressors so that their
    // pointers stay in registers.
    struct Chains {
        const uint8_t* window;
        uint16_t* prev;
        uint16_t* head;
        uint32_t windowMask;
        uint32_t shift;
        uint32_t hashMask;
        // The 4-byte chains and the ordinals; null when not kept.
        uint16_t* quadPrev;
        uint16_t* quadHead;
        uint32_t* ordinal;
        uint32_t* inserted;

        // Links the string at `position` into its chain; returns the
        // previous head of the chain (0: none).
        uint32_t insert(uint32_t position) const {
            const uint8_t* p = window + position;
            uint32_t hash =
                ((uint32_t{p[0]} << (2 * shift)) ^ (uint32_t{p[1]} << shift) ^ p[2]) & hashMask;
            uint32_t first = head[hash];
            const uint32_t slot = position & windowMask;
            prev[slot] = static_cast<uint16_t>(first);
            head[hash] = static_cast<uint16_t>(position);
            if (quadHead != nullptr) {
                ordinal[slot] = ++inserted[hash];
                uint32_t word;
                std::memcpy(&word, p, 4);
                const uint32_t quad = (word * 2654435761u) >> (32 - kQuadBits);
                quadPrev[slot] = quadHead[quad];
                quadHead[quad] = static_cast<uint16_t>(position);
            }
            return first;
        }
    };
    Chains chains() const {
        return {window_.get(), prev_.get(),     head_.get(),     windowMask_,    hashShift_,
                hashMask_,     quadPrev_.get(), quadHead_.get(), ordinal_.get(), inserted_.get()};
    }
    // Each returns true when the symbol buffer is one short of full.
    bool tallyLiteral(uint8_t value) {
        distances_[symbols_] = 0;
        values_[symbols_] = value;
        ++symbols_;
        trees_.countLiteral(value);
        return symbols_ == symbolLimit_;
    }
    bool tallyMatch(uint32_t distance, uint32_t lengthMinus3) {
        distances_[symbols_] = static_cast<uint16_t>(distance);
        values_[symbols_] = static_cast<uint8_t>(lengthMinus3);
        ++symbols_;
        trees_.countMatch(distance, lengthMinus3);
        return symbols_ == symbolLimit_;
    }

    int level_;
    int windowBits_;
    int strategy_;
    uint32_t windowSize_;  // 2^windowBits
    uint32_t windowMask_;
    uint32_t maxDistance_;
    uint32_t hashShift_;
    uint32_t hashMask_;
    uint32_t hashSize_;
    size_t symbolLimit_;  // symbol buffer size - 1

    std::unique_ptr<uint8_t[]> window_;  // 2 * windowSize_ + kWindowSlack
    std::unique_ptr<uint16_t[]> prev_;
    std::unique_ptr<uint16_t[]> head_;
    std::unique_ptr<uint16_t[]> distances_;  // 0 for a literal
    std::unique_ptr<uint8_t[]> values_;      // literal, or match length - 3
    std::unique_ptr<uint8_t[]> output_;
    // Only at the levels that walk long chains (null otherwise).
    std::unique_ptr<uint16_t[]> quadPrev_;  // windowSize_
    std::unique_ptr<uint16_t[]> quadHead_;  // 2^kQuadBits
    std::unique_ptr<uint32_t[]> ordinal_;   // windowSize_: insertions into the 3-byte bucket so far
    std::unique_ptr<uint32_t[]> inserted_;  // hashSize_: insertions per 3-byte bucket

    deflate::DeflateTrees trees_;
    deflate::BitWriter bits_;
    Adler32 adler_;

    // The search limits of the level.
    uint32_t goodLength_ = 0;
    uint32_t lazyLimit_ = 0;
    uint32_t niceLength_ = 0;
    uint32_t chainLimit_ = 0;

    const uint8_t* input_ = nullptr;
    size_t inputLeft_ = 0;
    uint32_t strstart_ = 0;  // window position of the string being coded
    uint32_t lookahead_ = 0;
    uint32_t matchStart_ = 0;
    uint32_t matchLength_ = 0;
    uint32_t prevLength_ = 0;
    uint32_t prevMatch_ = 0;
    bool matchAvailable_ = false;
    int64_t blockStart_ = 0;  // negative once the block's start has left the window
    size_t symbols_ = 0;
};

}  // namespace vivark
