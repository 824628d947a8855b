// ZipDecoder: block headers, code tables, the Huffman loop and the stored
// loop, the hand-out of decoded bytes with their Adler-32, and the trailer.
//
// Bits are held in a 64-bit accumulator, least significant first. Bits above
// the count are either zero or the true stream bits that follow (a wide load
// puts them there without consuming their bytes), so adding a byte again is
// harmless. The hot loop keeps the accumulator, the input cursor and the
// output pointer in locals and takes two paths: while eight input bytes
// remain in the source's window, it loads a word and decodes a whole symbol
// (at most 48 bits) without further checks; near the end of the window it
// decodes one symbol carefully, asking the source to refill only when the
// bits in hand cannot settle the code, so no byte beyond what the data needs
// is ever demanded of the source.
#include "codecs/ZipDecoder.h"

#include <algorithm>

#include <bit>
#include <cstring>

#include "codecs/DeflateTables.h"
#include "core/Errors.h"

namespace vivark {
namespace {

inline uint64_t loadWord(const uint8_t* p) {
    uint64_t value;
    std::memcpy(&value, p, sizeof value);
    if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
    return value;
}

inline void storeWord(uint8_t* p, uint64_t value) {
    if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
    std::memcpy(p, &value, sizeof value);
}

inline uint32_t lowBits(uint64_t value, uint32_t count) {
    return static_cast<uint32_t>(value) & ((1u << count) - 1);
}

// A table entry read as one word: one load rather than three, and a bit
// count that serves as a shift count as it stands (counts are at most 15, so
// the low six bits hold all of it).
struct EntryWord {
    uint32_t word;
    uint32_t bits() const { return word & 63; }
    uint32_t op() const { return (word >> 8) & 0xFF; }
    uint32_t value() const { return word >> 16; }
};
static_assert(sizeof(CodeEntry) == 4);

inline EntryWord entryAt(const CodeEntry* table, uint32_t index) {
    const CodeEntry* entry = table + index;
    if constexpr (std::endian::native == std::endian::little) {
        uint32_t word;
        std::memcpy(&word, entry, sizeof word);
        return {word};
    } else {
        return {entry->bits | uint32_t(entry->op) << 8 | uint32_t(entry->value) << 16};
    }
}

// Copies a match of `length` bytes from `distance` back. The output has room
// for 40 bytes from the match's start and 16 beyond its end (the buffer's
// slack); bytes written there are overwritten by what is decoded next.
inline uint8_t* copyMatch(uint8_t* out, uint32_t distance, uint32_t length) {
    const uint8_t* from = out - distance;
    uint8_t* const end = out + length;
    if (length <= 8 && length <= distance) {
        // The common short match of photographic data: one word holds it and
        // its source lies wholly before it. Copying more words would load
        // bytes just stored by this copy, and each such load waits for the
        // store before it to reach the cache. (The word may overlap its own
        // destination, so it goes through a register.)
        uint64_t word;
        std::memcpy(&word, from, 8);
        std::memcpy(out, &word, 8);
    } else if (distance >= 8) {
        // Each word's source lies wholly before its destination. Five words
        // settle most matches without a loop to mispredict; longer ones go on
        // two words a step.
        std::memcpy(out, from, 8);
        std::memcpy(out + 8, from + 8, 8);
        std::memcpy(out + 16, from + 16, 8);
        std::memcpy(out + 24, from + 24, 8);
        std::memcpy(out + 32, from + 32, 8);
        if (length > 40) {
            out += 40;
            from += 40;
            do {
                std::memcpy(out, from, 8);
                std::memcpy(out + 8, from + 8, 8);
                out += 16;
                from += 16;
            } while (out < end);
        }
    } else if (distance == 1) {
        const uint64_t word = 0x0101010101010101ull * *from;
        std::memcpy(out, &word, 8);
        std::memcpy(out + 8, &word, 8);
        std::memcpy(out + 16, &word, 8);
        std::memcpy(out + 24, &word, 8);
        std::memcpy(out + 32, &word, 8);
        if (length > 40) {
            out += 40;
            do {
                std::memcpy(out, &word, 8);
                std::memcpy(out + 8, &word, 8);
                out += 16;
            } while (out < end);
        }
    } else {
        // A pattern of 2 to 7 bytes: build a word of it from the settled
        // bytes and store it at steps of whole periods, never loading what
        // was just stored.
        // The word is built in a register from one load, since bytes stored
        // one by one and loaded back as a word stall the load.
        static constexpr uint8_t kStep[8] = {0, 0, 8, 6, 8, 5, 6, 7};  // whole periods in 8
        const uint32_t period = 8 * distance;
        uint64_t pattern = loadWord(from) & ((uint64_t{1} << period) - 1);
        pattern |= pattern << period;
        if (distance < 4) pattern |= pattern << (2 * period);
        const uint32_t step = kStep[distance];
        do {
            storeWord(out, pattern);
            out += step;
        } while (out < end);
    }
    return end;
}

}  // namespace

ZipDecoder::ZipDecoder() : buffer_(new uint8_t[kHistory + kArea + kSlack]()) {
    out_ = read_ = buffer_.get() + kHistory;

    // The fixed codes: literal/length lengths 8, 9, 7, 8 over 0-143, 144-255,
    // 256-279, 280-287 (286 and 287 are invalid); 30 distance codes of 5 bits.
    uint8_t lengths[deflate::kLiteralLengthSymbols];
    for (uint32_t i = 0; i < 144; ++i) lengths[i] = 8;
    for (uint32_t i = 144; i < 256; ++i) lengths[i] = 9;
    for (uint32_t i = 256; i < 280; ++i) lengths[i] = 7;
    for (uint32_t i = 280; i < 288; ++i) lengths[i] = 8;
    fixedLiterals_.build(
        {lengths, deflate::kLiteralLengthSymbols, kLiteralLengthMeanings.data(), true});
    for (uint32_t i = 0; i < deflate::kDistanceCodes; ++i) lengths[i] = 5;
    fixedDistances_.build({lengths, deflate::kDistanceCodes, kDistanceMeanings.data(), false});
}

ZipDecoder::~ZipDecoder() = default;

void ZipDecoder::reset() {
    bitBuffer_ = 0;
    bitCount_ = 0;
    windowStart_ = source_->cursor;
    need(16);
    const uint32_t cmf = takeBits(8);
    const uint32_t flg = takeBits(8);
    if ((cmf * 256 + flg) % 31 != 0) throw ZIPERROR::HeaderCheck;
    // Method 8 with a window of at most 32 KiB; FDICT and FLEVEL are not looked at.
    if ((cmf & 0x0F) != 8 || (cmf & 0xF0) > 0x70) throw ZIPERROR::BadMethod;

    // Only a slide writes into the history; a stream that never slid (every
    // strip of a few rows) leaves it zeroed for the next one.
    if (historyDirty_) {
        std::memset(buffer_.get(), 0, kHistory);
        historyDirty_ = false;
    }
    out_ = read_ = buffer_.get() + kHistory;
    adler_.reset();
    lastBlock_ = false;
    headerNeeded_ = true;
    blockType_ = 0;
    storedLeft_ = 0;
    literals_ = distances_ = nullptr;
}

void ZipDecoder::decode(uint8_t* buffer, size_t length) {
    while (length != 0) {
        if (read_ != out_) {
            size_t pending = static_cast<size_t>(out_ - read_);
            size_t n = pending < length ? pending : length;
            adler_.update(read_, n);
            std::memcpy(buffer, read_, n);
            read_ += n;
            buffer += n;
            length -= n;
            continue;
        }
        // A block header is due but the final block has ended.
        if (lastBlock_ && headerNeeded_) throw ZIPERROR::DataIncomplete;
        produce(length);
    }
}

void ZipDecoder::finish() {
    for (;;) {
        if (read_ != out_) {
            adler_.update(read_, static_cast<size_t>(out_ - read_));
            read_ = out_;
        }
        if (lastBlock_ && headerNeeded_) break;
        produce(kArea);
    }

    // The trailer starts at the next byte boundary; bytes already in the
    // accumulator come first.
    bitBuffer_ >>= bitCount_ & 7;
    bitCount_ &= ~7u;
    uint32_t trailer = 0;
    for (int i = 0; i < 4; ++i) trailer = (trailer << 8) | takeBits(8);
    // Whole bytes loaded beyond the trailer go back to the source. They were
    // loaded by a wide read of the current window, so they lie in it.
    size_t giveBack = bitCount_ / 8;
    size_t consumed = static_cast<size_t>(source_->cursor - windowStart_);
    source_->cursor -= giveBack < consumed ? giveBack : consumed;
    bitBuffer_ = 0;
    bitCount_ = 0;

    if (trailer != adler_.value()) throw ZIPERROR::ChecksumMismatch;
    StreamDecoder::finish();
}

void ZipDecoder::produce(size_t wanted) {
    uint8_t* const areaEnd = buffer_.get() + kHistory + kArea;
    if (out_ >= areaEnd) slide();
    size_t room = static_cast<size_t>(areaEnd - out_);
    uint8_t* const limit = out_ + (wanted < room ? wanted : room);
    while (out_ < limit) {
        if (headerNeeded_) {
            if (lastBlock_) return;
            readBlockHeader();
            continue;
        }
        if (blockType_ == 0)
            copyStored(limit);
        else
            inflateBlock(limit);
    }
}

void ZipDecoder::slide() {
    // Keep the last 32768 bytes as history; the pending bytes lie within them.
    const size_t shift = static_cast<size_t>(out_ - buffer_.get()) - kHistory;
    std::memmove(buffer_.get(), buffer_.get() + shift, kHistory);
    historyDirty_ = true;
    out_ -= shift;
    read_ -= shift;
}

void ZipDecoder::pullByte() {
    ByteSource& source = *source_;
    if (source.cursor == source.end) {
        source.refill();
        windowStart_ = source.cursor;
    }
    bitBuffer_ |= static_cast<uint64_t>(*source.cursor++) << bitCount_;
    bitCount_ += 8;
}

void ZipDecoder::need(uint32_t count) {
    while (bitCount_ < count) pullByte();
}

uint32_t ZipDecoder::takeBits(uint32_t count) {
    need(count);
    uint32_t value = lowBits(bitBuffer_, count);
    bitBuffer_ >>= count;
    bitCount_ -= count;
    return value;
}

CodeEntry ZipDecoder::lookup(const CodeEntry* table, uint32_t mask) {
    // Whatever the window holds costs nothing to take.
    ByteSource& source = *source_;
    while (bitCount_ < 56 && source.cursor != source.end) {
        bitBuffer_ |= static_cast<uint64_t>(*source.cursor++) << bitCount_;
        bitCount_ += 8;
    }
    for (;;) {
        CodeEntry entry = table[bitBuffer_ & mask];
        if (entry.op > CodeEntry::kLiteral && entry.op != CodeEntry::kInvalid) {
            if (entry.bits <= bitCount_) {
                const CodeEntry inner =
                    table[entry.value +
                          lowBits(bitBuffer_ >> entry.bits, entry.op - CodeEntry::kLiteral)];
                if (entry.bits + inner.bits <= bitCount_) {
                    bitBuffer_ >>= entry.bits;
                    bitCount_ -= entry.bits;
                    entry = inner;
                } else {
                    pullByte();
                    continue;
                }
            } else {
                pullByte();
                continue;
            }
        } else if (entry.bits > bitCount_) {
            pullByte();
            continue;
        }
        if (entry.op == CodeEntry::kInvalid) throw ZIPERROR::InvalidData;
        bitBuffer_ >>= entry.bits;
        bitCount_ -= entry.bits;
        return entry;
    }
}

void ZipDecoder::readBlockHeader() {
    literals_ = distances_ = nullptr;
    if (lastBlock_) throw ZIPERROR::DataIncomplete;
    const uint32_t header = takeBits(3);
    lastBlock_ = (header & 1) != 0;
    blockType_ = header >> 1;
    headerNeeded_ = false;
    switch (blockType_) {
        case 0: {
            bitBuffer_ >>= bitCount_ & 7;
            bitCount_ &= ~7u;
            const uint32_t length = takeBits(16);
            const uint32_t complement = takeBits(16);
            if (length != (complement ^ 0xFFFF)) throw ZIPERROR::InvalidData;
            storedLeft_ = length;
            headerNeeded_ = length == 0;
            break;
        }
        case 1:
            literals_ = fixedLiterals_.entries();
            distances_ = fixedDistances_.entries();
            break;
        case 2:
            readDynamicTables();
            literals_ = dynamicLiterals_.entries();
            distances_ = dynamicDistances_.entries();
            break;
        default:
            throw ZIPERROR::BadBlockType;
    }
}

void ZipDecoder::readDynamicTables() {
    const uint32_t literalCount = takeBits(5) + 257;
    const uint32_t distanceCount = takeBits(5) + 1;
    const uint32_t lengthCodeCount = takeBits(4) + 4;
    if (literalCount > 286 || distanceCount > 30) throw ZIPERROR::InvalidData;

    uint8_t codeLengths[deflate::kCodeLengthCodes] = {};
    for (uint32_t i = 0; i < lengthCodeCount; ++i)
        codeLengths[deflate::kCodeLengthOrder[i]] = static_cast<uint8_t>(takeBits(3));
    CodeTable<7, 128> lengthTable;
    lengthTable.build({codeLengths, deflate::kCodeLengthCodes, kCodeLengthMeanings.data(), true});

    uint8_t lengths[286 + 30];
    const uint32_t total = literalCount + distanceCount;
    const CodeEntry* const table = lengthTable.entries();
    ByteSource& source = *source_;
    uint32_t previous = 0;
    uint32_t batch = 0;  // items left that the accumulator is known to hold
    for (uint32_t i = 0; i < total;) {
        // While eight bytes of the window remain, one word holds the next
        // three items (a code of at most 7 bits and at most 7 extra bits
        // each), taken without further checks.
        if (batch == 0 && source.end - source.cursor >= 8) {
            bitBuffer_ |= loadWord(source.cursor) << bitCount_;
            source.cursor += (63 - bitCount_) >> 3;
            bitCount_ |= 56;
            batch = 3;
        }
        CodeEntry entry;
        if (batch != 0) {
            --batch;
            entry = table[bitBuffer_ & lengthTable.kMask];
            if (entry.op == CodeEntry::kInvalid) throw ZIPERROR::InvalidData;
            bitBuffer_ >>= entry.bits;
            bitCount_ -= entry.bits;
        } else {
            entry = lookup(table, lengthTable.kMask);
        }
        const uint32_t symbol = entry.value;
        if (symbol < 16) {
            lengths[i++] = static_cast<uint8_t>(symbol);
            previous = symbol;
            continue;
        }
        uint32_t repeat;
        if (symbol == 16) {
            repeat = 3 + takeBits(2);
        } else if (symbol == 17) {
            repeat = 3 + takeBits(3);
            previous = 0;
        } else {
            repeat = 11 + takeBits(7);
            previous = 0;
        }
        if (i + repeat > total) throw ZIPERROR::InvalidData;
        while (repeat-- != 0) lengths[i++] = static_cast<uint8_t>(previous);
    }

    dynamicLiterals_.build({lengths, literalCount, kLiteralLengthMeanings.data(), true});
    // A block of literals alone may give every distance length as 0; its
    // distance codes are then all invalid. Any other incomplete distance set
    // is refused.
    const bool noDistances = std::all_of(lengths + literalCount, lengths + total,
                                         [](uint8_t length) { return length == 0; });
    dynamicDistances_.build(
        {lengths + literalCount, distanceCount, kDistanceMeanings.data(), !noDistances});
}

bool ZipDecoder::decodeSymbolCarefully() {
    CodeEntry entry = lookup(literals_, LiteralTable::kMask);
    if (entry.op == CodeEntry::kLiteral) {
        *out_++ = static_cast<uint8_t>(entry.value);
        return false;
    }
    if (entry.op == CodeEntry::kEndOfBlock) {
        headerNeeded_ = true;
        return true;
    }
    const uint32_t length = entry.value + takeBits(entry.op);
    entry = lookup(distances_, DistanceTable::kMask);
    const uint32_t distance = entry.value + takeBits(entry.op);
    out_ = copyMatch(out_, distance, length);
    return false;
}

// The Huffman loop is a chain of table loads, each indexed by the
// accumulator shifted by the previous entry's bit count. x86-64's plain
// variable shift goes through the flags and the count register; BMI2's shift
// does not, so where the processor has BMI2 the loop is run from a copy
// compiled for it, chosen once at run time.
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VIVARK_INFLATE_BMI2 1
#else
#define VIVARK_INFLATE_BMI2 0
#endif

void ZipDecoder::inflateBlock(uint8_t* const limit) {
#if VIVARK_INFLATE_BMI2
    static const bool bmi2 = __builtin_cpu_supports("bmi2");
    if (bmi2) {
        inflateBlockBmi2(limit);
        return;
    }
#endif
    inflateLoop(limit);
}

#if VIVARK_INFLATE_BMI2
__attribute__((target("bmi2"))) void ZipDecoder::inflateBlockBmi2(uint8_t* const limit) {
    inflateLoop(limit);
}
#else
void ZipDecoder::inflateBlockBmi2(uint8_t* const limit) {
    inflateLoop(limit);
}
#endif

inline __attribute__((always_inline)) void ZipDecoder::inflateLoop(uint8_t* const limit) {
    ByteSource& source = *source_;
    const CodeEntry* const literals = literals_;
    const CodeEntry* const distances = distances_;
    uint8_t* out = out_;
    const uint8_t* in = source.cursor;
    const uint8_t* inEnd = source.end;
    uint64_t bits = bitBuffer_;
    uint32_t count = bitCount_;

    // Plain statements rather than lambdas over the locals, so that none of
    // them has its address taken and all stay in registers.
#define VIVARK_DROP(n) \
    do {               \
        bits >>= (n);  \
        count -= (n);  \
    } while (false)
#define VIVARK_STORE()      \
    do {                    \
        out_ = out;         \
        source.cursor = in; \
        bitBuffer_ = bits;  \
        bitCount_ = count;  \
    } while (false)

    // The next literal/length entry, looked up before a match is copied so
    // that the table load overlaps the copy.
    EntryWord entry{};
    bool looked = false;
    while (out < limit) {
        if (looked) {
            looked = false;
        } else if (inEnd - in < 8) {
            VIVARK_STORE();
            const bool ended = decodeSymbolCarefully();
            out = out_;
            in = source.cursor;
            inEnd = source.end;
            bits = bitBuffer_;
            count = bitCount_;
            if (ended) break;
            continue;
        } else {
            // Refill to 56..63 bits, consuming only the bytes wholly taken in.
            bits |= loadWord(in) << count;
            in += (63 - count) >> 3;
            count |= 56;
            entry = entryAt(literals, bits & LiteralTable::kMask);
        }
        if (entry.op() == CodeEntry::kLiteral) {
            // A root literal takes at most 11 bits. A refill leaves 64 true
            // stream bits in the accumulator, so after four literals at least
            // 20 remain: enough to look up the next entry before refilling,
            // which keeps the refill's load off the chain of table loads.
            static_assert(4 * LiteralTable::kRootBits + LiteralTable::kRootBits <= 64,
                          "the entry after four root literals is looked up from true bits");
            VIVARK_DROP(entry.bits());
            *out++ = static_cast<uint8_t>(entry.value());
            bool pending = true;
            if (limit - out >= 3) {
                // Room for all three: no check of the limit between them.
                do {
                    entry = entryAt(literals, bits & LiteralTable::kMask);
                    if (entry.op() != CodeEntry::kLiteral) break;
                    VIVARK_DROP(entry.bits());
                    *out++ = static_cast<uint8_t>(entry.value());
                    entry = entryAt(literals, bits & LiteralTable::kMask);
                    if (entry.op() != CodeEntry::kLiteral) break;
                    VIVARK_DROP(entry.bits());
                    *out++ = static_cast<uint8_t>(entry.value());
                    entry = entryAt(literals, bits & LiteralTable::kMask);
                    if (entry.op() != CodeEntry::kLiteral) break;
                    VIVARK_DROP(entry.bits());
                    *out++ = static_cast<uint8_t>(entry.value());
                    entry = entryAt(literals, bits & LiteralTable::kMask);
                } while (false);
            } else {
                for (int more = 3; more != 0 && out != limit; --more) {
                    entry = entryAt(literals, bits & LiteralTable::kMask);
                    if (entry.op() != CodeEntry::kLiteral) break;
                    VIVARK_DROP(entry.bits());
                    *out++ = static_cast<uint8_t>(entry.value());
                }
                pending = entry.op() != CodeEntry::kLiteral;
            }
            // The pending entry was looked up from true stream bits; a refill
            // leaves the low bits as they are, so it stands.
            if (pending && inEnd - in >= 8) {
                bits |= loadWord(in) << count;
                in += (63 - count) >> 3;
                count |= 56;
                looked = true;
            }
            continue;
        }
        if (entry.op() > CodeEntry::kLiteral) {
            if (entry.op() == CodeEntry::kInvalid) {
                VIVARK_STORE();
                throw ZIPERROR::InvalidData;
            }
            VIVARK_DROP(entry.bits());
            entry =
                entryAt(literals, entry.value() + lowBits(bits, entry.op() - CodeEntry::kLiteral));
            if (entry.op() == CodeEntry::kInvalid) {
                VIVARK_STORE();
                throw ZIPERROR::InvalidData;
            }
        }
        if (entry.op() == CodeEntry::kLiteral) {
            VIVARK_DROP(entry.bits());
            *out++ = static_cast<uint8_t>(entry.value());
            continue;
        }
        if (entry.op() == CodeEntry::kEndOfBlock) {
            VIVARK_DROP(entry.bits());
            headerNeeded_ = true;
            break;
        }
        // The code and its extra bits go in one shift.
        const uint32_t length = entry.value() + lowBits(bits >> entry.bits(), entry.op());
        VIVARK_DROP(entry.bits() + entry.op());

        entry = entryAt(distances, bits & DistanceTable::kMask);
        if (entry.op() > CodeEntry::kLiteral) {
            if (entry.op() == CodeEntry::kInvalid) {
                VIVARK_STORE();
                throw ZIPERROR::InvalidData;
            }
            VIVARK_DROP(entry.bits());
            entry =
                entryAt(distances, entry.value() + lowBits(bits, entry.op() - CodeEntry::kLiteral));
            if (entry.op() == CodeEntry::kInvalid) {
                VIVARK_STORE();
                throw ZIPERROR::InvalidData;
            }
        }
        const uint32_t distance = entry.value() + lowBits(bits >> entry.bits(), entry.op());
        VIVARK_DROP(entry.bits() + entry.op());
        // A match is decoded just after a refill and takes at most 48 bits,
        // so the next entry can be looked up before the refill.
        entry = entryAt(literals, bits & LiteralTable::kMask);
        if (inEnd - in >= 8) {
            bits |= loadWord(in) << count;
            in += (63 - count) >> 3;
            count |= 56;
            looked = true;
        }
        out = copyMatch(out, distance, length);
    }
    VIVARK_STORE();
#undef VIVARK_STORE
#undef VIVARK_DROP
}

void ZipDecoder::copyStored(uint8_t* const limit) {
    size_t room = static_cast<size_t>(limit - out_);
    size_t n = storedLeft_ < room ? storedLeft_ : room;
    storedLeft_ -= static_cast<uint32_t>(n);
    // Whole bytes already in the accumulator come first.
    while (n != 0 && bitCount_ >= 8) {
        *out_++ = static_cast<uint8_t>(bitBuffer_);
        bitBuffer_ >>= 8;
        bitCount_ -= 8;
        --n;
    }
    if (n != 0) {
        // The accumulator is empty; its upper bits would describe bytes taken
        // directly below.
        bitBuffer_ = 0;
        ByteSource& source = *source_;
        while (n != 0) {
            if (source.cursor == source.end) {
                source.refill();
                windowStart_ = source.cursor;
            }
            size_t available = source.available();
            size_t take = available < n ? available : n;
            std::memcpy(out_, source.cursor, take);
            source.cursor += take;
            out_ += take;
            n -= take;
        }
    }
    if (storedLeft_ == 0) headerNeeded_ = true;
}

}  // namespace vivark
