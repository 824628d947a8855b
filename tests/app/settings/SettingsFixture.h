// Helpers of the settings tests: a fixture that gives each test its own
// store, and byte builders for stored values.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string_view>

#include "app/settings/SettingKeys.h"
#include "core/settings/MemoryStore.h"
#include "core/settings/SettingsStore.h"

namespace vivark::test {

// Installs `store` as the active store while it lives.
class ScopedSettingsStore {
  public:
    explicit ScopedSettingsStore(std::shared_ptr<settings::SettingsStore> store)
        : previous_(settings::setSettingsStore(std::move(store))) {}
    ~ScopedSettingsStore() { settings::setSettingsStore(previous_); }

  private:
    std::shared_ptr<settings::SettingsStore> previous_;
};

// The setting of kind S whose key is `key` (a save option, say, which its
// format declares privately).
template <typename S>
S& settingOf(std::string_view key) {
    return *std::get<S*>(*settings::findSetting(key));
}

// Every test starts with an empty in-memory store.
class SettingsTest : public ::testing::Test {
  protected:
    std::shared_ptr<settings::MemoryStore> store_ = std::make_shared<settings::MemoryStore>();
    ScopedSettingsStore scoped_{store_};
};

inline settings::StoredValue dword(uint32_t v) {
    return {settings::kTypeDword,
            {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}};
}

inline settings::StoredValue text(std::string_view s) {
    settings::StoredValue value{settings::kTypeString, {s.begin(), s.end()}};
    value.bytes.push_back(0);
    return value;
}

inline settings::StoredValue raw(settings::ValueType type, std::vector<uint8_t> bytes) {
    return {type, std::move(bytes)};
}

}  // namespace vivark::test
