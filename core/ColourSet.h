// ColourSet: a sparse set of 24-bit colours, for counting distinct colours.
//
// Three levels indexed by the colour's three bytes: 256 pointers to blocks of
// 256 pointers to 256-bit maps, the blocks and maps made on first use. A
// photograph touches a small part of the 16M colours, so the set stays far
// smaller than a flat bit map while each insert is two loads and a bit test.
// The count of set bits is kept as colours go in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/Palette.h"

namespace vivark {

class ColourSet {
  public:
    ColourSet() = default;
    ColourSet(const ColourSet&) = delete;
    ColourSet& operator=(const ColourSet&) = delete;

    // Inserts the colour whose bytes are (first, second, third); returns true
    // when it was not yet in the set.
    bool insert(uint8_t first, uint8_t second, uint8_t third) {
        auto& block = top_[first];
        if (!block) block = std::make_unique<Block>();
        auto& map = (*block)[second];
        if (!map) map = std::make_unique<BitMap>();
        uint8_t& byte = (*map)[third >> 3];
        const uint8_t bit = static_cast<uint8_t>(1u << (third & 7));
        if (byte & bit) return false;
        byte |= bit;
        ++count_;
        return true;
    }
    bool insert(Colour c) { return insert(blueOf(c), greenOf(c), redOf(c)); }

    bool contains(uint8_t first, uint8_t second, uint8_t third) const {
        const auto& block = top_[first];
        if (!block) return false;
        const auto& map = (*block)[second];
        return map && ((*map)[third >> 3] >> (third & 7)) & 1;
    }

    size_t count() const { return count_; }

  private:
    using BitMap = std::array<uint8_t, 32>;
    using Block = std::array<std::unique_ptr<BitMap>, 256>;

    std::array<std::unique_ptr<Block>, 256> top_;
    size_t count_ = 0;
};

}  // namespace vivark
