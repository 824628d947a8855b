// The fixed tables of the Deflate format (RFC 1951, 3.2.5 and 3.2.7), shared
// by the encoder and the decoder: length and distance bases with their extra
// bits, and the order in which the code-length code lengths are sent.
#pragma once

#include <cstdint>

namespace vivark::deflate {

inline constexpr uint32_t kLengthCodes = 29;    // symbols 257..285
inline constexpr uint32_t kDistanceCodes = 30;  // distance symbols 0..29
inline constexpr uint32_t kLiteralLengthSymbols = 288;
inline constexpr uint32_t kEndOfBlock = 256;
inline constexpr uint32_t kMinMatch = 3;
inline constexpr uint32_t kMaxMatch = 258;
inline constexpr uint32_t kMaxBits = 15;
inline constexpr uint32_t kCodeLengthCodes = 19;

inline constexpr uint16_t kLengthBase[kLengthCodes] = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                       15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                       67, 83, 99, 115, 131, 163, 195, 227, 258};
inline constexpr uint8_t kLengthExtra[kLengthCodes] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                                       2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
inline constexpr uint16_t kDistanceBase[kDistanceCodes] = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
inline constexpr uint8_t kDistanceExtra[kDistanceCodes] = {0, 0, 0,  0,  1,  1,  2,  2,  3,  3,
                                                           4, 4, 5,  5,  6,  6,  7,  7,  8,  8,
                                                           9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
inline constexpr uint8_t kCodeLengthOrder[kCodeLengthCodes] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                               11, 4,  12, 3, 13, 2, 14, 1, 15};

}  // namespace vivark::deflate
