// LogoFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class LGOERROR : uint32_t { DataIntegrity = 0 };

// The fixed screen a boot logo holds: three planes of one byte a pixel.
inline constexpr uint32_t kBootLogoWidth = 320;
inline constexpr uint32_t kBootLogoHeight = 240;
inline constexpr uint32_t kBootLogoPlaneBytes = kBootLogoWidth * kBootLogoHeight;  // 76800
inline constexpr uint32_t kBootLogoHeaderBytes = 32;
inline constexpr uint32_t kBootLogoFileBytes =
    kBootLogoHeaderBytes + 3 * kBootLogoPlaneBytes;  // 230432

namespace saveKey {
// On: the colours as they are (Warp 4 shows 24 bits); off: 16 colours.
inline constexpr std::string_view BootLogoWarp4 = "SaveOptions\\OS/2 Boot Logo\\Warp4";
// For 16 colours: on, a palette chosen from the image; off, the 16 of the VGA.
inline constexpr std::string_view BootLogoOptimize = "SaveOptions\\OS/2 Boot Logo\\Optimize";
// For 16 colours: on, error diffusion; off, the nearest colour.
inline constexpr std::string_view BootLogoDither = "SaveOptions\\OS/2 Boot Logo\\Dither";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyBootLogo(InFile& file, FormatInfo* info);

}  // namespace vivark
