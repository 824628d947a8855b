// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/pictor/PictorFormat.h"

namespace vivark {
namespace {

MessageId messageOf(PICERROR e) {
    switch (e) {
        case PICERROR::DataIntegrity:
            return msg::DataIntegrity;
        case PICERROR::InvalidFile:
            return msg::InvalidFile;
        case PICERROR::ColourMapTooLarge:
            return msg::ColourMapTooLarge;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting savePictorEgaPalette{"SaveOptions\\PC Paint/Pictor\\EGA Palette", false};

const settings::SettingRef kSaveSettings[] = {&savePictorEgaPalette};

constexpr ErrorMapping kPictorErrors[] = {
    errorMapping<PICERROR, messageOf, 3>(),
};

}  // namespace

extern const FormatEntry pictorFormat;
constinit const FormatEntry pictorFormat{
    "PC Paint/Pictor", makeTag("PIC "), identifyPictor, nullptr, kPictorErrors, {}, kSaveSettings};

}  // namespace vivark
