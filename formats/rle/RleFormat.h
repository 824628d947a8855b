// RleFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class RLECERROR : uint32_t { InvalidFile = 0 };
enum class RLEUERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    UnsupportedChannels = 2,
    UnsupportedDepth = 3,
};

// The identify tests (see formats/Identify.h for their contract).
bool identifyCompuserveRle(InFile& file, FormatInfo* info);
bool identifyUtahRle(InFile& file, FormatInfo* info);

}  // namespace vivark
