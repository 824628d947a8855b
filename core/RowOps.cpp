// The shared row helpers: bit unpacking and packing, palette expansion and
// the red-blue swap. Kept to plain loops the compiler can vectorise.
#include "core/RowOps.h"

#include <cstring>

namespace vivark {

void unpackIndices(const uint8_t* packed, uint8_t* indices, uint32_t count, unsigned bits) {
    if (bits == 8) {
        std::memcpy(indices, packed, count);
        return;
    }
    const unsigned perByte = 8 / bits;
    const uint8_t mask = static_cast<uint8_t>((1u << bits) - 1);
    for (uint32_t x = 0; x < count; ++x) {
        const unsigned shift = 8 - bits * (x % perByte + 1);
        indices[x] = static_cast<uint8_t>((packed[x / perByte] >> shift) & mask);
    }
}

void packIndices(const uint8_t* indices, uint8_t* packed, uint32_t count, unsigned bits) {
    if (bits == 8) {
        std::memcpy(packed, indices, count);
        return;
    }
    const unsigned perByte = 8 / bits;
    const uint8_t mask = static_cast<uint8_t>((1u << bits) - 1);
    const uint32_t bytes = (count + perByte - 1) / perByte;
    std::memset(packed, 0, bytes);
    for (uint32_t x = 0; x < count; ++x) {
        const unsigned shift = 8 - bits * (x % perByte + 1);
        packed[x / perByte] |= static_cast<uint8_t>((indices[x] & mask) << shift);
    }
}

void expandToBgr(const uint8_t* indices, const Palette& palette, uint8_t* bgr, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x) {
        const Colour c = palette[indices[x]];
        bgr[3 * x] = blueOf(c);
        bgr[3 * x + 1] = greenOf(c);
        bgr[3 * x + 2] = redOf(c);
    }
}

void swapRedBlue(const uint8_t* source, uint8_t* destination, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x) {
        const uint8_t first = source[3 * x];
        const uint8_t second = source[3 * x + 1];
        const uint8_t third = source[3 * x + 2];
        destination[3 * x] = third;
        destination[3 * x + 1] = second;
        destination[3 * x + 2] = first;
    }
}

}  // namespace vivark
