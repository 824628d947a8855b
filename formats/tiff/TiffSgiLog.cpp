// The SGI log row decoder and the display mapping of its values (see
// TiffSgiLog.h).
//
// Log-encoded pages carry absolute luminance with no display range of their
// own. They are shown as other viewers show them: luminance 1 is white,
// values are clamped to 0..1 and put through a gamma 2.0 curve (the square
// root), and LogLuv colour goes from XYZ to RGB with the ITU-R BT.709
// primaries and an equal-energy white, the white these files are coded
// against (u' = 4/19, v' = 9/19 at x = y = 1/3).
#include "formats/tiff/TiffSgiLog.h"

#include <algorithm>
#include <cmath>

#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffSgiLogGamut.h"

namespace vivark {
namespace {

// Luminance of a 16-bit log value: a sign bit and 15 bits of log2(Y) in
// 1/256 steps from 2^-64. Zero and negative values are black.
double luminance(uint32_t logL) {
    const uint32_t e = logL & 0x7FFF;
    if (e == 0 || (logL & 0x8000) != 0) return 0.0;
    return std::exp2((e + 0.5) / 256.0 - 64.0);
}

// Luminance of a 10-bit log value (the packed 24-bit form): log2(Y) in
// 1/64 steps from 2^-12. Zero is black.
double packedLuminance(uint32_t logL) {
    if (logL == 0) return 0.0;
    return std::exp2((logL + 0.5) / 64.0 - 12.0);
}

uint8_t display(double v) {
    if (v <= 0.0) return 0;
    if (v >= 1.0) return 255;
    return static_cast<uint8_t>(std::min(255.0, 256.0 * std::sqrt(v)));
}

// Luminance y and chromaticity (u', v') to display red, green, blue.
void displayLuv(double y, double u, double v, uint8_t* out) {
    if (y <= 0.0) {
        out[0] = out[1] = out[2] = 0;
        return;
    }
    const double d = 6.0 * u - 16.0 * v + 12.0;
    const double cx = 9.0 * u / d, cy = 4.0 * v / d;
    const double bigX = cx / cy * y, bigZ = (1.0 - cx - cy) / cy * y;
    out[0] = display(2.6897 * bigX - 1.2759 * y - 0.4138 * bigZ);
    out[1] = display(-1.0221 * bigX + 1.9783 * y + 0.0438 * bigZ);
    out[2] = display(0.0612 * bigX - 0.2245 * y + 1.1633 * bigZ);
}

}  // namespace

SgiLogDecoder::SgiLogDecoder(uint32_t columns, bool colour, bool packed)
    : columns_(columns),
      colour_(colour || packed),
      packed_(packed),
      values_(packed ? 0 : columns) {}

void SgiLogDecoder::decode(uint8_t* buffer, size_t length) {
    const size_t rowBytes = size_t{columns_} * (colour_ ? 3 : 1);
    for (size_t done = 0; done + rowBytes <= length; done += rowBytes) decodeRow(buffer + done);
}

void SgiLogDecoder::decodeRow(uint8_t* row) {
    ByteSource& in = *source_;
    const uint32_t w = columns_;
    if (packed_) {
        // Three bytes a pixel, most significant first: 10 bits of log
        // luminance over a 14-bit chroma cell index. Each pixel is turned
        // into its display colour where it lies.
        in.read(row, size_t{w} * 3);
        for (uint32_t x = 0; x < w; ++x) {
            uint8_t* px = row + size_t{x} * 3;
            const uint32_t value = uint32_t{px[0]} << 16 | uint32_t{px[1]} << 8 | px[2];
            double u, v;
            logLuvCellCentre(value & 0x3FFF, u, v);
            displayLuv(packedLuminance(value >> 14), u, v, px);
        }
        return;
    }
    uint32_t* values = values_.data();
    std::fill(values, values + w, 0u);
    const uint32_t planes = colour_ ? 4 : 2;
    for (uint32_t p = 0; p < planes; ++p) {
        const uint32_t shift = 8 * (planes - 1 - p);
        uint32_t x = 0;
        while (x < w) {
            const uint32_t code = in.nextByte();
            if (code >= 128) {
                // A run: code - 126 copies of the next byte.
                const uint32_t count = code - 126;
                if (count > w - x) throw TIFFERROR::DataIntegrity;
                const uint32_t v = uint32_t{in.nextByte()} << shift;
                for (uint32_t end = x + count; x < end; ++x) values[x] |= v;
            } else {
                if (code > w - x) throw TIFFERROR::DataIntegrity;
                for (uint32_t end = x + code; x < end; ++x)
                    values[x] |= uint32_t{in.nextByte()} << shift;
            }
        }
    }
    if (!colour_) {
        for (uint32_t x = 0; x < w; ++x) row[x] = display(luminance(values[x]));
        return;
    }
    for (uint32_t x = 0; x < w; ++x) {
        // u', v' in 1/410 steps.
        const uint32_t v = values[x];
        displayLuv(luminance(v >> 16), ((v >> 8 & 0xFF) + 0.5) / 410.0, ((v & 0xFF) + 0.5) / 410.0,
                   row + size_t{x} * 3);
    }
}

}  // namespace vivark
