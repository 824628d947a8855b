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
    errorMapping<FAX3WRITEERROR, messageOf, 1>(),
};

const WriterEntry kSffWriters[] = {
    {"Structured Fax File",
     {"sff"},
     {"sff"},
     makeTag("SFF "),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeSff,
     {},
     kKeepsPages,
     writeSffPages},
};

const WriterEntry kFax3Writers[] = {
    {"CCITT Group 3 Facsimile",
     {"g3", "fax"},
     {"g3", "fax"},
     makeTag("FAX3"),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeFax3},
};

constexpr ErrorMapping kFax3Errors[] = {
    errorMapping<FAX3ERROR, messageOf, 2>(),
    errorMapping<FAX3WRITEERROR, messageOf, 1>(),
};

}  // namespace

extern const FormatEntry sffFormat;
constinit const FormatEntry sffFormat{"Structured Fax File",
                                      makeTag("SFF "),
                                      identifySff,
                                      makeSffReader,
                                      kSffErrors,
                                      kSffWriters,
                                      {}};

extern const FormatEntry fax3Format;
constinit const FormatEntry fax3Format{"CCITT Group 3 Facsimile",
                                       makeTag("FAX3"),
                                       identifyFax3,
                                       makeFax3Reader,
                                       kFax3Errors,
                                       kFax3Writers,
                                       {}};

}  // namespace vivark
