// PictorFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PICERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, ColourMapTooLarge = 2 };

// The identify tests (see formats/Identify.h for their contract).
bool identifyPictor(InFile& file, FormatInfo* info);

}  // namespace vivark
