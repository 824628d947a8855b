// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/rle/RleFormat.h"
#include "formats/rle/RleReader.h"
#include "formats/rle/RleWriter.h"

namespace vivark {
namespace {

MessageId messageOf(RLECERROR e) {
    switch (e) {
        case RLECERROR::InvalidFile:
            return msg::InvalidFile;
    }
    return msg::Unknown;
}

MessageId messageOf(RLEUERROR e) {
    switch (e) {
        case RLEUERROR::InvalidFile:
            return msg::InvalidFile;
        case RLEUERROR::DataIntegrity:
            return msg::DataIntegrity;
        case RLEUERROR::UnsupportedChannels:
            return msg::UnsupportedChannels;
        case RLEUERROR::UnsupportedDepth:
            return msg::UnsupportedBitCount;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kCompuserveRleErrors[] = {
    errorMapping<RLECERROR, messageOf, 1>(),
};

constexpr ErrorMapping kUtahRleErrors[] = {
    errorMapping<RLEUERROR, messageOf, 4>(),
};

const WriterEntry kCompuserveRleWriters[] = {
    {"Compuserve RLE",
     {"rlec", "compuserve"},
     {"rlec"},
     makeTag("RLEC"),
     depthSet({1}),
     ColourNeed::BlackAndWhite,
     writeCompuserveRle,
     {},
     0,
     nullptr,
     kRlecHighWidth,
     kRlecHighHeight},
};

const WriterEntry kUtahRleWriters[] = {
    {"Utah RLE",
     {"utah", "rleu"},
     {"rle", "urt"},
     makeTag("RLEU"),
     depthSet({8, 24}),
     ColourNeed::Any,
     writeUtahRle,
     {},
     kKeepsAlpha},
};

}  // namespace

extern const FormatEntry compuserveRleFormat;
constinit const FormatEntry compuserveRleFormat{"Compuserve RLE",
                                                makeTag("RLEC"),
                                                identifyCompuserveRle,
                                                makeCompuserveRleReader,
                                                kCompuserveRleErrors,
                                                kCompuserveRleWriters,
                                                {}};

extern const FormatEntry utahRleFormat;
constinit const FormatEntry utahRleFormat{"Utah RLE",
                                          makeTag("RLEU"),
                                          identifyUtahRle,
                                          makeUtahRleReader,
                                          kUtahRleErrors,
                                          kUtahRleWriters,
                                          {}};

}  // namespace vivark
