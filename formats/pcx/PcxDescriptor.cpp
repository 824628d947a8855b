// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/pcx/PcxFormat.h"
#include "formats/pcx/PcxReader.h"
#include "formats/pcx/PcxWriter.h"

namespace vivark {
namespace {

MessageId messageOf(PCXERROR e) {
    switch (e) {
        case PCXERROR::InvalidFile:
            return msg::InvalidFile;
        case PCXERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting savePcxEnable24bit{"SaveOptions\\PCX\\Enable24bit", false};

const settings::SettingRef kSaveSettings[] = {&savePcxEnable24bit};

constexpr ErrorMapping kPcxErrors[] = {
    errorMapping<PCXERROR, messageOf, 2>(),
};

const WriterEntry kPcxWriters[] = {
    {"ZSoft Paintbrush",
     {"pcx"},
     {"pcx"},
     makeTag("PCX "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writePcx,
     saveKey::PcxEnable24bit},
};

constexpr ErrorMapping kDcxErrors[] = {
    errorMapping<PCXERROR, messageOf, 2>(),
};

const WriterEntry kDcxWriters[] = {
    {"DCA/Intel DCX",
     {"dcx"},
     {"dcx"},
     makeTag("DCX "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeDcx,
     saveKey::PcxEnable24bit},
};

}  // namespace

extern const FormatEntry pcxFormat;
constinit const FormatEntry pcxFormat{"ZSoft Paintbrush", makeTag("PCX "), identifyPcx,
                                      makePcxReader,      kPcxErrors,      kPcxWriters,
                                      kSaveSettings};

extern const FormatEntry dcxFormat;
constinit const FormatEntry dcxFormat{"DCA/Intel DCX", makeTag("DCX "), identifyDcx, makeDcxReader,
                                      kDcxErrors,      kDcxWriters,     {}};

}  // namespace vivark
