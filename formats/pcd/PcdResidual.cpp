// Decoding of the Huffman-coded residual sections of Photo CD image packs.
//
// The bits are read most significant first through a 64-bit window that
// always holds at least 32 unread bits. Each table becomes a direct lookup on
// the next 16 bits (length and residual per entry), filled in table order so
// that where two codes overlap the earlier entry decides, as the table is
// searched in order by the readers this data was made for.
#include "formats/pcd/PcdResidual.h"

#include <algorithm>

#include "core/Errors.h"
#include "formats/pcd/PcdFormat.h"

namespace vivark {
namespace {

constexpr uint32_t kSync = 0xFFFFFE;
// Bytes of zeros fed past the end of the data before the read gives up; the
// window reads ahead by up to eight.
constexpr uint32_t kPaddingAllowed = 12;

class BitWindow {
  public:
    BitWindow(InFile& file, uint64_t available) : file_(&file), left_(available) { fill(); }

    uint32_t peek32() const { return static_cast<uint32_t>(bits_ >> 32); }
    void consume(unsigned n) {
        bits_ <<= n;
        count_ -= n;
        consumed_ += n;
        fill();
    }
    bool atSync() const { return (peek32() >> 8) == kSync; }
    // Moves on bit by bit to the next sync pattern.
    void findSync() {
        while (!atSync()) consume(1);
    }
    uint64_t consumedBits() const { return consumed_; }

  private:
    void fill() {
        while (count_ <= 56) {
            bits_ |= uint64_t{nextByte()} << (56 - count_);
            count_ += 8;
        }
    }
    uint8_t nextByte() {
        if (left_ > 0) {
            --left_;
            return file_->readByte();
        }
        if (++padding_ > kPaddingAllowed) throw INFILEERROR::UnexpectedEnd;
        return 0;
    }

    InFile* file_;
    uint64_t left_;
    uint64_t bits_ = 0;
    unsigned count_ = 0;
    uint32_t padding_ = 0;
    uint64_t consumed_ = 0;
};

// Entry: code length in the high byte (0: no code), residual in the low byte.
using Lookup = std::vector<uint16_t>;

Lookup readTable(InFile& file) {
    Lookup lookup(65536, 0);
    const unsigned entries = unsigned{file.readByte()} + 1;
    for (unsigned i = 0; i < entries; ++i) {
        uint8_t e[4];
        file.read(e, sizeof e);
        const unsigned length = unsigned{e[0]} + 1;
        if (length > 16) throw PCDERROR::BadHuffmanTable;
        const uint32_t span = 1u << (16 - length);
        const uint32_t first = ((uint32_t{e[1]} << 8) | e[2]) & ~(span - 1) & 0xFFFF;
        for (uint32_t at = first; at < first + span; ++at)
            if (lookup[at] == 0) lookup[at] = static_cast<uint16_t>((length << 8) | e[3]);
    }
    return lookup;
}

}  // namespace

PcdResidualResult addPcdResiduals(InFile& file, uint64_t available, unsigned tableCount,
                                  PcdPlanes& planes, ProgressCallback* progress) {
    const int64_t start = file.tell();
    Lookup tables[3];
    for (unsigned t = 0; t < tableCount; ++t) tables[t] = readTable(file);
    const uint64_t tableBytes = static_cast<uint64_t>(file.tell() - start);
    if (tableBytes > available) throw INFILEERROR::UnexpectedEnd;

    BitWindow bits(file, available - tableBytes);
    PcdResidualResult result;
    bool sawLuma = false;
    bits.findSync();
    for (;;) {
        bits.consume(24);
        const uint32_t header = bits.peek32() >> 16;
        bits.consume(16);
        const uint32_t plane = header >> 14;
        const uint32_t row = (header >> 1) & 0x1FFF;
        if (row == planes.height) break;

        uint8_t* samples = nullptr;
        uint32_t count = 0;
        const Lookup* table = nullptr;
        if (row < planes.height) {
            if (plane == 0) {
                samples = planes.luma.data() + size_t{row} * planes.width;
                count = planes.width;
                table = &tables[0];
                sawLuma = true;
            } else if ((plane == 2 || plane == 3) && tableCount == 3) {
                std::vector<uint8_t>& chroma = plane == 2 ? planes.chroma1 : planes.chroma2;
                samples = chroma.data() + size_t{row / 2} * planes.chromaWidth();
                count = planes.chromaWidth();
                table = &tables[plane - 1];
            }
        }
        if (samples == nullptr) {
            ++result.damagedRows;
            bits.consume(1);
            bits.findSync();
            continue;
        }
        for (uint32_t i = 0; i < count && !bits.atSync(); ++i) {
            const uint16_t entry = (*table)[bits.peek32() >> 16];
            if (entry == 0) {
                ++result.damagedRows;
                break;
            }
            const int value = samples[i] + static_cast<int8_t>(entry & 0xFF);
            samples[i] = static_cast<uint8_t>(std::clamp(value, 0, 255));
            bits.consume(entry >> 8);
        }
        bits.findSync();
        if (plane == 0 && progressCancelled(progress, row + 1, planes.height))
            throw INFILEERROR::Cancelled;
    }
    if (!sawLuma) throw PCDERROR::MissingLuminance;
    // The marker is the 40 bits just consumed.
    result.endByte = tableBytes + (bits.consumedBits() - 1) / 8;
    return result;
}

}  // namespace vivark
