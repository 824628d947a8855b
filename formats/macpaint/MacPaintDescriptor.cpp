// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/macpaint/MacPaintFormat.h"
#include "formats/macpaint/MacPaintReader.h"
#include "formats/macpaint/MacPaintWriter.h"

namespace vivark {
namespace {

MessageId messageOf(MACPERROR e) {
    switch (e) {
        case MACPERROR::Unknown:
            return msg::Unknown;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kMacPaintErrors[] = {
    errorMapping<MACPERROR, messageOf, 1>(),
};

const WriterEntry kMacPaintWriters[] = {
    {"MacPaint",
     {"macpaint", "mac"},
     {"mac", "pntg", "macp"},
     makeTag("PNTG"),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeMacPaint,
     {},
     0,
     nullptr,
     kMacPaintWidth,
     kMacPaintHeight},
};

}  // namespace

extern const FormatEntry macPaintFormat;
constinit const FormatEntry macPaintFormat{"MacPaint",
                                           makeTag("PNTG"),
                                           identifyMacPaint,
                                           makeMacPaintReader,
                                           kMacPaintErrors,
                                           kMacPaintWriters,
                                           {}};

}  // namespace vivark
