// Decoding of FITS primary arrays into Images.
//
// The header is a run of 80-character cards in blocks of 2880 bytes, ended
// by the END card; the data start at the next block. Samples are big-endian;
// the first row stored is the bottom of the picture, as astronomers' tools
// display it. A sample's value is BZERO + BSCALE × stored value.
//
// Scaling to 8 bits: plain bytes (BITPIX 8 with BZERO 0 and BSCALE 1) are
// the grey levels themselves. Any other data are stretched linearly from a
// low value to 0 and a high value to 255, rounded: DATAMIN and DATAMAX when
// the header has both (and they make a range), otherwise the lowest and
// highest value in the data, found by a first pass over them, which is what
// netpbm's fitstopnm does. Values outside the range clamp to its ends; NaN
// (blank floating-point samples) shows as 0.
//
// FITSERROR values:
//  - Unknown (0): a first card other than SIMPLE = T.
//  - UnsupportedNaxis (1): NAXIS other than 1, 2 or 3.
//  - UnsupportedNaxisN (2): an axis of zero or negative length, or a third
//    axis of other than one or three planes.
//  - UnsupportedBitpix (3): BITPIX other than 8, 16, 32, 64, -32, -64.
//  - DataIntegrity (4): a missing BITPIX, NAXIS or NAXISn card, or BSCALE 0.
#include "formats/fits/FitsReader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"

namespace vivark {
namespace {

constexpr size_t kCard = 80;
constexpr int64_t kBlock = 2880;

struct FitsHeader {
    int bitpix = 0;
    int axes = -1;
    int64_t axis[4] = {0, 1, 1, 1};  // NAXIS1..NAXIS3 (index 1 to 3)
    double zero = 0, scale = 1;
    double dataMin = 0, dataMax = 0;
    bool hasMin = false, hasMax = false;
    int64_t dataStart = 0;
};

// The card's keyword (columns 1-8, blank padded) is `keyword`.
bool keywordIs(const char* card, const char* keyword) {
    const size_t n = std::strlen(keyword);
    if (std::memcmp(card, keyword, n) != 0) return false;
    for (size_t i = n; i < 8; ++i)
        if (card[i] != ' ') return false;
    return true;
}

// The number in a value card (columns 11-80, before any comment); Fortran's
// D exponents are read as E. False when there is no number.
bool cardNumber(const char* card, double& value) {
    if (card[8] != '=') return false;
    char text[kCard - 10 + 1];
    size_t n = 0;
    for (size_t i = 10; i < kCard && card[i] != '/'; ++i)
        text[n++] = card[i] == 'D' || card[i] == 'd' ? 'E' : card[i];
    text[n] = '\0';
    char* end = nullptr;
    value = std::strtod(text, &end);
    if (end == text) return false;
    while (*end == ' ') ++end;
    return *end == '\0' && std::isfinite(value);
}

FitsHeader readHeader(InFile& file) {
    FitsHeader h;
    char card[kCard];
    file.read(card, kCard);
    size_t at = 10;
    while (at < kCard && card[at] == ' ') ++at;
    if (!keywordIs(card, "SIMPLE") || card[8] != '=' || at == kCard || card[at] != 'T')
        throw FITSERROR::Unknown;
    bool haveAxis[4] = {true, false, false, false};
    for (int64_t cards = 1;; ++cards) {
        file.read(card, kCard);
        if (keywordIs(card, "END")) {
            h.dataStart = (cards + 1) * int64_t{kCard};
            h.dataStart = (h.dataStart + kBlock - 1) / kBlock * kBlock;
            break;
        }
        double value;
        if (!cardNumber(card, value)) continue;
        if (keywordIs(card, "BITPIX")) {
            h.bitpix = static_cast<int>(std::clamp(value, -1000.0, 1000.0));
        } else if (keywordIs(card, "NAXIS")) {
            h.axes = static_cast<int>(std::clamp(value, -1.0, 1000.0));
        } else if (keywordIs(card, "BZERO")) {
            h.zero = value;
        } else if (keywordIs(card, "BSCALE")) {
            h.scale = value;
        } else if (keywordIs(card, "DATAMIN")) {
            h.dataMin = value, h.hasMin = true;
        } else if (keywordIs(card, "DATAMAX")) {
            h.dataMax = value, h.hasMax = true;
        } else {
            for (int a = 1; a <= 3; ++a) {
                const char name[] = {'N', 'A', 'X', 'I', 'S', char('0' + a), '\0'};
                if (!keywordIs(card, name)) continue;
                h.axis[a] = static_cast<int64_t>(std::clamp(value, -1.0, 1e12));
                haveAxis[a] = true;
            }
        }
    }
    if (h.bitpix == 0 || h.axes < 0) throw FITSERROR::DataIntegrity;
    if (h.bitpix != 8 && h.bitpix != 16 && h.bitpix != 32 && h.bitpix != 64 && h.bitpix != -32 &&
        h.bitpix != -64)
        throw FITSERROR::UnsupportedBitpix;
    if (h.axes < 1 || h.axes > 3) throw FITSERROR::UnsupportedNaxis;
    for (int a = 1; a <= h.axes; ++a) {
        if (!haveAxis[a]) throw FITSERROR::DataIntegrity;
        if (h.axis[a] <= 0 || h.axis[a] > 0xFFFFFFFF) throw FITSERROR::UnsupportedNaxisN;
    }
    if (h.axis[3] != 1 && h.axis[3] != 3) throw FITSERROR::UnsupportedNaxisN;
    if (h.scale == 0) throw FITSERROR::DataIntegrity;
    return h;
}

// Turns `count` stored big-endian samples of BITPIX `bitpix` into values.
void toValues(const uint8_t* stored, int bitpix, double zero, double scale, double* out,
              size_t count) {
    for (size_t i = 0; i < count; ++i) {
        double raw;
        switch (bitpix) {
            case 8:
                raw = stored[i];
                break;
            case 16:
                raw = static_cast<int16_t>(loadBE16(stored + 2 * i));
                break;
            case 32:
                raw = static_cast<int32_t>(loadBE32(stored + 4 * i));
                break;
            case 64:
                raw = static_cast<double>(static_cast<int64_t>(
                    uint64_t{loadBE32(stored + 8 * i)} << 32 | loadBE32(stored + 8 * i + 4)));
                break;
            case -32:
                raw = std::bit_cast<float>(loadBE32(stored + 4 * i));
                break;
            default:
                raw = std::bit_cast<double>(uint64_t{loadBE32(stored + 8 * i)} << 32 |
                                            loadBE32(stored + 8 * i + 4));
                break;
        }
        out[i] = zero + scale * raw;
    }
}

class FitsReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const FitsHeader h = readHeader(file);
        const uint32_t width = static_cast<uint32_t>(h.axis[1]);
        const uint32_t height = static_cast<uint32_t>(h.axis[2]);
        const uint32_t planes = static_cast<uint32_t>(h.axis[3]);
        const uint32_t depth = planes == 3 ? 24 : 8;
        if (!options.limits.allows(width, height, depth) ||
            !options.limits.allows(width, 1, 64))  // the row of values
            throw IMAGEERROR::TooLarge;
        const size_t sampleBytes = static_cast<size_t>(h.bitpix < 0 ? -h.bitpix : h.bitpix) / 8;
        std::vector<uint8_t> stored(size_t{width} * sampleBytes);
        std::vector<double> values(width);
        const bool plain = h.bitpix == 8 && h.zero == 0 && h.scale == 1;

        double low = h.dataMin, high = h.dataMax;
        if (!plain && !(h.hasMin && h.hasMax && h.dataMax > h.dataMin)) {
            low = std::numeric_limits<double>::infinity();
            high = -low;
            file.seek(h.dataStart);
            for (uint64_t row = 0; row < uint64_t{height} * planes; ++row) {
                file.read(stored.data(), stored.size());
                toValues(stored.data(), h.bitpix, h.zero, h.scale, values.data(), width);
                for (double v : values) {
                    if (v < low) low = v;
                    if (v > high) high = v;
                }
            }
        }
        const double factor = high > low ? 255.0 / (high - low) : 0.0;

        Image result(width, height, depth, true);
        if (depth == 8) result.setGreyPalette();
        file.seek(h.dataStart);
        const uint32_t total = height * planes;
        for (uint32_t p = 0; p < planes; ++p) {
            const uint32_t step = depth == 24 ? 3 : 1;
            const uint32_t offset = depth == 24 ? 2 - p : 0;
            for (uint32_t row = 0; row < height; ++row) {
                file.read(stored.data(), stored.size());
                uint8_t* out = result.plane.mutableRow(height - 1 - row) + offset;
                if (plain) {
                    for (uint32_t x = 0; x < width; ++x) out[size_t{x} * step] = stored[x];
                } else {
                    toValues(stored.data(), h.bitpix, h.zero, h.scale, values.data(), width);
                    for (uint32_t x = 0; x < width; ++x) {
                        const double level = (values[x] - low) * factor;
                        // NaN fails both tests and stays 0.
                        uint8_t v = 0;
                        if (level >= 255.0)
                            v = 255;
                        else if (level > 0.0)
                            v = static_cast<uint8_t>(level + 0.5);
                        out[size_t{x} * step] = v;
                    }
                }
                if (progressCancelled(options.progress, p * height + row + 1, total))
                    throw INFILEERROR::Cancelled;
            }
        }
        result.pageNumber = image.pageNumber;
        result.pageCount = 1;
        result.formatTag = makeTag("FITS");
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeFitsReader(InFile& file) {
    return std::make_unique<FitsReader>(file);
}

}  // namespace vivark
