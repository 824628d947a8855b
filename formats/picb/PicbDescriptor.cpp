// The format registry's entries of this family: names, tag, identify test,
// reader, error messages, writers and save settings.
#include "formats/FormatTable.h"
#include "formats/picb/PicbFormat.h"
#include "formats/picb/PicbReader.h"

namespace vivark {
namespace {

MessageId messageOf(PICBERROR e) {
    switch (e) {
        case PICBERROR::InvalidFile:
            return msg::InvalidFile;
    }
    return msg::Unknown;
}

constexpr ErrorMapping kPicbErrors[] = {
    errorMapping<PICBERROR, messageOf, 1>(),
};

}  // namespace

extern const FormatEntry picbFormat;
constinit const FormatEntry picbFormat{
    "PICB", makeTag("PICB"), identifyPicb, makePicbReader, kPicbErrors, {}, {}};

}  // namespace vivark
