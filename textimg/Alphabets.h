// The decoding tables of the text encodings: 256 entries, one per character,
// holding the character's six-bit value or kInvalid.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace vivark::textimg {

inline constexpr uint8_t kInvalid = 255;
using DecodeTable = std::array<uint8_t, 256>;

inline constexpr std::string_view kXxAlphabet =
    "+-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr std::string_view kBinHexAlphabet =
    "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";

// Character k of a 64-character alphabet gives k; every other character is
// invalid. A character listed twice keeps its first value.
constexpr DecodeTable tableOf(std::string_view alphabet) {
    DecodeTable table{};
    table.fill(kInvalid);
    for (size_t k = 0; k < alphabet.size() && k < 64; ++k) {
        auto c = static_cast<uint8_t>(alphabet[k]);
        if (table[c] == kInvalid) table[c] = static_cast<uint8_t>(k);
    }
    return table;
}

// Space to "_" give their code minus 32; "`" and the lower-case letters wrap
// round to 0 and 1 to 26, as old encoders used "`" for a zero and some
// gateways folded upper to lower case.
constexpr DecodeTable uuTable() {
    DecodeTable table{};
    table.fill(kInvalid);
    for (int c = 32; c <= 122; ++c) table[c] = static_cast<uint8_t>((c - 32) & 63);
    return table;
}

inline constexpr DecodeTable kUuTable = uuTable();
inline constexpr DecodeTable kXxTable = tableOf(kXxAlphabet);
inline constexpr DecodeTable kBase64Table = tableOf(kBase64Alphabet);
inline constexpr DecodeTable kBinHexTable = tableOf(kBinHexAlphabet);

}  // namespace vivark::textimg
