// CRC tables built once at compile time; see Checksums.h.
#include "textimg/Checksums.h"

#include <array>

#include "formats/png/PngCrc.h"

namespace vivark::textimg {
namespace {

constexpr std::array<uint16_t, 256> makeCrc16Table() {
    std::array<uint16_t, 256> table{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n << 8;
        for (int k = 0; k < 8; ++k) c = (c & 0x8000) ? (c << 1) ^ 0x1021 : c << 1;
        table[n] = static_cast<uint16_t>(c);
    }
    return table;
}

constexpr auto kCrc16Table = makeCrc16Table();

}  // namespace

// The CRC32 of PNG chunks: its four tables fold four bytes a step.
uint32_t crc32(uint32_t crc, std::span<const uint8_t> data) {
    const auto& t = png::detail::kCrcTables;
    uint32_t c = ~crc;
    const uint8_t* p = data.data();
    size_t length = data.size();
    for (; length >= 4; p += 4, length -= 4) {
        c ^= uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
        c = t[3][c & 0xFF] ^ t[2][(c >> 8) & 0xFF] ^ t[1][(c >> 16) & 0xFF] ^ t[0][c >> 24];
    }
    for (; length != 0; --length) c = t[0][(c ^ *p++) & 0xFF] ^ (c >> 8);
    return ~c;
}

uint16_t crc16(uint16_t crc, std::span<const uint8_t> data) {
    for (uint8_t b : data)
        crc = static_cast<uint16_t>((crc << 8) ^ kCrc16Table[((crc >> 8) ^ b) & 0xFF]);
    return crc;
}

}  // namespace vivark::textimg
