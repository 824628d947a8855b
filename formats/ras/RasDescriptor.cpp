// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/ras/RasFormat.h"

namespace vivark {
namespace {

MessageId messageOf(RASERROR e) {
    switch (e) {
        case RASERROR::UnsupportedDepth:
            return msg::UnsupportedBitCount;
        case RASERROR::UnsupportedType:
            return msg::RasType;
        case RASERROR::UnsupportedMapType:
            return msg::RasMapType;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveRasEncode{"SaveOptions\\RAS\\Encode", false};

const settings::SettingRef kSaveSettings[] = {&saveRasEncode};

constexpr ErrorMapping kSunRasterErrors[] = {
    errorMapping<RASERROR, messageOf, 3>(),
};

}  // namespace

extern const FormatEntry sunRasterFormat;
constinit const FormatEntry sunRasterFormat{
    "Sun Raster", makeTag("RAS "), identifySunRaster, nullptr, kSunRasterErrors, {}, kSaveSettings};

}  // namespace vivark
