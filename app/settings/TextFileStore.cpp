// The settings file: location, locked read-modify-write and replacement by
// rename.
#include "app/settings/TextFileStore.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <thread>

#include "app/settings/SettingsFile.h"

namespace vivark::settings {
namespace {

// A settings file this large is not one vivark wrote.
constexpr off_t kMaxFileSize = 16 << 20;
// How long a write waits for another process to finish its own.
constexpr auto kLockTimeout = std::chrono::seconds(10);

std::string reason(int error) {
    return std::strerror(error);
}

TextFileStore::FileIdentity identityOf(const struct stat& info) {
    return {info.st_dev, info.st_ino, info.st_size,
            int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec,
            int64_t{info.st_ctim.tv_sec} * 1'000'000'000 + info.st_ctim.tv_nsec};
}

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }
    // Closes now, reporting the result (a write error may surface here).
    bool close() {
        int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

  private:
    int fd_;
};

struct FileRead {
    enum Status { Missing, Unchanged, Read, Failed } status = Missing;
    std::string text;
    TextFileStore::FileIdentity identity;
    std::string failure;
};

// Reads the whole file unless it is the version `known` identifies.
FileRead readFile(const std::filesystem::path& file, const TextFileStore::FileIdentity* known) {
    FileRead result;
    FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) {
        if (errno == ENOENT) return result;
        result.status = FileRead::Failed;
        result.failure = "cannot read the settings (" + reason(errno) + ")";
        return result;
    }
    struct stat info;
    if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        result.status = FileRead::Failed;
        result.failure = "cannot read the settings (not a regular file)";
        return result;
    }
    result.identity = identityOf(info);
    if (known != nullptr && *known == result.identity) {
        result.status = FileRead::Unchanged;
        return result;
    }
    if (info.st_size > kMaxFileSize) {
        result.status = FileRead::Failed;
        result.failure = "the settings file is too large to be a settings file";
        return result;
    }
    result.text.resize(static_cast<size_t>(info.st_size));
    size_t done = 0;
    while (true) {
        if (done == result.text.size()) result.text.resize(done + 4096);  // it grew
        ssize_t count = ::read(fd.get(), result.text.data() + done, result.text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) {
            result.status = FileRead::Failed;
            result.failure = "cannot read the settings (" + reason(errno) + ")";
            return result;
        }
        if (count == 0) break;
        done += static_cast<size_t>(count);
    }
    result.text.resize(done);
    result.status = FileRead::Read;
    return result;
}

std::string damageDescription(const ParsedSettingsFile& parsed) {
    if (parsed.foreign)
        return "not a settings file (the first line is not \"" +
               std::string(kSettingsFileSignature) + "\"); the defaults are used";
    std::string text = "line " + std::to_string(parsed.firstBadLine) + " is not understood";
    if (parsed.badLineCount > 1)
        text += " (and " + std::to_string(parsed.badLineCount - 1) + " more lines)";
    return text + "; such lines are ignored";
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

// Holds the exclusive lock on the lock file while alive. Waiting is bounded so
// that a process stuck while holding the lock cannot hang every other one.
class FileLock {
  public:
    explicit FileLock(const std::filesystem::path& lockFile)
        : fd_(::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
        if (fd_.get() < 0) {
            failure_ = "cannot open the lock file (" + reason(errno) + ")";
            return;
        }
        auto deadline = std::chrono::steady_clock::now() + kLockTimeout;
        auto pause = std::chrono::microseconds(200);
        while (::flock(fd_.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK && errno != EINTR) {
                failure_ = "cannot lock the settings (" + reason(errno) + ")";
                return;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                failure_ = "another process holds the settings lock";
                return;
            }
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(20'000));
        }
        locked_ = true;
    }
    bool locked() const { return locked_; }
    const std::string& failure() const { return failure_; }

  private:
    FileDescriptor fd_;
    bool locked_ = false;
    std::string failure_;
};

void printWarning(const std::string& file, const std::string& message) {
    std::cerr << "vivark: " << file << ": " << message << '\n';
}

}  // namespace

TextFileStore::TextFileStore(std::filesystem::path directory, WarningSink warn)
    : directory_(std::move(directory)), warn_(warn ? std::move(warn) : printWarning) {
    if (!directory_.empty()) file_ = directory_ / kFileName;
}

std::filesystem::path TextFileStore::userDirectory() {
    if (const char* own = std::getenv("VIVARK_CONFIG_HOME"); own != nullptr && *own != '\0')
        return own;
    // A relative XDG_CONFIG_HOME is invalid and ignored.
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg == '/')
        return std::filesystem::path(xdg) / "vivark";
    std::filesystem::path home;
    if (const char* variable = std::getenv("HOME"); variable != nullptr && *variable != '\0') {
        home = variable;
    } else {
        struct passwd entry;
        struct passwd* found = nullptr;
        char buffer[4096];
        if (::getpwuid_r(::getuid(), &entry, buffer, sizeof buffer, &found) == 0 &&
            found != nullptr && found->pw_dir != nullptr && *found->pw_dir != '\0')
            home = found->pw_dir;
    }
    if (home.empty()) return {};
    return home / ".config" / "vivark";
}

void TextFileStore::warnRead(const std::string& message) {
    if (readWarned_) return;
    readWarned_ = true;
    warn_(file_.string(), message);
}

void TextFileStore::warnWrite(const std::string& message) {
    if (writeWarned_) return;
    writeWarned_ = true;
    warn_(file_.empty() ? std::string("settings") : file_.string(),
          message + "; changed settings last only until vivark exits");
}

void TextFileStore::refreshLocked() {
    if (file_.empty()) return;
    FileRead current = readFile(file_, haveFile_ ? &identity_ : nullptr);
    switch (current.status) {
        case FileRead::Unchanged:
            return;
        case FileRead::Missing:
            tree_ = {};
            haveFile_ = false;
            return;
        case FileRead::Failed:
            warnRead(current.failure + "; the defaults are used");
            tree_ = {};
            haveFile_ = false;
            return;
        case FileRead::Read: {
            ParsedSettingsFile parsed = parseSettingsFile(current.text);
            if (parsed.damaged()) warnRead(damageDescription(parsed));
            tree_ = std::move(parsed.tree);
            identity_ = current.identity;
            haveFile_ = true;
            return;
        }
    }
}

std::optional<StoredValue> TextFileStore::read(std::string_view subkey, std::string_view name) {
    std::lock_guard lock(mutex_);
    refreshLocked();
    return tree_.find(subkey, name);
}

bool TextFileStore::write(std::string_view subkey, std::string_view name,
                          const StoredValue& value) {
    if (!isWritableSubkey(subkey)) return false;
    return modify([&](SettingsTree& tree) { return tree.set(subkey, name, value); });
}

bool TextFileStore::remove(std::string_view subkey, std::string_view name) {
    return modify([&](SettingsTree& tree) { return tree.erase(subkey, name); });
}

bool TextFileStore::modify(const std::function<bool(SettingsTree&)>& change) {
    std::lock_guard lock(mutex_);
    if (file_.empty()) {
        warnWrite("there is no settings directory (HOME is not set)");
        return false;
    }
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    if (error) {
        warnWrite("cannot create the settings directory (" + error.message() + ")");
        return false;
    }
    FileLock fileLock(directory_ / kLockFileName);
    if (!fileLock.locked()) {
        warnWrite(fileLock.failure());
        return false;
    }

    // Under the lock the file is read afresh: the parsed copy may predate
    // another process's write.
    FileRead current = readFile(file_, nullptr);
    if (current.status == FileRead::Failed) {
        warnRead(current.failure);
        warnWrite("the settings file cannot be read, so it is not replaced");
        return false;
    }
    ParsedSettingsFile parsed = parseSettingsFile(current.text);
    if (parsed.damaged()) warnRead(damageDescription(parsed));
    SettingsTree tree = std::move(parsed.tree);
    if (!change(tree)) {
        tree_ = std::move(tree);
        haveFile_ = current.status == FileRead::Read;
        identity_ = current.identity;
        return true;
    }

    FileIdentity written;
    if (!replaceFile(formatSettingsFile(tree), parsed.damaged() ? &current.text : nullptr, written))
        return false;
    tree_ = std::move(tree);
    haveFile_ = true;
    identity_ = written;
    return true;
}

bool TextFileStore::replaceFile(const std::string& text, const std::string* damagedText,
                                FileIdentity& written) {
    // Only the holder of the lock writes the temporary file, so its name can
    // be fixed; one left behind by a crash is simply overwritten.
    std::filesystem::path temporary = file_;
    temporary += ".tmp";
    mode_t mode = 0666;
    struct stat existing;
    if (::stat(file_.c_str(), &existing) == 0) mode = existing.st_mode & 07777;

    FileDescriptor fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (fd.get() < 0) {
        warnWrite("cannot create " + temporary.string() + " (" + reason(errno) + ")");
        return false;
    }
    if (!writeAll(fd.get(), text) || ::fsync(fd.get()) != 0 || !fd.close()) {
        int error = errno;
        ::unlink(temporary.c_str());
        warnWrite("cannot write the settings (" + reason(error) + ")");
        return false;
    }
    if (damagedText != nullptr && !damagedText->empty()) {
        std::filesystem::path keep = file_;
        keep += ".damaged";
        FileDescriptor copy(::open(keep.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        if (copy.get() >= 0 && writeAll(copy.get(), *damagedText) && copy.close())
            warn_(file_.string(), "the damaged settings file is kept as " + keep.string());
    }
    if (::rename(temporary.c_str(), file_.c_str()) != 0) {
        int error = errno;
        ::unlink(temporary.c_str());
        warnWrite("cannot replace the settings file (" + reason(error) + ")");
        return false;
    }
    struct stat info;
    if (::stat(file_.c_str(), &info) == 0) written = identityOf(info);
    return true;
}

std::shared_ptr<SettingsStore> makeUserSettingsStore() {
    return std::make_shared<TextFileStore>(TextFileStore::userDirectory());
}

}  // namespace vivark::settings
