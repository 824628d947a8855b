// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/softimage/SoftimageFormat.h"

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
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveSoftimageEncode{"SaveOptions\\Softimage PIC\\Encode", true};

const settings::SettingRef kSaveSettings[] = {&saveSoftimageEncode};

constexpr ErrorMapping kSoftimageErrors[] = {
    errorMapping<PICSERROR, messageOf, 4>(),
};

}  // namespace

extern const FormatEntry softimageFormat;
constinit const FormatEntry softimageFormat{
    "Softimage Picture", makeTag("PICS"), identifySoftimage, nullptr, kSoftimageErrors, {},
    kSaveSettings};

}  // namespace vivark
