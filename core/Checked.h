// Overflow-checked size arithmetic for every size that comes from a file.
//
// Readers compute widths, strides, offsets and totals from header fields in
// 64 bits and through these helpers, so that a hostile header can never wrap
// an allocation size or a loop bound. Each helper reports failure through an
// empty optional; the caller decides which error of its own to throw.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

namespace vivark {

constexpr std::optional<uint64_t> checkedMul(uint64_t a, uint64_t b) {
    if (a != 0 && b > std::numeric_limits<uint64_t>::max() / a) return std::nullopt;
    return a * b;
}

constexpr std::optional<uint64_t> checkedAdd(uint64_t a, uint64_t b) {
    if (b > std::numeric_limits<uint64_t>::max() - a) return std::nullopt;
    return a + b;
}

// True when [offset, offset + length) lies inside a block of `size` bytes.
constexpr bool rangeInside(uint64_t offset, uint64_t length, uint64_t size) {
    return offset <= size && length <= size - offset;
}

static_assert(!checkedMul(uint64_t{1} << 32, uint64_t{1} << 32));
static_assert(*checkedMul(98304, 32768) == 3221225472u);
static_assert(!checkedAdd(std::numeric_limits<uint64_t>::max(), 1));
static_assert(rangeInside(10, 0, 10) && !rangeInside(11, 0, 10) && !rangeInside(5, 6, 10));

}  // namespace vivark
