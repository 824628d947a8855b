// The routing of the CCITT compressions (2, 3, 4 and 32771) to the fax
// codecs: the one place that knows which fax coder serves a TIFF page. Rows
// come out and go in packed, 1 = black, whatever the photometric value.
#include "codecs/CcittDecoder.h"
#include "codecs/CcittEncoder.h"
#include "codecs/CcittMode.h"
#include "formats/tiff/TiffCodecs.h"
#include "formats/tiff/TiffFormat.h"

namespace vivark {

std::unique_ptr<StreamDecoder> makeTiffFaxDecoder(const TiffPageInfo& info, uint32_t columns) {
    uint32_t mode = tiffFaxMode(info);
    // T4Options bit 2: each end of line ends on a byte boundary.
    if (info.compression == 3 && (info.t4Options & 4)) mode |= ccitt::kByteAlignedEols;
    return std::make_unique<CcittDecoder>(columns, mode, info.fillOrder == 2);
}

std::unique_ptr<StreamEncoder> makeTiffFaxEncoder(uint32_t compression, uint32_t t4Options,
                                                  uint32_t t6Options, uint32_t columns) {
    (void)t6Options;
    uint32_t mode = ccitt::kMinIsWhite;
    if (compression == 4) {
        mode |= ccitt::kTiffGroup4;
    } else {
        mode |= (t4Options & 1) ? ccitt::kTiffGroup3TwoD : ccitt::kTiffGroup3;
        if (t4Options & 4) mode |= ccitt::kByteAlignedEols;
    }
    return std::make_unique<CcittEncoder>(columns, mode);
}

}  // namespace vivark
