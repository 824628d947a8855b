// Setting over an in-memory store: the key registry, lazy reads,
// write-through, delete on default, values of the wrong type or size,
// threads (unwritable stores are the file store's tests').
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "app/settings/SettingKeys.h"
#include "app/settings/SettingText.h"
#include "core/settings/SettingsTree.h"
#include "tests/app/settings/SettingsFixture.h"

namespace vivark::settings {
namespace {

BoolSetting& saveGifInterlace = test::settingOf<BoolSetting>("SaveOptions\\GIF\\Interlace");
IntSetting& saveJfifQuality = test::settingOf<IntSetting>("SaveOptions\\JFIF\\Quality");

using test::dword;
using test::raw;
using test::text;

// No test may reach the user's own settings: before any test runs, the
// active store is an in-memory one.
class IsolatedSettings : public ::testing::Environment {
  public:
    void SetUp() override { setSettingsStore(std::make_shared<MemoryStore>()); }
};
[[maybe_unused]] const auto* const kIsolated =
    ::testing::AddGlobalTestEnvironment(new IsolatedSettings);

using SettingTest = test::SettingsTest;

const SettingRef& settingFor(std::string_view key) {
    const SettingRef* setting = findSetting(key);
    EXPECT_NE(setting, nullptr) << key;
    return *setting;
}

// The store looks keys up case-insensitively, so no two may differ only in case.
TEST(SettingKeys, EveryKeyIsFoundOnceUnderItsOwnSpelling) {
    std::set<std::string, CaseInsensitiveLess> keys;
    for (const SettingRef& setting : allSettings()) {
        const std::string key(settingKey(setting));
        EXPECT_TRUE(keys.insert(key).second) << key;
        const SettingRef* found = findSetting(key);
        ASSERT_NE(found, nullptr) << key;
        EXPECT_EQ(settingKey(*found), key);
    }
}

TEST_F(SettingTest, StoresOnlyValuesThatDifferFromTheDefault) {
    const struct {
        const char *key, *subkey, *name;
        const char* value;  // not the default
        StoredValue stored;
    } cases[] = {
        {"SaveOptions\\GIF\\Interlace", "SaveOptions\\GIF", "Interlace", "yes", dword(1)},
        {"EditMode", "", "EditMode", "1", dword(1)},
        {"FileConverter\\FileType", "FileConverter", "FileType", "PNG ",
         raw(kTypeDword, {'P', 'N', 'G', ' '})},
        {"Window\\BackgroundColor", "Window", "BackgroundColor", "#102030", dword(0x102030)},
        // 2.5 is 0x4004000000000000.
        {"Display\\Gamma", "Display", "Gamma", "2.5",
         raw(kTypeBinary, {0, 0, 0, 0, 0, 0, 4, 0x40})},
        {"FileConverter\\SelectedScript", "FileConverter", "SelectedScript", "a.vvs",
         raw(kTypeString, {'a', '.', 'v', 'v', 's', 0})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        const SettingRef& setting = settingFor(c.key);
        std::string defaultForm = defaultText(setting);

        ASSERT_EQ(setFromText(setting, c.value), SetFromText::Stored);
        EXPECT_EQ(store_->read(c.subkey, c.name), c.stored);

        ASSERT_EQ(setFromText(setting, defaultForm), SetFromText::Stored);
        EXPECT_EQ(store_->read(c.subkey, c.name), std::nullopt);
        setSettingsStore(store_);  // drop the caches: the next read is from the store
        EXPECT_EQ(currentText(setting), defaultForm);
    }
    EXPECT_TRUE(store_->contents().empty());
}

TEST_F(SettingTest, WrongTypeOrSizeIsIgnoredAndLeftUntilTheSettingChanges) {
    const struct {
        const char* key;
        StoredValue stored;
        const char* other;  // a value that is not the default
    } cases[] = {
        {"SaveOptions\\GIF\\Interlace", text("1"), "yes"},
        {"SaveOptions\\GIF\\Interlace", raw(kTypeBinary, {1, 0, 0, 0}), "yes"},
        {"Display\\Gamma", dword(2), "3"},
        {"Display\\Gamma", raw(kTypeBinary, {0, 0, 0, 0, 0, 0, 4}), "3"},
        {"FileConverter\\SelectedScript", dword(7), "9"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        const SettingRef& setting = settingFor(c.key);
        auto [subkey, name] =
            std::visit([](const auto* s) { return std::pair(s->subkey(), s->name()); }, setting);
        ASSERT_TRUE(store_->write(subkey, name, c.stored));
        setSettingsStore(store_);
        EXPECT_EQ(currentText(setting), defaultText(setting));
        // Setting the value it already has writes nothing: the stray value
        // stays; a real change replaces it, and the default removes it.
        ASSERT_EQ(setFromText(setting, defaultText(setting)), SetFromText::Stored);
        EXPECT_EQ(store_->read(subkey, name), c.stored);
        ASSERT_EQ(setFromText(setting, c.other), SetFromText::Stored);
        EXPECT_NE(store_->read(subkey, name), c.stored);
        ASSERT_EQ(setFromText(setting, defaultText(setting)), SetFromText::Stored);
        EXPECT_FALSE(store_->read(subkey, name).has_value());
    }
}

TEST_F(SettingTest, ResetRemovesEvenAValueOfTheWrongType) {
    ASSERT_TRUE(store_->write("SaveOptions\\GIF", "Interlace", text("yes")));
    EXPECT_FALSE(saveGifInterlace.get());
    EXPECT_TRUE(saveGifInterlace.reset());
    EXPECT_TRUE(store_->contents().empty());
}

TEST_F(SettingTest, ReadsOnceNeverWritesOnAReadAndSkipsWritesEqualToTheCache) {
    ASSERT_TRUE(store_->write("SaveOptions\\JFIF", "Quality", dword(90)));
    EXPECT_EQ(saveJfifQuality.get(), 90u);
    // Changed behind the setting's back: the cache still holds, and setting
    // the cached value writes nothing.
    ASSERT_TRUE(store_->remove("SaveOptions\\JFIF", "Quality"));
    const int changes = store_->changeCount();
    EXPECT_EQ(saveJfifQuality.get(), 90u);
    for (const SettingRef& setting : allSettings()) currentText(setting);
    EXPECT_TRUE(saveJfifQuality.set(90));
    EXPECT_EQ(store_->changeCount(), changes);
    setSettingsStore(store_);
    EXPECT_EQ(saveJfifQuality.get(), 75u);
}

TEST_F(SettingTest, ThreadsReadingAndWritingAgreeWithTheStore) {
    IntSetting* counters[] = {&trackLeft, &trackTop, &trackWidth, &trackHeight};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &counters] {
            for (uint32_t i = 1; i <= 200; ++i) {
                if (t < 4) counters[t]->set(1000 * (t + 1) + i);
                for (IntSetting* other : counters) other->get();
                saveGifInterlace.get();
            }
        });
    }
    for (auto& thread : threads) thread.join();
    setSettingsStore(store_);
    for (uint32_t t = 0; t < 4; ++t) EXPECT_EQ(counters[t]->get(), 1000 * (t + 1) + 200);
}

}  // namespace
}  // namespace vivark::settings
