// The byte sources codecs read from: the buffer of an InFile (all of it from
// the current position, or a range of known length such as a TIFF strip), and
// a block of memory. Each hands out the underlying buffer itself as its
// window, so no byte is copied on the way to a decoder.
//
// Running dry throws INFILEERROR::UnexpectedEnd, exactly as the InFile would.
// While a source reads an InFile, the file's position belongs to the source;
// finish() hands it back, positioned just after the bytes consumed.
#pragma once

#include <span>

#include "codecs/StreamCodec.h"
#include "core/InFile.h"

namespace vivark {

// Everything from the file's current position on.
class InFileSource final : public ByteSource {
  public:
    explicit InFileSource(InFile& file) : file_(file) {}
    ~InFileSource() override { release(); }

    void begin() override;
    void finish() override { release(); }
    void refill() override;

  private:
    // Tells the file how much of its window was consumed.
    void release();

    InFile& file_;
};

// At most `length` bytes from the position at begin(); reading past them throws
// INFILEERROR::UnexpectedEnd even when the file goes on.
class InFileRangeSource final : public ByteSource {
  public:
    InFileRangeSource(InFile& file, uint64_t length) : file_(file), remaining_(length) {}
    ~InFileRangeSource() override { release(); }

    void begin() override;
    void finish() override { release(); }
    void refill() override;

    // Bytes of the range not yet handed out.
    uint64_t remaining() const { return remaining_ + available(); }

  private:
    void release();

    InFile& file_;
    uint64_t remaining_;  // bytes of the range beyond the window
};

// A block of memory, handed out whole.
class MemorySource final : public ByteSource {
  public:
    explicit MemorySource(std::span<const uint8_t> data) : data_(data) {}

    void begin() override;
    void refill() override;

  private:
    std::span<const uint8_t> data_;
    bool handedOut_ = false;
};

}  // namespace vivark
