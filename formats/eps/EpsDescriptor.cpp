// The registry entry of Encapsulated PostScript: written only, so it takes no
// part in probing and has no reader; its writer and save settings.
#include "formats/FormatTable.h"
#include "formats/eps/EpsFormat.h"
#include "formats/eps/EpsWriter.h"

namespace vivark {
namespace {

using settings::IntSetting;

constinit IntSetting saveEpsCompression{"SaveOptions\\EPS\\Compression", 0};
constinit IntSetting saveEpsPreview{"SaveOptions\\EPS\\Preview", 0};

const settings::SettingRef kSaveSettings[] = {&saveEpsCompression, &saveEpsPreview};

const WriterEntry kEpsWriters[] = {
    {"Encapsulated Postscript",
     {"eps", "epsf"},
     {"eps", "epsf", "epi"},
     makeTag("EPS "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeEps},
};

}  // namespace

extern const FormatEntry epsFormat;
constinit const FormatEntry epsFormat{
    "Encapsulated Postscript", makeTag("EPS "), nullptr, nullptr, {}, kEpsWriters, kSaveSettings};

}  // namespace vivark
