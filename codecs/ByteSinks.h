// The byte sinks encoders write to: the buffer of an OutFile, written in
// place, and a growing block of memory. Failures of the file propagate as
// OUTFILEERROR from flush().
#pragma once

#include <vector>

#include "codecs/StreamCodec.h"
#include "core/OutFile.h"

namespace vivark {

class OutFileSink final : public ByteSink {
  public:
    explicit OutFileSink(OutFile& file) : file_(file) {}

    void begin() override;
    void flush() override;
    // Hands the written bytes to the file (which still buffers them).
    void finish() override;

  private:
    void release();

    OutFile& file_;
    uint8_t* windowStart_ = nullptr;
};

// Appends to a vector, which grows as needed (the sink, not the codec, allocates).
class MemorySink final : public ByteSink {
  public:
    explicit MemorySink(std::vector<uint8_t>& out) : out_(out) {}

    void begin() override;
    void flush() override;
    void finish() override;

  private:
    void release();

    std::vector<uint8_t>& out_;
    size_t used_ = 0;  // bytes of out_ that hold output
};

}  // namespace vivark
