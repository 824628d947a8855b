// The definitions of all settings with their keys and defaults, and the list
// of them.
//
// Defaults that no other component fixes, and so are this system's choice:
// text settings (window placement, fonts, dialog state, directory lists, the
// last script and filter chosen) start empty, meaning "nothing remembered";
// "Print\\Unit" is the first unit of the print dialog (0);
// "FileConverter\\UseOriginalDir" starts on, so a first conversion without an
// output folder saves beside its source; "Priority\\IdleTime" is computed
// (idleTimeByProcessorCount).
#include "app/settings/SettingKeys.h"

#include <iterator>
#include <thread>
#include <vector>

#include "core/FormatTag.h"
#include "core/settings/SettingsTree.h"
#include "formats/SaveOptions.h"
#include "formats/pcd/PcdFormat.h"

namespace vivark::settings {
namespace {

// "Priority\\IdleTime" puts background work (thumbnails, preloading, batch
// workers) at idle priority. With a single processor that work would compete
// with the viewer for the only core, so it defaults to on there and to off
// where there are several (or when the count is unknown, to on).
bool idleTimeByProcessorCount() {
    static const bool singleProcessor = std::thread::hardware_concurrency() <= 1;
    return singleProcessor;
}

}  // namespace

// Window and viewer
constinit IntSetting windowBackgroundColor{"Window\\BackgroundColor", 0xFFFFFFFF,
                                           IntegerFormat::Colour};
constinit BoolSetting windowShowBorders{"Window\\ShowBorders", true};
constinit TextSetting windowSizeAndPosition{"Window\\SizeAndPosition", ""};
constinit BoolSetting titleBarVisible{"TitleBar\\Visible", true};
constinit BoolSetting menuBarVisible{"MenuBar\\Visible", true};
constinit BoolSetting statusBarVisible{"StatusBar\\Visible", true};
constinit TextSetting statusBarFont{"StatusBar\\Font", ""};
constinit BoolSetting scrollBarsVisible{"ScrollBars\\Visible", true};
constinit BoolSetting toolBarVisible{"ToolBar\\Visible", true};
constinit IntSetting toolBarActiveTool{"ToolBar\\ActiveTool", 3};
constinit BoolSetting imageInfoVisible{"ImageInfo\\Visible", false};
constinit BoolSetting trackInfoVisible{"TrackInfo\\Visible", true};
constinit IntSetting trackLeft{"Track\\Left", 0};
constinit IntSetting trackTop{"Track\\Top", 0};
constinit IntSetting trackWidth{"Track\\Width", 100};
constinit IntSetting trackHeight{"Track\\Height", 100};
constinit BoolSetting editMode{"EditMode", false};
constinit BoolSetting undoEnabled{"Undo\\Enabled", true};
constinit BoolSetting dynamicIcon{"DynamicIcon", true};
constinit BoolSetting mouseWheelBrowse{"MouseWheelBrowse", true};
constinit BoolSetting immediateDelete{"ImmediateDelete", false};
constinit BoolSetting useWpsFileOps{"UseWPSFileOps", false};
constinit IntSetting defaultDropEffect{"DefaultDropEffect", 0};

// View and full screen
constinit BoolSetting viewCenterImage{"View\\CenterImage", true};
constinit BoolSetting viewFitImage{"View\\FitImage", true};
constinit IntSetting viewFitMode{"View\\FitMode", 0};
constinit BoolSetting viewZoomLock{"View\\ZoomLock", false};
constinit BoolSetting fullscreenFitImage{"Fullscreen\\FitImage", true};
constinit BoolSetting fullscreenCenterImage{"Fullscreen\\CenterImage", true};
constinit IntSetting fullscreenFitMode{"Fullscreen\\FitMode", 2};
// This one key is spelled "FullScreen"; the store ignores case, so it shares the
// subkey of the other "Fullscreen" values.
constinit BoolSetting fullscreenShowPointer{"FullScreen\\ShowPointer", false};

// Window placement
constinit IntSetting posCtrlMode{"PosCtrl\\Mode", 1};
constinit BoolSetting posCtrlAutosizeOnLoad{"PosCtrl\\AutosizeOnLoad", true};
constinit BoolSetting posCtrlAutosizeOnEdit{"PosCtrl\\AutosizeOnEdit", true};
constinit BoolSetting posCtrlExpandToDesktop{"PosCtrl\\ExpandToDesktop", true};
constinit BoolSetting posCtrlIgnoreTaskbar{"PosCtrl\\IgnoreTaskbar", false};
constinit BoolSetting posCtrlAllowBorderEx{"PosCtrl\\AllowBorderEx", false};

// Display
constinit BoolSetting displayResamplePixels{"Display\\ResamplePixels", false};
constinit IntSetting displayResampleMethod{"Display\\ResampleMethod", 0};
constinit BoolSetting displayAdjustGamma{"Display\\AdjustGamma", false};
constinit RealSetting displayGamma{"Display\\Gamma", 1.0};
constinit BoolSetting displaySmoothScroll{"Display\\SmoothScroll", true};
constinit BoolSetting displayScrollAccel{"Display\\ScrollAccel", true};
constinit IntSetting displayScrollLatency{"Display\\ScrollLatency", 20};
constinit IntSetting displayScrollSpeed{"Display\\ScrollSpeed", 2500};
constinit BoolSetting paletteManager{"Palette\\PaletteManager", true};
constinit BoolSetting paletteOverrideSysColors{"Palette\\OverrideSysColors", false};
constinit BoolSetting paletteChangeClearsWindow{"Palette\\PalChangeClearsWindow", true};
constinit BoolSetting countDeepColors{"Color\\CountDeepColors", false};

// Loading
constinit IntSetting loadingStartupMode{"Loading\\StartupMode", 0};
constinit IntSetting loadingWildcardBehavior{"Loading\\WildcardBehavior", 0};
constinit BoolSetting loadingProgressive{"Loading\\Progressive", true};
constinit BoolSetting loadingAnimate{"Loading\\Animate", true};
constinit BoolSetting loadingBeepOnError{"Loading\\BeepOnError", false};
constinit BoolSetting loadingLoadNextOnDelete{"Loading\\LoadNextOnDelete", true};
constinit BoolSetting fileOpenAutoChangeDir{"FileOpen\\AutoChangeDir", true};
constinit BoolSetting fileSaveAutoChangeDir{"FileSave\\AutoChangeDir", true};
constinit TextSetting fileOpenState{"FileOpen", ""};
constinit TextSetting fileSaveState{"FileSave", ""};

// Directory sequencing
constinit IntSetting sequencerSequence{"FileSequencer\\Sequence", 3};
constinit BoolSetting sequencerRefresh{"FileSequencer\\Refresh", true};
constinit BoolSetting sequencerPreload{"FileSequencer\\Preload", true};
constinit BoolSetting sequencerWrap{"FileSequencer\\Wrap", true};

// Colour reduction for display
constinit IntSetting dither16PaletteType{"Dither\\16FixSysColor\\PaletteType", 1};
constinit IntSetting dither16DitherType{"Dither\\16FixSysColor\\DitherType", 2};
constinit IntSetting dither256PaletteType{"Dither\\256FixSysColor\\PaletteType", 1};
constinit IntSetting dither256DitherType{"Dither\\256FixSysColor\\DitherType", 2};

// Geometry
constinit IntSetting resizeMode{"Resize\\Mode", 0};
constinit BoolSetting resizeLetterBox{"Resize\\LetterBox", false};
constinit BoolSetting resizeProportional{"Resize\\Proportional", true};
constinit BoolSetting resizeResample{"Resize\\Resample", true};
constinit IntSetting resolutionMode{"Resolution\\Mode", 0};
constinit BoolSetting resolutionProportional{"Resolution\\Proportional", true};
constinit BoolSetting rotateResample{"Rotate\\Resample", true};

// Colour adjustment and filter dialogs (window placement and last choice)
constinit TextSetting bccPosition{"BCC\\Position", ""};
constinit TextSetting rgbPosition{"RGB\\Position", ""};
constinit TextSetting solarizePosition{"Solarize\\Position", ""};
constinit TextSetting filterSelectedFilter{"Filter\\SelectedFilter", ""};
constinit TextSetting filterSizeAndPosition{"Filter\\SizeAndPosition", ""};

// Batch conversion
// A format tag: "BMP " read as a little-endian 32-bit value, 0x20504D42.
constinit IntSetting converterFileType{"FileConverter\\FileType", makeTag("BMP "),
                                       IntegerFormat::Tag};
constinit BoolSetting converterDeleteOriginal{"FileConverter\\DeleteOriginal", false};
constinit TextSetting converterSelectedScript{"FileConverter\\SelectedScript", ""};
constinit TextSetting converterMruDirectoryList{"FileConverter\\MRUDirectoryList", ""};
constinit BoolSetting converterUseOriginalDir{"FileConverter\\UseOriginalDir", true};
constinit IntSetting moverActionIfExists{"FileMover\\ActionIfExists", 0};
constinit BoolSetting moverSkipIfIdentical{"FileMover\\SkipIfIdentical", false};

// Printing
constinit IntSetting printUnit{"Print\\Unit", 0};
constinit IntSetting printScaleMode{"Print\\ScaleMode", 1};
constinit BoolSetting printCenterImage{"Print\\CenterImage", true};
constinit IntSetting printOrientation{"Print\\Orientation", 0};
constinit IntSetting printCustomSize{"Print\\CustomSize", 0};
constinit BoolSetting printDefaultToOneCopy{"Print\\DefaultToOneCopy", false};
constinit TextSetting printPrinterName{"Print\\PrinterName", ""};

// Slideshow
constinit BoolSetting slideshowFullScreen{"Slideshow\\FullScreen", true};
constinit BoolSetting slideshowContinuousRun{"Slideshow\\ContinuousRun", false};
constinit BoolSetting slideshowShowControl{"Slideshow\\ShowControl", true};
constinit BoolSetting slideshowSwapButtons{"Slideshow\\SwapButtons", false};
constinit BoolSetting slideshowAutoScramble{"Slideshow\\AutoScramble", false};
constinit BoolSetting slideshowAutoStart{"Slideshow\\AutoStart", false};
constinit BoolSetting slideshowCopyAll{"Slideshow\\CopySettings\\CopyAll", false};
constinit BoolSetting slideshowCopyUseTimer{"Slideshow\\CopySettings\\UseTimer", true};
constinit BoolSetting slideshowCopyDspTime{"Slideshow\\CopySettings\\DspTime", true};
constinit BoolSetting slideshowCopyDspNotes{"Slideshow\\CopySettings\\DspNotes", true};
constinit BoolSetting slideshowCopyNoteText{"Slideshow\\CopySettings\\NoteText", false};
constinit IntSetting slideshowDefaultDspTime{"Slideshow\\DefaultSlideSettings\\DspTime", 5};
constinit BoolSetting slideshowDefaultUseTimer{"Slideshow\\DefaultSlideSettings\\UseTimer", true};
constinit BoolSetting slideshowDefaultDspNotes{"Slideshow\\DefaultSlideSettings\\DspNotes", false};

// Scanning and capture
constinit BoolSetting twainImageMemXfer{"TWAIN\\ImageMemXfer", false};
constinit BoolSetting twainFloatOnTop{"TWAIN\\FloatOnTop", true};
constinit BoolSetting twainCloseUi{"TWAIN\\CloseUI", true};
constinit BoolSetting twainUnloadLibrary{"TWAIN\\UnloadLibrary", true};
constinit IntSetting captureMethod{"Capture\\Method", 0};
constinit IntSetting captureDelay{"Capture\\Delay", 5};
constinit IntSetting captureHotKey{"Capture\\HotKey", 0};
constinit BoolSetting captureIncludePointer{"Capture\\IncludePointer", true};
constinit BoolSetting captureHideWindows{"Capture\\HideWindows", true};

// Miscellaneous
constinit IntSetting thumbnailSize{"Thumbnail\\Size", 80};
constinit IntSetting tipOfDayShowTips{"TipOfDay\\ShowTips", 1};
constinit IntSetting tipOfDayTip{"TipOfDay\\Tip", 0};
constinit BoolSetting confirmDelete{"Confirmations\\Delete", true};
constinit BoolSetting confirmImage{"Confirmations\\Image", true};
constinit BoolSetting confirmSlideshow{"Confirmations\\Slideshow", true};
constinit BoolSetting confirmConvert{"Confirmations\\Convert", true};
constinit BoolSetting priorityIdleTime{"Priority\\IdleTime",
                                       ComputedDefault<bool>{idleTimeByProcessorCount}};
std::span<const SettingRef> allSettings() {
    static const SettingRef shell[] = {
        // Window and viewer
        &windowBackgroundColor, &windowShowBorders, &windowSizeAndPosition, &titleBarVisible,
        &menuBarVisible, &statusBarVisible, &statusBarFont, &scrollBarsVisible, &toolBarVisible,
        &toolBarActiveTool, &imageInfoVisible, &trackInfoVisible, &trackLeft, &trackTop,
        &trackWidth, &trackHeight, &editMode, &undoEnabled, &dynamicIcon, &mouseWheelBrowse,
        &immediateDelete, &useWpsFileOps, &defaultDropEffect,
        // View and full screen
        &viewCenterImage, &viewFitImage, &viewFitMode, &viewZoomLock, &fullscreenFitImage,
        &fullscreenCenterImage, &fullscreenFitMode, &fullscreenShowPointer,
        // Window placement
        &posCtrlMode, &posCtrlAutosizeOnLoad, &posCtrlAutosizeOnEdit, &posCtrlExpandToDesktop,
        &posCtrlIgnoreTaskbar, &posCtrlAllowBorderEx,
        // Display
        &displayResamplePixels, &displayResampleMethod, &displayAdjustGamma, &displayGamma,
        &displaySmoothScroll, &displayScrollAccel, &displayScrollLatency, &displayScrollSpeed,
        &paletteManager, &paletteOverrideSysColors, &paletteChangeClearsWindow, &countDeepColors,
        // Loading
        &loadingStartupMode, &loadingWildcardBehavior, &loadingProgressive, &loadingAnimate,
        &loadingBeepOnError, &loadingLoadNextOnDelete, &photoCdResolution, &photoCdAskForResolution,
        &fileOpenAutoChangeDir, &fileSaveAutoChangeDir, &fileOpenState, &fileSaveState,
        // Directory sequencing
        &sequencerSequence, &sequencerRefresh, &sequencerPreload, &sequencerWrap,
        // Colour reduction for display
        &dither16PaletteType, &dither16DitherType, &dither256PaletteType, &dither256DitherType,
        // Geometry
        &resizeMode, &resizeLetterBox, &resizeProportional, &resizeResample, &resolutionMode,
        &resolutionProportional, &rotateResample,
        // Colour adjustment and filter dialogs (window placement and last choice)
        &bccPosition, &rgbPosition, &solarizePosition, &filterSelectedFilter,
        &filterSizeAndPosition,
        // Batch conversion
        &converterFileType, &converterDeleteOriginal, &converterSelectedScript,
        &converterMruDirectoryList, &converterUseOriginalDir, &moverActionIfExists,
        &moverSkipIfIdentical,
        // Printing
        &printUnit, &printScaleMode, &printCenterImage, &printOrientation, &printCustomSize,
        &printDefaultToOneCopy, &printPrinterName,
        // Slideshow
        &slideshowFullScreen, &slideshowContinuousRun, &slideshowShowControl, &slideshowSwapButtons,
        &slideshowAutoScramble, &slideshowAutoStart, &slideshowCopyAll, &slideshowCopyUseTimer,
        &slideshowCopyDspTime, &slideshowCopyDspNotes, &slideshowCopyNoteText,
        &slideshowDefaultDspTime, &slideshowDefaultUseTimer, &slideshowDefaultDspNotes,
        // Scanning and capture
        &twainImageMemXfer, &twainFloatOnTop, &twainCloseUi, &twainUnloadLibrary, &captureMethod,
        &captureDelay, &captureHotKey, &captureIncludePointer, &captureHideWindows,
        // Miscellaneous
        &thumbnailSize, &tipOfDayShowTips, &tipOfDayTip, &confirmDelete, &confirmImage,
        &confirmSlideshow, &confirmConvert, &priorityIdleTime};
    // The save options belong to the formats that read them.
    static const std::vector<SettingRef> list = [] {
        std::vector<SettingRef> all(std::begin(shell), std::end(shell));
        std::span<const SettingRef> save = vivark::saveSettings();
        all.insert(all.end(), save.begin(), save.end());
        return all;
    }();
    return list;
}

const SettingRef* findSetting(std::string_view key) {
    for (const SettingRef& setting : allSettings())
        if (equalsIgnoringCase(settingKey(setting), key)) return &setting;
    return nullptr;
}

}  // namespace vivark::settings
