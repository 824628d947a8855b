// Identifies the PBMPlus anymaps: 'P' and a digit 1 to 6 (1 and 4 bitmap "PBM ",
// 2 and 5 greymap "PGM ", 3 and 6 pixmap "PPM "). The digit decides; the
// header's width, height and maximum value are then read where they can be
// (whitespace and '#' comments between them) to report the size, with 0 for
// a size the header does not give. Depth: 1 for bitmaps, 8 or 24 (16 or 48
// when the maximum value exceeds 255).
#include "formats/IdentifySupport.h"
#include "formats/pnm/PnmFormat.h"

namespace vivark {
namespace {

// Header bytes examined for the numbers.
constexpr size_t kHeaderLimit = 1024;

// Reads the next decimal number of the header, skipping whitespace and
// comments; 0 when there is none.
uint32_t nextNumber(const uint8_t* text, size_t length, size_t& at) {
    while (at < length) {
        const uint8_t c = text[at];
        if (c == '#') {
            while (at < length && text[at] != '\n' && text[at] != '\r') ++at;
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f') {
            ++at;
        } else {
            break;
        }
    }
    uint64_t value = 0;
    bool any = false;
    while (at < length && text[at] >= '0' && text[at] <= '9') {
        value = value * 10 + (text[at++] - '0');
        if (value > 0xFFFFFFFFu) return 0;
        any = true;
    }
    return any ? static_cast<uint32_t>(value) : 0;
}

}  // namespace

bool identifyPnm(InFile& file, FormatInfo* info) {
    if (file.readByte() != 'P') return false;
    const uint8_t digit = file.readByte();
    if (digit < '1' || digit > '6') return false;
    const int kind = (digit - '1') % 3;  // 0 bitmap, 1 greymap, 2 pixmap
    uint8_t header[kHeaderLimit];
    const size_t length = readPrefix(file, header, sizeof header);
    size_t at = 0;
    const uint32_t width = nextNumber(header, length, at);
    const uint32_t height = nextNumber(header, length, at);
    const uint32_t maxValue = kind == 0 ? 1 : nextNumber(header, length, at);
    const uint32_t sampleBits = maxValue > 255 ? 16 : 8;
    static constexpr FormatTag kTags[3] = {makeTag("PBM "), makeTag("PGM "), makeTag("PPM ")};
    const uint32_t bits = kind == 0 ? 1 : kind == 1 ? sampleBits : sampleBits * 3;
    return accept(info, width, height, bits, kTags[kind]);
}

}  // namespace vivark
