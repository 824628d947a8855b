// PnmFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PNMERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1 };

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view PbmRawData = "SaveOptions\\PBM\\RawData";
inline constexpr std::string_view PgmRawData = "SaveOptions\\PGM\\RawData";
inline constexpr std::string_view PpmRawData = "SaveOptions\\PPM\\RawData";
inline constexpr std::string_view PnmRawData = "SaveOptions\\PNM\\RawData";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyPnm(InFile& file, FormatInfo* info);

}  // namespace vivark
