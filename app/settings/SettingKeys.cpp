// The definitions of all settings with their keys and defaults, and the list
// of them.
//
// Defaults that no other component fixes, and so are this system's choice:
// text settings (window placement, fonts, dialog state, directory lists, the
// last script and filter chosen) start empty, meaning "nothing remembered";
// "Print\\Unit" is the first unit of the print dialog (0);
// "FileConverter\\UseOriginalDir" starts on, so a first conversion without an
// output folder saves beside its source; the PBMPlus "RawData" options start
// on, writing the compact binary forms; "Priority\\IdleTime" is computed
// (idleTimeByProcessorCount).
#include "app/settings/SettingKeys.h"

#include <thread>

#include "app/settings/SettingsTree.h"
#include "core/FormatTag.h"

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
constinit IntSetting photoCdResolution{"LoadOptions\\PhotoCD\\Resolution", 2};
constinit BoolSetting photoCdAskForResolution{"LoadOptions\\PhotoCD\\AskForResolution", true};
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
constinit IntSetting ditherPalettePaletteType{"Dither\\Palette\\PaletteType", 0};
constinit IntSetting ditherPaletteDitherType{"Dither\\Palette\\DitherType", 2};
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

// Save options: bitmaps, icons, cursors and pointers
constinit BoolSetting saveBmpEncode{"SaveOptions\\Windows Bitmap\\Encode", false};
constinit IntSetting saveOs2BmpFormat{"SaveOptions\\OS2 Bitmap\\Format", 0};
constinit BoolSetting saveOs2BmpEncode{"SaveOptions\\OS2 Bitmap\\Encode", false};
constinit IntSetting saveIconSize{"SaveOptions\\Windows Icon\\Size", 32};
constinit IntSetting saveIconColorType{"SaveOptions\\Windows Icon\\Color Type", 4};
constinit BoolSetting saveIconTransparent{"SaveOptions\\Windows Icon\\Transparent", true};
constinit IntSetting saveCursorSize{"SaveOptions\\Windows Cursor\\Size", 32};
constinit IntSetting saveCursorColorType{"SaveOptions\\Windows Cursor\\Color Type", 4};
constinit BoolSetting saveCursorTransparent{"SaveOptions\\Windows Cursor\\Transparent", true};
constinit IntSetting saveOs2IconSize{"SaveOptions\\OS2 Icon\\Size", 40};
constinit IntSetting saveOs2IconColorType{"SaveOptions\\OS2 Icon\\Color Type", 4};
constinit BoolSetting saveOs2IconTransparent{"SaveOptions\\OS2 Icon\\Transparent", true};
constinit IntSetting saveOs2IconFormat{"SaveOptions\\OS2 Icon\\Format", 0};
constinit BoolSetting saveOs2IconEncode{"SaveOptions\\OS2 Icon\\Encode", false};
constinit IntSetting saveOs2PointerSize{"SaveOptions\\OS2 Pointer\\Size", 64};
constinit IntSetting saveOs2PointerColorType{"SaveOptions\\OS2 Pointer\\Color Type", 4};
constinit BoolSetting saveOs2PointerTransparent{"SaveOptions\\OS2 Pointer\\Transparent", true};
constinit IntSetting saveOs2PointerFormat{"SaveOptions\\OS2 Pointer\\Format", 0};
constinit BoolSetting saveOs2PointerEncode{"SaveOptions\\OS2 Pointer\\Encode", false};

// Save options: GIF
constinit BoolSetting saveGifGif89a{"SaveOptions\\GIF\\GIF89a", false};
constinit BoolSetting saveGifInterlace{"SaveOptions\\GIF\\Interlace", false};
constinit BoolSetting saveGifTransparent{"SaveOptions\\GIF\\Transparent", false};
constinit IntSetting saveGifTransparentIndex{"SaveOptions\\GIF\\Transparent Index", 0};
constinit BoolSetting saveGifBackground{"SaveOptions\\GIF\\Background", false};
constinit IntSetting saveGifBackgroundIndex{"SaveOptions\\GIF\\Background Index", 0};

// Save options: IFF, JFIF, OS/2 boot logo, PCX, Pictor, Softimage
constinit BoolSetting saveIffEncode{"SaveOptions\\IFF\\Encode", false};
constinit IntSetting saveJfifQuality{"SaveOptions\\JFIF\\Quality", 75};
constinit IntSetting saveJfifSmooth{"SaveOptions\\JFIF\\Smooth", 0};
constinit BoolSetting saveJfifEntropy{"SaveOptions\\JFIF\\Entropy", true};
constinit BoolSetting saveJfifProgressive{"SaveOptions\\JFIF\\Progressive", false};
constinit BoolSetting saveJfifExif{"SaveOptions\\JFIF\\Exif", true};
constinit BoolSetting saveBootLogoWarp4{"SaveOptions\\OS/2 Boot Logo\\Warp4", true};
constinit BoolSetting saveBootLogoOptimize{"SaveOptions\\OS/2 Boot Logo\\Optimize", false};
constinit BoolSetting saveBootLogoDither{"SaveOptions\\OS/2 Boot Logo\\Dither", true};
constinit BoolSetting savePcxEnable24bit{"SaveOptions\\PCX\\Enable24bit", false};
constinit BoolSetting savePictorEgaPalette{"SaveOptions\\PC Paint/Pictor\\EGA Palette", false};
constinit BoolSetting saveSoftimageEncode{"SaveOptions\\Softimage PIC\\Encode", true};

// Save options: PNG
constinit BoolSetting savePngInterlace{"SaveOptions\\PNG\\Interlace", false};
constinit BoolSetting savePngHistogram{"SaveOptions\\PNG\\Histogram", false};
constinit BoolSetting savePngTime{"SaveOptions\\PNG\\Time", false};
constinit BoolSetting savePngTransparent{"SaveOptions\\PNG\\Transparent", false};
constinit IntSetting savePngTransparentIndex{"SaveOptions\\PNG\\Transparent Index", 0};
constinit IntSetting savePngTransparentColor{"SaveOptions\\PNG\\Transparent Color", 0,
                                             IntegerFormat::Colour};
constinit BoolSetting savePngBackground{"SaveOptions\\PNG\\Background", false};
constinit IntSetting savePngBackgroundIndex{"SaveOptions\\PNG\\Background Index", 0};
constinit IntSetting savePngBackgroundColor{"SaveOptions\\PNG\\Background Color", 0,
                                            IntegerFormat::Colour};

// Save options: PBMPlus (raw, binary data unless off)
constinit BoolSetting savePbmRawData{"SaveOptions\\PBM\\RawData", true};
constinit BoolSetting savePgmRawData{"SaveOptions\\PGM\\RawData", true};
constinit BoolSetting savePpmRawData{"SaveOptions\\PPM\\RawData", true};
constinit BoolSetting savePnmRawData{"SaveOptions\\PNM\\RawData", true};

// Save options: PSD, Sun raster, SGI, Targa
constinit BoolSetting savePsdEncode{"SaveOptions\\PSD\\Encode", true};
constinit BoolSetting saveRasEncode{"SaveOptions\\RAS\\Encode", false};
constinit BoolSetting saveSgiEncode{"SaveOptions\\SGI\\Encode", false};
constinit BoolSetting saveTgaEncode{"SaveOptions\\TGA\\Encode", false};
constinit BoolSetting saveTgaBottomToTop{"SaveOptions\\TGA\\BottomToTop", false};
constinit BoolSetting saveTgaRightToLeft{"SaveOptions\\TGA\\RightToLeft", false};
constinit IntSetting saveTgaInterlaceType{"SaveOptions\\TGA\\InterlaceType", 0};

// Save options: TIFF and XPM
constinit BoolSetting saveTiffByteOrder{"SaveOptions\\TIFF\\ByteOrder", false};
constinit IntSetting saveTiffStripSize{"SaveOptions\\TIFF\\StripSize", 3};
constinit IntSetting saveTiffCompressionBlackWhite{"SaveOptions\\TIFF\\Compression\\BlackWhite", 1};
constinit IntSetting saveTiffCompressionColor{"SaveOptions\\TIFF\\Compression\\Color", 1};
constinit IntSetting saveTiffPhotometric{"SaveOptions\\TIFF\\Photometric", 0};
constinit IntSetting saveTiffPredictor{"SaveOptions\\TIFF\\Predictor", 1};
constinit IntSetting saveTiffT4Options{"SaveOptions\\TIFF\\T4Options", 0};
constinit IntSetting saveTiffT6Options{"SaveOptions\\TIFF\\T6Options", 0};
constinit IntSetting saveXpmType{"SaveOptions\\XPM\\Type", 0};

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
    static const SettingRef list[] = {
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
        &ditherPalettePaletteType, &ditherPaletteDitherType, &dither16PaletteType,
        &dither16DitherType, &dither256PaletteType, &dither256DitherType,
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
        // Save options: bitmaps, icons, cursors and pointers
        &saveBmpEncode, &saveOs2BmpFormat, &saveOs2BmpEncode, &saveIconSize, &saveIconColorType,
        &saveIconTransparent, &saveCursorSize, &saveCursorColorType, &saveCursorTransparent,
        &saveOs2IconSize, &saveOs2IconColorType, &saveOs2IconTransparent, &saveOs2IconFormat,
        &saveOs2IconEncode, &saveOs2PointerSize, &saveOs2PointerColorType,
        &saveOs2PointerTransparent, &saveOs2PointerFormat, &saveOs2PointerEncode,
        // Save options: GIF
        &saveGifGif89a, &saveGifInterlace, &saveGifTransparent, &saveGifTransparentIndex,
        &saveGifBackground, &saveGifBackgroundIndex,
        // Save options: IFF, JFIF, OS/2 boot logo, PCX, Pictor, Softimage
        &saveIffEncode, &saveJfifQuality, &saveJfifSmooth, &saveJfifEntropy, &saveJfifProgressive,
        &saveJfifExif, &saveBootLogoWarp4, &saveBootLogoOptimize, &saveBootLogoDither,
        &savePcxEnable24bit, &savePictorEgaPalette, &saveSoftimageEncode,
        // Save options: PNG
        &savePngInterlace, &savePngHistogram, &savePngTime, &savePngTransparent,
        &savePngTransparentIndex, &savePngTransparentColor, &savePngBackground,
        &savePngBackgroundIndex, &savePngBackgroundColor,
        // Save options: PBMPlus (raw, binary data unless off)
        &savePbmRawData, &savePgmRawData, &savePpmRawData, &savePnmRawData,
        // Save options: PSD, Sun raster, SGI, Targa
        &savePsdEncode, &saveRasEncode, &saveSgiEncode, &saveTgaEncode, &saveTgaBottomToTop,
        &saveTgaRightToLeft, &saveTgaInterlaceType,
        // Save options: TIFF and XPM
        &saveTiffByteOrder, &saveTiffStripSize, &saveTiffCompressionBlackWhite,
        &saveTiffCompressionColor, &saveTiffPhotometric, &saveTiffPredictor, &saveTiffT4Options,
        &saveTiffT6Options, &saveXpmType,
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
    return list;
}

std::string_view settingKey(const SettingRef& setting) {
    return std::visit([](const auto* s) { return s->key(); }, setting);
}

const SettingRef* findSetting(std::string_view key) {
    for (const SettingRef& setting : allSettings())
        if (equalsIgnoringCase(settingKey(setting), key)) return &setting;
    return nullptr;
}

}  // namespace vivark::settings
