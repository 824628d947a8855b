// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/iff/IffFormat.h"
#include "formats/iff/IffReader.h"
#include "formats/iff/IffWriter.h"

namespace vivark {
namespace {

MessageId messageOf(IFFERROR e) {
    switch (e) {
        case IFFERROR::NotIff:
            return msg::IffFirst + 0;
        case IFFERROR::NotForm:
            return msg::IffFirst + 1;
        case IFFERROR::UnknownSubtype:
            return msg::IffFirst + 2;
        case IFFERROR::UnknownMask:
            return msg::IffFirst + 3;
        case IFFERROR::UnknownCompression:
            return msg::IffFirst + 4;
        case IFFERROR::UnknownPchgCompression:
            return msg::IffFirst + 5;
        case IFFERROR::PchgTooShort:
            return msg::IffFirst + 6;
        case IFFERROR::UnsupportedPchg:
            return msg::IffFirst + 7;
        case IFFERROR::ChunkTooShort:
            return msg::IffFirst + 8;
        case IFFERROR::NoBody:
            return msg::IffFirst + 9;
        case IFFERROR::NoBmhd:
            return msg::IffFirst + 10;
        case IFFERROR::UnsupportedPlanes:
            return msg::IffFirst + 11;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveIffEncode{"SaveOptions\\IFF\\Encode", false};

const settings::SettingRef kSaveSettings[] = {&saveIffEncode};

constexpr ErrorMapping kIffErrors[] = {
    errorMapping<IFFERROR, messageOf, 12>(),
};

const WriterEntry kIffWriters[] = {
    {"Electronic Arts IFF",
     {"iff", "ilbm"},
     {"iff", "ilbm", "lbm"},
     makeTag("IFF "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeIff,
     {},
     kKeepsTransparentIndex},
};

}  // namespace

extern const FormatEntry iffFormat;
constinit const FormatEntry iffFormat{"Electronic Arts IFF", makeTag("IFF "), identifyIff,
                                      makeIffReader,         kIffErrors,      kIffWriters,
                                      kSaveSettings};

}  // namespace vivark
