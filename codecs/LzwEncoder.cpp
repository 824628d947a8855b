// LzwEncoder: the string hash, table restarts and code packing in both bit
// orders. encode() keeps the coder's state, the bit accumulator and the
// sink's write window in locals and stores them back once per call, so the
// bytes it writes cannot alias them.
#include "codecs/LzwEncoder.h"

#include <cstring>

namespace vivark {
namespace {

constexpr uint32_t kCodeMask = 0xFFF;
// A string's home slot: the top 13 bits of its key times 2^32 / phi, which
// spreads the keys of neighbouring codes and bytes over the whole table, so
// a linear probe rarely takes a second step.
constexpr uint32_t kGolden = 2654435761u;
constexpr uint32_t kIndexShift = 19;

// The write window of a sink, held in locals for the length of one call.
struct Window {
    ByteSink& sink;
    uint8_t* cursor;
    uint8_t* end;

    explicit Window(ByteSink& s) : sink(s), cursor(s.cursor), end(s.end) {}
    void putByte(uint8_t value) {
        if (cursor == end) {
            sink.cursor = cursor;
            sink.flush();
            cursor = sink.cursor;
            end = sink.end;
        }
        *cursor++ = value;
    }
    // Four bytes, most significant first (TIFF) or least significant first.
    void putWord(uint32_t word, bool msbFirst) {
        uint8_t bytes[4];
        if (msbFirst) {
            bytes[0] = uint8_t(word >> 24);
            bytes[1] = uint8_t(word >> 16);
            bytes[2] = uint8_t(word >> 8);
            bytes[3] = uint8_t(word);
        } else {
            bytes[0] = uint8_t(word);
            bytes[1] = uint8_t(word >> 8);
            bytes[2] = uint8_t(word >> 16);
            bytes[3] = uint8_t(word >> 24);
        }
        if (end - cursor >= 4) {
            std::memcpy(cursor, bytes, 4);
            cursor += 4;
        } else {
            for (uint8_t b : bytes) putByte(b);
        }
    }
    void release() { sink.cursor = cursor; }
};

// Adds `bits` bits of `code` to the accumulator and moves out a whole word
// when 32 bits are pending. Most significant first, the pending bits are the
// low `count` bits, oldest highest; least significant first, oldest lowest.
inline void put(Window& window, uint64_t& acc, uint32_t& count, uint32_t code, uint32_t bits,
                bool msbFirst) {
    if (msbFirst) {
        acc = (acc << bits) | code;
        count += bits;
        if (count >= 32) {
            count -= 32;
            window.putWord(uint32_t(acc >> count), true);
        }
    } else {
        acc |= uint64_t{code} << count;
        count += bits;
        if (count >= 32) {
            window.putWord(uint32_t(acc), false);
            acc >>= 32;
            count -= 32;
        }
    }
}

}  // namespace

LzwEncoder::LzwEncoder(uint32_t initialCodeSize, bool tiffMode)
    : initialCodeSize_(initialCodeSize),
      clearCode_(1u << initialCodeSize),
      endCode_((1u << initialCodeSize) + 1),
      firstFreeCode_((1u << initialCodeSize) + 2),
      tiffMode_(tiffMode ? 1 : 0),
      maxCode_(tiffMode ? 4093 : 4096) {
    std::memset(slots_, 0, sizeof slots_);
    reset();
}

void LzwEncoder::reset() {
    codeSize_ = initialCodeSize_ + 1;
    prefix_ = -1;
    bitBuffer_ = 0;
    bitCount_ = 0;
}

void LzwEncoder::putCode(uint32_t code) {
    Window window(*sink_);
    put(window, bitBuffer_, bitCount_, code, codeSize_, tiffMode_ != 0);
    window.release();
}

void LzwEncoder::flushBits() {
    Window window(*sink_);
    if (tiffMode_ != 0) {
        const uint32_t pad = (8 - bitCount_ % 8) % 8;
        bitBuffer_ <<= pad;
        bitCount_ += pad;
        while (bitCount_ != 0) {
            bitCount_ -= 8;
            window.putByte(uint8_t(bitBuffer_ >> bitCount_));
        }
    } else {
        while (bitCount_ != 0) {
            window.putByte(uint8_t(bitBuffer_));
            bitBuffer_ >>= 8;
            bitCount_ = bitCount_ > 8 ? bitCount_ - 8 : 0;
        }
    }
    bitBuffer_ = 0;
    window.release();
}

void LzwEncoder::newTable() {
    putCode(clearCode_);
    std::memset(slots_, 0, sizeof slots_);
    codeSize_ = initialCodeSize_ + 1;
    nextCode_ = firstFreeCode_;
    growLimit_ = (1u << codeSize_) - tiffMode_;
}

void LzwEncoder::encode(const uint8_t* buffer, size_t length) {
    if (length == 0) return;
    const uint8_t* in = buffer;
    const uint8_t* const inEnd = buffer + length;
    if (prefix_ < 0) {
        newTable();
        prefix_ = *in++;
    }
    const bool msbFirst = tiffMode_ != 0;
    Window window(*sink_);
    uint64_t acc = bitBuffer_;
    uint32_t count = bitCount_;
    uint32_t prefix = uint32_t(prefix_);
    uint32_t nextCode = nextCode_;
    uint32_t codeSize = codeSize_;
    uint32_t growLimit = growLimit_;
    static_assert(kSlots == 1u << (32 - kIndexShift), "home slots cover the table");
    uint32_t* const slots = slots_;
    while (in != inEnd) {
        const uint32_t c = *in++;
        const uint32_t key = (prefix << 8) | c;
        const uint32_t want = key << 12;
        uint32_t index = (key * kGolden) >> kIndexShift;
        uint32_t slot;
        bool found;
        for (;;) {
            slot = slots[index];
            if (slot == 0) {
                found = false;
                break;
            }
            if ((slot ^ want) <= kCodeMask) {
                found = true;
                break;
            }
            index = (index + 1) & (kSlots - 1);
        }
        if (found) {
            prefix = slot & kCodeMask;
            continue;
        }
        // A new string: the matched prefix goes out and c opens the next.
        put(window, acc, count, prefix, codeSize, msbFirst);
        prefix = c;
        if (nextCode == maxCode_) {
            // The string that would take the last code starts a new table
            // instead (the clear code goes out at the current width).
            put(window, acc, count, clearCode_, codeSize, msbFirst);
            std::memset(slots, 0, sizeof slots_);
            codeSize = initialCodeSize_ + 1;
            nextCode = firstFreeCode_;
            growLimit = (1u << codeSize) - tiffMode_;
            continue;
        }
        slots[index] = want | nextCode;
        ++nextCode;
        if (nextCode > growLimit) {
            ++codeSize;
            growLimit = (1u << codeSize) - tiffMode_;
        }
    }
    window.release();
    bitBuffer_ = acc;
    bitCount_ = count;
    prefix_ = int32_t(prefix);
    nextCode_ = nextCode;
    codeSize_ = codeSize;
    growLimit_ = growLimit;
}

void LzwEncoder::finish() {
    if (prefix_ >= 0) putCode(uint32_t(prefix_));
    putCode(endCode_);
    flushBits();
    prefix_ = -1;
}

}  // namespace vivark
