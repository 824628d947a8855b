// FaxFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class FAX3ERROR : uint32_t { Unknown = 0, DataIntegrity = 1 };
enum class SFFERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    NoPageHeader = 2,
    UnknownCoding = 3,
};
// Writers whose failures are their own (the save path maps them).
enum class FAX3WRITEERROR : uint32_t { Unknown = 0 };

namespace msg {
inline constexpr MessageId SffNoPageHeader = 11215;
inline constexpr MessageId SffCoding = 11216;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifySff(InFile& file, FormatInfo* info);
bool identifyFax3(InFile& file, FormatInfo* info);

}  // namespace vivark
