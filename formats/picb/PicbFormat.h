// PicbFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PICBERROR : uint32_t { InvalidFile = 0 };

// The identify tests (see formats/Identify.h for their contract).
bool identifyPicb(InFile& file, FormatInfo* info);

}  // namespace vivark
