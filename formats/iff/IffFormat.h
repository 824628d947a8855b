// IffFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class IFFERROR : uint32_t {
    NotIff = 0,
    NotForm = 1,
    UnknownSubtype = 2,
    UnknownMask = 3,
    UnknownCompression = 4,
    UnknownPchgCompression = 5,
    PchgTooShort = 6,
    UnsupportedPchg = 7,
    ChunkTooShort = 8,
    NoBody = 9,
    NoBmhd = 10,
    UnsupportedPlanes = 11,
};

namespace msg {
inline constexpr MessageId IffFirst = 11184;  // IFFERROR v is IffFirst + v, v = 0..11
}  // namespace msg

namespace saveKey {
inline constexpr std::string_view IffEncode = "SaveOptions\\IFF\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyIff(InFile& file, FormatInfo* info);

}  // namespace vivark
