// SettingsStore: the per-user store that Setting objects read and write.
//
// A store is a hierarchy of subkeys ("SaveOptions\\GIF"), each holding named
// values; every value carries a type and raw bytes, as a registry value does.
// Subkey and value names compare without regard to ASCII case and keep the
// spelling they were first stored with. The store knows nothing of settings,
// kinds or defaults: decoding, type and size checks and the delete-on-default
// rule belong to Setting (Setting.h).
//
// This file also owns the active store of the process: the one every Setting
// goes through. Until a store is installed with setSettingsStore, the first
// use creates one with the default store factory: an in-memory store in the
// core alone, the user's persistent store once a front end names its factory
// (the vivark tool names the text-file store of app/settings).
//
// Stores never throw for a missing or unusable backing: read() then finds
// nothing and write()/remove() return false.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace vivark::settings {

// The type of a stored value. The numbers are those of the registry, so a
// registry-backed store stores them as they are and a text store can keep
// types it has no name for.
using ValueType = uint32_t;
inline constexpr ValueType kTypeString = 1;  // 8-bit text, terminating zero counted
inline constexpr ValueType kTypeBinary = 3;  // raw bytes
inline constexpr ValueType kTypeDword = 4;   // 32-bit little-endian value

struct StoredValue {
    ValueType type = kTypeBinary;
    std::vector<uint8_t> bytes;

    bool operator==(const StoredValue&) const = default;
};

class SettingsStore {
  public:
    virtual ~SettingsStore() = default;

    // The value `name` of `subkey` ("" is the root), or nothing when the
    // subkey or the value is missing or the store cannot be read.
    virtual std::optional<StoredValue> read(std::string_view subkey, std::string_view name) = 0;

    // Stores the value, creating the subkey. False when the store cannot be
    // written; the store is then unchanged.
    virtual bool write(std::string_view subkey, std::string_view name,
                       const StoredValue& value) = 0;

    // Deletes the value; a subkey left without values disappears with it.
    // True when the value is gone (also when it never existed).
    virtual bool remove(std::string_view subkey, std::string_view name) = 0;
};

// Makes the store that the active store starts as when none was installed.
using StoreFactory = std::shared_ptr<SettingsStore> (*)();
void setDefaultStoreFactory(StoreFactory factory);

// The active store, created with the default store factory on first use.
std::shared_ptr<SettingsStore> settingsStore();

// Makes `store` the active store and returns the one it replaces; nullptr
// goes back to the user's store. Every Setting drops its cached value, so the
// next read comes from the new store.
std::shared_ptr<SettingsStore> setSettingsStore(std::shared_ptr<SettingsStore> store);

// The active store together with the number of store changes so far; a
// Setting's cached value is valid only for the generation it was read in.
struct ActiveStore {
    std::shared_ptr<SettingsStore> store;
    uint64_t generation = 0;
};
ActiveStore activeStore();

}  // namespace vivark::settings
