// InFile: the buffered input stream every reader pulls bytes through.
//
// InFile owns a read buffer (32 KiB by default) over an InFileDevice, the
// stream position relative to a movable origin (so an image embedded in
// another file reads as if it began at position 0), typed reads in both byte
// orders and line reading. Running out of data is never a return code: a
// refill that finds nothing throws INFILEERROR::UnexpectedEnd, and readers let
// it propagate. Device failures propagate as the device throws them.
//
// Codecs reach the buffer directly through window()/consume()/refill(), so a
// byte costs a pointer step, not a call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "core/ByteOrder.h"
#include "core/InFileDevice.h"

namespace vivark {

class InFile {
  public:
    static constexpr size_t kDefaultBufferSize = 32768;
    static constexpr size_t kMaxResize = 65536;

    // A stream over its own descriptor device, or over `device` when given
    // (the caller keeps the device alive and open()s through the stream or
    // hands in one that is ready). A buffer size of 0 means 32768.
    explicit InFile(size_t bufferSize = 0, InFileDevice* device = nullptr);
    // A stream over a device it owns.
    explicit InFile(std::unique_ptr<InFileDevice> device, size_t bufferSize = 0);
    ~InFile();
    InFile(const InFile&) = delete;
    InFile& operator=(const InFile&) = delete;

    // A stream over bytes in memory (which must outlive it).
    static std::unique_ptr<InFile> overMemory(std::span<const uint8_t> data, size_t bufferSize = 0);

    // Opens a named file. Throws INFILEERROR::OpenFailed, ::IsDirectory, ::SeekFailed.
    void open(const std::string& name, bool textMode = false);
    void close() noexcept;

    // The size of the file taken at open (not relative to the origin).
    uint64_t size() const { return device_->size(); }

    // Copies exactly `count` bytes; throws INFILEERROR::UnexpectedEnd when the
    // data ends first.
    void read(void* destination, size_t count);

    uint8_t readByte() {
        if (current_ == end_) refill();
        return *current_++;
    }
    uint16_t readLE16() { return readValue<uint16_t, 2>(loadLE16); }
    uint16_t readBE16() { return readValue<uint16_t, 2>(loadBE16); }
    uint32_t readLE32() { return readValue<uint32_t, 4>(loadLE32); }
    uint32_t readBE32() { return readValue<uint32_t, 4>(loadBE32); }

    // Reads a text line of at most capacity - 1 bytes into `destination`,
    // terminated with a zero byte, and returns its length. CR, LF, CR LF and
    // LF CR each end a line; a zero byte throws INFILEERROR::BinaryData; a line
    // longer than the destination is returned in pieces. At the end of the
    // data a last unterminated line is returned; after it the next call throws
    // INFILEERROR::UnexpectedEnd. `capacity` must be at least 2.
    size_t readLine(char* destination, size_t capacity);

    // Position relative to the origin.
    int64_t tell() const { return endPosition_ - (end_ - current_) - origin_; }
    // Moves to position p relative to the origin. Within the buffer only the
    // read pointer moves; otherwise the buffer is emptied and the next refill
    // reads from there. Seeking past the end is not an error until a read.
    void seek(int64_t p);
    void rewind() { seek(0); }
    void skip(uint64_t count) { seek(tell() + static_cast<int64_t>(count)); }

    // The file offset that counts as position 0. The position is kept: the
    // caller seeks afterwards.
    int64_t origin() const { return origin_; }
    void setOrigin(int64_t origin) { origin_ = origin; }

    // Replaces the buffer, keeping the unread bytes: 0 means 32768, sizes above
    // 65536 mean 65536, and the buffer is never smaller than the unread bytes.
    void resize(size_t newSize);
    size_t bufferSize() const { return bufferSize_; }

    // The unread buffered bytes, for codecs that consume in place.
    std::span<const uint8_t> window() const {
        return {current_, static_cast<size_t>(end_ - current_)};
    }
    void consume(size_t count) { current_ += count; }
    // Refills the empty buffer; throws INFILEERROR::UnexpectedEnd when the
    // device has no more data.
    void refill();

  private:
    // Refills the buffer and returns how many bytes arrived (0 at the end).
    size_t fill();

    template <class Value, size_t N>
    Value readValue(Value (*load)(const uint8_t*)) {
        if (static_cast<size_t>(end_ - current_) >= N) {
            Value v = load(current_);
            current_ += N;
            return v;
        }
        uint8_t bytes[N];
        read(bytes, N);
        return load(bytes);
    }

    int64_t origin_ = 0;
    int64_t endPosition_ = 0;  // file position just after the buffered data
    uint8_t* current_ = nullptr;
    uint8_t* end_ = nullptr;
    std::unique_ptr<uint8_t[]> buffer_;
    size_t bufferSize_ = 0;
    std::unique_ptr<InFileDevice> ownedDevice_;
    InFileDevice* device_ = nullptr;
};

}  // namespace vivark
