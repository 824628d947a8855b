// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/ras/RasFormat.h"
#include "formats/ras/RasReader.h"
#include "formats/ras/RasWriter.h"

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

const WriterEntry kSunRasterWriters[] = {
    {"Sun Raster",
     {"ras", "sun"},
     {"ras", "sun", "rs"},
     makeTag("RAS "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeSunRaster},
};

}  // namespace

extern const FormatEntry sunRasterFormat;
constinit const FormatEntry sunRasterFormat{
    "Sun Raster",     makeTag("RAS "),   identifySunRaster, makeSunRasterReader,
    kSunRasterErrors, kSunRasterWriters, kSaveSettings};

}  // namespace vivark
