// Whole-pixel access to packed rows of 1, 4, 8 and 24 bits, for the
// operations that move pixels without changing them (point-sampled resize
// and rotation, mirrors and quarter turns).
//
// PixelAccess<Bits> reads and writes pixel x of a row as one value (an index,
// or blue | green << 8 | red << 16); withDepth calls a generic function once
// with the access type of a depth, so the per-pixel work is inlined into each
// operation's loop and no pixel goes through a pointer call.
#pragma once

#include <cstdint>
#include <type_traits>

namespace vivark {

template <unsigned Bits>
struct PixelAccess {
    static_assert(Bits == 1 || Bits == 4);
    static constexpr unsigned kPerByte = 8 / Bits;
    static constexpr uint32_t kMask = (1u << Bits) - 1;
    static uint32_t get(const uint8_t* row, uint32_t x) {
        const unsigned shift = 8 - Bits * (x % kPerByte + 1);
        return (row[x / kPerByte] >> shift) & kMask;
    }
    static void put(uint8_t* row, uint32_t x, uint32_t value) {
        const unsigned shift = 8 - Bits * (x % kPerByte + 1);
        uint8_t& byte = row[x / kPerByte];
        byte = uint8_t((byte & ~(kMask << shift)) | ((value & kMask) << shift));
    }
};

template <>
struct PixelAccess<8> {
    static uint32_t get(const uint8_t* row, uint32_t x) { return row[x]; }
    static void put(uint8_t* row, uint32_t x, uint32_t value) { row[x] = uint8_t(value); }
};

template <>
struct PixelAccess<24> {
    static uint32_t get(const uint8_t* row, uint32_t x) {
        const uint8_t* p = row + 3 * size_t{x};
        return p[0] | (uint32_t{p[1]} << 8) | (uint32_t{p[2]} << 16);
    }
    static void put(uint8_t* row, uint32_t x, uint32_t value) {
        uint8_t* p = row + 3 * size_t{x};
        p[0] = uint8_t(value);
        p[1] = uint8_t(value >> 8);
        p[2] = uint8_t(value >> 16);
    }
};

// Calls function(PixelAccess<bits>{}) for bits 1, 4, 8 or 24 (any other
// depth is treated as 8).
template <class Function>
decltype(auto) withDepth(uint32_t bits, Function&& function) {
    switch (bits) {
        case 1:
            return function(PixelAccess<1>{});
        case 4:
            return function(PixelAccess<4>{});
        case 24:
            return function(PixelAccess<24>{});
        default:
            return function(PixelAccess<8>{});
    }
}

}  // namespace vivark
