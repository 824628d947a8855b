// CRC tables built once at compile time; see Checksums.h.
#include "textimg/Checksums.h"

#include <array>

namespace vivark::textimg {
namespace {

constexpr std::array<uint32_t, 256> makeCrc32Table() {
    std::array<uint32_t, 256> table{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    return table;
}

constexpr std::array<uint16_t, 256> makeCrc16Table() {
    std::array<uint16_t, 256> table{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n << 8;
        for (int k = 0; k < 8; ++k) c = (c & 0x8000) ? (c << 1) ^ 0x1021 : c << 1;
        table[n] = static_cast<uint16_t>(c);
    }
    return table;
}

constexpr auto kCrc32Table = makeCrc32Table();
constexpr auto kCrc16Table = makeCrc16Table();

}  // namespace

uint32_t crc32(uint32_t crc, std::span<const uint8_t> data) {
    crc = ~crc;
    for (uint8_t b : data) crc = kCrc32Table[(crc ^ b) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

uint16_t crc16(uint16_t crc, std::span<const uint8_t> data) {
    for (uint8_t b : data)
        crc = static_cast<uint16_t>((crc << 8) ^ kCrc16Table[((crc >> 8) ^ b) & 0xFF]);
    return crc;
}

}  // namespace vivark::textimg
