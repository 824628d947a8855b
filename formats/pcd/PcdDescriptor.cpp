// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/pcd/PcdFormat.h"
#include "formats/pcd/PcdReader.h"

namespace vivark {

namespace settings {
constinit IntSetting photoCdResolution{"LoadOptions\\PhotoCD\\Resolution", 2};
constinit BoolSetting photoCdAskForResolution{"LoadOptions\\PhotoCD\\AskForResolution", true};
}  // namespace settings
namespace {

MessageId messageOf(PCDERROR e) {
    switch (e) {
        case PCDERROR::DataIntegrity:
            return msg::DataIntegrity;
        case PCDERROR::BadLineLength:
            return msg::PcdBase + 1;
        case PCDERROR::BadLineTag:
            return msg::PcdBase + 2;
        case PCDERROR::BadLineNumber:
            return msg::PcdBase + 3;
        case PCDERROR::MissingSync:
            return msg::PcdBase + 4;
        case PCDERROR::BadHuffmanTable:
            return msg::PcdBase + 5;
        case PCDERROR::MissingLuminance:
            return msg::PcdBase + 6;
        case PCDERROR::BadDescriptorCount:
            return msg::PcdBase + 7;
        case PCDERROR::BadFileNameCount:
            return msg::PcdBase + 8;
        case PCDERROR::BadFileCount:
            return msg::PcdBase + 9;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kPcdErrors[] = {
    errorMapping<PCDERROR, messageOf, 10>(),
};

}  // namespace

extern const FormatEntry pcdFormat;
constinit const FormatEntry pcdFormat{
    "Kodak Photo CD", makeTag("PCD "), identifyPcd, makePcdReader, kPcdErrors, {}, {}};

}  // namespace vivark
