// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/macpaint/MacPaintFormat.h"

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

}  // namespace

extern const FormatEntry macPaintFormat;
constinit const FormatEntry macPaintFormat{
    "MacPaint", makeTag("PNTG"), identifyMacPaint, nullptr, kMacPaintErrors, {}, {}};

}  // namespace vivark
