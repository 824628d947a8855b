// The descriptor, growing-file and memory devices behind InFile.
#include "core/InFileDevice.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

#include "core/Errors.h"
#include "core/SystemError.h"

namespace vivark {

int64_t DescriptorDevice::open(const std::string& name, bool textMode) {
    close();
    int fd;
    do {
        fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        noteSystemError(errno);
        throw INFILEERROR::OpenFailed;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0) {
        noteSystemError(errno);
        ::close(fd);
        throw INFILEERROR::OpenFailed;
    }
    if (S_ISDIR(st.st_mode)) {
        ::close(fd);
        noteSystemError(EISDIR);
        throw INFILEERROR::IsDirectory;
    }
    handle_ = fd;
    size_ = st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0;
    isOpen_ = true;
    textMode_ = textMode;
    position_ = ::lseek(fd, 0, SEEK_CUR);
    if (position_ < 0) {
        position_ = -1;
        throw INFILEERROR::SeekFailed;
    }
    return position_;
}

size_t DescriptorDevice::read(uint8_t* buffer, size_t count, int64_t& position) {
    // Checked apart from the seek: -1 is also what a failed lseek answers, and
    // what position_ holds while the position is unknown.
    if (position < 0) {
        position_ = -1;
        throw INFILEERROR::SeekFailed;
    }
    if (position_ != position) {
        if (::lseek(handle_, position, SEEK_SET) != position) {
            position_ = -1;
            throw INFILEERROR::SeekFailed;
        }
        position_ = position;
    }
    ssize_t got;
    do {
        got = ::read(handle_, buffer, count);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        noteSystemError(errno);
        position_ = -1;
        throw INFILEERROR::ReadFailed;
    }
    if (textMode_) {
        // Text-mode translation may change byte counts; ask the system.
        position_ = ::lseek(handle_, 0, SEEK_CUR);
        if (position_ < 0) {
            position_ = -1;
            throw INFILEERROR::SeekFailed;
        }
    } else {
        position_ += got;
    }
    position = position_;
    return static_cast<size_t>(got);
}

void DescriptorDevice::close() noexcept {
    if (handle_ >= 0) ::close(handle_);
    handle_ = -1;
    position_ = -1;
    isOpen_ = false;
}

int64_t GrowingFileDevice::open(const std::string& name, bool textMode) {
    int64_t start = DescriptorDevice::open(name, textMode);
    lastSeenSize_ = size();
    stallCount_ = 0;
    return start;
}

bool GrowingFileDevice::fileStalled() {
    struct stat st;
    if (::fstat(handle(), &st) != 0) return true;
    uint64_t now = st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0;
    bool stalled = now <= lastSeenSize_;
    lastSeenSize_ = std::max(lastSeenSize_, now);
    return stalled;
}

size_t GrowingFileDevice::read(uint8_t* buffer, size_t count, int64_t& position) {
    for (;;) {
        size_t got = DescriptorDevice::read(buffer, count, position);
        if (got != 0) {
            stallCount_ = 0;
            return got;
        }
        if (fileStalled()) {
            if (stallCount_ == stallLimit_) return 0;
            ++stallCount_;
        } else {
            stallCount_ = 0;
        }
        if (waitFlag_ == nullptr || !waitFlag_->load()) return 0;
        std::this_thread::sleep_for(pause_);
    }
}

int64_t MemoryDevice::open(const std::string&, bool) {
    throw INFILEERROR::OpenFailed;
}

size_t MemoryDevice::read(uint8_t* buffer, size_t count, int64_t& position) {
    if (position < 0) throw INFILEERROR::SeekFailed;
    uint64_t at = static_cast<uint64_t>(position);
    if (at >= data_.size()) return 0;
    size_t n = static_cast<size_t>(std::min<uint64_t>(count, data_.size() - at));
    std::memcpy(buffer, data_.data() + at, n);
    position += static_cast<int64_t>(n);
    return n;
}

}  // namespace vivark
