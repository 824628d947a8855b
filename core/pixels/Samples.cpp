// Sample scaling, bit reversal and palettes from triplets; see Samples.h.
#include "core/pixels/Samples.h"

#include <array>
#include <cmath>

namespace vivark {
namespace {

constexpr uint8_t scale16(uint32_t v) {
    return static_cast<uint8_t>((v * 255 + 32767) / 65535);
}
static_assert(scale16(0) == 0 && scale16(65535) == 255 && scale16(0x8080) == 128);

constexpr std::array<uint8_t, 256> kReversed = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned v = 0; v < 256; ++v) {
        unsigned r = 0;
        for (unsigned bit = 0; bit < 8; ++bit) r |= ((v >> bit) & 1u) << (7 - bit);
        table[v] = static_cast<uint8_t>(r);
    }
    return table;
}();

}  // namespace

void scale16To8(const uint8_t* samples, uint8_t* out, size_t count, bool bigEndian) {
    const size_t high = bigEndian ? 0 : 1;
    for (size_t i = 0; i < count; ++i, samples += 2)
        out[i] = scale16(uint32_t{samples[high]} << 8 | samples[high ^ 1]);
}

void scaleFloatTo8(const float* samples, uint8_t* out, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const float v = samples[i];
        out[i] = !(v > 0.0f) ? 0 : v >= 1.0f ? 255 : static_cast<uint8_t>(std::lround(v * 255.0f));
    }
}

void reverseBits(uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) bytes[i] = kReversed[bytes[i]];
}

void paletteFromRgb(const uint8_t* rgb, uint32_t count, Palette& palette) {
    for (uint32_t i = 0; i < count && i < Palette::kSize; ++i, rgb += 3)
        palette[i] = vivark::rgb(rgb[0], rgb[1], rgb[2]);
}

void paletteFrom16BitMaps(const uint16_t* red, const uint16_t* green, const uint16_t* blue,
                          uint32_t count, Palette& palette) {
    for (uint32_t i = 0; i < count && i < Palette::kSize; ++i)
        palette[i] = rgb(scale16(red[i]), scale16(green[i]), scale16(blue[i]));
}

}  // namespace vivark
