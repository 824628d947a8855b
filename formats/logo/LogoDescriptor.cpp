// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/logo/LogoFormat.h"

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
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveBootLogoWarp4{"SaveOptions\\OS/2 Boot Logo\\Warp4", true};
constinit BoolSetting saveBootLogoOptimize{"SaveOptions\\OS/2 Boot Logo\\Optimize", false};
constinit BoolSetting saveBootLogoDither{"SaveOptions\\OS/2 Boot Logo\\Dither", true};

const settings::SettingRef kSaveSettings[] = {&saveBootLogoWarp4, &saveBootLogoOptimize,
                                              &saveBootLogoDither};

constexpr ErrorMapping kBootLogoErrors[] = {
    errorMapping<LGOERROR, messageOf, 1>(),
};

}  // namespace

extern const FormatEntry bootLogoFormat;
constinit const FormatEntry bootLogoFormat{"OS/2 Boot Logo", makeTag("LOGO"), identifyBootLogo,
                                           nullptr,          kBootLogoErrors, {},
                                           kSaveSettings};

}  // namespace vivark
