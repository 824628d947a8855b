// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/pnm/PnmFormat.h"
#include "formats/pnm/PnmReader.h"
#include "formats/pnm/PnmWriter.h"

namespace vivark {
namespace {

MessageId messageOf(PNMERROR e) {
    switch (e) {
        case PNMERROR::DataIntegrity:
            return msg::DataIntegrity;
        case PNMERROR::InvalidFile:
            return msg::InvalidFile;
    }
    return msg::Unknown;
}

using settings::BoolSetting;
using settings::IntegerFormat;
using settings::IntSetting;

// The "RawData" options start on: the compact binary forms are what people
// expect from a converter today.
constinit BoolSetting savePbmRawData{"SaveOptions\\PBM\\RawData", true};
constinit BoolSetting savePgmRawData{"SaveOptions\\PGM\\RawData", true};
constinit BoolSetting savePpmRawData{"SaveOptions\\PPM\\RawData", true};
constinit BoolSetting savePnmRawData{"SaveOptions\\PNM\\RawData", true};

const settings::SettingRef kSaveSettings[] = {&savePbmRawData, &savePgmRawData, &savePpmRawData,
                                              &savePnmRawData};

constexpr ErrorMapping kPnmErrors[] = {
    errorMapping<PNMERROR, messageOf, 2>(),
};

const WriterEntry kPnmWriters[] = {
    {"PBMPlus Portable Bitmap",
     {"pbm"},
     {"pbm"},
     makeTag("PBM "),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writePortableBitmap},
    {"PBMPlus Portable Graymap",
     {"pgm"},
     {"pgm"},
     makeTag("PGM "),
     depthSet({8}),
     ColourNeed::Grey,
     writePortableGraymap},
    {"PBMPlus Portable Pixmap",
     {"ppm"},
     {"ppm"},
     makeTag("PPM "),
     depthSet({1, 4, 8, 24}),  // palette images are looked up row by row
     ColourNeed::Any,
     writePortablePixmap},
    {"PBMPlus Portable Anymap",
     {"pnm"},
     {"pnm"},
     makeTag("PNM "),
     depthSet({1, 4, 8, 24}),
     ColourNeed::Any,
     writePortableAnymap},
};

}  // namespace

extern const FormatEntry pnmFormat;
constinit const FormatEntry pnmFormat{"PBMPlus Portable Anymap",
                                      makeTag("PBM "),
                                      identifyPnm,
                                      makePnmReader,
                                      kPnmErrors,
                                      kPnmWriters,
                                      kSaveSettings};

}  // namespace vivark
