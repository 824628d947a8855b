// Every key exists once, with its kind and default, as listed below; the list
// is kept apart from the definitions so that a slip in either shows.
#include <gtest/gtest.h>

#include <set>

#include "app/settings/SettingKeys.h"
#include "app/settings/SettingText.h"
#include "app/settings/SettingsTree.h"

namespace vivark::settings {
namespace {

// "KEY" KIND [DEFAULT]: B boolean (0/1), I integer, R real, T text (default
// empty). A key without a default has one computed at run time.
constexpr std::string_view kReference = R"(
"Window\\BackgroundColor" I 0xFFFFFFFF
"Window\\ShowBorders" B 1
"Window\\SizeAndPosition" T
"TitleBar\\Visible" B 1
"MenuBar\\Visible" B 1
"StatusBar\\Visible" B 1
"StatusBar\\Font" T
"ScrollBars\\Visible" B 1
"ToolBar\\Visible" B 1
"ToolBar\\ActiveTool" I 3
"ImageInfo\\Visible" B 0
"TrackInfo\\Visible" B 1
"Track\\Left" I 0
"Track\\Top" I 0
"Track\\Width" I 100
"Track\\Height" I 100
"EditMode" B 0
"Undo\\Enabled" B 1
"DynamicIcon" B 1
"MouseWheelBrowse" B 1
"ImmediateDelete" B 0
"UseWPSFileOps" B 0
"DefaultDropEffect" I 0
"View\\CenterImage" B 1
"View\\FitImage" B 1
"View\\FitMode" I 0
"View\\ZoomLock" B 0
"Fullscreen\\FitImage" B 1
"Fullscreen\\CenterImage" B 1
"Fullscreen\\FitMode" I 2
"FullScreen\\ShowPointer" B 0
"PosCtrl\\Mode" I 1
"PosCtrl\\AutosizeOnLoad" B 1
"PosCtrl\\AutosizeOnEdit" B 1
"PosCtrl\\ExpandToDesktop" B 1
"PosCtrl\\IgnoreTaskbar" B 0
"PosCtrl\\AllowBorderEx" B 0
"Display\\ResamplePixels" B 0
"Display\\ResampleMethod" I 0
"Display\\AdjustGamma" B 0
"Display\\Gamma" R 1.0
"Display\\SmoothScroll" B 1
"Display\\ScrollAccel" B 1
"Display\\ScrollLatency" I 20
"Display\\ScrollSpeed" I 2500
"Palette\\PaletteManager" B 1
"Palette\\OverrideSysColors" B 0
"Palette\\PalChangeClearsWindow" B 1
"Color\\CountDeepColors" B 0
"Loading\\StartupMode" I 0
"Loading\\WildcardBehavior" I 0
"Loading\\Progressive" B 1
"Loading\\Animate" B 1
"Loading\\BeepOnError" B 0
"Loading\\LoadNextOnDelete" B 1
"LoadOptions\\PhotoCD\\Resolution" I 2
"LoadOptions\\PhotoCD\\AskForResolution" B 1
"FileOpen\\AutoChangeDir" B 1
"FileSave\\AutoChangeDir" B 1
"FileOpen" T
"FileSave" T
"FileSequencer\\Sequence" I 3
"FileSequencer\\Refresh" B 1
"FileSequencer\\Preload" B 1
"FileSequencer\\Wrap" B 1
"Dither\\Palette\\PaletteType" I 0
"Dither\\Palette\\DitherType" I 2
"Dither\\16FixSysColor\\PaletteType" I 1
"Dither\\16FixSysColor\\DitherType" I 2
"Dither\\256FixSysColor\\PaletteType" I 1
"Dither\\256FixSysColor\\DitherType" I 2
"Resize\\Mode" I 0
"Resize\\LetterBox" B 0
"Resize\\Proportional" B 1
"Resize\\Resample" B 1
"Resolution\\Mode" I 0
"Resolution\\Proportional" B 1
"Rotate\\Resample" B 1
"FileConverter\\FileType" I 0x20504D42
"FileConverter\\DeleteOriginal" B 0
"FileMover\\ActionIfExists" I 0
"FileMover\\SkipIfIdentical" B 0
"SaveOptions\\Windows Bitmap\\Encode" B 0
"SaveOptions\\OS2 Bitmap\\Format" I 0
"SaveOptions\\OS2 Bitmap\\Encode" B 0
"SaveOptions\\Windows Icon\\Size" I 32
"SaveOptions\\Windows Icon\\Color Type" I 4
"SaveOptions\\Windows Icon\\Transparent" B 1
"SaveOptions\\Windows Cursor\\Size" I 32
"SaveOptions\\Windows Cursor\\Color Type" I 4
"SaveOptions\\Windows Cursor\\Transparent" B 1
"SaveOptions\\OS2 Icon\\Size" I 40
"SaveOptions\\OS2 Icon\\Color Type" I 4
"SaveOptions\\OS2 Icon\\Transparent" B 1
"SaveOptions\\OS2 Icon\\Format" I 0
"SaveOptions\\OS2 Icon\\Encode" B 0
"SaveOptions\\OS2 Pointer\\Size" I 64
"SaveOptions\\OS2 Pointer\\Color Type" I 4
"SaveOptions\\OS2 Pointer\\Transparent" B 1
"SaveOptions\\OS2 Pointer\\Format" I 0
"SaveOptions\\OS2 Pointer\\Encode" B 0
"SaveOptions\\GIF\\GIF89a" B 0
"SaveOptions\\GIF\\Interlace" B 0
"SaveOptions\\GIF\\Transparent" B 0
"SaveOptions\\GIF\\Transparent Index" I 0
"SaveOptions\\GIF\\Background" B 0
"SaveOptions\\GIF\\Background Index" I 0
"SaveOptions\\IFF\\Encode" B 0
"SaveOptions\\JFIF\\Quality" I 75
"SaveOptions\\JFIF\\Smooth" I 0
"SaveOptions\\JFIF\\Entropy" B 1
"SaveOptions\\JFIF\\Progressive" B 0
"SaveOptions\\JFIF\\Exif" B 1
"SaveOptions\\OS/2 Boot Logo\\Warp4" B 1
"SaveOptions\\OS/2 Boot Logo\\Optimize" B 0
"SaveOptions\\OS/2 Boot Logo\\Dither" B 1
"SaveOptions\\PCX\\Enable24bit" B 0
"SaveOptions\\PC Paint/Pictor\\EGA Palette" B 0
"SaveOptions\\Softimage PIC\\Encode" B 1
"SaveOptions\\PNG\\Interlace" B 0
"SaveOptions\\PNG\\Histogram" B 0
"SaveOptions\\PNG\\Time" B 0
"SaveOptions\\PNG\\Transparent" B 0
"SaveOptions\\PNG\\Transparent Index" I 0
"SaveOptions\\PNG\\Transparent Color" I 0
"SaveOptions\\PNG\\Background" B 0
"SaveOptions\\PNG\\Background Index" I 0
"SaveOptions\\PNG\\Background Color" I 0
"SaveOptions\\PSD\\Encode" B 1
"SaveOptions\\RAS\\Encode" B 0
"SaveOptions\\SGI\\Encode" B 0
"SaveOptions\\TGA\\Encode" B 0
"SaveOptions\\TGA\\BottomToTop" B 0
"SaveOptions\\TGA\\RightToLeft" B 0
"SaveOptions\\TGA\\InterlaceType" I 0
"SaveOptions\\TIFF\\ByteOrder" B 0
"SaveOptions\\TIFF\\StripSize" I 3
"SaveOptions\\TIFF\\Compression\\BlackWhite" I 1
"SaveOptions\\TIFF\\Compression\\Color" I 1
"SaveOptions\\TIFF\\Photometric" I 0
"SaveOptions\\TIFF\\Predictor" I 1
"SaveOptions\\TIFF\\T4Options" I 0
"SaveOptions\\TIFF\\T6Options" I 0
"SaveOptions\\XPM\\Type" I 0
"Print\\ScaleMode" I 1
"Print\\CenterImage" B 1
"Print\\Orientation" I 0
"Print\\CustomSize" I 0
"Print\\DefaultToOneCopy" B 0
"Print\\PrinterName" T
"Slideshow\\FullScreen" B 1
"Slideshow\\ContinuousRun" B 0
"Slideshow\\ShowControl" B 1
"Slideshow\\SwapButtons" B 0
"Slideshow\\AutoScramble" B 0
"Slideshow\\AutoStart" B 0
"Slideshow\\CopySettings\\CopyAll" B 0
"Slideshow\\CopySettings\\UseTimer" B 1
"Slideshow\\CopySettings\\DspTime" B 1
"Slideshow\\CopySettings\\DspNotes" B 1
"Slideshow\\CopySettings\\NoteText" B 0
"Slideshow\\DefaultSlideSettings\\DspTime" I 5
"Slideshow\\DefaultSlideSettings\\UseTimer" B 1
"Slideshow\\DefaultSlideSettings\\DspNotes" B 0
"TWAIN\\ImageMemXfer" B 0
"TWAIN\\FloatOnTop" B 1
"TWAIN\\CloseUI" B 1
"TWAIN\\UnloadLibrary" B 1
"Capture\\Method" I 0
"Capture\\Delay" I 5
"Capture\\HotKey" I 0
"Capture\\IncludePointer" B 1
"Capture\\HideWindows" B 1
"Thumbnail\\Size" I 80
"TipOfDay\\ShowTips" I 1
"TipOfDay\\Tip" I 0
"Confirmations\\Delete" B 1
"Confirmations\\Image" B 1
"Confirmations\\Slideshow" B 1
"Confirmations\\Convert" B 1
"Priority\\IdleTime" B
"BCC\\Position" T
"RGB\\Position" T
"Solarize\\Position" T
"Filter\\SelectedFilter" T
"Filter\\SizeAndPosition" T
"FileConverter\\SelectedScript" T
"FileConverter\\MRUDirectoryList" T
"FileConverter\\UseOriginalDir" B 1
"SaveOptions\\PBM\\RawData" B 1
"SaveOptions\\PGM\\RawData" B 1
"SaveOptions\\PPM\\RawData" B 1
"SaveOptions\\PNM\\RawData" B 1
"Print\\Unit" I 0
)";

struct Reference {
    std::string key;
    char kind;
    std::optional<std::string> defaultValue;
};

std::vector<Reference> parseReference() {
    std::vector<Reference> entries;
    std::string_view rest = kReference;
    while (!rest.empty()) {
        size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.empty()) continue;
        size_t close = line.find('"', 1);
        Reference entry;
        for (size_t i = 1; i < close; ++i) {
            entry.key += line[i];
            if (line[i] == '\\') ++i;  // "\\" in the list is one backslash
        }
        entry.kind = line.at(close + 2);
        if (line.size() > close + 4) entry.defaultValue = std::string(line.substr(close + 4));
        entries.push_back(entry);
    }
    return entries;
}

char kindLetter(SettingKind kind) {
    switch (kind) {
        case SettingKind::Boolean:
            return 'B';
        case SettingKind::Integer:
            return 'I';
        case SettingKind::Real:
            return 'R';
        case SettingKind::Text:
            return 'T';
    }
    return '?';
}

// The reference's default in the form the setting prints.
std::string expectedDefault(const Reference& entry, const SettingRef& setting) {
    std::string value = entry.defaultValue.value_or("");
    switch (entry.kind) {
        case 'B':
            return value == "1" ? "yes" : "no";
        case 'R':
            return formatReal(std::stod(value));
        case 'I': {
            auto format = std::visit([](const auto* s) { return s->format(); }, setting);
            return formatInteger(static_cast<uint32_t>(std::stoul(value, nullptr, 0)), format);
        }
    }
    return value;
}

TEST(SettingKeys, EveryKeyExistsOnceWithItsKindAndDefault) {
    std::vector<Reference> reference = parseReference();
    ASSERT_EQ(reference.size(), 194u);
    EXPECT_EQ(allSettings().size(), reference.size());

    std::set<std::string, CaseInsensitiveLess> keys;
    for (const SettingRef& setting : allSettings())
        EXPECT_TRUE(keys.insert(std::string(settingKey(setting))).second) << settingKey(setting);

    for (const Reference& entry : reference) {
        SCOPED_TRACE(entry.key);
        const SettingRef* setting = findSetting(entry.key);
        ASSERT_NE(setting, nullptr);
        EXPECT_EQ(settingKey(*setting), entry.key);  // the exact spelling
        auto kind = std::visit([](const auto* s) { return s->kind(); }, *setting);
        EXPECT_EQ(kindLetter(kind), entry.kind);
        if (entry.defaultValue || entry.kind == 'T') {
            EXPECT_EQ(defaultText(*setting), expectedDefault(entry, *setting));
        }
    }
}

}  // namespace
}  // namespace vivark::settings
