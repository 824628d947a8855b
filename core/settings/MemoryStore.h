// MemoryStore: a settings store that lives only in memory.
//
// Used by tests, and by anything that wants settings without touching the
// user's store. It can be told to refuse writes, to stand for a store that
// cannot be written. Safe to use from several threads.
#pragma once

#include <atomic>
#include <mutex>

#include "core/settings/SettingsStore.h"
#include "core/settings/SettingsTree.h"

namespace vivark::settings {

class MemoryStore final : public SettingsStore {
  public:
    std::optional<StoredValue> read(std::string_view subkey, std::string_view name) override;
    bool write(std::string_view subkey, std::string_view name, const StoredValue& value) override;
    bool remove(std::string_view subkey, std::string_view name) override;

    // While read-only, write() and remove() fail and change nothing.
    void setReadOnly(bool readOnly) { readOnly_ = readOnly; }

    // A copy of everything stored, and the number of successful write() and
    // remove() calls that changed something.
    SettingsTree contents() const;
    int changeCount() const { return changes_; }

  private:
    mutable std::mutex mutex_;
    SettingsTree tree_;
    std::atomic<bool> readOnly_{false};
    std::atomic<int> changes_{0};
};

}  // namespace vivark::settings
