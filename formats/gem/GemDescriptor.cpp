// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/gem/GemFormat.h"
#include "formats/gem/GemReader.h"
#include "formats/gem/GemWriter.h"

namespace vivark {
namespace {

MessageId messageOf(IMGERROR e) {
    switch (e) {
        case IMGERROR::DataIntegrity:
            return msg::DataIntegrity;
        case IMGERROR::InvalidFile:
            return msg::InvalidFile;
        case IMGERROR::BadPlaneCount:
            return msg::ImgPlanes;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kGemErrors[] = {
    errorMapping<IMGERROR, messageOf, 3>(),
};

const WriterEntry kGemWriters[] = {
    {"Digital Research GEM Paint",
     {"gem", "img"},
     {"img", "gem"},
     makeTag("GEMP"),
     depthSet({1, 4, 8}),
     ColourNeed::Any,
     writeGem},
};

}  // namespace

extern const FormatEntry gemFormat;
constinit const FormatEntry gemFormat{"Digital Research GEM Paint",
                                      makeTag("GEMP"),
                                      identifyGem,
                                      makeGemReader,
                                      kGemErrors,
                                      kGemWriters,
                                      {}};

}  // namespace vivark
