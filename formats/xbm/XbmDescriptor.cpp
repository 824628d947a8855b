// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/xbm/XbmFormat.h"
#include "formats/xbm/XbmReader.h"
#include "formats/xbm/XbmWriter.h"

namespace vivark {
namespace {

MessageId messageOf(XBMERROR e) {
    switch (e) {
        case XBMERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

MessageId messageOf(XPMERROR e) {
    switch (e) {
        case XPMERROR::Unknown:
            return msg::Unknown;
        case XPMERROR::BadHeader:
            return msg::XpmHeader;
        case XPMERROR::BadColourMap:
            return msg::XpmColourMap;
        case XPMERROR::UnknownColour:
            return msg::XpmUnknownColour;
        case XPMERROR::UnknownPixel:
            return msg::XpmUnknownPixel;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit IntSetting saveXpmType{"SaveOptions\\XPM\\Type", 0};

const settings::SettingRef kSaveSettings[] = {&saveXpmType};

constexpr ErrorMapping kXpmErrors[] = {
    errorMapping<XPMERROR, messageOf, 5>(),
};

constexpr ErrorMapping kXbmErrors[] = {
    errorMapping<XBMERROR, messageOf, 1>(),
};

const WriterEntry kXpmWriters[] = {
    {"X Pixmap", {"xpm"}, {"xpm"}, makeTag("XPM "), depthSet({1, 4, 8}), ColourNeed::Any, writeXpm},
};

const WriterEntry kXbmWriters[] = {
    {"X Bitmap",
     {"xbm"},
     {"xbm"},
     makeTag("XBM "),
     depthSet({1, 4, 8}),
     ColourNeed::BlackAndWhite,
     writeXbm},
};

}  // namespace

extern const FormatEntry xpmFormat;
constinit const FormatEntry xpmFormat{"X Pixmap", makeTag("XPM "), identifyXpm,  makeXpmReader,
                                      kXpmErrors, kXpmWriters,     kSaveSettings};

extern const FormatEntry xbmFormat;
constinit const FormatEntry xbmFormat{"X Bitmap", makeTag("XBM "), identifyXbm, makeXbmReader,
                                      kXbmErrors, kXbmWriters,     {}};

}  // namespace vivark
