// The devices an InFile reads through.
//
// A device opens a named file, reads a count of bytes at a position it is
// handed (and advances), and closes. InFile owns buffering and positioning;
// the device owns the system calls and their failures:
//  - DescriptorDevice: a file opened with the system's descriptor calls.
//  - GrowingFileDevice: a descriptor device for a file that another program
//    is still writing; at the end of the data it waits for more.
//  - MemoryDevice: a block of bytes in memory (embedded data, tests, fuzzing).
// Failures are thrown as INFILEERROR values.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vivark {

class InFileDevice {
  public:
    virtual ~InFileDevice() = default;
    // Opens `name` for reading and returns the starting position.
    // Throws INFILEERROR::OpenFailed or INFILEERROR::IsDirectory.
    virtual int64_t open(const std::string& name, bool textMode) = 0;
    // Reads up to `count` bytes at `position` into `buffer`, advances `position`
    // and returns the number of bytes read (0 at the end of the data).
    virtual size_t read(uint8_t* buffer, size_t count, int64_t& position) = 0;
    virtual void close() noexcept = 0;
    // The size of the data, taken when it was opened.
    virtual uint64_t size() const = 0;
};

class DescriptorDevice : public InFileDevice {
  public:
    DescriptorDevice() = default;
    ~DescriptorDevice() override { close(); }
    DescriptorDevice(const DescriptorDevice&) = delete;
    DescriptorDevice& operator=(const DescriptorDevice&) = delete;

    int64_t open(const std::string& name, bool textMode) override;
    size_t read(uint8_t* buffer, size_t count, int64_t& position) override;
    void close() noexcept override;
    uint64_t size() const override { return size_; }

    bool isOpen() const { return isOpen_; }
    int handle() const { return handle_; }

  private:
    int handle_ = -1;
    int64_t position_ = -1;  // -1 while unknown
    uint64_t size_ = 0;
    bool isOpen_ = false;
    bool textMode_ = false;
};

// Reads a file that is still growing. When a read finds no data the device
// looks at the file again: while it keeps growing, and while the owner's wait
// flag is set, it sleeps and retries; once the file has not grown for
// `stallLimit` checks in a row, or the flag is cleared, it reports the end.
class GrowingFileDevice final : public DescriptorDevice {
  public:
    static constexpr unsigned kDefaultStallLimit = 20;  // 5 seconds at the default pause

    explicit GrowingFileDevice(const std::atomic<bool>* waitFlag,
                               unsigned stallLimit = kDefaultStallLimit,
                               std::chrono::milliseconds pause = std::chrono::milliseconds(250))
        : waitFlag_(waitFlag), stallLimit_(stallLimit), pause_(pause) {}

    int64_t open(const std::string& name, bool textMode) override;
    size_t read(uint8_t* buffer, size_t count, int64_t& position) override;

  private:
    // True when the file has not grown since the last check.
    bool fileStalled();

    const std::atomic<bool>* waitFlag_;
    unsigned stallLimit_;
    std::chrono::milliseconds pause_;
    unsigned stallCount_ = 0;
    uint64_t lastSeenSize_ = 0;
};

// Bytes in memory. The device does not own them; open() is not supported.
class MemoryDevice final : public InFileDevice {
  public:
    explicit MemoryDevice(std::span<const uint8_t> data) : data_(data) {}

    int64_t open(const std::string& name, bool textMode) override;
    size_t read(uint8_t* buffer, size_t count, int64_t& position) override;
    void close() noexcept override {}
    uint64_t size() const override { return data_.size(); }

  private:
    std::span<const uint8_t> data_;
};

}  // namespace vivark
