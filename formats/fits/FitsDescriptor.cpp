// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/fits/FitsFormat.h"
#include "formats/fits/FitsReader.h"
#include "formats/fits/FitsWriter.h"

namespace vivark {
namespace {

MessageId messageOf(FITSERROR e) {
    switch (e) {
        case FITSERROR::Unknown:
            return msg::Unknown;
        case FITSERROR::UnsupportedNaxis:
            return msg::FitsNaxis;
        case FITSERROR::UnsupportedNaxisN:
            return msg::FitsNaxis;
        case FITSERROR::UnsupportedBitpix:
            return msg::FitsBitpix;
        case FITSERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kFitsErrors[] = {
    errorMapping<FITSERROR, messageOf, 5>(),
};

const WriterEntry kFitsWriters[] = {
    {"Flexible Image Transport System",
     {"fits", "fit"},
     {"fits", "fit", "fts"},
     makeTag("FITS"),
     depthSet({8, 24}),
     ColourNeed::Any,
     writeFits},
};

}  // namespace

extern const FormatEntry fitsFormat;
constinit const FormatEntry fitsFormat{"Flexible Image Transport System",
                                       makeTag("FITS"),
                                       identifyFits,
                                       makeFitsReader,
                                       kFitsErrors,
                                       kFitsWriters,
                                       {}};

}  // namespace vivark
