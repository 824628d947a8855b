// The in-memory settings store.
#include "core/settings/MemoryStore.h"

namespace vivark::settings {

std::optional<StoredValue> MemoryStore::read(std::string_view subkey, std::string_view name) {
    std::lock_guard lock(mutex_);
    return tree_.find(subkey, name);
}

bool MemoryStore::write(std::string_view subkey, std::string_view name, const StoredValue& value) {
    if (readOnly_) return false;
    std::lock_guard lock(mutex_);
    if (tree_.set(subkey, name, value)) ++changes_;
    return true;
}

bool MemoryStore::remove(std::string_view subkey, std::string_view name) {
    if (readOnly_) return false;
    std::lock_guard lock(mutex_);
    if (tree_.erase(subkey, name)) ++changes_;
    return true;
}

SettingsTree MemoryStore::contents() const {
    std::lock_guard lock(mutex_);
    return tree_;
}

}  // namespace vivark::settings
