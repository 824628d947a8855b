// Identifies Digital Research GEM Paint (IMG) images by their header
// (big-endian words): version 1, header length 8 or 9 words, 1 to 8 or 24
// planes, pattern length 1 to 8, non-zero width (word 6) and height (word 7).
// The 18 bytes of a nine-word header are read in either case. A longer header
// is accepted where it is the XIMG extension of 1 to 8 planes: "XIMG" right
// behind the eight words and the length its palette takes.
#include "formats/IdentifySupport.h"
#include "formats/gem/GemFormat.h"

namespace vivark {

bool identifyGem(InFile& file, FormatInfo* info) {
    uint8_t header[18];
    file.read(header, sizeof header);
    const uint16_t version = loadBE16(header), headerWords = loadBE16(header + 2);
    const uint16_t planes = loadBE16(header + 4), patternLength = loadBE16(header + 6);
    const uint32_t width = loadBE16(header + 12), height = loadBE16(header + 14);
    if (planes == 0 || (planes > 8 && planes != 24)) return false;
    if (version != 1) return false;
    if (headerWords != 8 && headerWords != 9) {
        if (planes > 8 || headerWords != ximgHeaderWords(planes)) return false;
        if (loadBE16(header + 16) != 0x5849) return false;  // "XI"
        uint8_t rest[2];
        file.read(rest, sizeof rest);
        if (rest[0] != 'M' || rest[1] != 'G') return false;
    }
    if (patternLength < 1 || patternLength > 8 || width == 0 || height == 0) return false;
    return accept(info, width, height, planes, makeTag("GEMP"));
}

}  // namespace vivark
