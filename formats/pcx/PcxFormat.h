// PcxFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PCXERROR : uint32_t { InvalidFile = 0, DataIntegrity = 1 };

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view PcxEnable24bit = "SaveOptions\\PCX\\Enable24bit";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyPcx(InFile& file, FormatInfo* info);
bool identifyDcx(InFile& file, FormatInfo* info);

}  // namespace vivark
