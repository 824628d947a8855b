// A ByteSource over bytes in memory that hands them out `step` bytes at a
// time, so that a decoder meets the end of its source's window at every
// place. Running past the end throws INFILEERROR::UnexpectedEnd, as a file
// would.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "codecs/StreamCodec.h"
#include "core/Errors.h"

namespace vivark::test {

class SlicedSource final : public ByteSource {
  public:
    SlicedSource(std::span<const uint8_t> data, size_t step) : data_(data), step_(step) {}
    void begin() override { cursor = end = data_.data(); }
    void refill() override {
        const uint8_t* last = data_.data() + data_.size();
        if (end == last) throw INFILEERROR::UnexpectedEnd;
        cursor = end;
        end = cursor + std::min(step_, static_cast<size_t>(last - cursor));
    }
    // Bytes taken so far.
    size_t position() const { return static_cast<size_t>(cursor - data_.data()); }

  private:
    std::span<const uint8_t> data_;
    size_t step_;
};

}  // namespace vivark::test
