// ZipEncoder: window filling and sliding, the hash-chain match search, the
// greedy, lazy and literal-only compressors, and the zlib header and trailer.
#include "codecs/ZipEncoder.h"

#include <algorithm>

#include <bit>
#include <cstring>

namespace vivark {

namespace {

using deflate::kMaxMatch;
using deflate::kMinMatch;

struct LevelConfig {
    uint16_t good;   // quarter the chain once the current match is this long
    uint16_t lazy;   // lazy: no search once a match this long is held; greedy: insert limit
    uint16_t nice;   // stop searching at a match this long
    uint16_t chain;  // candidates tried per search
};

constexpr LevelConfig kLevels[10] = {{0, 0, 0, 0},        {4, 4, 8, 4},      {4, 5, 16, 8},
                                     {4, 6, 32, 32},      {4, 4, 16, 16},    {8, 16, 32, 32},
                                     {8, 16, 128, 128},   {8, 32, 128, 256}, {32, 128, 258, 1024},
                                     {32, 258, 258, 4096}};

int clampInt(int value, int low, int high) {
    return value < low ? low : value > high ? high : value;
}

inline uint16_t load16(const uint8_t* p) {
    uint16_t value;
    std::memcpy(&value, p, 2);
    return value;
}

inline uint32_t load32(const uint8_t* p) {
    uint32_t value;
    std::memcpy(&value, p, 4);
    return value;
}

// Bytes that agree from offset 3 on (the hash and the first two bytes already
// agree, so the third does too), capped at kMaxMatch.
inline uint32_t matchLength(const uint8_t* scan, const uint8_t* match) {
    uint32_t i = 3;
    if constexpr (std::endian::native == std::endian::little) {
        while (i < kMaxMatch) {
            uint64_t a, b;
            std::memcpy(&a, scan + i, 8);
            std::memcpy(&b, match + i, 8);
            uint64_t difference = a ^ b;
            if (difference != 0) {
                i += static_cast<uint32_t>(std::countr_zero(difference)) / 8;
                return i < kMaxMatch ? i : kMaxMatch;
            }
            i += 8;
        }
        return kMaxMatch;
    } else {
        while (i < kMaxMatch && scan[i] == match[i]) ++i;
        return i;
    }
}

}  // namespace

ZipEncoder::ZipEncoder(int level, int /*method: Deflate is the only one*/, int windowBits,
                       int memLevel, int strategy)
    : level_(level < 0 ? 6 : clampInt(level, 0, 9)),
      windowBits_(clampInt(windowBits, 9, 15)),
      strategy_(strategy >= 0 && strategy <= 2 ? strategy : 0) {
    memLevel = clampInt(memLevel, 1, 9);
    windowSize_ = 1u << windowBits_;
    windowMask_ = windowSize_ - 1;
    maxDistance_ = windowSize_ - kMinLookahead;
    uint32_t hashBits = static_cast<uint32_t>(memLevel) + 7;
    hashShift_ = (hashBits + kMinMatch - 1) / kMinMatch;
    hashSize_ = 1u << hashBits;
    hashMask_ = hashSize_ - 1;
    size_t symbolSize = size_t{1} << (memLevel + 6);
    symbolLimit_ = symbolSize - 1;

    window_ = std::make_unique<uint8_t[]>(2 * size_t{windowSize_} + kWindowSlack);
    prev_ = std::make_unique<uint16_t[]>(windowSize_);
    head_ = std::make_unique<uint16_t[]>(hashSize_);
    distances_ = std::make_unique<uint16_t[]>(symbolSize);
    values_ = std::make_unique<uint8_t[]>(symbolSize);
    output_ = std::make_unique<uint8_t[]>(kOutputSize);
    if (strategy_ != 2 && kLevels[level_].chain >= 256) {
        quadPrev_ = std::make_unique<uint16_t[]>(windowSize_);
        quadHead_ = std::make_unique<uint16_t[]>(size_t{1} << kQuadBits);
        ordinal_ = std::make_unique<uint32_t[]>(windowSize_);
        inserted_ = std::make_unique<uint32_t[]>(hashSize_);
    }
    clearState();
}

ZipEncoder::~ZipEncoder() = default;

void ZipEncoder::clearState() {
    // A zeroed window makes the bytes a search may read past the end of the
    // input the same on every run.
    std::memset(window_.get(), 0, 2 * size_t{windowSize_} + kWindowSlack);
    std::memset(prev_.get(), 0, windowSize_ * sizeof(uint16_t));
    std::memset(head_.get(), 0, hashSize_ * sizeof(uint16_t));
    if (quadHead_) {
        std::memset(quadPrev_.get(), 0, windowSize_ * sizeof(uint16_t));
        std::memset(quadHead_.get(), 0, (size_t{1} << kQuadBits) * sizeof(uint16_t));
        std::memset(inserted_.get(), 0, hashSize_ * sizeof(uint32_t));
    }
    trees_.startBlock();
    const LevelConfig& config = kLevels[level_];
    goodLength_ = config.good;
    lazyLimit_ = config.lazy;
    niceLength_ = config.nice;
    chainLimit_ = config.chain;
    input_ = nullptr;
    inputLeft_ = 0;
    strstart_ = 0;
    lookahead_ = 0;
    matchStart_ = 0;
    prevMatch_ = 0;
    matchLength_ = prevLength_ = kMinMatch - 1;
    matchAvailable_ = false;
    blockStart_ = 0;
    symbols_ = 0;
    adler_.reset();
}

void ZipEncoder::reset() {
    clearState();
    bits_.start(sink_, output_.get(), kOutputSize);
    // CMF (method 8, window size) and FLG (a compression level hint, no
    // preset dictionary, check bits making the pair a multiple of 31). The
    // hint is min((level - 1) / 2, 3) whatever the strategy; it is advisory
    // only, no decoder reads it, and zlib 1.2.13 picks it differently at
    // levels 2 and 5 and for Huffman-only coding.
    uint32_t levelHint = static_cast<uint32_t>(std::min((level_ - 1) / 2, 3));
    uint32_t header = ((static_cast<uint32_t>(windowBits_) - 8) << 4 | 8) << 8 | levelHint << 6;
    header += 31 - header % 31;
    bits_.putByte(static_cast<uint8_t>(header >> 8));
    bits_.putByte(static_cast<uint8_t>(header));
}

void ZipEncoder::encode(const uint8_t* buffer, size_t length) {
    if (length == 0) return;
    input_ = buffer;
    inputLeft_ = length;
    compress(false);
    input_ = nullptr;
}

void ZipEncoder::finish() {
    input_ = nullptr;
    inputLeft_ = 0;
    compress(true);
    uint32_t check = adler_.value();
    for (int shift = 24; shift >= 0; shift -= 8)
        bits_.putByte(static_cast<uint8_t>(check >> shift));
    bits_.drain();
}

void ZipEncoder::compress(bool flush) {
    if (strategy_ == 2)
        compressLiterals(flush);
    else if (level_ <= 3)
        compressGreedy(flush);
    else
        compressLazy(flush);
}

void ZipEncoder::slideWindow() {
    uint8_t* window = window_.get();
    uint32_t held = strstart_ + lookahead_ - windowSize_;
    std::memcpy(window, window + windowSize_, held);
    matchStart_ -= windowSize_;
    strstart_ -= windowSize_;
    blockStart_ -= windowSize_;
    // Chain entries that fall out of the window become "none".
    const uint32_t size = windowSize_;
    uint16_t* head = head_.get();
    for (uint32_t n = 0; n < hashSize_; ++n)
        head[n] = static_cast<uint16_t>(head[n] >= size ? head[n] - size : 0);
    uint16_t* prev = prev_.get();
    for (uint32_t n = 0; n < size; ++n)
        prev[n] = static_cast<uint16_t>(prev[n] >= size ? prev[n] - size : 0);
    if (quadHead_) {
        uint16_t* quadHead = quadHead_.get();
        for (uint32_t n = 0; n < (1u << kQuadBits); ++n)
            quadHead[n] = static_cast<uint16_t>(quadHead[n] >= size ? quadHead[n] - size : 0);
        uint16_t* quadPrev = quadPrev_.get();
        for (uint32_t n = 0; n < size; ++n)
            quadPrev[n] = static_cast<uint16_t>(quadPrev[n] >= size ? quadPrev[n] - size : 0);
    }
}

// Tops the window up from the input until the lookahead is long enough or
// the input is used up, sliding it down by half once the current string is
// far enough into the upper half.
void ZipEncoder::fillWindow() {
    const uint32_t capacity = 2 * windowSize_;
    do {
        if (strstart_ >= windowSize_ + maxDistance_) slideWindow();
        if (inputLeft_ == 0) break;
        size_t room = capacity - lookahead_ - strstart_;
        size_t n = inputLeft_ < room ? inputLeft_ : room;
        uint8_t* to = window_.get() + strstart_ + lookahead_;
        std::memcpy(to, input_, n);
        adler_.update(to, n);
        input_ += n;
        inputLeft_ -= n;
        lookahead_ += static_cast<uint32_t>(n);
    } while (lookahead_ < kMinLookahead && inputLeft_ != 0);
}

// Walks the hash chain from `candidate` for a match longer than the one held
// (prevLength_); sets matchStart_ and returns its length, at most the lookahead.
uint32_t ZipEncoder::longestMatch(uint32_t candidate) {
    uint32_t chain = chainLimit_;
    const uint8_t* window = window_.get();
    const uint8_t* scan = window + strstart_;
    const uint16_t* prev = prev_.get();
    const uint32_t mask = windowMask_;
    uint32_t best = prevLength_;
    uint32_t nice = niceLength_ < lookahead_ ? niceLength_ : lookahead_;
    uint32_t limit = strstart_ > maxDistance_ ? strstart_ - maxDistance_ : 0;
    // The two bytes that end the best match so far decide most candidates;
    // then the two that start it.
    const uint16_t start = load16(scan);
    uint16_t end = load16(scan + best - 1);
    if (prevLength_ >= goodLength_) chain >>= 2;
    // The 4-byte chains serve once the string's fourth byte is input (every
    // candidate's is then too) and a match of 3 is held.
    const bool quad = quadHead_ && lookahead_ >= 4;
    const uint32_t first = candidate;
    const uint32_t budget = chain;
    uint32_t above = first + 1;  // the 4-byte walk takes candidates below this
    if (!quad || best < 3) {
        bool more = false;
        do {
            const uint8_t* match = window + candidate;
            if (load16(match + best - 1) != end || load16(match) != start) continue;
            uint32_t length = matchLength(scan, match);
            if (length > best) {
                matchStart_ = candidate;
                best = length;
                if (length >= nice) break;
                end = load16(scan + best - 1);
                if (quad) {
                    more = true;
                    above = candidate;
                    break;
                }
            }
            // A chain limit of 0 wraps around and leaves only the distance limit.
        } while ((candidate = prev[candidate & mask]) > limit && --chain != 0);
        if (!more) return best <= lookahead_ ? best : lookahead_;
    }
    // Candidates of the 3-byte chain that differ in the fourth byte cannot
    // win; those that agree are all on this string's 4-byte chain (with
    // others that hash alike), in the same order. The k-th link of the
    // 3-byte chain from `first` has an ordinal k below first's, so the
    // chain limit is checked by difference; positions fall along the
    // chain, so the distance limit ends the walk.
    const uint16_t* quadPrev = quadPrev_.get();
    const uint32_t* ordinal = ordinal_.get();
    const uint32_t word = load32(scan);
    const uint32_t firstOrdinal = ordinal[first & mask];
    uint32_t at = quadPrev[strstart_ & mask];
    while (at >= above) at = quadPrev[at & mask];
    for (; at > limit || (at == first && at != 0); at = quadPrev[at & mask]) {
        const uint8_t* match = window + at;
        if (load32(match) != word) continue;
        if (firstOrdinal - ordinal[at & mask] >= budget && budget != 0) break;
        if (load16(match + best - 1) != end) continue;
        uint32_t length = matchLength(scan, match);
        if (length > best) {
            matchStart_ = at;
            best = length;
            if (length >= nice) break;
            end = load16(scan + best - 1);
        }
    }
    return best <= lookahead_ ? best : lookahead_;
}

void ZipEncoder::flushBlock(bool last) {
    const uint8_t* stored = blockStart_ >= 0 ? window_.get() + blockStart_ : nullptr;
    trees_.writeBlock(bits_, distances_.get(), values_.get(), symbols_, stored,
                      static_cast<size_t>(strstart_ - blockStart_), last);
    blockStart_ = strstart_;
    symbols_ = 0;
}

void ZipEncoder::compressGreedy(bool flush) {
    const Chains chains = this->chains();
    const uint8_t* window = chains.window;
    for (;;) {
        if (lookahead_ < kMinLookahead) {
            fillWindow();
            if (lookahead_ < kMinLookahead && !flush) return;
            if (lookahead_ == 0) break;
        }
        uint32_t head = lookahead_ >= kMinMatch ? chains.insert(strstart_) : 0;
        if (head != 0 && strstart_ - head <= maxDistance_) matchLength_ = longestMatch(head);
        bool full;
        if (matchLength_ >= kMinMatch) {
            full = tallyMatch(strstart_ - matchStart_, matchLength_ - kMinMatch);
            lookahead_ -= matchLength_;
            if (matchLength_ <= lazyLimit_ && lookahead_ >= kMinMatch) {
                // Short match: every string inside it joins the chains.
                for (uint32_t n = matchLength_ - 1; n != 0; --n) chains.insert(++strstart_);
                ++strstart_;
            } else {
                // Long match: skipped; hashing resumes at its end.
                strstart_ += matchLength_;
            }
            matchLength_ = 0;
        } else {
            full = tallyLiteral(window[strstart_]);
            --lookahead_;
            ++strstart_;
        }
        if (full) flushBlock(false);
    }
    flushBlock(true);
}

void ZipEncoder::compressLazy(bool flush) {
    const Chains chains = this->chains();
    const uint8_t* window = chains.window;
    const bool filtered = strategy_ == 1;
    for (;;) {
        if (lookahead_ < kMinLookahead) {
            fillWindow();
            if (lookahead_ < kMinLookahead && !flush) return;
            if (lookahead_ == 0) break;
        }
        uint32_t head = lookahead_ >= kMinMatch ? chains.insert(strstart_) : 0;
        // The match found at the previous byte waits while this one is tried.
        prevLength_ = matchLength_;
        prevMatch_ = matchStart_;
        matchLength_ = kMinMatch - 1;
        if (head != 0 && prevLength_ < lazyLimit_ && strstart_ - head <= maxDistance_) {
            matchLength_ = longestMatch(head);
            if (matchLength_ <= 5 &&
                (filtered || (matchLength_ == kMinMatch && strstart_ - matchStart_ > kTooFar)))
                matchLength_ = kMinMatch - 1;
        }
        if (prevLength_ >= kMinMatch && matchLength_ <= prevLength_) {
            // The previous match stands; its strings join the chains.
            uint32_t maxInsert = strstart_ + lookahead_ - kMinMatch;
            bool full = tallyMatch(strstart_ - 1 - prevMatch_, prevLength_ - kMinMatch);
            lookahead_ -= prevLength_ - 1;
            uint32_t position = strstart_;
            for (uint32_t n = prevLength_ - 2; n != 0; --n)
                if (++position <= maxInsert) chains.insert(position);
            matchAvailable_ = false;
            matchLength_ = kMinMatch - 1;
            strstart_ = position + 1;
            if (full) flushBlock(false);
        } else if (matchAvailable_) {
            // This match is longer: the previous byte goes out as a literal.
            bool full = tallyLiteral(window[strstart_ - 1]);
            if (full) flushBlock(false);
            ++strstart_;
            --lookahead_;
        } else {
            matchAvailable_ = true;
            ++strstart_;
            --lookahead_;
        }
    }
    if (matchAvailable_) {
        tallyLiteral(window[strstart_ - 1]);
        matchAvailable_ = false;
    }
    flushBlock(true);
}

void ZipEncoder::compressLiterals(bool flush) {
    const uint8_t* window = window_.get();
    for (;;) {
        if (lookahead_ == 0) {
            fillWindow();
            if (lookahead_ == 0) {
                if (!flush) return;
                break;
            }
        }
        bool full = tallyLiteral(window[strstart_]);
        --lookahead_;
        ++strstart_;
        if (full) flushBlock(false);
    }
    flushBlock(true);
}

}  // namespace vivark
