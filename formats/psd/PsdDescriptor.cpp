// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/psd/PsdFormat.h"
#include "formats/psd/PsdReader.h"
#include "formats/psd/PsdWriter.h"

namespace vivark {
namespace {

MessageId messageOf(PSDERROR e) {
    switch (e) {
        case PSDERROR::DataIntegrity:
            return msg::DataIntegrity;
        case PSDERROR::UnsupportedDepth:
            return msg::PsdDepth;
        case PSDERROR::UnsupportedColourMode:
            return msg::PsdColourMode;
        case PSDERROR::UnsupportedCompression:
            return msg::PsdCompression;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting savePsdEncode{"SaveOptions\\PSD\\Encode", true};

const settings::SettingRef kSaveSettings[] = {&savePsdEncode};

constexpr ErrorMapping kPsdErrors[] = {
    errorMapping<PSDERROR, messageOf, 4>(),
};

const WriterEntry kPsdWriters[] = {
    {"Adobe Photoshop Document",
     {"psd", "photoshop"},
     {"psd"},
     makeTag("PSD "),
     depthSet({8, 24}),
     ColourNeed::Any,
     writePsd,
     {},
     kKeepsAlpha},
};

}  // namespace

extern const FormatEntry psdFormat;
constinit const FormatEntry psdFormat{"Adobe Photoshop Document",
                                      makeTag("PSD "),
                                      identifyPsd,
                                      makePsdReader,
                                      kPsdErrors,
                                      kPsdWriters,
                                      kSaveSettings};

}  // namespace vivark
