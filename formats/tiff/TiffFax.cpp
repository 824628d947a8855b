// The routing of the CCITT compressions to the fax decoder: the one place
// that knows which fax coder serves a TIFF page.
#include "codecs/FaxDecoder.h"
#include "formats/tiff/TiffCodecs.h"
#include "formats/tiff/TiffFormat.h"

namespace vivark {

std::unique_ptr<StreamDecoder> makeTiffFaxDecoder(const TiffPageInfo& info, uint32_t columns) {
    const uint32_t mode = tiffFaxMode(info);
    (void)mode;
    (void)columns;
    throw TIFFERROR::UnsupportedCompression;
}

std::unique_ptr<StreamEncoder> makeTiffFaxEncoder(uint32_t compression, uint32_t t4Options,
                                                  uint32_t t6Options, uint32_t columns) {
    (void)compression;
    (void)t4Options;
    (void)t6Options;
    (void)columns;
    throw TIFFERROR::UnsupportedCompression;
}

}  // namespace vivark
