// Setting over an in-memory store: the key registry, lazy reads,
// write-through, delete on default, values of the wrong type or size,
// threads (unwritable stores are the file store's tests').
#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <type_traits>

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

// Every persistent option with the kind and default the system gives it:
// each must exist exactly once among all settings (the shell's and the
// formats'), spelt as here.
TEST(SettingKeys, EveryOptionExistsOnceWithItsKindAndDefault) {
    using K = SettingKind;
    constexpr double kComputed = -1;  // a default worked out at start-up
    const struct {
        const char* key;
        SettingKind kind;
        double value;  // 0 and 1 for booleans; text settings default to empty
    } options[] = {
        {"Window\\BackgroundColor", K::Integer, 0xFFFFFFFF},
        {"Window\\ShowBorders", K::Boolean, 1},
        {"Window\\SizeAndPosition", K::Text, 0},
        {"TitleBar\\Visible", K::Boolean, 1},
        {"MenuBar\\Visible", K::Boolean, 1},
        {"StatusBar\\Visible", K::Boolean, 1},
        {"StatusBar\\Font", K::Text, 0},
        {"ScrollBars\\Visible", K::Boolean, 1},
        {"ToolBar\\Visible", K::Boolean, 1},
        {"ToolBar\\ActiveTool", K::Integer, 3},
        {"ImageInfo\\Visible", K::Boolean, 0},
        {"TrackInfo\\Visible", K::Boolean, 1},
        {"Track\\Left", K::Integer, 0},
        {"Track\\Top", K::Integer, 0},
        {"Track\\Width", K::Integer, 100},
        {"Track\\Height", K::Integer, 100},
        {"EditMode", K::Boolean, 0},
        {"Undo\\Enabled", K::Boolean, 1},
        {"DynamicIcon", K::Boolean, 1},
        {"MouseWheelBrowse", K::Boolean, 1},
        {"ImmediateDelete", K::Boolean, 0},
        {"UseWPSFileOps", K::Boolean, 0},
        {"DefaultDropEffect", K::Integer, 0},
        {"View\\CenterImage", K::Boolean, 1},
        {"View\\FitImage", K::Boolean, 1},
        {"View\\FitMode", K::Integer, 0},
        {"View\\ZoomLock", K::Boolean, 0},
        {"Fullscreen\\FitImage", K::Boolean, 1},
        {"Fullscreen\\CenterImage", K::Boolean, 1},
        {"Fullscreen\\FitMode", K::Integer, 2},
        {"FullScreen\\ShowPointer", K::Boolean, 0},
        {"PosCtrl\\Mode", K::Integer, 1},
        {"PosCtrl\\AutosizeOnLoad", K::Boolean, 1},
        {"PosCtrl\\AutosizeOnEdit", K::Boolean, 1},
        {"PosCtrl\\ExpandToDesktop", K::Boolean, 1},
        {"PosCtrl\\IgnoreTaskbar", K::Boolean, 0},
        {"PosCtrl\\AllowBorderEx", K::Boolean, 0},
        {"Display\\ResamplePixels", K::Boolean, 0},
        {"Display\\ResampleMethod", K::Integer, 0},
        {"Display\\AdjustGamma", K::Boolean, 0},
        {"Display\\Gamma", K::Real, 1.0},
        {"Display\\SmoothScroll", K::Boolean, 1},
        {"Display\\ScrollAccel", K::Boolean, 1},
        {"Display\\ScrollLatency", K::Integer, 20},
        {"Display\\ScrollSpeed", K::Integer, 2500},
        {"Palette\\PaletteManager", K::Boolean, 1},
        {"Palette\\OverrideSysColors", K::Boolean, 0},
        {"Palette\\PalChangeClearsWindow", K::Boolean, 1},
        {"Color\\CountDeepColors", K::Boolean, 0},
        {"Loading\\StartupMode", K::Integer, 0},
        {"Loading\\WildcardBehavior", K::Integer, 0},
        {"Loading\\Progressive", K::Boolean, 1},
        {"Loading\\Animate", K::Boolean, 1},
        {"Loading\\BeepOnError", K::Boolean, 0},
        {"Loading\\LoadNextOnDelete", K::Boolean, 1},
        {"LoadOptions\\PhotoCD\\Resolution", K::Integer, 2},
        {"LoadOptions\\PhotoCD\\AskForResolution", K::Boolean, 1},
        {"FileOpen\\AutoChangeDir", K::Boolean, 1},
        {"FileSave\\AutoChangeDir", K::Boolean, 1},
        {"FileOpen", K::Text, 0},
        {"FileSave", K::Text, 0},
        {"FileSequencer\\Sequence", K::Integer, 3},
        {"FileSequencer\\Refresh", K::Boolean, 1},
        {"FileSequencer\\Preload", K::Boolean, 1},
        {"FileSequencer\\Wrap", K::Boolean, 1},
        {"Dither\\Palette\\PaletteType", K::Integer, 0},
        {"Dither\\Palette\\DitherType", K::Integer, 2},
        {"Dither\\16FixSysColor\\PaletteType", K::Integer, 1},
        {"Dither\\16FixSysColor\\DitherType", K::Integer, 2},
        {"Dither\\256FixSysColor\\PaletteType", K::Integer, 1},
        {"Dither\\256FixSysColor\\DitherType", K::Integer, 2},
        {"Resize\\Mode", K::Integer, 0},
        {"Resize\\LetterBox", K::Boolean, 0},
        {"Resize\\Proportional", K::Boolean, 1},
        {"Resize\\Resample", K::Boolean, 1},
        {"Resolution\\Mode", K::Integer, 0},
        {"Resolution\\Proportional", K::Boolean, 1},
        {"Rotate\\Resample", K::Boolean, 1},
        {"FileConverter\\FileType", K::Integer, 0x20504D42},
        {"FileConverter\\DeleteOriginal", K::Boolean, 0},
        {"FileMover\\ActionIfExists", K::Integer, 0},
        {"FileMover\\SkipIfIdentical", K::Boolean, 0},
        {"SaveOptions\\Windows Bitmap\\Encode", K::Boolean, 0},
        {"SaveOptions\\OS2 Bitmap\\Format", K::Integer, 0},
        {"SaveOptions\\OS2 Bitmap\\Encode", K::Boolean, 0},
        {"SaveOptions\\Windows Icon\\Size", K::Integer, 32},
        {"SaveOptions\\Windows Icon\\Color Type", K::Integer, 4},
        {"SaveOptions\\Windows Icon\\Transparent", K::Boolean, 1},
        {"SaveOptions\\Windows Cursor\\Size", K::Integer, 32},
        {"SaveOptions\\Windows Cursor\\Color Type", K::Integer, 4},
        {"SaveOptions\\Windows Cursor\\Transparent", K::Boolean, 1},
        {"SaveOptions\\OS2 Icon\\Size", K::Integer, 40},
        {"SaveOptions\\OS2 Icon\\Color Type", K::Integer, 4},
        {"SaveOptions\\OS2 Icon\\Transparent", K::Boolean, 1},
        {"SaveOptions\\OS2 Icon\\Format", K::Integer, 0},
        {"SaveOptions\\OS2 Icon\\Encode", K::Boolean, 0},
        {"SaveOptions\\OS2 Pointer\\Size", K::Integer, 64},
        {"SaveOptions\\OS2 Pointer\\Color Type", K::Integer, 4},
        {"SaveOptions\\OS2 Pointer\\Transparent", K::Boolean, 1},
        {"SaveOptions\\OS2 Pointer\\Format", K::Integer, 0},
        {"SaveOptions\\OS2 Pointer\\Encode", K::Boolean, 0},
        {"SaveOptions\\GIF\\GIF89a", K::Boolean, 0},
        {"SaveOptions\\GIF\\Interlace", K::Boolean, 0},
        {"SaveOptions\\GIF\\Transparent", K::Boolean, 0},
        {"SaveOptions\\GIF\\Transparent Index", K::Integer, 0},
        {"SaveOptions\\GIF\\Background", K::Boolean, 0},
        {"SaveOptions\\GIF\\Background Index", K::Integer, 0},
        {"SaveOptions\\IFF\\Encode", K::Boolean, 0},
        {"SaveOptions\\JFIF\\Quality", K::Integer, 75},
        {"SaveOptions\\JFIF\\Smooth", K::Integer, 0},
        {"SaveOptions\\JFIF\\Entropy", K::Boolean, 1},
        {"SaveOptions\\JFIF\\Progressive", K::Boolean, 0},
        {"SaveOptions\\JFIF\\Exif", K::Boolean, 1},
        {"SaveOptions\\OS/2 Boot Logo\\Warp4", K::Boolean, 1},
        {"SaveOptions\\OS/2 Boot Logo\\Optimize", K::Boolean, 0},
        {"SaveOptions\\OS/2 Boot Logo\\Dither", K::Boolean, 1},
        {"SaveOptions\\PCX\\Enable24bit", K::Boolean, 0},
        {"SaveOptions\\PC Paint/Pictor\\EGA Palette", K::Boolean, 0},
        {"SaveOptions\\Softimage PIC\\Encode", K::Boolean, 1},
        {"SaveOptions\\PNG\\Interlace", K::Boolean, 0},
        {"SaveOptions\\PNG\\Histogram", K::Boolean, 0},
        {"SaveOptions\\PNG\\Time", K::Boolean, 0},
        {"SaveOptions\\PNG\\Transparent", K::Boolean, 0},
        {"SaveOptions\\PNG\\Transparent Index", K::Integer, 0},
        {"SaveOptions\\PNG\\Transparent Color", K::Integer, 0},
        {"SaveOptions\\PNG\\Background", K::Boolean, 0},
        {"SaveOptions\\PNG\\Background Index", K::Integer, 0},
        {"SaveOptions\\PNG\\Background Color", K::Integer, 0},
        {"SaveOptions\\PSD\\Encode", K::Boolean, 1},
        {"SaveOptions\\RAS\\Encode", K::Boolean, 0},
        {"SaveOptions\\SGI\\Encode", K::Boolean, 0},
        {"SaveOptions\\TGA\\Encode", K::Boolean, 0},
        {"SaveOptions\\TGA\\BottomToTop", K::Boolean, 0},
        {"SaveOptions\\TGA\\RightToLeft", K::Boolean, 0},
        {"SaveOptions\\TGA\\InterlaceType", K::Integer, 0},
        {"SaveOptions\\TIFF\\ByteOrder", K::Boolean, 0},
        {"SaveOptions\\TIFF\\StripSize", K::Integer, 3},
        {"SaveOptions\\TIFF\\Compression\\BlackWhite", K::Integer, 1},
        {"SaveOptions\\TIFF\\Compression\\Color", K::Integer, 1},
        {"SaveOptions\\TIFF\\Photometric", K::Integer, 0},
        {"SaveOptions\\TIFF\\Predictor", K::Integer, 1},
        {"SaveOptions\\TIFF\\T4Options", K::Integer, 0},
        {"SaveOptions\\TIFF\\T6Options", K::Integer, 0},
        {"SaveOptions\\XPM\\Type", K::Integer, 0},
        {"Print\\Unit", K::Integer, 0},
        {"Print\\ScaleMode", K::Integer, 1},
        {"Print\\CenterImage", K::Boolean, 1},
        {"Print\\Orientation", K::Integer, 0},
        {"Print\\CustomSize", K::Integer, 0},
        {"Print\\DefaultToOneCopy", K::Boolean, 0},
        {"Print\\PrinterName", K::Text, 0},
        {"Slideshow\\FullScreen", K::Boolean, 1},
        {"Slideshow\\ContinuousRun", K::Boolean, 0},
        {"Slideshow\\ShowControl", K::Boolean, 1},
        {"Slideshow\\SwapButtons", K::Boolean, 0},
        {"Slideshow\\AutoScramble", K::Boolean, 0},
        {"Slideshow\\AutoStart", K::Boolean, 0},
        {"Slideshow\\CopySettings\\CopyAll", K::Boolean, 0},
        {"Slideshow\\CopySettings\\UseTimer", K::Boolean, 1},
        {"Slideshow\\CopySettings\\DspTime", K::Boolean, 1},
        {"Slideshow\\CopySettings\\DspNotes", K::Boolean, 1},
        {"Slideshow\\CopySettings\\NoteText", K::Boolean, 0},
        {"Slideshow\\DefaultSlideSettings\\DspTime", K::Integer, 5},
        {"Slideshow\\DefaultSlideSettings\\UseTimer", K::Boolean, 1},
        {"Slideshow\\DefaultSlideSettings\\DspNotes", K::Boolean, 0},
        {"TWAIN\\ImageMemXfer", K::Boolean, 0},
        {"TWAIN\\FloatOnTop", K::Boolean, 1},
        {"TWAIN\\CloseUI", K::Boolean, 1},
        {"TWAIN\\UnloadLibrary", K::Boolean, 1},
        {"Capture\\Method", K::Integer, 0},
        {"Capture\\Delay", K::Integer, 5},
        {"Capture\\HotKey", K::Integer, 0},
        {"Capture\\IncludePointer", K::Boolean, 1},
        {"Capture\\HideWindows", K::Boolean, 1},
        {"Thumbnail\\Size", K::Integer, 80},
        {"TipOfDay\\ShowTips", K::Integer, 1},
        {"TipOfDay\\Tip", K::Integer, 0},
        {"Confirmations\\Delete", K::Boolean, 1},
        {"Confirmations\\Image", K::Boolean, 1},
        {"Confirmations\\Slideshow", K::Boolean, 1},
        {"Confirmations\\Convert", K::Boolean, 1},
        {"Priority\\IdleTime", K::Boolean, kComputed},
    };
    for (const auto& option : options) {
        SCOPED_TRACE(option.key);
        size_t found = 0;
        for (const SettingRef& setting : allSettings()) found += settingKey(setting) == option.key;
        ASSERT_EQ(found, 1u);
        const SettingRef& setting = *findSetting(option.key);
        const SettingKind kind = std::visit([](const auto* s) { return s->kind(); }, setting);
        EXPECT_EQ(kind, option.kind);
        if (option.value == kComputed) continue;
        std::visit(
            [&](const auto* s) {
                using T = std::decay_t<decltype(s->defaultValue())>;
                if constexpr (std::is_same_v<T, std::string>)
                    EXPECT_EQ(s->defaultValue(), "");
                else if constexpr (std::is_same_v<T, double>)
                    EXPECT_EQ(s->defaultValue(), option.value);
                else
                    EXPECT_EQ(static_cast<double>(s->defaultValue()), option.value);
            },
            setting);
    }
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
