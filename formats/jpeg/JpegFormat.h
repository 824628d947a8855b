// JpegFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view JfifQuality = "SaveOptions\\JFIF\\Quality";
inline constexpr std::string_view JfifSmooth = "SaveOptions\\JFIF\\Smooth";
inline constexpr std::string_view JfifEntropy = "SaveOptions\\JFIF\\Entropy";
inline constexpr std::string_view JfifProgressive = "SaveOptions\\JFIF\\Progressive";
inline constexpr std::string_view JfifExif = "SaveOptions\\JFIF\\Exif";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyJpeg(InFile& file, FormatInfo* info);
bool identifySfw(InFile& file, FormatInfo* info);

}  // namespace vivark
