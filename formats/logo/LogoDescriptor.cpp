// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/logo/LogoFormat.h"
#include "formats/logo/LogoReader.h"
#include "formats/logo/LogoWriter.h"

namespace vivark {
namespace {

MessageId messageOf(LGOERROR e) {
    switch (e) {
        case LGOERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

using settings::BoolSetting;

constinit BoolSetting saveBootLogoWarp4{"SaveOptions\\OS/2 Boot Logo\\Warp4", true};
constinit BoolSetting saveBootLogoOptimize{"SaveOptions\\OS/2 Boot Logo\\Optimize", false};
constinit BoolSetting saveBootLogoDither{"SaveOptions\\OS/2 Boot Logo\\Dither", true};

const settings::SettingRef kSaveSettings[] = {&saveBootLogoWarp4, &saveBootLogoOptimize,
                                              &saveBootLogoDither};

constexpr ErrorMapping kBootLogoErrors[] = {
    errorMapping<LGOERROR, messageOf, 1>(),
};

const WriterEntry kBootLogoWriters[] = {
    {"OS/2 Boot Logo",
     {"logo", "os2logo"},
     {"lgo"},
     makeTag("LOGO"),
     depthSet({24}),
     ColourNeed::Any,
     writeBootLogo},
};

}  // namespace

extern const FormatEntry bootLogoFormat;
constinit const FormatEntry bootLogoFormat{"OS/2 Boot Logo",   makeTag("LOGO"), identifyBootLogo,
                                           makeBootLogoReader, kBootLogoErrors, kBootLogoWriters,
                                           kSaveSettings};

}  // namespace vivark
