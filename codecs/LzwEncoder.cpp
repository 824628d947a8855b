// LzwEncoder: the string hash, table restarts and code packing in both bit
// orders. encode() keeps the coder's state in locals and stores it back once
// per call.
#include "codecs/LzwEncoder.h"

namespace vivark {

static_assert((255u << 5 ^ 4095u) < 9001, "every start slot lies inside the hash table");

LzwEncoder::LzwEncoder(uint32_t initialCodeSize, bool tiffMode)
    : initialCodeSize_(initialCodeSize),
      clearCode_(1u << initialCodeSize),
      endCode_((1u << initialCodeSize) + 1),
      firstFreeCode_((1u << initialCodeSize) + 2),
      tiffMode_(tiffMode ? 1 : 0),
      maxCode_(tiffMode ? 4093 : 4096) {
    for (Slot& slot : hash_) slot = Slot{0, 0};
    reset();
}

void LzwEncoder::reset() {
    codeSize_ = initialCodeSize_ + 1;
    prefix_ = -1;
    bitBuffer_ = 0;
    bitCount_ = 0;
}

void LzwEncoder::putCode(uint32_t code) {
    ByteSink& sink = *sink_;
    if (tiffMode_ != 0) {
        uint32_t bits = codeSize_;
        uint32_t free = 32 - bitCount_;
        if (free < bits) {
            bitBuffer_ = (bitBuffer_ << free) | (code >> (bits - free));
            sink.putByte(static_cast<uint8_t>(bitBuffer_ >> 24));
            sink.putByte(static_cast<uint8_t>(bitBuffer_ >> 16));
            sink.putByte(static_cast<uint8_t>(bitBuffer_ >> 8));
            sink.putByte(static_cast<uint8_t>(bitBuffer_));
            bitBuffer_ = 0;
            bitCount_ = 0;
            bits -= free;
        }
        bitBuffer_ = (bitBuffer_ << bits) | (code & ((1u << bits) - 1));
        bitCount_ += bits;
    } else {
        bitBuffer_ |= code << bitCount_;
        bitCount_ += codeSize_;
        while (bitCount_ >= 8) {
            sink.putByte(static_cast<uint8_t>(bitBuffer_));
            bitBuffer_ >>= 8;
            bitCount_ -= 8;
        }
    }
}

void LzwEncoder::flushBits() {
    ByteSink& sink = *sink_;
    if (tiffMode_ != 0) {
        uint32_t pad = (8 - bitCount_ % 8) % 8;
        if (pad != 0) bitBuffer_ <<= pad;
        bitCount_ += pad;
        while (bitCount_ != 0) {
            bitCount_ -= 8;
            sink.putByte(static_cast<uint8_t>(bitBuffer_ >> bitCount_));
        }
        bitBuffer_ = 0;
    } else if (bitCount_ != 0) {
        sink.putByte(static_cast<uint8_t>(bitBuffer_));
        bitBuffer_ = 0;
        bitCount_ = 0;
    }
}

void LzwEncoder::newTable() {
    putCode(clearCode_);
    for (Slot& slot : hash_) slot.key = 0;
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
    uint32_t prefix = static_cast<uint32_t>(prefix_);
    uint32_t nextCode = nextCode_;
    while (in != inEnd) {
        uint32_t c = *in++;
        uint32_t key = (c << 12) + prefix + 1;
        uint32_t index = (c << 5) ^ prefix;
        if (hash_[index].key == key) {
            prefix = hash_[index].code;
            continue;
        }
        bool found = false;
        uint32_t step = 1;
        while (hash_[index].key != 0) {
            index += step;
            if (index >= kHashSize) index -= kHashSize;
            step += 2;
            if (hash_[index].key == key) {
                found = true;
                break;
            }
        }
        if (found) {
            prefix = hash_[index].code;
            continue;
        }
        // A new string: the matched prefix goes out and c opens the next.
        putCode(prefix);
        prefix = c;
        hash_[index] = Slot{key, nextCode};
        ++nextCode;
        if (nextCode > maxCode_) {
            newTable();
            nextCode = nextCode_;
        } else if (nextCode > growLimit_) {
            ++codeSize_;
            growLimit_ = (1u << codeSize_) - tiffMode_;
        }
    }
    prefix_ = static_cast<int32_t>(prefix);
    nextCode_ = nextCode;
}

void LzwEncoder::finish() {
    if (prefix_ >= 0) putCode(static_cast<uint32_t>(prefix_));
    putCode(endCode_);
    flushBits();
    prefix_ = -1;
}

}  // namespace vivark
