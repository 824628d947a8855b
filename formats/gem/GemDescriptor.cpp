// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/gem/GemFormat.h"

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

}  // namespace

extern const FormatEntry gemFormat;
constinit const FormatEntry gemFormat{
    "Digital Research GEM Paint", makeTag("GEMP"), identifyGem, nullptr, kGemErrors, {}, {}};

}  // namespace vivark
