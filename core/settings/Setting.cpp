// Lazy reads and write-through of Setting, the stored forms of the four
// kinds, and the active store of the process.
#include "core/settings/Setting.h"

#include <bit>
#include <cstring>

#include "core/settings/MemoryStore.h"

namespace vivark::settings {
namespace {

// The active store and its generation. A function-local static, so that it
// exists before any setting is first read, whatever the order of static
// initialisation.
struct ActiveStoreHolder {
    std::mutex mutex;
    std::shared_ptr<SettingsStore> store;
    uint64_t generation = 1;
    StoreFactory factory = nullptr;
};

ActiveStoreHolder& holder() {
    static ActiveStoreHolder instance;
    return instance;
}

StoredValue littleEndian(ValueType type, uint64_t bits, int size) {
    StoredValue value{type, {}};
    for (int i = 0; i < size; ++i) value.bytes.push_back(static_cast<uint8_t>(bits >> (8 * i)));
    return value;
}

uint64_t fromLittleEndian(const std::vector<uint8_t>& bytes) {
    uint64_t bits = 0;
    for (size_t i = bytes.size(); i-- > 0;) bits = (bits << 8) | bytes[i];
    return bits;
}

}  // namespace

ActiveStore activeStore() {
    ActiveStoreHolder& active = holder();
    std::lock_guard lock(active.mutex);
    if (!active.store)
        active.store = active.factory ? active.factory() : std::make_shared<MemoryStore>();
    return {active.store, active.generation};
}

void setDefaultStoreFactory(StoreFactory factory) {
    ActiveStoreHolder& active = holder();
    std::lock_guard lock(active.mutex);
    active.factory = factory;
}

std::shared_ptr<SettingsStore> settingsStore() {
    return activeStore().store;
}

std::shared_ptr<SettingsStore> setSettingsStore(std::shared_ptr<SettingsStore> store) {
    ActiveStoreHolder& active = holder();
    std::lock_guard lock(active.mutex);
    std::swap(active.store, store);
    ++active.generation;
    return store;
}

StoredValue encodeSetting(bool value) {
    return littleEndian(kTypeDword, value ? 1 : 0, 4);
}

StoredValue encodeSetting(uint32_t value) {
    return littleEndian(kTypeDword, value, 4);
}

StoredValue encodeSetting(double value) {
    return littleEndian(kTypeBinary, std::bit_cast<uint64_t>(value), 8);
}

StoredValue encodeSetting(const std::string& value) {
    StoredValue stored{kTypeString, {value.begin(), value.end()}};
    stored.bytes.push_back(0);
    return stored;
}

template <>
std::optional<bool> decodeSetting<bool>(const StoredValue& stored) {
    if (stored.type != kTypeDword || stored.bytes.size() != 4) return std::nullopt;
    return fromLittleEndian(stored.bytes) != 0;
}

template <>
std::optional<uint32_t> decodeSetting<uint32_t>(const StoredValue& stored) {
    if (stored.type != kTypeDword || stored.bytes.size() != 4) return std::nullopt;
    return static_cast<uint32_t>(fromLittleEndian(stored.bytes));
}

template <>
std::optional<double> decodeSetting<double>(const StoredValue& stored) {
    if (stored.type != kTypeBinary || stored.bytes.size() != 8) return std::nullopt;
    return std::bit_cast<double>(fromLittleEndian(stored.bytes));
}

// A string ends at its first zero; one stored without it is taken whole.
template <>
std::optional<std::string> decodeSetting<std::string>(const StoredValue& stored) {
    if (stored.type != kTypeString) return std::nullopt;
    const auto* text = reinterpret_cast<const char*>(stored.bytes.data());
    return std::string(text, ::strnlen(text, stored.bytes.size()));
}

template <typename T>
std::string_view Setting<T>::subkey() const {
    std::string_view key(key_);
    size_t split = key.rfind('\\');
    return split == std::string_view::npos ? std::string_view() : key.substr(0, split);
}

template <typename T>
std::string_view Setting<T>::name() const {
    std::string_view key(key_);
    size_t split = key.rfind('\\');
    return split == std::string_view::npos ? key : key.substr(split + 1);
}

template <typename T>
T Setting<T>::defaultValue() const {
    if (computeDefault_ != nullptr) return computeDefault_();
    return T(default_);
}

template <typename T>
const T& Setting<T>::loadLocked(const ActiveStore& active) const {
    if (cache_ && cacheGeneration_ == active.generation) return *cache_;
    std::optional<T> stored;
    if (active.store) {
        if (auto value = active.store->read(subkey(), name())) stored = decodeSetting<T>(*value);
    }
    cache_ = stored ? std::move(*stored) : defaultValue();
    cacheGeneration_ = active.generation;
    return *cache_;
}

template <typename T>
T Setting<T>::get() const {
    ActiveStore active = activeStore();
    std::lock_guard lock(mutex_);
    return loadLocked(active);
}

template <typename T>
bool Setting<T>::set(const T& value) {
    ActiveStore active = activeStore();
    std::lock_guard lock(mutex_);
    if (loadLocked(active) == value) return true;
    cache_ = value;
    if (!active.store) return false;
    if (value == defaultValue()) return active.store->remove(subkey(), name());
    return active.store->write(subkey(), name(), encodeSetting(value));
}

template <typename T>
bool Setting<T>::reset() {
    ActiveStore active = activeStore();
    std::lock_guard lock(mutex_);
    cache_ = defaultValue();
    cacheGeneration_ = active.generation;
    return active.store && active.store->remove(subkey(), name());
}

template class Setting<bool>;
template class Setting<uint32_t>;
template class Setting<double>;
template class Setting<std::string>;

}  // namespace vivark::settings
