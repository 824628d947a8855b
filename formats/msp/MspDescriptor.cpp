// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/msp/MspFormat.h"
#include "formats/msp/MspReader.h"
#include "formats/msp/MspWriter.h"

namespace vivark {
namespace {

MessageId messageOf(MSPERROR e) {
    switch (e) {
        case MSPERROR::NotMsp:
            return msg::MspNotMsp;
        case MSPERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kMspErrors[] = {
    errorMapping<MSPERROR, messageOf, 2>(),
};

const WriterEntry kMspWriters[] = {
    {"Microsoft Paint",
     {"msp"},
     {"msp"},
     makeTag("MSP "),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeMsp},
};

}  // namespace

extern const FormatEntry mspFormat;
constinit const FormatEntry mspFormat{
    "Microsoft Paint", makeTag("MSP "), identifyMsp, makeMspReader, kMspErrors, kMspWriters, {}};

}  // namespace vivark
