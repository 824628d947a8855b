// WbmpFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The identify tests (see formats/Identify.h for their contract).
bool identifyWbmp(InFile& file, FormatInfo* info);

}  // namespace vivark
