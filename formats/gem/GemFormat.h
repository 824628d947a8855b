// GemFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The header: big-endian words. 0 version (1), 1 header length in words, 2
// planes, 3 pattern length, 4 and 5 the pixel size in microns, 6 width, 7
// height. A ninth word, where present, is not used. The XIMG extension puts
// "XIMG", a colour model (0: RGB) and a palette of 2^planes entries of three
// words (0 to 1000) behind the first eight words.
inline constexpr uint32_t kGemHeaderWords = 8;
inline constexpr uint32_t kXimgHeaderWords = kGemHeaderWords + 3;
// The header length of an XIMG file of `planes` (1 to 8) planes.
constexpr uint32_t ximgHeaderWords(uint32_t planes) {
    return kXimgHeaderWords + 3u * (1u << planes);
}

// The family's errors; the values are fixed.
enum class IMGERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, BadPlaneCount = 2 };

namespace msg {
inline constexpr MessageId ImgPlanes = 11196;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyGem(InFile& file, FormatInfo* info);

}  // namespace vivark
