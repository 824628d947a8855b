// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/xwd/XwdFormat.h"
#include "formats/xwd/XwdReader.h"
#include "formats/xwd/XwdWriter.h"

namespace vivark {
namespace {

MessageId messageOf(XWDERROR e) {
    switch (e) {
        case XWDERROR::BadImageData:
            return msg::XwdImageData;
        case XWDERROR::UnknownByteOrder:
            return msg::XwdByteOrder;
        case XWDERROR::UnknownBitOrder:
            return msg::XwdBitOrder;
        case XWDERROR::UnsupportedUnit:
            return msg::XwdUnit;
        case XWDERROR::UnsupportedDepth:
            return msg::UnsupportedBitCount;
        case XWDERROR::UnsupportedFormat:
            return msg::XwdFormat;
        case XWDERROR::BadBitmask:
            return msg::XwdBitmask;
        case XWDERROR::ColourMapTooLarge:
            return msg::ColourMapTooLarge;
        case XWDERROR::MissingColourMap:
            return msg::XwdNoColourMap;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kXwdErrors[] = {
    errorMapping<XWDERROR, messageOf, 9>(),
};

const WriterEntry kXwdWriters[] = {
    {"X Window Dump",
     {"xwd"},
     {"xwd"},
     makeTag("XWD "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeXwd},
};

}  // namespace

extern const FormatEntry xwdFormat;
constinit const FormatEntry xwdFormat{"X Window Dump", makeTag("XWD "), identifyXwd, makeXwdReader,
                                      kXwdErrors,      kXwdWriters,     {}};

}  // namespace vivark
