// The Encapsulated PostScript family, written only: its save option keys.
//
//  - SaveOptions\EPS\Compression: 0 (the default) run-length
//    (RunLengthDecode, PostScript level 2), 1 Flate (FlateDecode, level 3:
//    smaller, and read by every interpreter in use today). Both are carried
//    in ASCII85, so the file is 7-bit text.
//  - SaveOptions\EPS\Preview: 0 (the default) no preview, 1 a TIFF preview
//    behind the binary header that page-layout programs look for.
#pragma once

#include <string_view>

namespace vivark::saveKey {
inline constexpr std::string_view EpsCompression = "SaveOptions\\EPS\\Compression";
inline constexpr std::string_view EpsPreview = "SaveOptions\\EPS\\Preview";
}  // namespace vivark::saveKey
