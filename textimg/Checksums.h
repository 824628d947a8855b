// The checksums the encodings carry: CRC32 (yEnc, the polynomial of zip and
// PNG) and CRC-16 with the polynomial 0x1021 from 0 (BinHex 4.0). Both are
// table-driven and can be fed in pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vivark::textimg {

// Continues `crc` (0 to start) over `data`.
uint32_t crc32(uint32_t crc, std::span<const uint8_t> data);
uint16_t crc16(uint16_t crc, std::span<const uint8_t> data);

}  // namespace vivark::textimg
