// Identifies FITS images by the 80-character cards of their primary header:
// the first card is "SIMPLE" with the value T, then BITPIX (8, 16, 32, 64,
// -32 or -64), NAXIS (1 to 999) and NAXIS1, NAXIS2 in that order, as the
// standard fixes them. Width is NAXIS1, height NAXIS2 (1 for a single axis);
// the depth is the size of BITPIX.
#include "formats/IdentifySupport.h"
#include "formats/fits/FitsFormat.h"

namespace vivark {
namespace {

constexpr size_t kCard = 80;

// The card's keyword (columns 1-8, blank padded) is `keyword` and column 9-10
// holds "= ".
bool isCard(const uint8_t* card, const char* keyword) {
    size_t i = 0;
    for (; keyword[i] != '\0'; ++i) {
        if (card[i] != static_cast<uint8_t>(keyword[i])) return false;
    }
    for (; i < 8; ++i) {
        if (card[i] != ' ') return false;
    }
    return card[8] == '=';
}

// The integer value of a card (columns 11-80); false when there is none.
bool cardInteger(const uint8_t* card, int64_t& value) {
    size_t at = 10;
    while (at < kCard && card[at] == ' ') ++at;
    bool negative = false;
    if (at < kCard && (card[at] == '-' || card[at] == '+')) negative = card[at++] == '-';
    bool any = false;
    value = 0;
    while (at < kCard && card[at] >= '0' && card[at] <= '9' && value < 1000000000000) {
        value = value * 10 + (card[at++] - '0');
        any = true;
    }
    if (negative) value = -value;
    return any;
}

}  // namespace

bool identifyFits(InFile& file, FormatInfo* info) {
    uint8_t card[kCard];
    file.read(card, kCard);
    if (!isCard(card, "SIMPLE")) return false;
    size_t at = 10;
    while (at < kCard && card[at] == ' ') ++at;
    if (at == kCard || card[at] != 'T') return false;

    int64_t bitpix, axes, width, height = 1;
    file.read(card, kCard);
    if (!isCard(card, "BITPIX") || !cardInteger(card, bitpix)) return false;
    if (bitpix != 8 && bitpix != 16 && bitpix != 32 && bitpix != 64 && bitpix != -32 &&
        bitpix != -64) {
        return false;
    }
    file.read(card, kCard);
    if (!isCard(card, "NAXIS") || !cardInteger(card, axes) || axes < 1 || axes > 999) return false;
    file.read(card, kCard);
    if (!isCard(card, "NAXIS1") || !cardInteger(card, width)) return false;
    if (axes >= 2) {
        file.read(card, kCard);
        if (!isCard(card, "NAXIS2") || !cardInteger(card, height)) return false;
    }
    if (width <= 0 || height <= 0 || width > 0xFFFFFFFF || height > 0xFFFFFFFF) return false;
    return accept(info, static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                  static_cast<uint32_t>(bitpix < 0 ? -bitpix : bitpix), makeTag("FITS"));
}

}  // namespace vivark
