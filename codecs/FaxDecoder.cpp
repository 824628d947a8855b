// The modified Huffman code tables of T.4 and the row decoder over them.
//
// Each colour's codes are spread into a table indexed by the next 13 input
// bits (the longest code is 13 bits), built at compile time. Where at least 13
// bits can be had from the bit buffer and the source's window, a code costs
// one lookup; near the end of the input the code is matched length by length
// so that no byte beyond the last code is asked for.
#include "codecs/FaxDecoder.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/Errors.h"

namespace vivark {
namespace {

constexpr int kLookupBits = 13;
constexpr int32_t kInvalid = -1;
constexpr int32_t kEndOfLineRun = -2;
// Fill zeros accepted before one end-of-line code.
constexpr int kMaxFillBits = 1 << 16;

struct Code {
    std::string_view bits;
    int32_t run;
};

struct TableEntry {
    int16_t run = kInvalid;
    uint8_t length = 0;
};
using CodeTable = std::array<TableEntry, 1u << kLookupBits>;
static_assert(2560 <= INT16_MAX, "the longest make-up run fits a table entry");

constexpr Code kWhiteCodes[] = {
    {"00110101", 0},     {"000111", 1},       {"0111", 2},         {"1000", 3},
    {"1011", 4},         {"1100", 5},         {"1110", 6},         {"1111", 7},
    {"10011", 8},        {"10100", 9},        {"00111", 10},       {"01000", 11},
    {"001000", 12},      {"000011", 13},      {"110100", 14},      {"110101", 15},
    {"101010", 16},      {"101011", 17},      {"0100111", 18},     {"0001100", 19},
    {"0001000", 20},     {"0010111", 21},     {"0000011", 22},     {"0000100", 23},
    {"0101000", 24},     {"0101011", 25},     {"0010011", 26},     {"0100100", 27},
    {"0011000", 28},     {"00000010", 29},    {"00000011", 30},    {"00011010", 31},
    {"00011011", 32},    {"00010010", 33},    {"00010011", 34},    {"00010100", 35},
    {"00010101", 36},    {"00010110", 37},    {"00010111", 38},    {"00101000", 39},
    {"00101001", 40},    {"00101010", 41},    {"00101011", 42},    {"00101100", 43},
    {"00101101", 44},    {"00000100", 45},    {"00000101", 46},    {"00001010", 47},
    {"00001011", 48},    {"01010010", 49},    {"01010011", 50},    {"01010100", 51},
    {"01010101", 52},    {"00100100", 53},    {"00100101", 54},    {"01011000", 55},
    {"01011001", 56},    {"01011010", 57},    {"01011011", 58},    {"01001010", 59},
    {"01001011", 60},    {"00110010", 61},    {"00110011", 62},    {"00110100", 63},
    {"11011", 64},       {"10010", 128},      {"010111", 192},     {"0110111", 256},
    {"00110110", 320},   {"00110111", 384},   {"01100100", 448},   {"01100101", 512},
    {"01101000", 576},   {"01100111", 640},   {"011001100", 704},  {"011001101", 768},
    {"011010010", 832},  {"011010011", 896},  {"011010100", 960},  {"011010101", 1024},
    {"011010110", 1088}, {"011010111", 1152}, {"011011000", 1216}, {"011011001", 1280},
    {"011011010", 1344}, {"011011011", 1408}, {"010011000", 1472}, {"010011001", 1536},
    {"010011010", 1600}, {"011000", 1664},    {"010011011", 1728},
};

constexpr Code kBlackCodes[] = {
    {"0000110111", 0},
    {"010", 1},
    {"11", 2},
    {"10", 3},
    {"011", 4},
    {"0011", 5},
    {"0010", 6},
    {"00011", 7},
    {"000101", 8},
    {"000100", 9},
    {"0000100", 10},
    {"0000101", 11},
    {"0000111", 12},
    {"00000100", 13},
    {"00000111", 14},
    {"000011000", 15},
    {"0000010111", 16},
    {"0000011000", 17},
    {"0000001000", 18},
    {"00001100111", 19},
    {"00001101000", 20},
    {"00001101100", 21},
    {"00000110111", 22},
    {"00000101000", 23},
    {"00000010111", 24},
    {"00000011000", 25},
    {"000011001010", 26},
    {"000011001011", 27},
    {"000011001100", 28},
    {"000011001101", 29},
    {"000001101000", 30},
    {"000001101001", 31},
    {"000001101010", 32},
    {"000001101011", 33},
    {"000011010010", 34},
    {"000011010011", 35},
    {"000011010100", 36},
    {"000011010101", 37},
    {"000011010110", 38},
    {"000011010111", 39},
    {"000001101100", 40},
    {"000001101101", 41},
    {"000011011010", 42},
    {"000011011011", 43},
    {"000001010100", 44},
    {"000001010101", 45},
    {"000001010110", 46},
    {"000001010111", 47},
    {"000001100100", 48},
    {"000001100101", 49},
    {"000001010010", 50},
    {"000001010011", 51},
    {"000000100100", 52},
    {"000000110111", 53},
    {"000000111000", 54},
    {"000000100111", 55},
    {"000000101000", 56},
    {"000001011000", 57},
    {"000001011001", 58},
    {"000000101011", 59},
    {"000000101100", 60},
    {"000001011010", 61},
    {"000001100110", 62},
    {"000001100111", 63},
    {"0000001111", 64},
    {"000011001000", 128},
    {"000011001001", 192},
    {"000001011011", 256},
    {"000000110011", 320},
    {"000000110100", 384},
    {"000000110101", 448},
    {"0000001101100", 512},
    {"0000001101101", 576},
    {"0000001001010", 640},
    {"0000001001011", 704},
    {"0000001001100", 768},
    {"0000001001101", 832},
    {"0000001110010", 896},
    {"0000001110011", 960},
    {"0000001110100", 1024},
    {"0000001110101", 1088},
    {"0000001110110", 1152},
    {"0000001110111", 1216},
    {"0000001010010", 1280},
    {"0000001010011", 1344},
    {"0000001010100", 1408},
    {"0000001010101", 1472},
    {"0000001011010", 1536},
    {"0000001011011", 1600},
    {"0000001100100", 1664},
    {"0000001100101", 1728},
};

// Make-up codes shared by both colours, and the end of line.
constexpr Code kSharedCodes[] = {
    {"00000001000", 1792},  {"00000001100", 1856},           {"00000001101", 1920},
    {"000000010010", 1984}, {"000000010011", 2048},          {"000000010100", 2112},
    {"000000010101", 2176}, {"000000010110", 2240},          {"000000010111", 2304},
    {"000000011100", 2368}, {"000000011101", 2432},          {"000000011110", 2496},
    {"000000011111", 2560}, {"000000000001", kEndOfLineRun},
};

template <size_t N>
constexpr bool spread(CodeTable& table, const Code (&codes)[N]) {
    for (const Code& code : codes) {
        uint32_t value = 0;
        for (char c : code.bits) value = (value << 1) | (c == '1' ? 1u : 0u);
        const int length = static_cast<int>(code.bits.size());
        const uint32_t first = value << (kLookupBits - length);
        for (uint32_t i = 0; i < (1u << (kLookupBits - length)); ++i) {
            // Overlapping codes would make the code not prefix-free.
            if (table[first + i].run != kInvalid) return false;
            table[first + i] = {static_cast<int16_t>(code.run), static_cast<uint8_t>(length)};
        }
    }
    return true;
}

template <size_t N>
constexpr CodeTable buildTable(const Code (&own)[N]) {
    CodeTable table{};
    if (!spread(table, own) || !spread(table, kSharedCodes)) throw "overlapping fax codes";
    return table;
}

constexpr CodeTable kWhiteTable = buildTable(kWhiteCodes);
constexpr CodeTable kBlackTable = buildTable(kBlackCodes);

// Sets `count` bits from bit `start` of a packed row (first pixel in the most
// significant bit).
void setBits(uint8_t* row, uint32_t start, uint32_t count) {
    while (count != 0 && (start & 7) != 0) {
        row[start >> 3] |= static_cast<uint8_t>(0x80u >> (start & 7));
        ++start;
        --count;
    }
    if (count >= 8) {
        std::memset(row + (start >> 3), 0xFF, count >> 3);
        start += count & ~7u;
        count &= 7;
    }
    while (count != 0) {
        row[start >> 3] |= static_cast<uint8_t>(0x80u >> (start & 7));
        ++start;
        --count;
    }
}

}  // namespace

Fax3Decoder::Fax3Decoder(uint32_t columns, Options options) : options_(options) {
    setColumns(columns);
    rowOffset_ = rowBytes();
}

void Fax3Decoder::setColumns(uint32_t columns) {
    columns_ = std::clamp<uint32_t>(columns, 1, kMaxColumns);
    rowOffset_ = rowBytes();
}

void Fax3Decoder::reset() {
    bitBuffer_ = 0;
    bitCount_ = 0;
    eolPending_ = false;
    endOfPage_ = false;
    rowsDecoded_ = 0;
    rowOffset_ = rowBytes();
}

void Fax3Decoder::ensureBits(int count) {
    while (bitCount_ < count) {
        bitBuffer_ = ((bitBuffer_ << 8) | source_->nextByte()) & 0xFFFFFFFFFFull;
        bitCount_ += 8;
    }
}

int32_t Fax3Decoder::readCode(bool black) {
    const CodeTable& table = black ? kBlackTable : kWhiteTable;
    TableEntry entry;
    if (bitCount_ + 8 * static_cast<int64_t>(source_->available()) >= kLookupBits) {
        ensureBits(kLookupBits);
        entry = table[peekBits(kLookupBits)];
    } else {
        // Near the end of the input: ask for one more bit at a time.
        for (int length = 1; length <= kLookupBits; ++length) {
            ensureBits(length);
            entry = table[peekBits(length) << (kLookupBits - length)];
            if (entry.run != kInvalid && entry.length == length) break;
        }
    }
    if (entry.run != kInvalid) {
        dropBits(entry.length);
        return entry.run;
    }
    // Twelve or more zeros: an end of line after fill bits.
    if (peekBits(kLookupBits) <= 1) {
        finishEndOfLine();
        return kEndOfLine;
    }
    throw CCITTERROR::InvalidCode;
}

bool Fax3Decoder::atEndOfLine() {
    // Bytes are asked for only while the bits seen so far are zeros, so a row
    // that ends the input is not read past.
    for (int count = 1; count <= 11; ++count) {
        ensureBits(count);
        if (peekBits(count) != 0) return false;
    }
    return true;
}

void Fax3Decoder::finishEndOfLine() {
    for (int zeros = 0; zeros < kMaxFillBits; ++zeros) {
        ensureBits(1);
        const bool one = peekBits(1) != 0;
        dropBits(1);
        if (one) return;
    }
    throw CCITTERROR::InvalidCode;
}

bool Fax3Decoder::startRow() {
    if (endOfPage_) return false;
    int endOfLines = eolPending_ ? 1 : 0;
    eolPending_ = false;
    for (;;) {
        if (options_.byteAlignedRows) dropBits(bitCount_ & 7);
        if (!atEndOfLine()) break;
        finishEndOfLine();
        if (++endOfLines >= 2) {
            endOfPage_ = true;
            return false;
        }
    }
    if (options_.eolRequired && endOfLines == 0) throw CCITTERROR::InvalidCode;
    return true;
}

int32_t Fax3Decoder::readRun(bool black, bool allowEndOfLine) {
    int32_t run = 0;
    for (;;) {
        const int32_t code = readCode(black);
        if (code == kEndOfLine) {
            if (allowEndOfLine && run == 0) return kEndOfLine;
            throw CCITTERROR::InvalidCode;
        }
        run += code;
        if (run > static_cast<int32_t>(kMaxColumns)) throw CCITTERROR::InvalidCode;
        if (code < 64) return run;
    }
}

bool Fax3Decoder::decodeRow(uint8_t* row) {
    if (!startRow()) return false;
    std::memset(row, 0, rowBytes());
    uint32_t position = 0;
    bool black = false;
    while (position < columns_) {
        const auto run = static_cast<uint32_t>(readRun(black, false));
        if (run > columns_ - position) throw CCITTERROR::InvalidCode;
        if (black) setBits(row, position, run);
        position += run;
        black = !black;
    }
    ++rowsDecoded_;
    return true;
}

uint32_t Fax3Decoder::measureRow() {
    if (!startRow()) return 0;
    uint32_t position = 0;
    bool black = false;
    for (;;) {
        const int32_t run = readRun(black, true);
        if (run == kEndOfLine) break;
        position += static_cast<uint32_t>(run);
        if (position > kMaxColumns) throw CCITTERROR::InvalidCode;
        black = !black;
    }
    if (position == 0) throw CCITTERROR::InvalidCode;
    eolPending_ = true;
    ++rowsDecoded_;
    return position;
}

void Fax3Decoder::decode(uint8_t* buffer, size_t length) {
    const size_t bytesPerRow = rowBytes();
    while (length != 0) {
        if (rowOffset_ == bytesPerRow) {
            if (!decodeRow(row_.data())) throw CCITTERROR::InvalidCode;
            rowOffset_ = 0;
        }
        const size_t n = std::min(length, bytesPerRow - rowOffset_);
        std::memcpy(buffer, row_.data() + rowOffset_, n);
        rowOffset_ += n;
        buffer += n;
        length -= n;
    }
}

}  // namespace vivark
