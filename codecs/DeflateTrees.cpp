// DeflateTrees: heap-built Huffman trees with length limiting, canonical
// codes, the run-length coded tree header and the choice between stored,
// fixed and dynamic blocks. BitWriter: bit packing into the output buffer.
#include "codecs/DeflateTrees.h"

#include <cstring>

namespace vivark::deflate {

namespace {

constexpr SymbolCodes makeSymbolCodes() {
    SymbolCodes codes{};
    for (uint32_t lc = 0; lc < 256; ++lc) {
        uint32_t code = 0;
        while (code + 1 < kLengthCodes && kLengthBase[code + 1] - kMinMatch <= lc) ++code;
        codes.length[lc] = static_cast<uint8_t>(code);
    }
    for (uint32_t index = 0; index < 512; ++index) {
        uint32_t d = index < 256 ? index : (index - 256) << 7;
        uint32_t code = 0;
        while (code + 1 < kDistanceCodes && kDistanceBase[code + 1] - 1u <= d) ++code;
        codes.distance[index] = static_cast<uint8_t>(code);
    }
    return codes;
}

constexpr uint16_t reverseBits(uint32_t code, uint32_t length) {
    uint32_t result = 0;
    for (uint32_t i = 0; i < length; ++i) {
        result = (result << 1) | (code & 1);
        code >>= 1;
    }
    return static_cast<uint16_t>(result);
}

// The fixed codes of RFC 1951 3.2.6, bit-reversed for least significant first output.
struct FixedCodes {
    uint16_t literalLength[kLiteralLengthSymbols];
    uint16_t literalCode[kLiteralLengthSymbols];
    uint16_t distanceLength[kDistanceCodes];
    uint16_t distanceCode[kDistanceCodes];
};

constexpr FixedCodes makeFixedCodes() {
    FixedCodes fixed{};
    uint32_t count[10] = {};
    for (uint32_t n = 0; n < kLiteralLengthSymbols; ++n) {
        uint32_t length = n < 144 ? 8 : n < 256 ? 9 : n < 280 ? 7 : 8;
        fixed.literalLength[n] = static_cast<uint16_t>(length);
        count[length]++;
    }
    uint32_t next[10] = {};
    uint32_t code = 0;
    for (uint32_t bits = 1; bits < 10; ++bits) {
        code = (code + count[bits - 1]) << 1;
        next[bits] = code;
    }
    for (uint32_t n = 0; n < kLiteralLengthSymbols; ++n) {
        uint32_t length = fixed.literalLength[n];
        fixed.literalCode[n] = reverseBits(next[length]++, length);
    }
    for (uint32_t n = 0; n < kDistanceCodes; ++n) {
        fixed.distanceLength[n] = 5;
        fixed.distanceCode[n] = reverseBits(n, 5);
    }
    return fixed;
}

constexpr FixedCodes kFixed = makeFixedCodes();
constexpr uint8_t kCodeLengthExtra[kCodeLengthCodes] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                        0, 0, 0, 0, 0, 0, 2, 3, 7};
constexpr uint32_t kRepeatPrevious = 16;  // 3-6 copies of the previous length
constexpr uint32_t kRepeatZero = 17;      // 3-10 zeros
constexpr uint32_t kRepeatZeroLong = 18;  // 11-138 zeros

// Walks a list of code lengths as runs: `run(length, count, shortRun,
// previous)` is called for each run, shortRun telling that it is too short
// for a repeat code. A run of one length ends at 7 (a new length, which is
// sent before its repeats), 6 (a repeat of the previous length) or 138
// (zeros); the next length decides the limits of the following run.
template <typename Run>
void forEachRun(const uint16_t* len, int maxCode, Run run) {
    int previous = -1;
    int next = len[0];
    int count = 0;
    int maxCount = next == 0 ? 138 : 7;
    int minCount = next == 0 ? 3 : 4;
    for (int n = 0; n <= maxCode; ++n) {
        int current = next;
        next = n < maxCode ? len[n + 1] : 0xFFFF;
        if (++count < maxCount && current == next) continue;
        run(current, count, count < minCount, previous);
        count = 0;
        previous = current;
        if (next == 0) {
            maxCount = 138;
            minCount = 3;
        } else if (current == next) {
            maxCount = 6;
            minCount = 3;
        } else {
            maxCount = 7;
            minCount = 4;
        }
    }
}

}  // namespace

const SymbolCodes kSymbolCodes = makeSymbolCodes();

// ---- BitWriter

void BitWriter::spill() {
    if (size_ - used_ >= 4) {
        uint8_t* p = buffer_ + used_;
        p[0] = static_cast<uint8_t>(bits_);
        p[1] = static_cast<uint8_t>(bits_ >> 8);
        p[2] = static_cast<uint8_t>(bits_ >> 16);
        p[3] = static_cast<uint8_t>(bits_ >> 24);
        used_ += 4;
    } else {
        for (int i = 0; i < 4; ++i) putByte(static_cast<uint8_t>(bits_ >> (8 * i)));
    }
    bits_ >>= 32;
    count_ -= 32;
}

void BitWriter::alignToByte() {
    while (count_ > 0) {
        putByte(static_cast<uint8_t>(bits_));
        bits_ >>= 8;
        count_ = count_ > 8 ? count_ - 8 : 0;
    }
    bits_ = 0;
}

void BitWriter::putBytes(const uint8_t* data, size_t length) {
    while (length != 0) {
        if (used_ == size_) drain();
        size_t n = size_ - used_ < length ? size_ - used_ : length;
        std::memcpy(buffer_ + used_, data, n);
        used_ += n;
        data += n;
        length -= n;
    }
}

void BitWriter::drain() {
    if (used_ != 0) sink_->write(buffer_, used_);
    used_ = 0;
}

// ---- DeflateTrees

template <size_t N>
DeflateTrees::Tree DeflateTrees::treeOver(Storage<N>& storage, uint32_t elements,
                                          uint32_t maxLength, const uint16_t* staticLengths,
                                          const uint8_t* extraBits, uint32_t extraBase) {
    return Tree{storage.freq, storage.len,   storage.code, storage.dad, elements,
                maxLength,    staticLengths, extraBits,    extraBase,   0};
}

DeflateTrees::DeflateTrees()
    : literalTree_(treeOver(literal_, kLiteralLengthCodes, kMaxBits, kFixed.literalLength,
                            kLengthExtra, kEndOfBlock + 1)),
      distanceTree_(
          treeOver(distance_, kDistanceCodes, kMaxBits, kFixed.distanceLength, kDistanceExtra, 0)),
      codeLengthTree_(treeOver(codeLength_, kCodeLengthCodes, kMaxCodeLengthBits, nullptr,
                               kCodeLengthExtra, 0)) {
    std::memset(&literal_, 0, sizeof literal_);
    std::memset(&distance_, 0, sizeof distance_);
    std::memset(&codeLength_, 0, sizeof codeLength_);
    std::memset(depth_, 0, sizeof depth_);
    std::memset(heap_, 0, sizeof heap_);
    std::memset(lengthCount_, 0, sizeof lengthCount_);
    startBlock();
}

void DeflateTrees::startBlock() {
    for (uint32_t n = 0; n < kLiteralLengthCodes; ++n) literal_.freq[n] = 0;
    for (uint32_t n = 0; n < kDistanceCodes; ++n) distance_.freq[n] = 0;
    for (uint32_t n = 0; n < kCodeLengthCodes; ++n) codeLength_.freq[n] = 0;
    literal_.freq[kEndOfBlock] = 1;
    optimalBits_ = 0;
    staticBits_ = 0;
}

void DeflateTrees::downHeap(const uint32_t* freq, int k) {
    int v = heap_[k];
    int j = k << 1;
    while (j <= heapLength_) {
        if (j < heapLength_ && smaller(freq, heap_[j + 1], heap_[j])) j++;
        if (smaller(freq, v, heap_[j])) break;
        heap_[k] = heap_[j];
        k = j;
        j <<= 1;
    }
    heap_[k] = v;
}

void DeflateTrees::buildTree(Tree& tree) {
    uint32_t* freq = tree.freq;
    int maxCode = -1;
    heapLength_ = 0;
    heapMax_ = static_cast<int>(kHeapSize);
    for (int n = 0; n < static_cast<int>(tree.elements); ++n) {
        if (freq[n] != 0) {
            heap_[++heapLength_] = maxCode = n;
            depth_[n] = 0;
        } else {
            tree.len[n] = 0;
        }
    }
    // A code needs two symbols at least: pad with symbols 0 and 1 (or 2),
    // whose single bits cost nothing in the block size estimates.
    while (heapLength_ < 2) {
        int node = heap_[++heapLength_] = maxCode < 2 ? ++maxCode : 0;
        freq[node] = 1;
        depth_[node] = 0;
        optimalBits_--;
        if (tree.staticLengths != nullptr) staticBits_ -= tree.staticLengths[node];
    }
    tree.maxCode = maxCode;
    for (int n = heapLength_ / 2; n >= 1; --n) downHeap(freq, n);

    // Merge the two least frequent nodes until one is left. Removed nodes go
    // to the top end of heap_ in order, so that part lists parents before
    // their children.
    int node = static_cast<int>(tree.elements);
    do {
        int n = heap_[1];
        heap_[1] = heap_[heapLength_--];
        downHeap(freq, 1);
        int m = heap_[1];
        heap_[--heapMax_] = n;
        heap_[--heapMax_] = m;
        freq[node] = freq[n] + freq[m];
        depth_[node] = static_cast<uint8_t>((depth_[n] >= depth_[m] ? depth_[n] : depth_[m]) + 1);
        tree.dad[n] = tree.dad[m] = static_cast<uint16_t>(node);
        heap_[1] = node++;
        downHeap(freq, 1);
    } while (heapLength_ >= 2);
    heap_[--heapMax_] = heap_[1];

    assignLengths(tree);
    assignCodes(tree);
}

void DeflateTrees::assignLengths(Tree& tree) {
    const int maxCode = tree.maxCode;
    const uint32_t maxLength = tree.maxLength;
    for (uint16_t& count : lengthCount_) count = 0;
    tree.len[heap_[heapMax_]] = 0;

    // Every node one deeper than its parent; nodes past the limit are
    // clamped to it and counted.
    int overflow = 0;
    int h = heapMax_ + 1;
    for (; h < static_cast<int>(kHeapSize); ++h) {
        int n = heap_[h];
        uint32_t bits = tree.len[tree.dad[n]] + 1u;
        if (bits > maxLength) {
            bits = maxLength;
            overflow++;
        }
        tree.len[n] = static_cast<uint16_t>(bits);
        if (n > maxCode) continue;
        lengthCount_[bits]++;
        uint32_t extra =
            n >= static_cast<int>(tree.extraBase) ? tree.extraBits[n - tree.extraBase] : 0;
        uint64_t f = tree.freq[n];
        optimalBits_ += f * (bits + extra);
        if (tree.staticLengths != nullptr) staticBits_ += f * (tree.staticLengths[n] + extra);
    }
    if (overflow == 0) return;

    // Each step moves a leaf from the deepest level below the limit down one
    // level, where it and an overflowed leaf become siblings.
    do {
        uint32_t bits = maxLength - 1;
        while (lengthCount_[bits] == 0) bits--;
        lengthCount_[bits]--;
        lengthCount_[bits + 1] += 2;
        lengthCount_[maxLength]--;
        overflow -= 2;
    } while (overflow > 0);

    // Hand the repaired lengths out again, the longest to the least frequent.
    for (uint32_t bits = maxLength; bits != 0; bits--) {
        uint32_t n = lengthCount_[bits];
        while (n != 0) {
            int m = heap_[--h];
            if (m > maxCode) continue;
            if (tree.len[m] != bits) {
                optimalBits_ += (static_cast<uint64_t>(bits) - tree.len[m]) * tree.freq[m];
                tree.len[m] = static_cast<uint16_t>(bits);
            }
            n--;
        }
    }
}

void DeflateTrees::assignCodes(Tree& tree) {
    uint32_t next[kMaxBits + 1] = {};
    uint32_t code = 0;
    for (uint32_t bits = 1; bits <= kMaxBits; ++bits) {
        code = (code + lengthCount_[bits - 1]) << 1;
        next[bits] = code;
    }
    for (int n = 0; n <= tree.maxCode; ++n) {
        uint32_t length = tree.len[n];
        if (length == 0) continue;
        tree.code[n] = reverseBits(next[length]++, length);
    }
}

void DeflateTrees::countCodeLengths(const Tree& tree) {
    uint32_t* freq = codeLength_.freq;
    forEachRun(tree.len, tree.maxCode, [freq](int length, int count, bool shortRun, int previous) {
        if (shortRun) {
            freq[length] += static_cast<uint32_t>(count);
        } else if (length != 0) {
            if (length != previous) freq[length]++;
            freq[kRepeatPrevious]++;
        } else if (count <= 10) {
            freq[kRepeatZero]++;
        } else {
            freq[kRepeatZeroLong]++;
        }
    });
}

void DeflateTrees::sendCodeLengths(BitWriter& out, const Tree& tree) {
    const uint16_t* code = codeLength_.code;
    const uint16_t* len = codeLength_.len;
    forEachRun(tree.len, tree.maxCode, [&](int length, int count, bool shortRun, int previous) {
        if (shortRun) {
            for (; count != 0; --count) out.put(code[length], len[length]);
        } else if (length != 0) {
            if (length != previous) {
                out.put(code[length], len[length]);
                count--;
            }
            out.put(code[kRepeatPrevious], len[kRepeatPrevious]);
            out.put(static_cast<uint32_t>(count - 3), 2);
        } else if (count <= 10) {
            out.put(code[kRepeatZero], len[kRepeatZero]);
            out.put(static_cast<uint32_t>(count - 3), 3);
        } else {
            out.put(code[kRepeatZeroLong], len[kRepeatZeroLong]);
            out.put(static_cast<uint32_t>(count - 11), 7);
        }
    });
}

int DeflateTrees::buildCodeLengthTree() {
    countCodeLengths(literalTree_);
    countCodeLengths(distanceTree_);
    buildTree(codeLengthTree_);
    // At least 4 code-length codes are sent, trailing zeros beyond that are not.
    int last = kCodeLengthCodes - 1;
    for (; last >= 3; --last)
        if (codeLength_.len[kCodeLengthOrder[last]] != 0) break;
    optimalBits_ += 3 * (static_cast<uint64_t>(last) + 1) + 5 + 5 + 4;
    return last;
}

void DeflateTrees::sendTrees(BitWriter& out, int codeLengthCodes) {
    out.put(static_cast<uint32_t>(literalTree_.maxCode + 1 - 257), 5);
    out.put(static_cast<uint32_t>(distanceTree_.maxCode + 1 - 1), 5);
    out.put(static_cast<uint32_t>(codeLengthCodes - 4), 4);
    for (int rank = 0; rank < codeLengthCodes; ++rank)
        out.put(codeLength_.len[kCodeLengthOrder[rank]], 3);
    sendCodeLengths(out, literalTree_);
    sendCodeLengths(out, distanceTree_);
}

void DeflateTrees::sendSymbols(BitWriter& out, const uint16_t* literalCode,
                               const uint16_t* literalLen, const uint16_t* distanceCodeBits,
                               const uint16_t* distanceLen, const uint16_t* distances,
                               const uint8_t* values, size_t symbols) {
    for (size_t i = 0; i < symbols; ++i) {
        uint32_t distance = distances[i];
        uint32_t value = values[i];
        if (distance == 0) {
            out.put(literalCode[value], literalLen[value]);
            continue;
        }
        uint32_t code = kSymbolCodes.length[value];
        uint32_t symbol = code + kEndOfBlock + 1;
        uint32_t extra = kLengthExtra[code];
        out.put(literalCode[symbol] | (value - (kLengthBase[code] - kMinMatch))
                                          << literalLen[symbol],
                literalLen[symbol] + extra);
        distance--;
        code = distanceCode(distance);
        extra = kDistanceExtra[code];
        out.put(distanceCodeBits[code] | (distance - (kDistanceBase[code] - 1u))
                                             << distanceLen[code],
                distanceLen[code] + extra);
    }
    out.put(literalCode[kEndOfBlock], literalLen[kEndOfBlock]);
}

void DeflateTrees::writeBlock(BitWriter& out, const uint16_t* distances, const uint8_t* values,
                              size_t symbols, const uint8_t* stored, size_t storedLength,
                              bool last) {
    buildTree(literalTree_);
    buildTree(distanceTree_);
    int lastCodeLength = buildCodeLengthTree();

    // Sizes in bytes, with the 3 header bits and rounded up.
    uint64_t best = (optimalBits_ + 3 + 7) >> 3;
    uint64_t fixed = (staticBits_ + 3 + 7) >> 3;
    if (fixed <= best) best = fixed;

    const uint32_t final = last ? 1 : 0;
    if (stored != nullptr && storedLength + 4 <= best) {
        out.put(final, 3);
        out.alignToByte();
        out.putByte(static_cast<uint8_t>(storedLength));
        out.putByte(static_cast<uint8_t>(storedLength >> 8));
        out.putByte(static_cast<uint8_t>(~storedLength));
        out.putByte(static_cast<uint8_t>(~storedLength >> 8));
        out.putBytes(stored, storedLength);
    } else if (fixed == best) {
        out.put(2 | final, 3);
        sendSymbols(out, kFixed.literalCode, kFixed.literalLength, kFixed.distanceCode,
                    kFixed.distanceLength, distances, values, symbols);
    } else {
        out.put(4 | final, 3);
        sendTrees(out, lastCodeLength + 1);
        sendSymbols(out, literal_.code, literal_.len, distance_.code, distance_.len, distances,
                    values, symbols);
    }
    startBlock();
    if (last) out.alignToByte();
}

}  // namespace vivark::deflate
