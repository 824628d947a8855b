// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/jpeg/JpegFormat.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/JpegWriter.h"
#include "formats/jpeg/SfwReader.h"

namespace vivark {
namespace {

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit IntSetting saveJfifQuality{"SaveOptions\\JFIF\\Quality", 75};
constinit IntSetting saveJfifSmooth{"SaveOptions\\JFIF\\Smooth", 0};
constinit BoolSetting saveJfifEntropy{"SaveOptions\\JFIF\\Entropy", true};
constinit BoolSetting saveJfifProgressive{"SaveOptions\\JFIF\\Progressive", false};
constinit BoolSetting saveJfifExif{"SaveOptions\\JFIF\\Exif", true};

const settings::SettingRef kSaveSettings[] = {&saveJfifQuality, &saveJfifSmooth, &saveJfifEntropy,
                                              &saveJfifProgressive, &saveJfifExif};

const WriterEntry kJfifWriters[] = {
    {"JPEG File Interchange Format",
     {"jpg", "jpeg", "jfif"},
     {"jpg", "jpeg", "jfif"},
     makeTag("JFIF"),
     depthSet({8, 24}),
     ColourNeed::Any,
     writeJfif},
};

}  // namespace

extern const FormatEntry jfifFormat;
constinit const FormatEntry jfifFormat{"JPEG File Interchange Format",
                                       makeTag("JFIF"),
                                       identifyJpeg,
                                       makeJpegReader,
                                       {},
                                       kJfifWriters,
                                       kSaveSettings};

extern const FormatEntry sfwFormat;
constinit const FormatEntry sfwFormat{
    "Seattle FilmWorks", makeTag("SFW "), identifySfw, makeSfwReader, {}, {}, {}};

}  // namespace vivark
