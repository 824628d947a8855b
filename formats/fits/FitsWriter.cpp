// Writes FITS primary arrays of bytes (BITPIX 8): images whose palette is
// grey as one plane (NAXIS 2), other images as three planes, red, green and
// blue (NAXIS 3). Rows go from the bottom of the picture up. DATAMIN 0 and
// DATAMAX 255 are written so that readers which otherwise stretch the data's
// own range show the grey levels as they are. The header's cards are 80
// characters each and the header and the data are each padded to whole
// blocks of 2880 bytes, with blanks and with zeros.
#include "formats/fits/FitsWriter.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"

namespace vivark {
namespace {

constexpr size_t kCard = 80;
constexpr size_t kBlock = 2880;

// A card: keyword in columns 1-8, "= " in 9-10, the value right-aligned to
// column 30 (the fixed format every reader understands), blanks to 80.
void putCard(std::vector<char>& header, const char* keyword, const char* value) {
    char card[kCard + 1];
    if (value == nullptr)
        std::snprintf(card, sizeof card, "%-80s", keyword);
    else
        std::snprintf(card, sizeof card, "%-8s= %20s%50s", keyword, value, "");
    header.insert(header.end(), card, card + kCard);
}

void putCard(std::vector<char>& header, const char* keyword, uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%u", value);
    putCard(header, keyword, text);
}

}  // namespace

void writeFits(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress) {
    const bool grey = image.hasPalette() && image.isGrey();
    if (image.hasPalette() && !grey)
        return writeFits(expandToTrueColour(image), out, options, progress);
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0) throw FITSERROR::DataIntegrity;
    const uint32_t planes = grey ? 1 : 3;

    std::vector<char> header;
    putCard(header, "SIMPLE", "T");
    putCard(header, "BITPIX", 8u);
    putCard(header, "NAXIS", planes == 1 ? 2u : 3u);
    putCard(header, "NAXIS1", width);
    putCard(header, "NAXIS2", height);
    if (planes == 3) putCard(header, "NAXIS3", 3u);
    putCard(header, "DATAMIN", 0u);
    putCard(header, "DATAMAX", 255u);
    putCard(header, "END", nullptr);
    header.resize((header.size() + kBlock - 1) / kBlock * kBlock, ' ');
    out.write(header.data(), header.size());

    std::vector<uint8_t> samples(width);
    const uint32_t total = height * planes;
    for (uint32_t p = 0; p < planes; ++p) {
        for (uint32_t row = 0; row < height; ++row) {
            const uint8_t* pixels = image.plane.row(height - 1 - row);
            if (grey) {
                unpackIndices(pixels, samples.data(), width, image.bitsPerPixel());
                for (uint32_t x = 0; x < width; ++x) samples[x] = redOf(image.palette[samples[x]]);
            } else {
                for (uint32_t x = 0; x < width; ++x) samples[x] = pixels[size_t{x} * 3 + 2 - p];
            }
            out.write(samples.data(), width);
            if (progressCancelled(progress, p * height + row + 1, total))
                throw OUTFILEERROR::Cancelled;
        }
    }
    const uint64_t data = uint64_t{width} * height * planes;
    const uint8_t zeros[kBlock] = {};
    if (data % kBlock != 0) out.write(zeros, kBlock - data % kBlock);
}

}  // namespace vivark
