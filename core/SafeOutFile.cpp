// Temporary-file creation, commit by rename, and clean-up of SafeOutFile.
#include "core/SafeOutFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <vector>

#include "core/Errors.h"
#include "core/SystemError.h"

namespace vivark {
namespace {

CREATEERROR createErrorFor(int error) {
    noteSystemError(error);
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
    // The name the caller gave, before any link is followed.
    out_.setName(target_.filename().string());
    // A symbolic link is followed, through every link in a chain; the file it
    // names is what gets replaced.
    struct stat link;
    for (int depth = 0; depth < 40 && ::lstat(target_.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
         ++depth) {
        std::error_code error;
        std::filesystem::path next = std::filesystem::read_symlink(target_, error);
        if (error) break;
        target_ = next.is_absolute() ? next : target_.parent_path() / next;
    }
    std::filesystem::path folder = target_.parent_path();
    if (folder.empty()) folder = ".";
    // An existing target keeps its permissions; a new file gets the usual ones.
    mode_t mode = 0666;
    bool keepMode = false;
    struct stat existing;
    if (::stat(target_.c_str(), &existing) == 0) {
        if (S_ISDIR(existing.st_mode)) throw createErrorFor(EISDIR);
        if (!S_ISREG(existing.st_mode)) {
            commit_ = Commit::Copy;
            folder = std::filesystem::temp_directory_path();
            mode = 0600;
        } else {
            mode = existing.st_mode & 07777;
            keepMode = true;
            if (existing.st_nlink > 1) commit_ = Commit::InPlace;
        }
    }
    createTemporary(folder, mode, keepMode);
}

SafeOutFile::SafeOutFile(int descriptor, size_t bufferSize)
    : commit_(Commit::Copy), descriptor_(descriptor), out_(bufferSize) {
    createTemporary(std::filesystem::temp_directory_path(), 0600, false);
}

void SafeOutFile::createTemporary(const std::filesystem::path& folder, mode_t mode, bool keepMode) {
    int fd = -1;
    const std::filesystem::path name = target_.empty() ? "stdout" : target_;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temporary_ = folder / temporaryName(name);
        fd = ::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd < 0 && errno != EEXIST) throw createErrorFor(errno);
    }
    if (fd < 0) throw createErrorFor(EEXIST);
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

void SafeOutFile::copyTemporaryTo(int fd) {
    const int in = ::open(temporary_.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) throw OUTFILEERROR::WriteFailed;
    std::vector<char> buffer(1 << 16);
    for (;;) {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            ::close(in);
            if (got < 0) throw OUTFILEERROR::WriteFailed;
            return;
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(fd, buffer.data() + done, size_t(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) {
                const int error = put == 0 ? ENOSPC : errno;
                ::close(in);
                noteSystemError(error);
                throw error == ENOSPC ? OUTFILEERROR::DiskFull : OUTFILEERROR::WriteFailed;
            }
            done += put;
        }
    }
}

void SafeOutFile::commit() {
    int fd = out_.handle();
    out_.flush();
    if (durable_ && commit_ == Commit::Rename && fd >= 0 && ::fsync(fd) != 0 && errno != EINVAL) {
        noteSystemError(errno);
        throw errno == ENOSPC ? OUTFILEERROR::DiskFull : OUTFILEERROR::WriteFailed;
    }
    out_.close();
    switch (commit_) {
        case Commit::Rename:
            if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
                noteSystemError(errno);
                throw CREATEERROR::CannotReplace;
            }
            break;
        case Commit::InPlace: {
            const int target = ::open(target_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
            if (target < 0) {
                noteSystemError(errno);
                throw CREATEERROR::CannotReplace;
            }
            try {
                copyTemporaryTo(target);
            } catch (...) {
                ::close(target);
                throw;
            }
            const bool synced = ::fsync(target) == 0 || errno == EINVAL;
            if (::close(target) != 0 || !synced) throw OUTFILEERROR::WriteFailed;
            ::unlink(temporary_.c_str());
            break;
        }
        case Commit::Copy: {
            const bool opened = descriptor_ < 0;
            const int target = opened ? ::open(target_.c_str(), O_WRONLY | O_CLOEXEC) : descriptor_;
            if (target < 0) throw createErrorFor(errno);
            try {
                copyTemporaryTo(target);
            } catch (...) {
                if (opened) ::close(target);
                throw;
            }
            if (opened) ::close(target);
            ::unlink(temporary_.c_str());
            break;
        }
    }
    committed_ = true;
}

bool writeWholeFile(const std::filesystem::path& target,
                    const std::function<void(OutFile&)>& write) {
    try {
        SafeOutFile file(target);
        write(file.out());
        file.commit();
        return true;
    } catch (CREATEERROR) {
        return false;
    } catch (OUTFILEERROR) {
        return false;
    }
}

}  // namespace vivark
