// Every persistent option of the shell, one global Setting per key, and the
// list of all settings (these and the save options that the formats declare
// with their registry entries).
//
// Code reads and writes an option through its global, for example
// settings::viewFitImage.get(). The key paths, kinds and defaults are fixed
// here and nowhere else; the definitions (SettingKeys.cpp) say which
// defaults are choices of this system. Integer settings hold 32-bit values;
// enumerations hold the index of the choice in the dialog that sets them
// unless the component that reads them gives their values.
//
// The per-printer values ("Print\\Printers\\NAME\\LeftMargin" and the rest)
// depend on a printer's name and so are not globals here.
#pragma once

#include <span>
#include <string_view>
#include <variant>

#include "core/settings/Setting.h"

namespace vivark::settings {

// Window and viewer
extern IntSetting windowBackgroundColor;
extern BoolSetting windowShowBorders;
extern TextSetting windowSizeAndPosition;
extern BoolSetting titleBarVisible;
extern BoolSetting menuBarVisible;
extern BoolSetting statusBarVisible;
extern TextSetting statusBarFont;
extern BoolSetting scrollBarsVisible;
extern BoolSetting toolBarVisible;
extern IntSetting toolBarActiveTool;
extern BoolSetting imageInfoVisible;
extern BoolSetting trackInfoVisible;
extern IntSetting trackLeft;
extern IntSetting trackTop;
extern IntSetting trackWidth;
extern IntSetting trackHeight;
extern BoolSetting editMode;
extern BoolSetting undoEnabled;
extern BoolSetting dynamicIcon;
extern BoolSetting mouseWheelBrowse;
extern BoolSetting immediateDelete;
extern BoolSetting useWpsFileOps;
extern IntSetting defaultDropEffect;

// View and full screen
extern BoolSetting viewCenterImage;
extern BoolSetting viewFitImage;
extern IntSetting viewFitMode;
extern BoolSetting viewZoomLock;
extern BoolSetting fullscreenFitImage;
extern BoolSetting fullscreenCenterImage;
extern IntSetting fullscreenFitMode;
extern BoolSetting fullscreenShowPointer;

// Window placement
extern IntSetting posCtrlMode;
extern BoolSetting posCtrlAutosizeOnLoad;
extern BoolSetting posCtrlAutosizeOnEdit;
extern BoolSetting posCtrlExpandToDesktop;
extern BoolSetting posCtrlIgnoreTaskbar;
extern BoolSetting posCtrlAllowBorderEx;

// Display
extern BoolSetting displayResamplePixels;
extern IntSetting displayResampleMethod;
extern BoolSetting displayAdjustGamma;
extern RealSetting displayGamma;
extern BoolSetting displaySmoothScroll;
extern BoolSetting displayScrollAccel;
extern IntSetting displayScrollLatency;
extern IntSetting displayScrollSpeed;
extern BoolSetting paletteManager;
extern BoolSetting paletteOverrideSysColors;
extern BoolSetting paletteChangeClearsWindow;
extern BoolSetting countDeepColors;

// Loading
extern IntSetting loadingStartupMode;
extern IntSetting loadingWildcardBehavior;
extern BoolSetting loadingProgressive;
extern BoolSetting loadingAnimate;
extern BoolSetting loadingBeepOnError;
extern BoolSetting loadingLoadNextOnDelete;
extern BoolSetting fileOpenAutoChangeDir;
extern BoolSetting fileSaveAutoChangeDir;
extern TextSetting fileOpenState;
extern TextSetting fileSaveState;

// Directory sequencing
extern IntSetting sequencerSequence;
extern BoolSetting sequencerRefresh;
extern BoolSetting sequencerPreload;
extern BoolSetting sequencerWrap;

// Colour reduction for display
extern IntSetting dither16PaletteType;
extern IntSetting dither16DitherType;
extern IntSetting dither256PaletteType;
extern IntSetting dither256DitherType;

// Geometry
extern IntSetting resizeMode;
extern BoolSetting resizeLetterBox;
extern BoolSetting resizeProportional;
extern BoolSetting resizeResample;
extern IntSetting resolutionMode;
extern BoolSetting resolutionProportional;
extern BoolSetting rotateResample;

// Colour adjustment and filter dialogs (window placement and last choice)
extern TextSetting bccPosition;
extern TextSetting rgbPosition;
extern TextSetting solarizePosition;
extern TextSetting filterSelectedFilter;
extern TextSetting filterSizeAndPosition;

// Batch conversion
extern IntSetting converterFileType;
extern BoolSetting converterDeleteOriginal;
extern TextSetting converterSelectedScript;
extern TextSetting converterMruDirectoryList;
extern BoolSetting converterUseOriginalDir;
extern IntSetting moverActionIfExists;
extern BoolSetting moverSkipIfIdentical;

// Printing
extern IntSetting printUnit;
extern IntSetting printScaleMode;
extern BoolSetting printCenterImage;
extern IntSetting printOrientation;
extern IntSetting printCustomSize;
extern BoolSetting printDefaultToOneCopy;
extern TextSetting printPrinterName;

// Slideshow
extern BoolSetting slideshowFullScreen;
extern BoolSetting slideshowContinuousRun;
extern BoolSetting slideshowShowControl;
extern BoolSetting slideshowSwapButtons;
extern BoolSetting slideshowAutoScramble;
extern BoolSetting slideshowAutoStart;
extern BoolSetting slideshowCopyAll;
extern BoolSetting slideshowCopyUseTimer;
extern BoolSetting slideshowCopyDspTime;
extern BoolSetting slideshowCopyDspNotes;
extern BoolSetting slideshowCopyNoteText;
extern IntSetting slideshowDefaultDspTime;
extern BoolSetting slideshowDefaultUseTimer;
extern BoolSetting slideshowDefaultDspNotes;

// Scanning and capture
extern BoolSetting twainImageMemXfer;
extern BoolSetting twainFloatOnTop;
extern BoolSetting twainCloseUi;
extern BoolSetting twainUnloadLibrary;
extern IntSetting captureMethod;
extern IntSetting captureDelay;
extern IntSetting captureHotKey;
extern BoolSetting captureIncludePointer;
extern BoolSetting captureHideWindows;

// Miscellaneous
extern IntSetting thumbnailSize;
extern IntSetting tipOfDayShowTips;
extern IntSetting tipOfDayTip;
extern BoolSetting confirmDelete;
extern BoolSetting confirmImage;
extern BoolSetting confirmSlideshow;
extern BoolSetting confirmConvert;
extern BoolSetting priorityIdleTime;
// Every setting: those above, in the order of this file, then the save
// options of the save path and of every format (formats/SaveOptions.h).
std::span<const SettingRef> allSettings();

// The setting whose key path is `key`, ignoring ASCII case as the store does;
// nullptr when there is none.
const SettingRef* findSetting(std::string_view key);

}  // namespace vivark::settings
