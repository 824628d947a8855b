// Buffering, positioning and line reading of InFile.
#include "core/InFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include "core/Errors.h"

namespace vivark {
namespace {

// Bytes that stop a text line: NUL, CR and LF.
constexpr std::array<uint8_t, 256> kLineStops = [] {
    std::array<uint8_t, 256> t{};
    t[0x00] = t[0x0D] = t[0x0A] = 1;
    return t;
}();

}  // namespace

InFile::InFile(size_t bufferSize, InFileDevice* device) {
    if (device == nullptr) {
        ownedDevice_ = std::make_unique<DescriptorDevice>();
        device = ownedDevice_.get();
    }
    device_ = device;
    bufferSize_ = bufferSize == 0 ? kDefaultBufferSize : bufferSize;
    buffer_.reset(new uint8_t[bufferSize_]);
    current_ = end_ = buffer_.get();
}

InFile::InFile(std::unique_ptr<InFileDevice> device, size_t bufferSize)
    : InFile(bufferSize, device.get()) {
    ownedDevice_ = std::move(device);
}

InFile::~InFile() {
    close();
}

std::unique_ptr<InFile> InFile::overMemory(std::span<const uint8_t> data, size_t bufferSize) {
    return std::make_unique<InFile>(std::make_unique<MemoryDevice>(data), bufferSize);
}

void InFile::open(const std::string& name, bool textMode) {
    current_ = end_ = buffer_.get();
    endPosition_ = device_->open(name, textMode);
    origin_ = 0;
}

void InFile::close() noexcept {
    if (device_ != nullptr) device_->close();
}

size_t InFile::fill() {
    // The pointers move only after the device succeeded.
    size_t got = device_->read(buffer_.get(), bufferSize_, endPosition_);
    current_ = buffer_.get();
    end_ = current_ + got;
    return got;
}

void InFile::refill() {
    if (fill() == 0) throw INFILEERROR::UnexpectedEnd;
}

void InFile::read(void* destination, size_t count) {
    auto* out = static_cast<uint8_t*>(destination);
    for (;;) {
        size_t available = static_cast<size_t>(end_ - current_);
        size_t n = std::min(available, count);
        if (n != 0) std::memcpy(out, current_, n);
        current_ += n;
        out += n;
        count -= n;
        if (count == 0) return;
        refill();
    }
}

void InFile::seek(int64_t p) {
    // Where position p lies relative to the buffered data.
    int64_t fromEnd = endPosition_ - (origin_ + p);
    int64_t buffered = end_ - buffer_.get();
    if (fromEnd >= 0 && fromEnd <= buffered) {
        current_ = end_ - fromEnd;
    } else {
        current_ = end_ = buffer_.get();
        endPosition_ = origin_ + p;
    }
}

void InFile::resize(size_t newSize) {
    if (newSize == 0) newSize = kDefaultBufferSize;
    newSize = std::min(newSize, kMaxResize);
    size_t unread = static_cast<size_t>(end_ - current_);
    size_t capacity = std::max(newSize, unread);
    std::unique_ptr<uint8_t[]> fresh(new uint8_t[capacity]);
    std::memcpy(fresh.get(), current_, unread);
    buffer_ = std::move(fresh);
    bufferSize_ = capacity;
    current_ = buffer_.get();
    end_ = current_ + unread;
}

size_t InFile::readLine(char* destination, size_t capacity) {
    if (capacity < 2)
        throw std::invalid_argument("readLine needs room for a byte and its terminator");
    size_t length = 0;
    size_t room = capacity - 1;
    for (;;) {
        if (current_ == end_ && fill() == 0) {
            if (length == 0) throw INFILEERROR::UnexpectedEnd;
            break;  // a last line without terminator
        }
        const uint8_t* scan = current_;
        const uint8_t* limit =
            current_ + std::min(static_cast<size_t>(end_ - current_), room - length);
        while (scan != limit && !kLineStops[*scan]) ++scan;
        size_t n = static_cast<size_t>(scan - current_);
        std::memcpy(destination + length, current_, n);
        length += n;
        current_ += n;
        if (scan == limit) {
            if (length == room) break;  // destination full: the rest is the next line
            continue;                   // buffer exhausted mid-line
        }
        uint8_t stop = *current_;
        if (stop == 0x00) throw INFILEERROR::BinaryData;
        ++current_;
        uint8_t partner = stop == 0x0D ? 0x0A : 0x0D;
        if (current_ != end_ || fill() != 0) {
            if (*current_ == partner) ++current_;
        }
        break;
    }
    destination[length] = '\0';
    return length;
}

}  // namespace vivark
