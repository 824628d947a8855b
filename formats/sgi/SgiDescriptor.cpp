// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/sgi/SgiFormat.h"
#include "formats/sgi/SgiReader.h"
#include "formats/sgi/SgiWriter.h"

namespace vivark {
namespace {

MessageId messageOf(SGIERROR e) {
    switch (e) {
        case SGIERROR::InvalidFile:
            return msg::InvalidFile;
        case SGIERROR::DataIntegrity:
            return msg::DataIntegrity;
        case SGIERROR::ColourMapOnly:
            return msg::SgiMapOnly;
        case SGIERROR::UnsupportedColourType:
            return msg::SgiColourType;
        case SGIERROR::UnsupportedStorage:
            return msg::SgiStorage;
        case SGIERROR::UnsupportedChannelSize:
            return msg::SgiChannelSize;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveSgiEncode{"SaveOptions\\SGI\\Encode", false};

const settings::SettingRef kSaveSettings[] = {&saveSgiEncode};

constexpr ErrorMapping kSgiErrors[] = {
    errorMapping<SGIERROR, messageOf, 6>(),
};

const WriterEntry kSgiWriters[] = {
    {"SGI Image File Format",
     {"sgi"},
     {"sgi", "rgb", "rgba", "bw"},
     makeTag("SGI "),
     depthSet({8, 24}),
     ColourNeed::Any,
     writeSgi,
     {},
     kKeepsAlpha},
};

}  // namespace

extern const FormatEntry sgiFormat;
constinit const FormatEntry sgiFormat{"SGI Image File Format",
                                      makeTag("SGI "),
                                      identifySgi,
                                      makeSgiReader,
                                      kSgiErrors,
                                      kSgiWriters,
                                      kSaveSettings};

}  // namespace vivark
