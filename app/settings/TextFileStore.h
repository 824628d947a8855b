// TextFileStore: the user's settings store on systems without a registry.
//
// The store is one text file, "settings.conf" (SettingsFile.h), in the
// directory named by $VIVARK_CONFIG_HOME, else $XDG_CONFIG_HOME/vivark, else
// ~/.config/vivark. Several processes may use it at once:
//   - reads take the file as it stands; every write replaces it whole by
//     renaming a finished temporary file over it, so a reader never sees a
//     torn file. A parsed copy is kept and read again only when the file on
//     disk has changed since.
//   - writes read, change and replace the file while holding an exclusive
//     advisory lock (flock) on "settings.lock" beside it, so no process's
//     update is lost to another's.
// A missing file is an empty store. A file that cannot be read or is damaged
// gives what could be understood of it (possibly nothing) and one warning;
// the next write keeps the damaged text as "settings.conf.damaged" before
// replacing it. A write that fails leaves the file as it was, returns false
// and warns once. Comments a user adds by hand do not survive a write.
// Nothing here throws.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "core/settings/SettingsStore.h"
#include "core/settings/SettingsTree.h"

namespace vivark::settings {

// The store of the current user on this platform: a TextFileStore in the
// configuration folder. The vivark tool makes it the default store.
std::shared_ptr<SettingsStore> makeUserSettingsStore();

class TextFileStore final : public SettingsStore {
  public:
    static constexpr std::string_view kFileName = "settings.conf";
    static constexpr std::string_view kLockFileName = "settings.lock";

    // Receives each warning with the file it concerns. The default prints
    // "vivark: FILE: message" on the error stream.
    using WarningSink = std::function<void(const std::string& file, const std::string& message)>;

    // An empty `directory` stands for a user without a settings directory:
    // nothing is found and every write fails.
    explicit TextFileStore(std::filesystem::path directory, WarningSink warn = {});

    // Where the user's settings live, by the rules above; empty when neither
    // variable is set and there is no home directory.
    static std::filesystem::path userDirectory();

    const std::filesystem::path& file() const { return file_; }

    // What identifies one version of the file on disk.
    struct FileIdentity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        int64_t modifiedNs = 0;
        int64_t changedNs = 0;
        bool operator==(const FileIdentity&) const = default;
    };

    std::optional<StoredValue> read(std::string_view subkey, std::string_view name) override;
    bool write(std::string_view subkey, std::string_view name, const StoredValue& value) override;
    bool remove(std::string_view subkey, std::string_view name) override;

  private:
    // Brings the parsed copy up to date with the file.
    void refreshLocked();
    // Applies `change` to the file's current contents under the file lock and
    // writes the result back if it changed anything.
    bool modify(const std::function<bool(SettingsTree&)>& change);
    bool replaceFile(const std::string& text, const std::string* damagedText,
                     FileIdentity& written);
    void warnRead(const std::string& message);
    void warnWrite(const std::string& message);

    std::filesystem::path directory_;
    std::filesystem::path file_;
    WarningSink warn_;

    std::mutex mutex_;
    SettingsTree tree_;
    bool haveFile_ = false;
    FileIdentity identity_;
    bool readWarned_ = false;
    bool writeWarned_ = false;
};

}  // namespace vivark::settings
