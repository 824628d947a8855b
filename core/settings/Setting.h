// Setting: one persistent option, a typed value with a key path and a default.
//
// A key path such as "SaveOptions\\GIF\\Interlace" names the subkey
// ("SaveOptions\\GIF", everything before the last backslash) and the value
// ("Interlace") in the active SettingsStore; a path without a backslash names
// a value of the root. The four kinds and their stored forms:
//   BoolSetting   32-bit value, 0 or 1 (any non-zero value reads as true)
//   IntSetting    32-bit value (also enumerations, format tags and colours),
//                 held unsigned; one that means a signed number, such as a
//                 window position, is read through static_cast<int32_t>
//   RealSetting   8 raw bytes, an IEEE double in little-endian order
//   TextSetting   string, its terminating zero counted
//
// get() reads lazily: the first call reads the store and caches the result,
// later calls return the cache. A stored value of another type or size is
// ignored (the default is used) and left in the store as it is. set() does
// nothing when the value equals the cache; otherwise it updates the cache and
// the store, deleting the stored value when the new value is the default, so
// the store holds only values that differ from their defaults. When the store
// cannot be written the new value still holds for the life of the process.
//
// Settings are globals (SettingKeys.h) and are constant-initialised, so they
// can be used from any static initialiser. Any thread may call any member;
// each setting guards its cache with its own mutex. Installing another store
// (setSettingsStore) makes every cache stale at once.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/settings/SettingsStore.h"

namespace vivark::settings {

enum class SettingKind { Boolean, Integer, Real, Text };

// How people write an integer setting's value (SettingText.h).
enum class IntegerFormat {
    Number,  // decimal, or hexadecimal with 0x
    Tag,     // four characters, "BMP " (FormatTag.h)
    Colour,  // 0xRRGGBB or #RRGGBB
};

template <typename T>
struct SettingTraits;
template <>
struct SettingTraits<bool> {
    static constexpr SettingKind kind = SettingKind::Boolean;
    using Default = bool;
};
template <>
struct SettingTraits<uint32_t> {
    static constexpr SettingKind kind = SettingKind::Integer;
    using Default = uint32_t;
};
template <>
struct SettingTraits<double> {
    static constexpr SettingKind kind = SettingKind::Real;
    using Default = double;
};
template <>
struct SettingTraits<std::string> {
    static constexpr SettingKind kind = SettingKind::Text;
    using Default = const char*;  // a static string
};

// The default of a setting that is computed when first needed rather than
// compiled in. `compute` must give the same value on every call.
template <typename T>
struct ComputedDefault {
    T (*compute)();
};

template <typename T>
class Setting {
  public:
    using Value = T;
    using Default = typename SettingTraits<T>::Default;
    static constexpr SettingKind kKind = SettingTraits<T>::kind;

    // `key` must be a static string.
    constexpr Setting(const char* key, Default defaultValue,
                      IntegerFormat format = IntegerFormat::Number)
        : key_(key), default_(defaultValue), format_(format) {}

    constexpr Setting(const char* key, ComputedDefault<T> computeDefault)
        : key_(key), default_{}, computeDefault_(computeDefault.compute) {}

    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    T get() const;

    // Returns false when the store could not be written; the value then holds
    // in this process only.
    bool set(const T& value);

    // Deletes whatever the store holds for this key, even a value of the
    // wrong type that set() would leave alone; the value becomes the default.
    bool reset();

    T defaultValue() const;
    bool isDefault() const { return get() == defaultValue(); }

    std::string_view key() const { return key_; }
    std::string_view subkey() const;
    std::string_view name() const;
    SettingKind kind() const { return kKind; }
    IntegerFormat format() const { return format_; }

  private:
    // The cached value, read from `active` first if the cache is empty or
    // belongs to an earlier store. Needs mutex_.
    const T& loadLocked(const ActiveStore& active) const;

    const char* key_;
    Default default_;
    T (*computeDefault_)() = nullptr;
    IntegerFormat format_ = IntegerFormat::Number;
    mutable std::mutex mutex_;
    mutable std::optional<T> cache_;
    mutable uint64_t cacheGeneration_ = 0;
};

extern template class Setting<bool>;
extern template class Setting<uint32_t>;
extern template class Setting<double>;
extern template class Setting<std::string>;

using BoolSetting = Setting<bool>;
using IntSetting = Setting<uint32_t>;
using RealSetting = Setting<double>;
using TextSetting = Setting<std::string>;

// A reference to a setting of any kind, for lists of settings.
using SettingRef = std::variant<BoolSetting*, IntSetting*, RealSetting*, TextSetting*>;

// The key path of the setting referred to.
inline std::string_view settingKey(const SettingRef& setting) {
    return std::visit([](const auto* s) { return s->key(); }, setting);
}

// The stored forms. decode() returns nothing for a value of the wrong type or
// size.
StoredValue encodeSetting(bool value);
StoredValue encodeSetting(uint32_t value);
StoredValue encodeSetting(double value);
StoredValue encodeSetting(const std::string& value);
template <typename T>
std::optional<T> decodeSetting(const StoredValue& stored);
template <>
std::optional<bool> decodeSetting<bool>(const StoredValue& stored);
template <>
std::optional<uint32_t> decodeSetting<uint32_t>(const StoredValue& stored);
template <>
std::optional<double> decodeSetting<double>(const StoredValue& stored);
template <>
std::optional<std::string> decodeSetting<std::string>(const StoredValue& stored);

}  // namespace vivark::settings
