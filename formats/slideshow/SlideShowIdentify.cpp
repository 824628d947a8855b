// Identifies the slide show list: a text file whose first 16 bytes are
// "Vivark SlideShow". It carries no image; the loader ends the load with the
// slide show result instead of reading one.
#include "formats/IdentifySupport.h"
#include "formats/slideshow/SlideShowFormat.h"

namespace vivark {

bool identifySlideShow(InFile& file, FormatInfo* info) {
    static constexpr char kSignature[] = "Vivark SlideShow";
    uint8_t start[16];
    file.read(start, sizeof start);
    for (size_t i = 0; i < sizeof start; ++i) {
        if (start[i] != static_cast<uint8_t>(kSignature[i])) return false;
    }
    return accept(info, 0, 0, 0, makeTag("SSHW"));
}

}  // namespace vivark
