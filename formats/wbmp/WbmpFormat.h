// WbmpFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class WBMPERROR : uint32_t {
    InvalidFile = 0,  // a type other than 0, extension headers, a size over 32 bits
};

// The identify tests (see formats/Identify.h for their contract).
bool identifyWbmp(InFile& file, FormatInfo* info);

}  // namespace vivark
