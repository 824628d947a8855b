// Names of the encodings; see TextImage.h.
#include "textimg/TextImage.h"

namespace vivark::textimg {

const char* encodingName(Encoding encoding) {
    switch (encoding) {
        case Encoding::Uuencode:
            return "uuencode";
        case Encoding::Xxencode:
            return "xxencode";
        case Encoding::Base64:
            return "base64";
        case Encoding::Yenc:
            return "yEnc";
        case Encoding::BinHex:
            return "BinHex 4.0";
    }
    return "";
}

}  // namespace vivark::textimg
