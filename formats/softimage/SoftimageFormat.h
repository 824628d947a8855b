// SoftimageFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PICSERROR : uint32_t {
    BadMagic = 0,
    BadHeader = 1,
    BadChannels = 2,
    DataIntegrity = 3,
};

namespace saveKey {
// On: mixed run-length packets; off: uncompressed.
inline constexpr std::string_view SoftimageEncode = "SaveOptions\\Softimage PIC\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifySoftimage(InFile& file, FormatInfo* info);

}  // namespace vivark
