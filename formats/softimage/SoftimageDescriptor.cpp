// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/softimage/SoftimageFormat.h"
#include "formats/softimage/SoftimageReader.h"
#include "formats/softimage/SoftimageWriter.h"

namespace vivark {
namespace {

MessageId messageOf(PICSERROR e) {
    switch (e) {
        case PICSERROR::BadMagic:
            return msg::InvalidFile;
        case PICSERROR::BadHeader:
            return msg::InvalidFile;
        case PICSERROR::BadChannels:
            return msg::InvalidFile;
        case PICSERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

using settings::BoolSetting;

constinit BoolSetting saveSoftimageEncode{"SaveOptions\\Softimage PIC\\Encode", true};

const settings::SettingRef kSaveSettings[] = {&saveSoftimageEncode};

constexpr ErrorMapping kSoftimageErrors[] = {
    errorMapping<PICSERROR, messageOf, 4>(),
};

const WriterEntry kSoftimageWriters[] = {
    {"Softimage Picture",
     {"softimage", "si"},
     {"si", "pic"},
     makeTag("PICS"),
     depthSet({24}),
     ColourNeed::Any,
     writeSoftimage,
     {},
     kKeepsAlpha},
};

}  // namespace

extern const FormatEntry softimageFormat;
constinit const FormatEntry softimageFormat{
    "Softimage Picture", makeTag("PICS"),   identifySoftimage, makeSoftimageReader,
    kSoftimageErrors,    kSoftimageWriters, kSaveSettings};

}  // namespace vivark
