// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/tga/TgaFormat.h"
#include "formats/tga/TgaReader.h"
#include "formats/tga/TgaWriter.h"

namespace vivark {
namespace {

MessageId messageOf(TGAERROR e) {
    switch (e) {
        case TGAERROR::UnsupportedMapFormat:
            return msg::TgaMapFormat;
        case TGAERROR::DataIntegrity:
            return msg::DataIntegrity;
        case TGAERROR::InvalidFile:
            return msg::InvalidFile;
        case TGAERROR::ColourMapTooLarge:
            return msg::ColourMapTooLarge;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveTgaEncode{"SaveOptions\\TGA\\Encode", false};
constinit BoolSetting saveTgaBottomToTop{"SaveOptions\\TGA\\BottomToTop", false};
constinit BoolSetting saveTgaRightToLeft{"SaveOptions\\TGA\\RightToLeft", false};
constinit IntSetting saveTgaInterlaceType{"SaveOptions\\TGA\\InterlaceType", 0};

const settings::SettingRef kSaveSettings[] = {&saveTgaEncode, &saveTgaBottomToTop,
                                              &saveTgaRightToLeft, &saveTgaInterlaceType};

constexpr ErrorMapping kTgaErrors[] = {
    errorMapping<TGAERROR, messageOf, 4>(),
};

const WriterEntry kTgaWriters[] = {
    {"Truevision Targa",
     {"tga", "targa"},
     {"tga"},
     makeTag("TGA "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeTga,
     {},
     kKeepsAlpha},
};

}  // namespace

extern const FormatEntry tgaFormat;
constinit const FormatEntry tgaFormat{"Truevision Targa", makeTag("TGA "), identifyTga,
                                      makeTgaReader,      kTgaErrors,      kTgaWriters,
                                      kSaveSettings};

}  // namespace vivark
