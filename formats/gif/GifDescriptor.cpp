// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/gif/GifFormat.h"
#include "formats/gif/GifReader.h"
#include "formats/gif/GifWriter.h"

namespace vivark {
namespace {

MessageId messageOf(GIFERROR e) {
    switch (e) {
        case GIFERROR::Unknown:
            return msg::Unknown;
        case GIFERROR::PrematureEnd:
            return msg::GifPrematureEnd;
        case GIFERROR::NoColourMap:
            return msg::GifNoColourMap;
        case GIFERROR::BadLzwCodeSize:
            return msg::GifBadCodeSize;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveGifGif89a{"SaveOptions\\GIF\\GIF89a", false};
constinit BoolSetting saveGifInterlace{"SaveOptions\\GIF\\Interlace", false};
constinit BoolSetting saveGifTransparent{"SaveOptions\\GIF\\Transparent", false};
constinit IntSetting saveGifTransparentIndex{"SaveOptions\\GIF\\Transparent Index", 0};
constinit BoolSetting saveGifBackground{"SaveOptions\\GIF\\Background", false};
constinit IntSetting saveGifBackgroundIndex{"SaveOptions\\GIF\\Background Index", 0};

const settings::SettingRef kSaveSettings[] = {&saveGifGif89a,      &saveGifInterlace,
                                              &saveGifTransparent, &saveGifTransparentIndex,
                                              &saveGifBackground,  &saveGifBackgroundIndex};

constexpr ErrorMapping kGifErrors[] = {
    errorMapping<GIFERROR, messageOf, 4>(),
};

const WriterEntry kGifWriters[] = {
    {"Graphics Interchange Format",
     {"gif"},
     {"gif"},
     makeTag("GIF "),
     depthSet({1, 4, 8}),
     ColourNeed::Any,
     writeGif,
     {},
     kKeepsTransparentIndex},
};

}  // namespace

extern const FormatEntry gifFormat;
constinit const FormatEntry gifFormat{"Graphics Interchange Format",
                                      makeTag("GIF "),
                                      identifyGif,
                                      makeGifReader,
                                      kGifErrors,
                                      kGifWriters,
                                      kSaveSettings};

}  // namespace vivark
