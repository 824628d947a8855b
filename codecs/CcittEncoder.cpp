// CcittEncoder: the change lists of a packed row, the one- and two-
// dimensional coders over them, the end-of-line framing and the bit writer.
//
// The run codes are indexed by run (terminating codes) and by run / 64 (make-
// up codes), built at compile time from the shared code lists. Bits collect
// in a 64-bit word and leave it four bytes at a time.
#include "codecs/CcittEncoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "codecs/CcittCodes.h"
#include "core/Errors.h"

namespace vivark {
namespace {

struct Bits {
    uint16_t code = 0;
    uint8_t length = 0;
};

struct RunCodes {
    std::array<Bits, 64> terminating{};
    std::array<Bits, 41> makeUp{};  // by run / 64, 1..40
};

template <size_t N>
constexpr void place(RunCodes& codes, const ccitt::Code (&list)[N]) {
    for (const ccitt::Code& code : list) {
        if (code.run < 0) continue;
        const Bits bits{static_cast<uint16_t>(ccitt::codeValue(code.bits)),
                        static_cast<uint8_t>(code.bits.size())};
        if (code.run < 64) {
            codes.terminating[static_cast<size_t>(code.run)] = bits;
        } else {
            codes.makeUp[static_cast<size_t>(code.run / 64)] = bits;
        }
    }
}

template <size_t N>
constexpr RunCodes runCodes(const ccitt::Code (&own)[N]) {
    RunCodes codes{};
    place(codes, own);
    place(codes, ccitt::kSharedCodes);
    return codes;
}

constexpr RunCodes kWhite = runCodes(ccitt::kWhiteCodes);
constexpr RunCodes kBlack = runCodes(ccitt::kBlackCodes);

constexpr Bits modeCode(int32_t mode) {
    for (const ccitt::Code& code : ccitt::kModeCodes) {
        if (code.run == mode)
            return {static_cast<uint16_t>(ccitt::codeValue(code.bits)),
                    static_cast<uint8_t>(code.bits.size())};
    }
    return {};
}

constexpr std::array<Bits, 7> kVertical = {
    modeCode(ccitt::kVertical0 - 3), modeCode(ccitt::kVertical0 - 2),
    modeCode(ccitt::kVertical0 - 1), modeCode(ccitt::kVertical0),
    modeCode(ccitt::kVertical0 + 1), modeCode(ccitt::kVertical0 + 2),
    modeCode(ccitt::kVertical0 + 3)};
constexpr Bits kPassCode = modeCode(ccitt::kPass);
constexpr Bits kHorizontalCode = modeCode(ccitt::kHorizontal);
constexpr uint32_t kEol = 1;  // eleven zeros and a one
constexpr int kEolBits = 12;

constexpr std::array<uint8_t, 256> kReversed = [] {
    std::array<uint8_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t r = 0;
        for (int b = 0; b < 8; ++b) r |= ((i >> b) & 1u) << (7 - b);
        table[i] = static_cast<uint8_t>(r);
    }
    return table;
}();

}  // namespace

CcittEncoder::CcittEncoder(uint32_t columns, uint32_t mode, uint32_t kFactor, bool lsbFirst)
    : columns_(columns),
      mode_(mode),
      kFactor_(kFactor),
      lsbFirst_(lsbFirst),
      rowBytes_((size_t{columns} + 7) / 8) {
    if (columns == 0 || columns > kMaxColumns) throw CCITTERROR::InvalidCode;
    listA_.assign(size_t{columns} + 8, columns);
    listB_.assign(size_t{columns} + 8, columns);
    cur_ = listA_.data();
    ref_ = listB_.data();
    partial_.assign(rowBytes_, 0);
}

void CcittEncoder::reset() {
    acc_ = 0;
    accBits_ = 0;
    bytesWritten_ = 0;
    rowsEncoded_ = 0;
    partialFill_ = 0;
    std::fill_n(ref_, 4, columns_);
}

void CcittEncoder::put(uint32_t code, int length) {
    acc_ |= uint64_t{code} << (64 - accBits_ - length);
    accBits_ += length;
    if (accBits_ >= 32) {
        for (int i = 0; i < 4; ++i) {
            const uint8_t byte = static_cast<uint8_t>(acc_ >> 56);
            sink_->putByte(lsbFirst_ ? kReversed[byte] : byte);
            acc_ <<= 8;
        }
        accBits_ -= 32;
        bytesWritten_ += 4;
    }
}

void CcittEncoder::alignTo(int bits) {
    const uint64_t position = bytesWritten_ * 8 + static_cast<uint64_t>(accBits_);
    int pad =
        static_cast<int>((static_cast<uint64_t>(bits) - position % static_cast<uint64_t>(bits)) %
                         static_cast<uint64_t>(bits));
    while (pad > 0) {
        const int n = std::min(pad, 16);
        put(0, n);
        pad -= n;
    }
}

void CcittEncoder::flushBits() {
    alignTo(8);
    while (accBits_ > 0) {
        const uint8_t byte = static_cast<uint8_t>(acc_ >> 56);
        sink_->putByte(lsbFirst_ ? kReversed[byte] : byte);
        acc_ <<= 8;
        accBits_ -= 8;
        ++bytesWritten_;
    }
}

void CcittEncoder::putRun(uint32_t run, bool black) {
    const RunCodes& codes = black ? kBlack : kWhite;
    while (run >= 2624) {
        put(codes.makeUp[40].code, codes.makeUp[40].length);
        run -= 2560;
    }
    if (run >= 64) {
        const Bits& makeUp = codes.makeUp[run >> 6];
        put(makeUp.code, makeUp.length);
        run &= 63;
    }
    put(codes.terminating[run].code, codes.terminating[run].length);
}

void CcittEncoder::putEol() {
    if ((mode_ & ccitt::kByteAlignedEols) != 0) {
        // Zeros so that the end of line ends on a byte boundary.
        const uint64_t position = bytesWritten_ * 8 + static_cast<uint64_t>(accBits_);
        const int pad = static_cast<int>((8 - (position + kEolBits) % 8) % 8);
        if (pad != 0) put(0, pad);
    }
    put(kEol, kEolBits);
}

// The positions where the coded colour changes, white to black first, then
// four sentinels at columns_. Returns the number of changes.
uint32_t CcittEncoder::findChanges(const uint8_t* row, uint32_t* list) const {
    // Coded black is a 1 bit of the row with kMinIsWhite, a 0 bit without.
    const uint8_t flip = (mode_ & ccitt::kMinIsWhite) != 0 ? 0x00 : 0xFF;
    uint32_t n = 0;
    uint32_t position = 0;
    bool black = false;
    while (position < columns_) {
        const uint8_t current = black ? 0xFF : 0x00;
        size_t byte = position >> 3;
        uint8_t differs =
            static_cast<uint8_t>((row[byte] ^ flip ^ current) & (0xFFu >> (position & 7)));
        while (differs == 0) {
            if (++byte == rowBytes_) break;
            differs = static_cast<uint8_t>(row[byte] ^ flip ^ current);
        }
        if (differs == 0) break;
        position =
            static_cast<uint32_t>(byte * 8) + static_cast<uint32_t>(std::countl_zero(differs));
        if (position >= columns_) break;
        list[n++] = position;
        black = !black;
    }
    std::fill_n(list + n, 4, columns_);
    return n;
}

void CcittEncoder::code1D(uint32_t count) {
    uint32_t previous = 0;
    bool black = false;
    for (uint32_t i = 0; i < count; ++i) {
        putRun(cur_[i] - previous, black);
        previous = cur_[i];
        black = !black;
    }
    putRun(columns_ - previous, black);
}

void CcittEncoder::code2D(uint32_t) {
    const int32_t columns = static_cast<int32_t>(columns_);
    const uint32_t* cur = cur_;
    const uint32_t* ref = ref_;
    int32_t a0 = -1;
    uint32_t ai = 0;  // cur[ai] is a1
    uint32_t bi = 0;  // ref[bi] is b1: even for a white a0, odd for black
    bool black = false;
    while (a0 < columns) {
        while (static_cast<int32_t>(ref[bi]) <= a0) bi += 2;
        const int32_t a1 = static_cast<int32_t>(cur[ai]);
        const int32_t b1 = static_cast<int32_t>(ref[bi]);
        const int32_t b2 = static_cast<int32_t>(ref[bi + 1]);
        if (b2 < a1) {
            put(kPassCode.code, kPassCode.length);
            a0 = b2;
            bi += 2;
        } else if (a1 - b1 >= -3 && a1 - b1 <= 3) {
            const Bits& code = kVertical[static_cast<size_t>(a1 - b1 + 3)];
            put(code.code, code.length);
            a0 = a1;
            black = !black;
            ++ai;
            bi = bi != 0 ? bi - 1 : 1;
        } else {
            const int32_t a2 = static_cast<int32_t>(cur[ai + 1]);
            put(kHorizontalCode.code, kHorizontalCode.length);
            putRun(static_cast<uint32_t>(a1 - std::max(a0, 0)), black);
            putRun(static_cast<uint32_t>(a2 - a1), !black);
            a0 = a2;
            ai += 2;
        }
    }
}

void CcittEncoder::encodeRow(const uint8_t* row) {
    const uint32_t count = findChanges(row, cur_);
    bool twoD = (mode_ & ccitt::kGroup4) != 0;
    if ((mode_ & ccitt::kEols) != 0) {
        putEol();
        if ((mode_ & ccitt::kTwoDimensional) != 0) {
            twoD = kFactor_ == 0 ? rowsEncoded_ != 0 : rowsEncoded_ % kFactor_ != 0;
            put(twoD ? 0 : 1, 1);
        }
    }
    if (twoD) {
        code2D(count);
    } else {
        code1D(count);
    }
    if ((mode_ & ccitt::kWordAlignedRows) != 0) {
        alignTo(16);
    } else if ((mode_ & ccitt::kByteAlignedRows) != 0) {
        alignTo(8);
    }
    std::swap(cur_, ref_);
    ++rowsEncoded_;
}

void CcittEncoder::encode(const uint8_t* buffer, size_t length) {
    while (length != 0) {
        if (partialFill_ == 0 && length >= rowBytes_) {
            encodeRow(buffer);
            buffer += rowBytes_;
            length -= rowBytes_;
            continue;
        }
        const size_t n = std::min(length, rowBytes_ - partialFill_);
        std::memcpy(partial_.data() + partialFill_, buffer, n);
        partialFill_ += n;
        buffer += n;
        length -= n;
        if (partialFill_ == rowBytes_) {
            encodeRow(partial_.data());
            partialFill_ = 0;
        }
    }
}

void CcittEncoder::finish() {
    if (partialFill_ != 0) {
        // The missing pixels are white: 0 bits with kMinIsWhite, else 1 bits.
        const uint8_t white = (mode_ & ccitt::kMinIsWhite) != 0 ? 0x00 : 0xFF;
        std::memset(partial_.data() + partialFill_, white, rowBytes_ - partialFill_);
        encodeRow(partial_.data());
        partialFill_ = 0;
    }
    if ((mode_ & ccitt::kEndOfPage) != 0) {
        if ((mode_ & ccitt::kGroup4) != 0) {
            put(kEol, kEolBits);
            put(kEol, kEolBits);
        } else if ((mode_ & ccitt::kEols) != 0) {
            const bool twoD = (mode_ & ccitt::kTwoDimensional) != 0;
            for (int i = 0; i < 6; ++i) {
                put(kEol, kEolBits);
                if (twoD) put(1, 1);
            }
        }
    }
    flushBits();
}

}  // namespace vivark
