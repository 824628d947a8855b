// LzwDecoder: code reading in both bit orders, the old-style TIFF test and
// the string table walk. The hot loop keeps the decoder's state in locals and
// stores it back once per call.
#include "codecs/LzwDecoder.h"

#include <cstring>

#include "core/Errors.h"

namespace vivark {

static_assert(sizeof(uint32_t) * 8 >= 12 + 8 + 7,
              "the bit accumulator must hold a code and a byte");

LzwDecoder::LzwDecoder(uint32_t initialCodeSize, bool msbFirst, bool detectOldStyle)
    : initialCodeSize_(initialCodeSize),
      clearCode_(1u << initialCodeSize),
      endCode_((1u << initialCodeSize) + 1),
      firstFreeCode_((1u << initialCodeSize) + 2),
      msbFirst_(msbFirst),
      detectOldStyle_(detectOldStyle),
      stackEnd_(stack_ + kTableSize),
      stackPointer_(stack_ + kTableSize) {
    // Root entries decode to themselves; entries above are filled as codes arrive.
    for (uint32_t i = 0; i < kTableSize; ++i) {
        prefix_[i] = 0;
        suffix_[i] = static_cast<uint8_t>(i);
    }
}

void LzwDecoder::reset() {
    bitBuffer_ = 0;
    bitCount_ = 0;
    msbMode_ = msbFirst_ ? 1 : 0;
    if (detectOldStyle_ && initialCodeSize_ == 8) {
        uint32_t b0 = source_->nextByte();
        uint32_t b1 = source_->nextByte();
        bitBuffer_ = (b0 << 8) | b1;
        bitCount_ = 16;
        if ((bitBuffer_ & 0xFF01) == 1) {
            // A 9-bit clear code packed least significant bit first: b0 is 0,
            // so shifting leaves b0 in bits 0-7 and b1 in bits 8-15.
            bitBuffer_ <<= 8;
            msbMode_ = 0;
        } else {
            msbMode_ = 1;
        }
    }
    codeSize_ = initialCodeSize_ + 1;
    codeMask_ = (1u << codeSize_) - 1;
    growLimit_ = codeMask_ - msbMode_;
    firstChar_ = 0;
    oldCode_ = 0;
    ended_ = false;
    nextCode_ = firstFreeCode_;
    stackPointer_ = stackEnd_;
}

void LzwDecoder::decode(uint8_t* buffer, size_t length) {
    if (ended_) return;
    uint8_t* out = buffer;
    uint8_t* const outEnd = buffer + length;
    uint8_t* sp = stackPointer_;
    uint8_t* const stackEnd = stackEnd_;

    auto drain = [&] {
        size_t pending = static_cast<size_t>(stackEnd - sp);
        size_t room = static_cast<size_t>(outEnd - out);
        size_t n = pending < room ? pending : room;
        if (n != 0) std::memcpy(out, sp, n);
        out += n;
        sp += n;
    };
    drain();
    if (out == outEnd) {
        stackPointer_ = sp;
        return;
    }

    ByteSource& src = *source_;
    uint32_t bitBuffer = bitBuffer_;
    uint32_t bitCount = bitCount_;
    uint32_t codeSize = codeSize_;
    uint32_t codeMask = codeMask_;
    uint32_t nextCode = nextCode_;
    uint32_t growLimit = growLimit_;
    uint32_t oldCode = oldCode_;
    uint8_t firstChar = firstChar_;
    const uint32_t msbMode = msbMode_;
    const uint32_t clearCode = clearCode_;
    const uint32_t endCode = endCode_;
    bool ended = false;

    auto readCode = [&]() -> uint32_t {
        uint32_t code;
        if (msbMode != 0) {
            while (bitCount < codeSize) {
                bitBuffer = (bitBuffer << 8) | src.nextByte();
                bitCount += 8;
            }
            bitCount -= codeSize;
            code = (bitBuffer >> bitCount) & codeMask;
        } else {
            while (bitCount < codeSize) {
                bitBuffer |= static_cast<uint32_t>(src.nextByte()) << bitCount;
                bitCount += 8;
            }
            code = bitBuffer & codeMask;
            bitBuffer >>= codeSize;
            bitCount -= codeSize;
        }
        return code;
    };
    // Stores the state back; run on every exit, thrown errors included, so a
    // caller that catches sees consistent (if abandoned) fields.
    auto store = [&] {
        stackPointer_ = sp;
        bitBuffer_ = bitBuffer;
        bitCount_ = bitCount;
        codeSize_ = codeSize;
        codeMask_ = codeMask;
        nextCode_ = nextCode;
        growLimit_ = growLimit;
        oldCode_ = oldCode;
        firstChar_ = firstChar;
        ended_ = ended;
    };

    while (out != outEnd) {
        uint32_t code = readCode();
        if (code == clearCode) {
            nextCode = firstFreeCode_;
            codeSize = initialCodeSize_ + 1;
            codeMask = (1u << codeSize) - 1;
            growLimit = codeMask - msbMode;
            code = readCode();
            oldCode = code;
            if (code >= nextCode) {
                store();
                throw LZWERROR::InvalidCode;
            }
            // Clear and end codes here are taken as literal bytes.
            firstChar = static_cast<uint8_t>(code);
            *out++ = firstChar;
            continue;
        }
        if (code == endCode) {
            ended = true;
            break;
        }
        if (code > nextCode) {
            store();
            throw LZWERROR::InvalidCode;
        }
        uint32_t c = code;
        sp = stackEnd;
        if (code == nextCode) {
            *--sp = firstChar;
            c = oldCode;
        }
        while (c > endCode) {
            // A table that overwrites its last entry can link it to itself;
            // a chain longer than the stack is corrupt data.
            if (sp == stack_) {
                store();
                throw LZWERROR::InvalidCode;
            }
            *--sp = suffix_[c];
            c = prefix_[c];
        }
        firstChar = static_cast<uint8_t>(c);
        *out++ = firstChar;
        suffix_[nextCode] = firstChar;
        prefix_[nextCode] = oldCode;
        oldCode = code;
        ++nextCode;
        if (nextCode > growLimit) {
            if (codeSize == 12) {
                // The table is full: its last entry is overwritten by every
                // further code until a clear code comes.
                nextCode = growLimit;
            } else {
                ++codeSize;
                codeMask = (1u << codeSize) - 1;
                growLimit = codeMask - msbMode;
            }
        }
        drain();
    }
    store();
}

}  // namespace vivark
