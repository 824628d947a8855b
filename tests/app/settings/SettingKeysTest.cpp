// The key registry: every key is found under its exact spelling, and no two
// keys differ only in case, since the store looks keys up case-insensitively.
#include <gtest/gtest.h>

#include <set>

#include "app/settings/SettingKeys.h"
#include "app/settings/SettingsTree.h"

namespace vivark::settings {
namespace {

TEST(SettingKeys, EveryKeyIsFoundOnceUnderItsOwnSpelling) {
    std::set<std::string, CaseInsensitiveLess> keys;
    for (const SettingRef& setting : allSettings()) {
        const std::string key(settingKey(setting));
        EXPECT_TRUE(keys.insert(key).second) << key;
        const SettingRef* found = findSetting(key);
        ASSERT_NE(found, nullptr) << key;
        EXPECT_EQ(settingKey(*found), key);
    }
    EXPECT_EQ(keys.size(), 194u);
}

}  // namespace
}  // namespace vivark::settings
