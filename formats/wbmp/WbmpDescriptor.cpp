// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/wbmp/WbmpFormat.h"

namespace vivark {
namespace {}  // namespace

extern const FormatEntry wbmpFormat;
constinit const FormatEntry wbmpFormat{
    "WAP Bitmap", makeTag("WBMP"), identifyWbmp, nullptr, {}, {}, {}};

}  // namespace vivark
