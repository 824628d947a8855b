// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/slideshow/SlideShowFormat.h"

namespace vivark {
namespace {}  // namespace

extern const FormatEntry slideShowFormat;
constinit const FormatEntry slideShowFormat{
    "slide show list", makeTag("SSHW"), identifySlideShow, nullptr, {}, {}, {}};

}  // namespace vivark
