// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/png/PngFormat.h"
#include "formats/png/PngReader.h"
#include "formats/png/PngWriter.h"

namespace vivark {
namespace {

MessageId messageOf(PNGERROR e) {
    switch (e) {
        case PNGERROR::NotPng:
            return msg::PngFirst + 0;
        case PNGERROR::BadCrc:
            return msg::PngFirst + 1;
        case PNGERROR::BadIhdrLength:
            return msg::PngFirst + 2;
        case PNGERROR::ZeroSize:
            return msg::PngFirst + 3;
        case PNGERROR::UnknownCompression:
            return msg::PngFirst + 4;
        case PNGERROR::UnknownInterlace:
            return msg::PngFirst + 5;
        case PNGERROR::BadBitDepth:
            return msg::PngFirst + 6;
        case PNGERROR::BadColourType:
            return msg::PngFirst + 7;
        case PNGERROR::BadPlteLength:
            return msg::PngFirst + 8;
        case PNGERROR::MultipleIhdr:
            return msg::PngFirst + 9;
        case PNGERROR::MultiplePlte:
            return msg::PngFirst + 10;
        case PNGERROR::MultipleGama:
            return msg::PngFirst + 11;
        case PNGERROR::UnknownFilterType:
            return msg::PngFirst + 12;
        case PNGERROR::UnknownFilterMethod:
            return msg::PngFirst + 13;
        case PNGERROR::MissingIhdr:
            return msg::PngFirst + 14;
        case PNGERROR::MissingPlte:
            return msg::PngFirst + 15;
        case PNGERROR::MissingIdat:
            return msg::PngFirst + 16;
        case PNGERROR::BadIdatLength:
            return msg::PngFirst + 17;
        case PNGERROR::UnexpectedIdat:
            return msg::PngFirst + 18;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

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

const settings::SettingRef kSaveSettings[] = {
    &savePngInterlace,   &savePngHistogram,        &savePngTime,
    &savePngTransparent, &savePngTransparentIndex, &savePngTransparentColor,
    &savePngBackground,  &savePngBackgroundIndex,  &savePngBackgroundColor};

constexpr ErrorMapping kPngErrors[] = {
    errorMapping<PNGERROR, messageOf, 19>(),
};

const WriterEntry kPngWriters[] = {
    {"Portable Network Graphics",
     {"png"},
     {"png"},
     makeTag("PNG "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writePng,
     {},
     kKeepsAlpha | kKeepsTransparentIndex},
};

}  // namespace

extern const FormatEntry pngFormat;
constinit const FormatEntry pngFormat{"Portable Network Graphics",
                                      makeTag("PNG "),
                                      identifyPng,
                                      makePngReader,
                                      kPngErrors,
                                      kPngWriters,
                                      kSaveSettings};

}  // namespace vivark
