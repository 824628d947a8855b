// PngCrc: the CRC-32 every PNG chunk carries over its type and data
// (polynomial 0xEDB88320 in reflected form, initial value 0xFFFFFFFF, stored
// complemented). The reader checks it on every chunk, the writer appends it.
//
// Bytes are folded in four at a time through four tables built at compile
// time (the table of byte k extends the table of byte k - 1 by eight zero
// bits), so a checked IDAT byte costs about one table lookup. Throws nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vivark::png {

namespace detail {
using CrcTable = std::array<uint32_t, 256>;
// Table k maps a byte to its CRC register after k further zero bytes.
constexpr std::array<CrcTable, 4> makeCrcTables() {
    std::array<CrcTable, 4> t{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        t[0][n] = c;
    }
    for (size_t k = 1; k < 4; ++k)
        for (uint32_t n = 0; n < 256; ++n) t[k][n] = t[0][t[k - 1][n] & 0xFF] ^ (t[k - 1][n] >> 8);
    return t;
}
inline constexpr std::array<CrcTable, 4> kCrcTables = makeCrcTables();
}  // namespace detail

class Crc32 {
  public:
    static constexpr uint32_t kInitial = 0xFFFFFFFFu;

    void reset() { value_ = kInitial; }
    void update(const uint8_t* data, size_t length) {
        uint32_t c = value_;
        while (length >= 4) {
            c ^= uint32_t{data[0]} | uint32_t{data[1]} << 8 | uint32_t{data[2]} << 16 |
                 uint32_t{data[3]} << 24;
            c = detail::kCrcTables[3][c & 0xFF] ^ detail::kCrcTables[2][(c >> 8) & 0xFF] ^
                detail::kCrcTables[1][(c >> 16) & 0xFF] ^ detail::kCrcTables[0][c >> 24];
            data += 4;
            length -= 4;
        }
        while (length != 0) {
            c = detail::kCrcTables[0][(c ^ *data++) & 0xFF] ^ (c >> 8);
            --length;
        }
        value_ = c;
    }
    // The value a chunk stores: the complement of the running register.
    uint32_t value() const { return ~value_; }

  private:
    uint32_t value_ = kInitial;
};

}  // namespace vivark::png
