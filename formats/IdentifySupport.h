// Small helpers shared by the identify tests: filling a FormatInfo, reading a
// fixed header into a caller's array, and reading a bounded text prefix.
//
// Nothing here allocates; every buffer is the caller's fixed array.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/InFile.h"
#include "formats/FormatInfo.h"

namespace vivark {

// Fills `info` when it is not null and answers true, so a test can end with
// `return accept(info, ...)`.
inline bool accept(FormatInfo* info, uint32_t width, uint32_t height, uint32_t bitsPerPixel,
                   FormatTag tag) {
    if (info != nullptr) {
        info->width = width;
        info->height = height;
        info->bitsPerPixel = bitsPerPixel;
        info->formatTag = tag;
    }
    return true;
}

// Reads up to `capacity` bytes from the current position into `destination`
// and returns how many there were; a file shorter than that is not an error.
inline size_t readPrefix(InFile& file, uint8_t* destination, size_t capacity) {
    size_t count = 0;
    while (count < capacity) {
        auto window = file.window();
        if (window.empty()) {
            try {
                file.refill();
            } catch (INFILEERROR error) {
                if (error != INFILEERROR::UnexpectedEnd) throw;
                break;
            }
            continue;
        }
        size_t n = window.size() < capacity - count ? window.size() : capacity - count;
        for (size_t i = 0; i < n; ++i) destination[count + i] = window[i];
        file.consume(n);
        count += n;
    }
    return count;
}

// The length of the data from the origin on (the whole file when the origin is 0).
inline uint64_t lengthFromOrigin(const InFile& file) {
    uint64_t size = file.size();
    uint64_t origin = static_cast<uint64_t>(file.origin());
    return size > origin ? size - origin : 0;
}

}  // namespace vivark
