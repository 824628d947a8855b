// PcdFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "core/settings/Setting.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The load options of the family, kept with it and listed by the settings
// store: the level read (0 Base/16 to 4 16Base) and whether a viewer asks.
namespace settings {
extern IntSetting photoCdResolution;
extern BoolSetting photoCdAskForResolution;
}  // namespace settings

// The family's errors; the values are fixed.
enum class PCDERROR : uint32_t {
    DataIntegrity = 0,
    BadLineLength = 1,
    BadLineTag = 2,
    BadLineNumber = 3,
    MissingSync = 4,
    BadHuffmanTable = 5,
    MissingLuminance = 6,
    BadDescriptorCount = 7,
    BadFileNameCount = 8,
    BadFileCount = 9,
};

namespace msg {
inline constexpr MessageId PcdBase = 11197;  // PCDERROR v (1..9) is PcdBase + v
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyPcd(InFile& file, FormatInfo* info);

}  // namespace vivark
