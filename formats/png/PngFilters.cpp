// The PNG row filters. The reverse filters run once per decoded byte, so each
// filter type has its own loop and Paeth chooses its predictor without
// branches.
#include "formats/png/PngFilters.h"

#include "core/Errors.h"
#include "formats/png/PngFormat.h"

namespace vivark::png {
namespace {

inline uint8_t paeth(int a, int b, int c) {
    const int pa = b > c ? b - c : c - b;                                // |p - a|, p = a + b - c
    const int pb = a > c ? a - c : c - a;                                // |p - b|
    const int pc = (a + b - 2 * c) < 0 ? 2 * c - a - b : a + b - 2 * c;  // |p - c|
    const int bc = pb <= pc ? b : c;
    return static_cast<uint8_t>((pa <= pb && pa <= pc) ? a : bc);
}

}  // namespace

void unfilterRow(uint8_t type, uint8_t* row, const uint8_t* previous, size_t length,
                 unsigned bytesPerPixel) {
    const size_t bpp = bytesPerPixel;
    switch (type) {
        case kNone:
            return;
        case kSub:
            for (size_t i = bpp; i < length; ++i)
                row[i] = static_cast<uint8_t>(row[i] + row[i - bpp]);
            return;
        case kUp:
            for (size_t i = 0; i < length; ++i) row[i] = static_cast<uint8_t>(row[i] + previous[i]);
            return;
        case kAverage: {
            // The left byte of the first pixel lies in the margin before the
            // row; indexing from a pointer to the margin keeps the index
            // non-negative.
            const uint8_t* left = row - bpp;
            for (size_t i = 0; i < length; ++i)
                row[i] = static_cast<uint8_t>(row[i] + ((left[i] + previous[i]) >> 1));
            return;
        }
        case kPaeth: {
            const uint8_t* left = row - bpp;
            const uint8_t* upLeft = previous - bpp;
            for (size_t i = 0; i < length; ++i)
                row[i] = static_cast<uint8_t>(row[i] + paeth(left[i], previous[i], upLeft[i]));
            return;
        }
        default:
            throw PNGERROR::UnknownFilterType;
    }
}

namespace {

template <uint8_t Type>
void filterWith(const uint8_t* row, const uint8_t* previous, uint8_t* out, size_t length,
                size_t bpp) {
    for (size_t i = 0; i < length; ++i) {
        int predictor = 0;
        if constexpr (Type == kSub) predictor = row[i - bpp];
        if constexpr (Type == kUp) predictor = previous[i];
        if constexpr (Type == kAverage) predictor = (row[i - bpp] + previous[i]) >> 1;
        if constexpr (Type == kPaeth)
            predictor = paeth(row[i - bpp], previous[i], previous[i - bpp]);
        out[i] = static_cast<uint8_t>(row[i] - predictor);
    }
}

}  // namespace

void filterRow(uint8_t type, const uint8_t* row, const uint8_t* previous, uint8_t* out,
               size_t length, unsigned bytesPerPixel) {
    switch (type) {
        case kSub:
            return filterWith<kSub>(row, previous, out, length, bytesPerPixel);
        case kUp:
            return filterWith<kUp>(row, previous, out, length, bytesPerPixel);
        case kAverage:
            return filterWith<kAverage>(row, previous, out, length, bytesPerPixel);
        case kPaeth:
            return filterWith<kPaeth>(row, previous, out, length, bytesPerPixel);
        default:
            return filterWith<kNone>(row, previous, out, length, bytesPerPixel);
    }
}

uint64_t filterScore(const uint8_t* filtered, size_t length) {
    uint64_t score = 0;
    for (size_t i = 0; i < length; ++i)
        score += filtered[i] < 0x80 ? filtered[i] : 256u - filtered[i];
    return score;
}

}  // namespace vivark::png
