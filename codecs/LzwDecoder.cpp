// LzwDecoder: code reading in both bit orders, the old-style TIFF test, the
// string table and the history the strings are copied within. The hot loop
// keeps the decoder's state in locals and stores it back once per call;
// codes come out of a 64-bit accumulator that is topped up several bytes at
// a time while the source's window holds them.
#include "codecs/LzwDecoder.h"

#include <bit>
#include <cstring>

#include "core/Errors.h"

namespace vivark {

LzwDecoder::LzwDecoder(uint32_t initialCodeSize, bool msbFirst, bool detectOldStyle)
    : initialCodeSize_(initialCodeSize),
      clearCode_(1u << initialCodeSize),
      endCode_((1u << initialCodeSize) + 1),
      firstFreeCode_((1u << initialCodeSize) + 2),
      msbFirst_(msbFirst),
      detectOldStyle_(detectOldStyle),
      out_(history_),
      read_(history_) {
    std::memset(history_, 0, sizeof history_);
    // Root entries (the clear and end codes included, which a code straight
    // after a clear code takes as literal bytes) are one-byte strings of
    // their own low byte; entries above are filled as codes arrive.
    for (uint32_t i = 0; i < kTableSize; ++i) {
        prefix_[i] = 0;
        length_[i] = 1;
        suffix_[i] = static_cast<uint8_t>(i);
        first_[i] = static_cast<uint8_t>(i);
        place_[i] = -1;
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
    out_ = read_ = history_;
    lastStart_ = -1;
}

void LzwDecoder::decode(uint8_t* buffer, size_t length) {
    while (length != 0) {
        if (read_ != out_) {
            const size_t pending = static_cast<size_t>(out_ - read_);
            const size_t n = pending < length ? pending : length;
            std::memcpy(buffer, read_, n);
            read_ += n;
            buffer += n;
            length -= n;
            continue;
        }
        if (ended_) return;
        try {
            produce(length);
        } catch (...) {
            // The bytes decoded before the fault are handed out as they would
            // have been, however the output was asked for.
            const size_t pending = static_cast<size_t>(out_ - read_);
            const size_t n = pending < length ? pending : length;
            std::memcpy(buffer, read_, n);
            read_ += n;
            throw;
        }
    }
}

void LzwDecoder::slide() {
    // The newest kKeep bytes stay; entries whose bytes lay before them are
    // walked again when next used.
    const int32_t shift = static_cast<int32_t>(out_ - history_) - static_cast<int32_t>(kKeep);
    std::memmove(history_, out_ - kKeep, kKeep);
    out_ -= shift;
    read_ -= shift;
    for (int32_t& place : place_) place = place >= shift ? place - shift : -1;
    lastStart_ = lastStart_ >= shift ? lastStart_ - shift : -1;
}

void LzwDecoder::produce(size_t wanted) {
    if (out_ >= history_ + kKeep + kArea) slide();
    uint8_t* const history = history_;
    uint8_t* out = out_;
    uint8_t* const areaEnd = history + kKeep + kArea;
    const size_t room = static_cast<size_t>(areaEnd - out);
    uint8_t* const stop = out + (wanted < room ? wanted : room);
    int32_t lastStart = lastStart_;

    ByteSource& src = *source_;
    uint64_t bitBuffer = bitBuffer_;
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

    // Tops the accumulator up to at least `codeSize` bits. While the window
    // holds eight bytes, whole bytes are taken from one 8-byte load up to 56
    // bits; near the window's end, one byte at a time through the source.
    auto fill = [&] {
        if (src.available() >= 8) {
            uint64_t word;
            std::memcpy(&word, src.cursor, 8);
            const uint32_t take = (63 - bitCount) >> 3;
            if (msbMode != 0) {
                if constexpr (std::endian::native == std::endian::little)
                    word = __builtin_bswap64(word);
                bitBuffer = (bitBuffer << (8 * take)) | (word >> (64 - 8 * take));
            } else {
                if constexpr (std::endian::native == std::endian::big)
                    word = __builtin_bswap64(word);
                bitBuffer |= (word & ((uint64_t{1} << (8 * take)) - 1)) << bitCount;
            }
            src.cursor += take;
            bitCount += 8 * take;
            return;
        }
        while (bitCount < codeSize) {
            if (msbMode != 0)
                bitBuffer = (bitBuffer << 8) | src.nextByte();
            else
                bitBuffer |= static_cast<uint64_t>(src.nextByte()) << bitCount;
            bitCount += 8;
        }
    };
    auto readCode = [&]() __attribute__((always_inline))->uint32_t {
        if (bitCount < codeSize) fill();
        uint32_t code;
        bitCount -= codeSize;
        if (msbMode != 0) {
            code = static_cast<uint32_t>(bitBuffer >> bitCount) & codeMask;
        } else {
            code = static_cast<uint32_t>(bitBuffer) & codeMask;
            bitBuffer >>= codeSize;
        }
        return code;
    };
    // Stores the state back on every exit, thrown errors included (the
    // source's as well as ours), so that what was decoded before a fault is
    // there to hand out and a caller that catches sees consistent fields.
    auto store = [&] {
        out_ = out;
        lastStart_ = lastStart;
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
    struct StoreOnExit {
        decltype(store)& run;
        ~StoreOnExit() { run(); }
    } storeOnExit{store};

    uint16_t* const prefix = prefix_;
    uint16_t* const lengths = length_;
    uint8_t* const suffix = suffix_;
    uint8_t* const first = first_;
    int32_t* const place = place_;
    while (out < stop) {
        uint32_t code = readCode();
        if (code - clearCode <= 1) {
            if (code == endCode) {
                ended = true;
                break;
            }
            nextCode = firstFreeCode_;
            codeSize = initialCodeSize_ + 1;
            codeMask = (1u << codeSize) - 1;
            growLimit = codeMask - msbMode;
            code = readCode();
            oldCode = code;
            if (code >= nextCode) {
                throw LZWERROR::InvalidCode;
            }
            // Clear and end codes here are taken as literal bytes.
            firstChar = static_cast<uint8_t>(code);
            lastStart = static_cast<int32_t>(out - history);
            *out++ = firstChar;
            continue;
        }
        if (code > nextCode) {
            throw LZWERROR::InvalidCode;
        }
        // The string of `code`, or for the code about to be defined, the
        // previous string and its own first byte.
        const bool pending = code == nextCode;
        const uint32_t base = pending ? oldCode : code;
        const uint32_t size = lengths[base];
        uint8_t* const start = out;
        if (size == 1) {
            *out = suffix[base];
        } else if (place[base] >= 0) {
            // An earlier copy, wholly before `out`: 8-byte steps, the last
            // one overrunning into bytes decoded next.
            const uint8_t* from = history + place[base];
            uint8_t* to = out;
            uint8_t* const end = out + size;
            do {
                uint64_t word;
                std::memcpy(&word, from, 8);
                std::memcpy(to, &word, 8);
                from += 8;
                to += 8;
            } while (to < end);
        } else {
            if (size == kLooped) {
                // A full table's last entry linked to itself: corrupt data.
                throw LZWERROR::InvalidCode;
            }
            uint32_t c = base;
            for (uint8_t* p = out + size - 1; p != out; --p) {
                *p = suffix[c];
                c = prefix[c];
            }
            *out = suffix[c];
            place[base] = static_cast<int32_t>(out - history);
        }
        out += size;
        if (pending) *out++ = firstChar;
        firstChar = first[base];
        // The new entry: the previous string and this string's first byte,
        // which lie together where the previous string was decoded.
        first[nextCode] = first[oldCode];
        suffix[nextCode] = firstChar;
        prefix[nextCode] = static_cast<uint16_t>(oldCode);
        if (oldCode == nextCode) {
            lengths[nextCode] = kLooped;
            place[nextCode] = -1;
        } else {
            lengths[nextCode] = static_cast<uint16_t>(lengths[oldCode] + 1);
            place[nextCode] = lastStart;
        }
        lastStart = static_cast<int32_t>(start - history);
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
    }
}

}  // namespace vivark
