// Four-character format tags ("GIF ", "PNG ", "BMP ", "TIFF"): 32-bit values
// whose first character is the least significant byte. They name a format in
// FormatInfo, in the Image and in settings.
#pragma once

#include <cstdint>
#include <string>

namespace vivark {

using FormatTag = uint32_t;

// makeTag("GIF ") == 0x20464947. The text must hold exactly four characters.
consteval FormatTag makeTag(const char (&text)[5]) {
    return uint32_t{static_cast<uint8_t>(text[0])} |
           (uint32_t{static_cast<uint8_t>(text[1])} << 8) |
           (uint32_t{static_cast<uint8_t>(text[2])} << 16) |
           (uint32_t{static_cast<uint8_t>(text[3])} << 24);
}

// The four characters of a tag, as they are written ("GIF ").
inline std::string tagText(FormatTag tag) {
    std::string text(4, ' ');
    for (int i = 0; i < 4; ++i) text[i] = static_cast<char>((tag >> (8 * i)) & 0xFF);
    return text;
}

static_assert(makeTag("GIF ") == 0x20464947u);
static_assert(makeTag("BMP ") == 0x20504D42u);

}  // namespace vivark
