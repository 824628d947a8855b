// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/bmp/BmpIconWriter.h"
#include "formats/bmp/BmpReader.h"
#include "formats/bmp/BmpWriter.h"

namespace vivark {
namespace {

MessageId messageOf(BMPERROR e) {
    switch (e) {
        case BMPERROR::InvalidFile:
            return msg::InvalidFile;
        case BMPERROR::DataIntegrity:
            return msg::DataIntegrity;
        case BMPERROR::DataOverrun:
            return msg::BmpOverrun;
        case BMPERROR::UnsupportedCompression:
            return msg::UnsupportedCompression;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

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

const settings::SettingRef kSaveSettings[] = {&saveBmpEncode,
                                              &saveOs2BmpFormat,
                                              &saveOs2BmpEncode,
                                              &saveIconSize,
                                              &saveIconColorType,
                                              &saveIconTransparent,
                                              &saveCursorSize,
                                              &saveCursorColorType,
                                              &saveCursorTransparent,
                                              &saveOs2IconSize,
                                              &saveOs2IconColorType,
                                              &saveOs2IconTransparent,
                                              &saveOs2IconFormat,
                                              &saveOs2IconEncode,
                                              &saveOs2PointerSize,
                                              &saveOs2PointerColorType,
                                              &saveOs2PointerTransparent,
                                              &saveOs2PointerFormat,
                                              &saveOs2PointerEncode};

constexpr ErrorMapping kBmpErrors[] = {
    errorMapping<BMPERROR, messageOf, 4>(),
};

const WriterEntry kBmpWriters[] = {
    {"Windows Bitmap",
     {"bmp", "windows-bitmap"},
     {"bmp", "dib"},
     makeTag("BMPW"),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeWindowsBitmap},
    {"OS/2 Bitmap",
     {"os2bmp", "os2-bitmap"},
     {},
     makeTag("BMP "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeOs2Bitmap},
    // An icon's mask keeps a transparent index, and its pages are its
    // pictures; only a Windows entry of 32 bits keeps an alpha channel.
    {"Windows Icon",
     {"ico", "windows-icon"},
     {"ico"},
     makeTag("ICOW"),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeWindowsIcon,
     {},
     kKeepsAlpha | kKeepsTransparentIndex | kKeepsPages,
     writeWindowsIconPages},
    {"Windows Cursor",
     {"cur", "windows-cursor"},
     {"cur"},
     makeTag("CUR "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeWindowsCursor,
     {},
     kKeepsAlpha | kKeepsTransparentIndex | kKeepsPages,
     writeWindowsCursorPages},
    // A name ending in ".ico" means a Windows icon; OS/2 icons are asked for
    // by name.
    {"OS/2 Icon",
     {"os2ico", "os2-icon"},
     {},
     makeTag("ICO "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeOs2Icon,
     {},
     kKeepsTransparentIndex | kKeepsPages,
     writeOs2IconPages},
    {"OS/2 Pointer",
     {"os2ptr", "os2-pointer"},
     {"ptr"},
     makeTag("PTR "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeOs2Pointer,
     {},
     kKeepsTransparentIndex | kKeepsPages,
     writeOs2PointerPages},
};

}  // namespace

extern const FormatEntry bmpFormat;
constinit const FormatEntry bmpFormat{"Windows and OS/2 bitmaps, icons, cursors and pointers",
                                      makeTag("BMP "),
                                      identifyBmp,
                                      makeBmpReader,
                                      kBmpErrors,
                                      kBmpWriters,
                                      kSaveSettings};

}  // namespace vivark
