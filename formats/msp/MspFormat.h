// MspFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The 32-byte header: sixteen little-endian words. Words 0 and 1 are the key
// ("DanM" for version 1, whose rows are stored as they are; "LinS" for
// version 2, whose rows are run-length coded behind a map of their coded
// lengths), 2 and 3 the size, 12 a checksum that makes the XOR of words 0
// to 12 zero.
inline constexpr uint32_t kMspHeaderSize = 32;
inline constexpr uint16_t kMspKey1[2] = {0x6144, 0x4D6E};  // "DanM"
inline constexpr uint16_t kMspKey2[2] = {0x694C, 0x536E};  // "LinS"

// The family's errors; the values are fixed.
enum class MSPERROR : uint32_t { NotMsp = 0, DataIntegrity = 1 };

namespace msg {
inline constexpr MessageId MspNotMsp = 11197;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifyMsp(InFile& file, FormatInfo* info);

}  // namespace vivark
