// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/fax/FaxFormat.h"

namespace vivark {
namespace {

MessageId messageOf(FAX3ERROR e) {
    switch (e) {
        case FAX3ERROR::Unknown:
            return msg::Unknown;
        case FAX3ERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

MessageId messageOf(SFFERROR e) {
    switch (e) {
        case SFFERROR::InvalidFile:
            return msg::InvalidFile;
        case SFFERROR::DataIntegrity:
            return msg::DataIntegrity;
        case SFFERROR::NoPageHeader:
            return msg::SffNoPageHeader;
        case SFFERROR::UnknownCoding:
            return msg::SffCoding;
    }
    return msg::Unknown;
}

MessageId messageOf(FAX3WRITEERROR e) {
    switch (e) {
        case FAX3WRITEERROR::Unknown:
            return msg::Unknown;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kSffErrors[] = {
    errorMapping<SFFERROR, messageOf, 4>(),
};

constexpr ErrorMapping kFax3Errors[] = {
    errorMapping<FAX3ERROR, messageOf, 2>(),
    errorMapping<FAX3WRITEERROR, messageOf, 1>(),
};

}  // namespace

extern const FormatEntry sffFormat;
constinit const FormatEntry sffFormat{
    "Structured Fax File", makeTag("SFF "), identifySff, nullptr, kSffErrors, {}, {}};

extern const FormatEntry fax3Format;
constinit const FormatEntry fax3Format{
    "CCITT Group 3 Facsimile", makeTag("FAX3"), identifyFax3, nullptr, kFax3Errors, {}, {}};

}  // namespace vivark
