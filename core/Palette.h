// Palette: the 256-entry colour table of images of 8 bits or less.
//
// An entry holds blue in its lowest byte, then green, then red, and 0 in its
// high byte: as a 32-bit value, 0x00RRGGBB. Which entries are valid is the
// image's paletteCount, not the palette's business.
#pragma once

#include <array>
#include <cstdint>

namespace vivark {

using Colour = uint32_t;  // 0x00RRGGBB

constexpr Colour rgb(uint8_t red, uint8_t green, uint8_t blue) {
    return (Colour{red} << 16) | (Colour{green} << 8) | Colour{blue};
}
constexpr uint8_t redOf(Colour c) {
    return static_cast<uint8_t>(c >> 16);
}
constexpr uint8_t greenOf(Colour c) {
    return static_cast<uint8_t>(c >> 8);
}
constexpr uint8_t blueOf(Colour c) {
    return static_cast<uint8_t>(c);
}

struct Palette {
    static constexpr unsigned kSize = 256;
    std::array<Colour, kSize> entries{};

    Colour& operator[](unsigned i) { return entries[i]; }
    Colour operator[](unsigned i) const { return entries[i]; }
    bool operator==(const Palette&) const = default;
};

}  // namespace vivark
