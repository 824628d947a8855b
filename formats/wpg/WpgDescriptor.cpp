// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/wpg/WpgFormat.h"
#include "formats/wpg/WpgReader.h"
#include "formats/wpg/WpgWriter.h"

namespace vivark {
namespace {

MessageId messageOf(WPGERROR e) {
    switch (e) {
        case WPGERROR::Unknown:
            return msg::Unknown;
        case WPGERROR::InvalidFile:
            return msg::InvalidFile;
        case WPGERROR::NoRaster:
            return msg::WpgNoRaster;
        case WPGERROR::DataIntegrity:
            return msg::DataIntegrity;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kWpgErrors[] = {
    errorMapping<WPGERROR, messageOf, 4>(),
};

const WriterEntry kWpgWriters[] = {
    {"WordPerfect Graphics",
     {"wpg"},
     {"wpg"},
     makeTag("WPG "),
     depthSet({1, 4, 8}),
     ColourNeed::Any,
     writeWpg},
};

}  // namespace

extern const FormatEntry wpgFormat;
constinit const FormatEntry wpgFormat{"WordPerfect Graphics",
                                      makeTag("WPG "),
                                      identifyWpg,
                                      makeWpgReader,
                                      kWpgErrors,
                                      kWpgWriters,
                                      {}};

}  // namespace vivark
