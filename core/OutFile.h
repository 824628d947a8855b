// OutFile: the buffered output stream every writer pushes bytes through.
//
// OutFile owns a write buffer over a descriptor and the file position at which
// that buffer will land, so a writer can seek back and patch a length it
// learns late. Failures are thrown as OUTFILEERROR values at flush time: no
// space is DiskFull, any other failed or short write WriteFailed, a seek or
// position query that fails SeekFailed. Writers throw OUTFILEERROR::Cancelled
// themselves when their ProgressCallback asks them to stop.
//
// OutFile does not decide where a file is created; SafeOutFile does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "core/ByteOrder.h"

namespace vivark {

class OutFile {
  public:
    static constexpr size_t kDefaultBufferSize = 32768;

    explicit OutFile(size_t bufferSize = kDefaultBufferSize);
    // Closes an owned descriptor. Unflushed bytes are dropped: a writer that
    // failed leaves its file to the caller.
    ~OutFile();
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    // Attaches a descriptor opened for writing; `owns` makes close() and the
    // destructor close it. Throws OUTFILEERROR::SeekFailed when its position
    // cannot be read.
    void attach(int handle, bool owns = true);

    void write(const void* data, size_t count);
    void writeByte(uint8_t value) {
        if (current_ == limit_) flush();
        *current_++ = value;
    }
    void writeLE16(uint16_t v) { writeValue<2>(v, storeLE16); }
    void writeBE16(uint16_t v) { writeValue<2>(v, storeBE16); }
    void writeLE32(uint32_t v) { writeValue<4>(v, storeLE32); }
    void writeBE32(uint32_t v) { writeValue<4>(v, storeBE32); }

    // The free part of the buffer, for encoders that write in place (flushing
    // first when it is full); advance() then counts the bytes written there.
    std::span<uint8_t> space() {
        if (current_ == limit_) flush();
        return {current_, static_cast<size_t>(limit_ - current_)};
    }
    void advance(size_t count) { current_ += count; }

    // Writes the buffered bytes at the file position.
    void flush();
    // The position the next byte goes to.
    int64_t tell() const { return position_ + (current_ - buffer_.get()); }
    // Flushes, then moves to an absolute position (for patching).
    void seek(int64_t position);
    // Flushes and closes an owned descriptor.
    void close();

    int handle() const { return handle_; }

    // The name the finished file will have, without its folder (empty for a
    // stream such as standard output). Formats that write C source derive
    // their identifiers from it.
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

  private:
    // Writes `n` bytes at position_ and moves it on.
    void writeAt(const uint8_t* data, size_t n);

    template <size_t N, class Value, class Store>
    void writeValue(Value v, Store store) {
        if (static_cast<size_t>(limit_ - current_) < N) flush();
        store(current_, v);
        current_ += N;
    }

    int64_t position_ = 0;  // file position of the buffer's first byte
    std::unique_ptr<uint8_t[]> buffer_;
    size_t bufferSize_;
    uint8_t* current_;
    uint8_t* limit_;
    int handle_ = -1;
    bool ownsHandle_ = false;
    std::string name_;
};

}  // namespace vivark
