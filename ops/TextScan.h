// Scanning the numbers of the system's own text files (palettes, filters)
// the way "%u" reads them, without the undefined cases of sscanf.
//
// readUnsigned skips white space, takes an optional sign and at least one
// digit, and leaves `p` after the number. A minus sign (other than on 0) or a
// value of 2^32 or more gives 2^32: a value no count, size or component
// accepts, which is what "%u" wrapping a negative number would give too.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace vivark {

inline constexpr uint64_t kScanOutOfRange = uint64_t{1} << 32;

inline void skipSpace(const char*& p) {
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
}

inline bool readUnsigned(const char*& p, uint64_t& value) {
    skipSpace(p);
    bool minus = false;
    if (*p == '+' || *p == '-') minus = *p++ == '-';
    if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
    value = 0;
    while (std::isdigit(static_cast<unsigned char>(*p)))
        value = std::min(value * 10 + static_cast<uint64_t>(*p++ - '0'), kScanOutOfRange);
    if (minus && value != 0) value = kScanOutOfRange;
    return true;
}

}  // namespace vivark
