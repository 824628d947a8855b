// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/pictor/PictorFormat.h"
#include "formats/pictor/PictorReader.h"
#include "formats/pictor/PictorWriter.h"

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

constinit BoolSetting savePictorEgaPalette{"SaveOptions\\PC Paint/Pictor\\EGA Palette", false};

const settings::SettingRef kSaveSettings[] = {&savePictorEgaPalette};

constexpr ErrorMapping kPictorErrors[] = {
    errorMapping<PICERROR, messageOf, 3>(),
};

const WriterEntry kPictorWriters[] = {
    {"PC Paint/Pictor",
     {"pictor", "pcpaint"},
     {"pic"},
     makeTag("PIC "),
     depthSet({1, 4, 8}),
     ColourNeed::Any,
     writePictor},
};

}  // namespace

extern const FormatEntry pictorFormat;
constinit const FormatEntry pictorFormat{"PC Paint/Pictor", makeTag("PIC "), identifyPictor,
                                         makePictorReader,  kPictorErrors,   kPictorWriters,
                                         kSaveSettings};

}  // namespace vivark
