// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/wbmp/WbmpFormat.h"
#include "formats/wbmp/WbmpReader.h"
#include "formats/wbmp/WbmpWriter.h"

namespace vivark {
namespace {

MessageId messageOf(WBMPERROR e) {
    switch (e) {
        case WBMPERROR::InvalidFile:
            return msg::InvalidFile;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kWbmpErrors[] = {
    errorMapping<WBMPERROR, messageOf, 1>(),
};

const WriterEntry kWbmpWriters[] = {
    {"WAP Bitmap",
     {"wbmp"},
     {"wbmp", "wbm"},
     makeTag("WBMP"),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeWbmp},
};

}  // namespace

extern const FormatEntry wbmpFormat;
constinit const FormatEntry wbmpFormat{
    "WAP Bitmap", makeTag("WBMP"), identifyWbmp, makeWbmpReader, kWbmpErrors, kWbmpWriters, {}};

}  // namespace vivark
