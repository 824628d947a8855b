// MspFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class MSPERROR : uint32_t { NotMsp = 0, DataIntegrity = 1 };

namespace msg {
inline constexpr MessageId MspNotMsp = 11197;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyMsp(InFile& file, FormatInfo* info);

}  // namespace vivark
