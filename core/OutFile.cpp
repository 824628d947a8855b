// Buffer flushing, positioning and failure classification of OutFile.
#include "core/OutFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/Errors.h"
#include "core/SystemError.h"

namespace vivark {
namespace {

ssize_t writeOnce(int handle, const uint8_t* data, size_t count, int64_t position) {
    ssize_t done;
    do {
        done = ::pwrite(handle, data, count, static_cast<off_t>(position));
    } while (done < 0 && errno == EINTR);
    return done;
}

[[noreturn]] void throwWriteFailure(ssize_t result, int error) {
    // A write of nothing is the system's way of saying the space ran out.
    noteSystemError(result == 0 ? ENOSPC : error);
    if (result == 0 || (result < 0 && (error == ENOSPC || error == EDQUOT)))
        throw OUTFILEERROR::DiskFull;
    throw OUTFILEERROR::WriteFailed;
}

}  // namespace

OutFile::OutFile(size_t bufferSize) : bufferSize_(std::max<size_t>(bufferSize, 16)) {
    buffer_.reset(new uint8_t[bufferSize_]());
    current_ = buffer_.get();
    limit_ = current_ + bufferSize_;
}

OutFile::~OutFile() {
    if (ownsHandle_ && handle_ >= 0) ::close(handle_);
}

void OutFile::attach(int handle, bool owns) {
    handle_ = handle;
    ownsHandle_ = owns;
    current_ = buffer_.get();
    off_t at = ::lseek(handle, 0, SEEK_CUR);
    if (at < 0) throw OUTFILEERROR::SeekFailed;
    position_ = at;
}

void OutFile::write(const void* data, size_t count) {
    auto* in = static_cast<const uint8_t*>(data);
    if (count >= bufferSize_) {
        // A block larger than the buffer goes out as it is, without a copy.
        flush();
        writeAt(in, count);
        return;
    }
    while (count != 0) {
        if (current_ == limit_) flush();
        size_t n = std::min(count, static_cast<size_t>(limit_ - current_));
        if (n != 0) std::memcpy(current_, in, n);
        current_ += n;
        in += n;
        count -= n;
    }
}

void OutFile::writeAt(const uint8_t* data, size_t n) {
    ssize_t done = writeOnce(handle_, data, n, position_);
    if (done < 0) throwWriteFailure(done, errno);
    if (static_cast<size_t>(done) != n) {
        // A short write to a file means the space ran out; the write of the
        // rest lets the system say so (no space, or some other failure).
        ssize_t rest = writeOnce(handle_, data + done, n - done, position_ + done);
        if (rest <= 0) throwWriteFailure(rest, errno);
        if (static_cast<size_t>(rest) != n - static_cast<size_t>(done))
            throw OUTFILEERROR::WriteFailed;
    }
    position_ += static_cast<int64_t>(n);
}

void OutFile::flush() {
    const size_t n = static_cast<size_t>(current_ - buffer_.get());
    current_ = buffer_.get();
    if (n > 0) writeAt(buffer_.get(), n);
}

void OutFile::seek(int64_t position) {
    flush();
    position_ = position;
}

void OutFile::close() {
    if (handle_ < 0) return;
    flush();
    if (ownsHandle_) {
        int fd = handle_;
        handle_ = -1;
        if (::close(fd) != 0) {
            noteSystemError(errno);
            throw OUTFILEERROR::WriteFailed;
        }
    }
    handle_ = -1;
}

}  // namespace vivark
