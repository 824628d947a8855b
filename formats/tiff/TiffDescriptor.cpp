// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffReader.h"
#include "formats/tiff/TiffWriter.h"

namespace vivark {
namespace {

MessageId messageOf(TIFFERROR e) {
    switch (e) {
        case TIFFERROR::UnsupportedDataType:
            return msg::TiffDataType;
        case TIFFERROR::DataIntegrity:
            return msg::DataIntegrity;
        case TIFFERROR::UnsupportedCompression:
            return msg::UnsupportedCompression;
        case TIFFERROR::UnsupportedFillOrder:
            return msg::TiffFillOrder;
        case TIFFERROR::InvalidFile:
            return msg::TiffInvalid;
        case TIFFERROR::ColourMapTooLarge:
            return msg::ColourMapTooLarge;
        case TIFFERROR::ZeroBitsPerSample:
            return msg::TiffZeroBits;
        case TIFFERROR::BadSamplesPerPixel:
            return msg::TiffSamples;
        case TIFFERROR::UnsupportedPhotometric:
            return msg::TiffPhotometric;
        case TIFFERROR::MissingPhotometric:
            return msg::TiffNoPhotometric;
        case TIFFERROR::UnsupportedPredictor:
            return msg::TiffPredictor;
        case TIFFERROR::UnsupportedPlanarConfig:
            return msg::TiffPlanar;
        case TIFFERROR::UnsupportedJpeg:
            return msg::TiffJpeg;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

constinit BoolSetting saveTiffByteOrder{"SaveOptions\\TIFF\\ByteOrder", false};
constinit IntSetting saveTiffStripSize{"SaveOptions\\TIFF\\StripSize", 3};
constinit IntSetting saveTiffCompressionBlackWhite{"SaveOptions\\TIFF\\Compression\\BlackWhite", 1};
constinit IntSetting saveTiffCompressionColor{"SaveOptions\\TIFF\\Compression\\Color", 1};
constinit IntSetting saveTiffPhotometric{"SaveOptions\\TIFF\\Photometric", 0};
constinit IntSetting saveTiffPredictor{"SaveOptions\\TIFF\\Predictor", 1};
constinit IntSetting saveTiffT4Options{"SaveOptions\\TIFF\\T4Options", 0};
constinit IntSetting saveTiffT6Options{"SaveOptions\\TIFF\\T6Options", 0};

const settings::SettingRef kSaveSettings[] = {
    &saveTiffByteOrder,        &saveTiffStripSize,   &saveTiffCompressionBlackWhite,
    &saveTiffCompressionColor, &saveTiffPhotometric, &saveTiffPredictor,
    &saveTiffT4Options,        &saveTiffT6Options};

const WriterEntry kTiffWriters[] = {
    {"Tagged Interchange File Format",
     {"tif", "tiff"},
     {"tif", "tiff"},
     makeTag("TIFF"),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writeTiff,
     {},
     kKeepsAlpha,
     writeTiffPages},
};

constexpr ErrorMapping kTiffErrors[] = {
    errorMapping<TIFFERROR, messageOf, 13>(),
};

}  // namespace

extern const FormatEntry tiffFormat;
constinit const FormatEntry tiffFormat{"Tagged Image File Format",
                                       makeTag("TIFF"),
                                       identifyTiff,
                                       makeTiffReader,
                                       kTiffErrors,
                                       kTiffWriters,
                                       kSaveSettings};

}  // namespace vivark
