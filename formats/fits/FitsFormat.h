// FitsFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class FITSERROR : uint32_t {
    Unknown = 0,
    UnsupportedNaxis = 1,
    UnsupportedNaxisN = 2,
    UnsupportedBitpix = 3,
    DataIntegrity = 4,
};

namespace msg {
inline constexpr MessageId FitsNaxis = 11179;
inline constexpr MessageId FitsBitpix = 11180;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyFits(InFile& file, FormatInfo* info);

}  // namespace vivark
