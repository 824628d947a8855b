// CcittDecoder: the lookup tables, the bit reader, the one- and two-
// dimensional row decoders, the end-of-line handling and the row output.
//
// Codes are looked up in tables indexed by the next 13 bits (run codes) or 7
// bits (mode codes), built at compile time. The bit reader tops its 64-bit
// buffer up from the source's window without ever asking the source for more
// (fill); only when a code is longer than the bits held does it call the
// source's refill (need), so the last code of the data never makes it read
// past the data, and a code cut short ends with the source's error.
//
// Rows are decoded into change lists (the positions where the colour
// changes), which is what two-dimensional coding refers to, and then written
// out as byte fills.
#include "codecs/CcittDecoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "codecs/CcittCodes.h"
#include "core/Errors.h"

namespace vivark {
namespace {

constexpr int kRunBits = 13;
constexpr int kModeBits = 7;
constexpr int32_t kInvalid = -1;
constexpr int32_t kEolAhead = ccitt::kEndOfLineRun;

struct Entry {
    int16_t value = kInvalid;
    uint8_t length = 0;
};
template <int Bits>
using Table = std::array<Entry, 1u << Bits>;

template <int Bits, size_t N>
constexpr bool spread(Table<Bits>& table, const ccitt::Code (&codes)[N]) {
    for (const ccitt::Code& code : codes) {
        const int length = static_cast<int>(code.bits.size());
        const uint32_t first = ccitt::codeValue(code.bits) << (Bits - length);
        for (uint32_t i = 0; i < (1u << (Bits - length)); ++i) {
            if (table[first + i].value != kInvalid) return false;  // not prefix-free
            table[first + i] = {static_cast<int16_t>(code.run), static_cast<uint8_t>(length)};
        }
    }
    return true;
}

template <size_t N>
constexpr Table<kRunBits> runTable(const ccitt::Code (&own)[N]) {
    Table<kRunBits> table{};
    if (!spread<kRunBits>(table, own) || !spread<kRunBits>(table, ccitt::kSharedCodes))
        throw "overlapping codes";
    return table;
}

constexpr Table<kModeBits> modeTable() {
    Table<kModeBits> table{};
    if (!spread<kModeBits>(table, ccitt::kModeCodes)) throw "overlapping codes";
    return table;
}

constexpr Table<kRunBits> kWhiteTable = runTable(ccitt::kWhiteCodes);
constexpr Table<kRunBits> kBlackTable = runTable(ccitt::kBlackCodes);
constexpr Table<kModeBits> kModeTable = modeTable();

constexpr std::array<uint8_t, 256> kReversed = [] {
    std::array<uint8_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t r = 0;
        for (int b = 0; b < 8; ++b) r |= ((i >> b) & 1u) << (7 - b);
        table[i] = static_cast<uint8_t>(r);
    }
    return table;
}();

// Reverses the bits of each byte of a word.
constexpr uint64_t reverseEachByte(uint64_t w) {
    w = ((w >> 1) & 0x5555555555555555ull) | ((w & 0x5555555555555555ull) << 1);
    w = ((w >> 2) & 0x3333333333333333ull) | ((w & 0x3333333333333333ull) << 2);
    return ((w >> 4) & 0x0F0F0F0F0F0F0F0Full) | ((w & 0x0F0F0F0F0F0F0F0Full) << 4);
}

uint64_t loadBE64(const uint8_t* p) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    if constexpr (std::endian::native == std::endian::little) w = __builtin_bswap64(w);
    return w;
}

// Sets (value true) or clears the bits [start, end) of a packed row.
void fillSpan(uint8_t* row, uint32_t start, uint32_t end, bool value) {
    uint32_t first = start >> 3;
    const uint32_t last = end >> 3;
    const uint8_t head = static_cast<uint8_t>(0xFFu >> (start & 7));
    const uint8_t tail = static_cast<uint8_t>(~(0xFFu >> (end & 7)));
    if (first == last) {
        const uint8_t mask = head & tail;
        row[first] = value ? (row[first] | mask) : (row[first] & ~mask);
        return;
    }
    row[first] = value ? (row[first] | head) : (row[first] & ~head);
    ++first;
    if (last > first) std::memset(row + first, value ? 0xFF : 0x00, last - first);
    if (tail != 0) row[last] = value ? (row[last] | tail) : (row[last] & ~tail);
}

}  // namespace

CcittDecoder::CcittDecoder(uint32_t columns, uint32_t mode, bool lsbFirst)
    : columns_(columns), mode_(mode), lsbFirst_(lsbFirst), rowBytes_((size_t{columns} + 7) / 8) {
    if (columns == 0 || columns > kMaxColumns) throw CCITTERROR::InvalidCode;
    // A row has at most columns changes; a few more entries hold the zero-
    // length runs a lenient coder may write and the sentinels.
    listA_.assign(size_t{columns} + 8, columns);
    listB_.assign(size_t{columns} + 8, columns);
    cur_ = listA_.data();
    ref_ = listB_.data();
    row_.assign(rowBytes_, 0);
    rowOffset_ = rowBytes_;
}

void CcittDecoder::reset() {
    bits_ = 0;
    count_ = 0;
    bytesLoaded_ = 0;
    eolPending_ = false;
    endOfPage_ = false;
    rowsDecoded_ = 0;
    rowOffset_ = rowBytes_;
    std::fill_n(ref_, 4, columns_);
}

void CcittDecoder::fill() {
    ByteSource& source = *source_;
    if (source.end - source.cursor >= 8) {
        uint64_t word = loadBE64(source.cursor);
        if (lsbFirst_) word = reverseEachByte(word);
        bits_ |= word >> count_;
        const int take = (63 - count_) >> 3;
        source.cursor += take;
        count_ += take * 8;
        bytesLoaded_ += static_cast<uint64_t>(take);
        return;
    }
    while (count_ <= 55 && source.cursor != source.end) {
        uint8_t byte = *source.cursor++;
        if (lsbFirst_) byte = kReversed[byte];
        bits_ |= uint64_t{byte} << (56 - count_);
        count_ += 8;
        ++bytesLoaded_;
    }
}

void CcittDecoder::need(int count) {
    fill();
    while (count_ < count) {
        uint8_t byte = source_->nextByte();  // the source throws when it is dry
        if (lsbFirst_) byte = kReversed[byte];
        bits_ |= uint64_t{byte} << (56 - count_);
        count_ += 8;
        ++bytesLoaded_;
    }
}

bool CcittDecoder::nextBitsAreZero(int count) {
    if (count_ < count) fill();
    if (count_ >= count) return peek(count) == 0;
    if (count_ > 0 && peek(count_) != 0) return false;
    need(count);
    return peek(count) == 0;
}

// With scan false: takes an end-of-line code (fill zeros, at least eleven
// zeros and a one) when one comes next, and otherwise consumes nothing. With
// scan true, skips whatever comes before the next end of line.
bool CcittDecoder::skipToEol(bool scan) {
    while (!nextBitsAreZero(11)) {
        if (!scan) return false;
        // A one lies within the next eleven bits: drop up to it.
        drop(std::countl_zero(bits_) + 1);
    }
    drop(11);
    for (;;) {
        if (count_ == 0) need(1);
        const uint64_t held = bits_ & (~uint64_t{0} << (64 - count_));
        if (held != 0) {
            drop(std::countl_zero(held) + 1);
            return true;
        }
        drop(count_);
    }
}

// One run: make-up codes and the terminating code. Returns the run length,
// kEolAhead when an end of line (or eleven zeros) comes where a code should
// (not consumed), or kInvalid.
int32_t CcittDecoder::readRun(bool black) {
    const Table<kRunBits>& table = black ? kBlackTable : kWhiteTable;
    int32_t run = 0;
    for (;;) {
        if (count_ < kRunBits) fill();
        Entry entry = table[peek(kRunBits)];
        if (entry.length > count_ || (entry.length == 0 && count_ < kRunBits)) {
            need(entry.length != 0 ? entry.length : kRunBits);
            entry = table[peek(kRunBits)];
        }
        if (entry.length == 0) return peek(11) == 0 ? kEolAhead : kInvalid;
        if (entry.value == kEolAhead) return kEolAhead;
        drop(entry.length);
        run += entry.value;
        if (entry.value < 64) return run;
        if (run > static_cast<int32_t>(columns_)) return kInvalid;
    }
}

CcittDecoder::RowEnd CcittDecoder::decode1D(uint32_t& n) {
    const uint32_t limit = columns_ + 2;
    uint32_t a0 = 0;
    bool black = false;
    for (;;) {
        const int32_t run = readRun(black);
        if (run < 0) return RowEnd::Damaged;
        if (static_cast<uint32_t>(run) > columns_ - a0 || n >= limit) return RowEnd::Damaged;
        a0 += static_cast<uint32_t>(run);
        cur_[n++] = a0;
        black = !black;
        if (a0 == columns_) return RowEnd::Done;
    }
}

CcittDecoder::RowEnd CcittDecoder::decode2D(uint32_t& n) {
    const uint32_t limit = columns_ + 2;
    const int32_t columns = static_cast<int32_t>(columns_);
    const uint32_t* ref = ref_;
    int32_t a0 = -1;  // the imaginary white pixel before the row
    uint32_t bi = 0;  // ref[bi] is b1: even for a white a0, odd for black
    bool black = false;
    for (;;) {
        if (count_ < kRunBits) fill();
        Entry entry = kModeTable[peek(kModeBits)];
        if (entry.length > count_ || (entry.length == 0 && count_ < kModeBits)) {
            need(entry.length != 0 ? entry.length : kModeBits);
            entry = kModeTable[peek(kModeBits)];
        }
        if (entry.length == 0) {
            // Seven zeros: an end of line (or the end-of-facsimile block)
            // where the row has not begun means the end of the page.
            if (nextBitsAreZero(11) && a0 < 0 && n == 0) return RowEnd::EndOfPage;
            return RowEnd::Damaged;
        }
        if (n >= limit) return RowEnd::Damaged;
        const int32_t mode = entry.value;
        if (mode == ccitt::kExtension) return RowEnd::Damaged;  // uncompressed mode is not taken
        drop(entry.length);
        if (mode == ccitt::kPass) {
            a0 = static_cast<int32_t>(ref[bi + 1]);
            bi += 2;
        } else if (mode == ccitt::kHorizontal) {
            const int32_t first = readRun(black);
            if (first < 0) return RowEnd::Damaged;
            const int32_t second = readRun(!black);
            if (second < 0) return RowEnd::Damaged;
            const int32_t a1 = std::max(a0, 0) + first;
            if (a1 > columns || second > columns - a1) return RowEnd::Damaged;
            cur_[n++] = static_cast<uint32_t>(a1);
            cur_[n++] = static_cast<uint32_t>(a1 + second);
            a0 = a1 + second;
        } else {
            const int32_t a1 = static_cast<int32_t>(ref[bi]) + (mode - ccitt::kVertical0);
            if (a1 < std::max(a0, 0) || a1 > columns) return RowEnd::Damaged;
            cur_[n++] = static_cast<uint32_t>(a1);
            a0 = a1;
            black = !black;
            bi = bi != 0 ? bi - 1 : 1;
        }
        if (a0 >= columns) return RowEnd::Done;
        while (static_cast<int32_t>(ref[bi]) <= a0) bi += 2;
    }
}

CcittDecoder::RowEnd CcittDecoder::decodeOneRow() {
    if (endOfPage_) return RowEnd::EndOfPage;
    uint32_t n = 0;
    RowEnd end;
    if ((mode_ & ccitt::kEols) != 0) {
        // Each row follows an end of line. The first row of a run of data may
        // come without one; anything else before an end of line is skipped,
        // as fax software does.
        bool eol = eolPending_ || skipToEol(rowsDecoded_ != 0);
        eolPending_ = false;
        bool twoD = false;
        if (eol && (mode_ & ccitt::kTwoDimensional) != 0) {
            need(1);
            twoD = peek(1) == 0;
            drop(1);
        }
        if (eol && nextBitsAreZero(11)) {  // a second end of line: the page ends
            endOfPage_ = true;
            return RowEnd::EndOfPage;
        }
        end = twoD ? decode2D(n) : decode1D(n);
        if (end == RowEnd::Damaged) {
            ++damagedRows_;
            skipToEol(true);
            eolPending_ = true;
        }
    } else if ((mode_ & ccitt::kGroup4) != 0) {
        end = decode2D(n);
        if (end == RowEnd::Damaged) throw CCITTERROR::InvalidCode;
    } else {
        if ((mode_ & (ccitt::kByteAlignedRows | ccitt::kWordAlignedRows)) != 0) {
            drop(count_ & 7);
            if ((mode_ & ccitt::kWordAlignedRows) != 0 && (bytesConsumed() & 1) != 0) {
                need(8);
                drop(8);
            }
        }
        end = decode1D(n);
        if (end == RowEnd::Damaged) throw CCITTERROR::InvalidCode;
    }
    if (end == RowEnd::EndOfPage) {
        endOfPage_ = true;
        return end;
    }
    // A damaged row keeps what was decoded; the rest is white.
    if ((n & 1) != 0 && end == RowEnd::Damaged) {
        cur_[n] = cur_[n - 1];
        ++n;
    }
    std::fill_n(cur_ + n, 4, columns_);
    curCount_ = n;
    return end;
}

void CcittDecoder::render(uint8_t* row) const {
    const bool whiteBit = (mode_ & ccitt::kMinIsWhite) == 0;
    std::memset(row, whiteBit ? 0xFF : 0x00, rowBytes_);
    for (uint32_t i = 0; i < curCount_; i += 2) {
        const uint32_t start = cur_[i];
        const uint32_t end = cur_[i + 1];
        if (start < end) fillSpan(row, start, end, !whiteBit);
    }
    if ((columns_ & 7) != 0) row[rowBytes_ - 1] &= static_cast<uint8_t>(0xFF00u >> (columns_ & 7));
}

bool CcittDecoder::decodeRow(uint8_t* row) {
    if (decodeOneRow() == RowEnd::EndOfPage) return false;
    render(row);
    std::swap(cur_, ref_);
    ++rowsDecoded_;
    return true;
}

void CcittDecoder::decode(uint8_t* buffer, size_t length) {
    while (length != 0) {
        if (rowOffset_ < rowBytes_) {
            const size_t n = std::min(length, rowBytes_ - rowOffset_);
            std::memcpy(buffer, row_.data() + rowOffset_, n);
            rowOffset_ += n;
            buffer += n;
            length -= n;
            continue;
        }
        uint8_t* target = length >= rowBytes_ ? buffer : row_.data();
        if (!decodeRow(target)) {
            std::memset(target, 0, rowBytes_);
            ++damagedRows_;
        }
        if (target == buffer) {
            buffer += rowBytes_;
            length -= rowBytes_;
        } else {
            rowOffset_ = 0;
        }
    }
}

uint32_t CcittDecoder::measureRow() {
    if (!eolPending_ && !skipToEol(false)) throw CCITTERROR::InvalidCode;
    eolPending_ = false;
    if (nextBitsAreZero(11)) {
        endOfPage_ = true;
        return 0;
    }
    uint32_t width = 0;
    bool black = false;
    for (;;) {
        const int32_t run = readRun(black);
        if (run == kEolAhead) break;
        if (run < 0 || static_cast<uint32_t>(run) > columns_ - width) throw CCITTERROR::InvalidCode;
        width += static_cast<uint32_t>(run);
        black = !black;
    }
    skipToEol(false);
    eolPending_ = true;
    if (width == 0) throw CCITTERROR::InvalidCode;
    ++rowsDecoded_;
    return width;
}

}  // namespace vivark
