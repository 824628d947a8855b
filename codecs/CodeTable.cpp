// CodeTable building: counting and checking the code set, assigning the
// canonical codes and laying them out bit-reversed, since Deflate sends code
// bits most significant first inside a least-significant-first bit stream.
//
// Codes no longer than rootBits fill every root slot whose low bits match.
// Longer codes sharing the same first rootBits bits are consecutive in
// canonical order; they get one sub-table, just wide enough for the longest
// of them, because in a complete set they tile their part of the code space
// exactly. Throws ZIPERROR.
#include "codecs/CodeTable.h"

#include <array>
#include <bit>
#include <cstring>

#include "codecs/DeflateTables.h"
#include "core/Errors.h"

namespace vivark {
namespace {

constexpr uint32_t kMaxLength = deflate::kMaxBits;
constexpr uint32_t kMaxSymbols = deflate::kLiteralLengthSymbols;

// The canonical code after `reversed` (a code of `length` bits held
// bit-reversed, as table slots are indexed), counted in reversed order: the
// highest clear bit is set and every bit above it cleared. Canonical codes
// of the next length start where the shorter ones left off, with a zero
// appended, which in reversed form is the same number; so one counter serves
// the whole set. Past the last code of a full code space it stays put.
inline uint32_t nextReversed(uint32_t reversed, uint32_t length) {
    const uint32_t bit = std::bit_floor(~reversed & ((1u << length) - 1));
    return (reversed & (bit - 1)) | bit;
}

constexpr auto literalLengthMeanings() {
    std::array<CodeEntry, deflate::kLiteralLengthSymbols> m{};
    for (uint32_t symbol = 0; symbol < m.size(); ++symbol) {
        const uint32_t index = symbol - (deflate::kEndOfBlock + 1);
        m[symbol] = symbol < 256    ? CodeEntry{0, CodeEntry::kLiteral, uint16_t(symbol)}
                    : symbol == 256 ? CodeEntry{0, CodeEntry::kEndOfBlock, 0}
                    : index < deflate::kLengthCodes
                        ? CodeEntry{0, deflate::kLengthExtra[index], deflate::kLengthBase[index]}
                        : CodeEntry{0, CodeEntry::kInvalid, 0};
    }
    return m;
}

constexpr auto distanceMeanings() {
    std::array<CodeEntry, deflate::kDistanceCodes> m{};
    for (uint32_t symbol = 0; symbol < m.size(); ++symbol)
        m[symbol] = {0, deflate::kDistanceExtra[symbol], deflate::kDistanceBase[symbol]};
    return m;
}

constexpr auto codeLengthMeanings() {
    std::array<CodeEntry, deflate::kCodeLengthCodes> m{};
    for (uint32_t symbol = 0; symbol < m.size(); ++symbol)
        m[symbol] = {0, CodeEntry::kLiteral, uint16_t(symbol)};
    return m;
}

// A symbol's entry at a level where its code takes `bits` bits.
inline CodeEntry entryFor(const CodeSet& set, uint32_t symbol, uint32_t bits) {
    CodeEntry entry = set.meanings[symbol];
    entry.bits = static_cast<uint8_t>(bits);
    return entry;
}

}  // namespace

constexpr std::array<CodeEntry, 288> kLiteralLengthMeanings = literalLengthMeanings();
constexpr std::array<CodeEntry, 30> kDistanceMeanings = distanceMeanings();
constexpr std::array<CodeEntry, 19> kCodeLengthMeanings = codeLengthMeanings();

uint32_t buildCodeTable(CodeEntry* table, uint32_t capacity, uint32_t rootBits,
                        const CodeSet& set) {
    if (set.count > kMaxSymbols) throw ZIPERROR::InvalidData;
    uint32_t counts[kMaxLength + 1] = {};
    for (uint32_t symbol = 0; symbol < set.count; ++symbol) {
        if (set.lengths[symbol] > kMaxLength) throw ZIPERROR::InvalidData;
        ++counts[set.lengths[symbol]];
    }
    counts[0] = 0;

    // Kraft sum: what is left of the code space after each length.
    int32_t left = 1;
    uint32_t total = 0;
    uint32_t longest = 0;
    for (uint32_t length = 1; length <= kMaxLength; ++length) {
        left <<= 1;
        left -= static_cast<int32_t>(counts[length]);
        if (left < 0) throw ZIPERROR::TooManyCodes;
        total += counts[length];
        if (counts[length] != 0) longest = length;
    }
    if (left > 0 && set.rejectIncomplete && !(total == 1 && counts[1] == 1))
        throw ZIPERROR::IncompleteCodeSet;

    // Symbols in canonical order (by length, then by value).
    uint16_t sorted[kMaxSymbols];
    uint32_t offsets[kMaxLength + 2] = {};
    for (uint32_t length = 1; length <= kMaxLength; ++length)
        offsets[length + 1] = offsets[length] + counts[length];
    for (uint32_t symbol = 0; symbol < set.count; ++symbol)
        if (set.lengths[symbol] != 0) sorted[offsets[set.lengths[symbol]]++] = uint16_t(symbol);

    const uint32_t rootSize = 1u << rootBits;
    const uint32_t rootMask = rootSize - 1;
    if (rootSize > capacity) throw ZIPERROR::InvalidData;
    // Slots no code reaches (an incomplete set) decode as invalid once as many
    // bits as the longest code are in.
    const uint32_t invalidBits = longest == 0 ? 1 : (longest < rootBits ? longest : rootBits);
    // Codes no longer than the root go into the first 2^length slots, which
    // are doubled before the next length: a slot's low bits are all a short
    // code looks at, so the copies are its other slots. Every slot is written
    // about once and mostly by whole copies; slots no code reaches stay
    // invalid.
    table[0] = table[1] = {static_cast<uint8_t>(invalidBits), CodeEntry::kInvalid, 0};
    uint32_t k = 0;
    uint32_t reversed = 0;  // the next code, bit-reversed
    for (uint32_t length = 1, span = 2; length <= rootBits; ++length) {
        if (length > 1) {
            std::memcpy(table + span, table, span * sizeof(CodeEntry));
            span <<= 1;
        }
        for (; k < total && set.lengths[sorted[k]] == length; ++k) {
            table[reversed] = entryFor(set, sorted[k], length);
            reversed = nextReversed(reversed, length);
        }
    }

    uint32_t used = rootSize;
    uint32_t remaining[kMaxLength + 1];
    for (uint32_t length = 0; length <= kMaxLength; ++length) remaining[length] = counts[length];
    uint32_t currentPrefix = ~0u;
    CodeEntry* sub = nullptr;
    uint32_t subSize = 0;

    // Longer codes, in sub-tables.
    for (; k < total; ++k) {
        const uint32_t symbol = sorted[k];
        const uint32_t length = set.lengths[symbol];
        const uint32_t code = reversed;
        reversed = nextReversed(reversed, length);
        const uint32_t prefix = code & rootMask;
        if (prefix != currentPrefix) {
            // The narrowest sub-table the codes from here on fill.
            uint32_t width = length - rootBits;
            int32_t slots = 1 << width;
            for (uint32_t l = length; l < kMaxLength; ++l) {
                slots -= static_cast<int32_t>(remaining[l]);
                if (slots <= 0) break;
                ++width;
                slots <<= 1;
            }
            subSize = 1u << width;
            if (used + subSize > capacity) throw ZIPERROR::InvalidData;
            sub = table + used;
            for (uint32_t i = 0; i < subSize; ++i)
                sub[i] = {static_cast<uint8_t>(width), CodeEntry::kInvalid, 0};
            table[prefix] = {static_cast<uint8_t>(rootBits),
                             static_cast<uint8_t>(CodeEntry::kLiteral + width),
                             static_cast<uint16_t>(used)};
            used += subSize;
            currentPrefix = prefix;
        }
        const CodeEntry entry = entryFor(set, symbol, length - rootBits);
        for (uint32_t i = code >> rootBits; i < subSize; i += 1u << (length - rootBits))
            sub[i] = entry;
        --remaining[length];
    }
    return used;
}

}  // namespace vivark
