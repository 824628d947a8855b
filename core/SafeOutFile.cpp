// Temporary-file creation, commit by rename, and clean-up of SafeOutFile.
#include "core/SafeOutFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>

#include "core/Errors.h"

namespace vivark {
namespace {

CREATEERROR createErrorFor(int error) {
    switch (error) {
        case EROFS:
        case ETXTBSY:
            return CREATEERROR::WriteProtected;
        case ENOSPC:
        case EDQUOT:
            return CREATEERROR::DiskFull;
        default:
            return CREATEERROR::CannotCreate;
    }
}

// A name unlikely to collide: process, a counter and the clock.
std::string temporaryName(const std::filesystem::path& target) {
    static std::atomic<uint32_t> counter{0};
    auto ticks = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    char suffix[64];
    std::snprintf(suffix, sizeof suffix, ".%ld.%u.%llx.vvk-tmp", static_cast<long>(::getpid()),
                  counter.fetch_add(1), static_cast<unsigned long long>(ticks & 0xFFFFFF));
    // Built by appending: GCC 12 misreads `"." + std::string&&` at -O3 as an
    // overlapping copy (a false -Wrestrict).
    std::string name(1, '.');
    name += target.filename().string();
    name += suffix;
    return name;
}

}  // namespace

SafeOutFile::SafeOutFile(std::filesystem::path target, size_t bufferSize)
    : target_(std::move(target)), out_(bufferSize) {
    std::filesystem::path folder = target_.parent_path();
    if (folder.empty()) folder = ".";
    // An existing target keeps its permissions; a new file gets the usual ones.
    mode_t mode = 0666;
    bool keepMode = false;
    struct stat existing;
    if (::stat(target_.c_str(), &existing) == 0) {
        if (S_ISDIR(existing.st_mode)) throw CREATEERROR::CannotCreate;
        mode = existing.st_mode & 07777;
        keepMode = true;
    }
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temporary_ = folder / temporaryName(target_);
        fd = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd < 0 && errno != EEXIST) throw createErrorFor(errno);
    }
    if (fd < 0) throw CREATEERROR::CannotCreate;
    // open() applies the umask; an existing target's mode is restored as it was.
    if (keepMode) (void)::fchmod(fd, mode);
    try {
        out_.attach(fd, true);
    } catch (...) {
        ::close(fd);
        ::unlink(temporary_.c_str());
        throw;
    }
}

SafeOutFile::~SafeOutFile() {
    if (!committed_) ::unlink(temporary_.c_str());
}

void SafeOutFile::commit() {
    int fd = out_.handle();
    out_.flush();
    if (fd >= 0 && ::fsync(fd) != 0 && errno != EINVAL) {
        throw errno == ENOSPC ? OUTFILEERROR::DiskFull : OUTFILEERROR::WriteFailed;
    }
    out_.close();
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) throw CREATEERROR::CannotReplace;
    committed_ = true;
}

}  // namespace vivark
