// TiffRows: the pixel stage of the TIFF reader. It takes one unit of decoded
// rows (one row, or one row of YCbCr blocks) as the page stores it, chunky or
// one row per plane, and writes the Image's rows: predictor undone, samples
// brought to 8 bits, the photometric interpretation turned into palette
// indices, grey or blue-green-red, extra alpha into the alpha plane, and the
// orientation applied through the shared placer.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/Image.h"
#include "core/pixels/ColourSpaces.h"
#include "core/pixels/Orientation.h"
#include "formats/tiff/TiffPage.h"

namespace vivark {

// What the page's samples are, once its checks have passed.
struct TiffSampleLayout {
    uint32_t width = 0, height = 0;  // as stored
    uint32_t bits = 8;               // bits per sample
    uint32_t samples = 1;            // samples per pixel
    uint32_t colourSamples = 1;      // of them, those of the colour
    int32_t alphaSample = -1;        // the alpha sample, or -1
    uint32_t photometric = 1;        // as the samples arrive (JPEG: after the library)
    bool floating = false;           // 32-bit IEEE samples
    bool bigEndian = false;          // 16- and 32-bit samples' byte order
    bool planar = false;             // one plane per sample
    bool predictor = false;          // horizontal differencing to undo
    bool bgr = false;                // colour arrives blue, green, red (the JPEG library's order)
    uint32_t subH = 1, subV = 1;     // YCbCr blocks (1, 1 when not subsampled)

    // Bytes of one stored row of `columns` pixels of one plane (or of one row
    // of YCbCr blocks).
    uint64_t rowBytes(uint32_t columns) const;
    // Image rows per unit.
    uint32_t unitRows() const { return subV; }
};

// Checks the page and chooses its sample layout; throws the TIFFERROR of a
// page that cannot be shown.
TiffSampleLayout tiffSampleLayout(const TiffPageInfo& info, bool bigEndian);

class TiffRowWriter {
  public:
    // Sizes `image` (upright, after orientation) and its palette and alpha
    // plane; the caller has checked the limits for outputBits().
    TiffRowWriter(const TiffSampleLayout& layout, const TiffPageInfo& info, Image& image);
    // The depth the Image gets for a layout and orientation.
    static uint32_t outputBits(const TiffSampleLayout& layout, uint32_t orientation);

    // Where stored row y may be decoded straight into the Image, when its
    // stored form is already the Image's (no predictor, no conversion, no
    // turning); null otherwise. Such a row needs no write().
    uint8_t* directRow(uint32_t y);
    // Writes stored rows y.. of one unit; `planes[p]` is plane p's row (only
    // planes[0] when chunky). The rows are changed in place (predictor).
    void write(uint32_t y, uint8_t* const* planes);
    // Moves the alpha plane into the image once all rows are written.
    void finish();

  private:
    void undoPredictor(uint8_t* row, uint32_t samplesPerPixel);
    void toEightBits(const uint8_t* raw, uint8_t* out, size_t count);
    void writeRow(uint32_t y, const uint8_t* raw);
    void writeYcbcrUnit(uint32_t y, const uint8_t* raw);
    void placeColour(uint32_t y, const uint8_t* samples);

    TiffSampleLayout layout_;
    Image& image_;
    uint32_t outBits_;
    bool indices_;   // grey or palette samples kept as indices (one sample of 8 bits or less)
    bool asStored_;  // JPEG rows that are the Image's rows as they stand
    Orientation orientation_;
    OrientedRows rows_;
    Image alpha_;
    std::unique_ptr<OrientedRows> alphaRows_;
    LumaCoefficients luma_;
    uint8_t scale_[256] = {};
    std::vector<uint8_t> chunky_;   // one row, planes interleaved (planar pages)
    std::vector<uint8_t> samples_;  // one row of 8-bit samples
    std::vector<uint8_t> pixels_;   // one row in the Image's form
    std::vector<uint8_t> extra_;    // scratch: alpha, YCbCr planes, floats
};

}  // namespace vivark
