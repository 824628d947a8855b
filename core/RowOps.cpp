// The shared row helpers: bit unpacking and packing, palette expansion and
// the red-blue swap. Kept to plain loops the compiler can vectorise.
#include "core/RowOps.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

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

void expandToRgb(const uint8_t* indices, const Palette& palette, uint8_t* rgb, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x) {
        const Colour c = palette[indices[x]];
        rgb[3 * x] = redOf(c);
        rgb[3 * x + 1] = greenOf(c);
        rgb[3 * x + 2] = blueOf(c);
    }
}

namespace {

void swapRedBluePortable(const uint8_t* source, uint8_t* destination, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x) {
        const uint8_t first = source[3 * x];
        const uint8_t second = source[3 * x + 1];
        const uint8_t third = source[3 * x + 2];
        destination[3 * x] = third;
        destination[3 * x + 1] = second;
        destination[3 * x + 2] = first;
    }
}

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
// Five pixels a step with one byte shuffle: 16 bytes are loaded and stored,
// the 16th (the next pixel's first byte) rewritten by the following step or
// by the tail, so a step needs six pixels of room on both sides.
__attribute__((target("ssse3"))) void swapRedBlueSsse3(const uint8_t* source, uint8_t* destination,
                                                       uint32_t count) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15);
    uint32_t x = 0;
    for (; x + 6 <= count; x += 5) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 3 * x));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 3 * x),
                         _mm_shuffle_epi8(pixels, order));
    }
    swapRedBluePortable(source + 3 * x, destination + 3 * x, count - x);
}

using SwapFunction = void (*)(const uint8_t*, uint8_t*, uint32_t);

SwapFunction chooseSwap() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3") ? swapRedBlueSsse3 : swapRedBluePortable;
}
#else
using SwapFunction = void (*)(const uint8_t*, uint8_t*, uint32_t);

SwapFunction chooseSwap() {
    return swapRedBluePortable;
}
#endif

}  // namespace

// Chosen once for the processor, then called once per row.
void swapRedBlue(const uint8_t* source, uint8_t* destination, uint32_t count) {
    static const SwapFunction swap = chooseSwap();
    swap(source, destination, count);
}

}  // namespace vivark
