// TgaFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class TGAERROR : uint32_t {
    UnsupportedMapFormat = 0,
    DataIntegrity = 1,
    InvalidFile = 2,
    ColourMapTooLarge = 3,
};

namespace msg {
inline constexpr MessageId TgaMapFormat = 11221;
}  // namespace msg

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view TgaEncode = "SaveOptions\\TGA\\Encode";
inline constexpr std::string_view TgaBottomToTop = "SaveOptions\\TGA\\BottomToTop";
inline constexpr std::string_view TgaRightToLeft = "SaveOptions\\TGA\\RightToLeft";
inline constexpr std::string_view TgaInterlaceType = "SaveOptions\\TGA\\InterlaceType";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyTga(InFile& file, FormatInfo* info);

}  // namespace vivark
