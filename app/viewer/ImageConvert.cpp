// Image to QImage conversion for display; see ImageConvert.h.
#include "app/viewer/ImageConvert.h"

#include <algorithm>
#include <array>

namespace vivark::viewer {
namespace {

using Lut = std::array<QRgb, 256>;

// A palette image's transparent entry shows as clear (premultiplied 0), so
// the view's background comes through where the file leaves pixels out, as
// browsers show a GIF's transparent colour.
Lut paletteLut(const Image& image) {
    Lut lut{};
    for (unsigned i = 0; i < lut.size(); ++i) lut[i] = 0xFF000000u | image.palette[i];
    if (image.transparentIndex) lut[*image.transparentIndex] = 0;
    return lut;
}

void convertIndexedRow(const uint8_t* src, QRgb* dst, uint32_t width, uint32_t bits,
                       const Lut& lut) {
    switch (bits) {
        case 8:
            for (uint32_t x = 0; x < width; ++x) dst[x] = lut[src[x]];
            break;
        case 4:
            for (uint32_t x = 0; x < width; ++x)
                dst[x] = lut[(x & 1) ? (src[x >> 1] & 0x0F) : (src[x >> 1] >> 4)];
            break;
        default:  // 1
            for (uint32_t x = 0; x < width; ++x) dst[x] = lut[(src[x >> 3] >> (7 - (x & 7))) & 1];
            break;
    }
}

void convertBgrRow(const uint8_t* src, QRgb* dst, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x, src += 3)
        dst[x] = 0xFF000000u | (uint32_t{src[2]} << 16) | (uint32_t{src[1]} << 8) | src[0];
}

// Premultiplies a row by its alpha plane's row (8 bits a pixel).
void applyAlphaRow(const uint8_t* alpha, QRgb* dst, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t a = alpha[x];
        const QRgb c = dst[x];
        auto mul = [a](uint32_t v) { return (v * a + 127) / 255; };
        dst[x] =
            (a << 24) | (mul((c >> 16) & 0xFF) << 16) | (mul((c >> 8) & 0xFF) << 8) | mul(c & 0xFF);
    }
}

bool hasAlpha(const Image& image) {
    return image.secondPlaneKind == SecondPlane::Alpha &&
           image.secondPlane.width() == image.width() &&
           image.secondPlane.height() == image.height() && image.secondPlane.bitsPerPixel() == 8;
}

bool hasTransparentEntry(const Image& image) {
    return image.bitsPerPixel() <= 8 && image.transparentIndex.has_value();
}

}  // namespace

QImage makeDisplayImage(const Image& image) {
    if (image.plane.empty() || image.width() > 32767 * 8 || image.height() > 32767 * 8) return {};
    QImage target(static_cast<int>(image.width()), static_cast<int>(image.height()),
                  hasAlpha(image) || hasTransparentEntry(image)
                      ? QImage::Format_ARGB32_Premultiplied
                      : QImage::Format_RGB32);
    if (!target.isNull()) target.fill(0xFF000000u);
    return target;
}

void convertRows(const Image& image, QImage& target, uint32_t firstRow, uint32_t endRow) {
    if (target.isNull() || image.plane.empty() || target.width() != int(image.width()) ||
        target.height() != int(image.height()))
        return;
    endRow = std::min(endRow, image.height());
    const uint32_t width = image.width();
    const uint32_t bits = image.bitsPerPixel();
    const bool alpha = hasAlpha(image);
    Lut lut{};
    if (bits <= 8) lut = paletteLut(image);
    for (uint32_t y = firstRow; y < endRow; ++y) {
        auto* dst = reinterpret_cast<QRgb*>(target.scanLine(static_cast<int>(y)));
        const uint8_t* src = image.plane.row(y);
        if (bits == 24)
            convertBgrRow(src, dst, width);
        else
            convertIndexedRow(src, dst, width, bits, lut);
        if (alpha) applyAlphaRow(image.secondPlane.row(y), dst, width);
    }
}

QImage toDisplayImage(const Image& image) {
    QImage target = makeDisplayImage(image);
    convertRows(image, target, 0, image.height());
    return target;
}

uint32_t pixelColour(const Image& image, uint32_t x, uint32_t y) {
    if (x >= image.width() || y >= image.height() || image.plane.empty()) return 0;
    const uint8_t* row = image.plane.row(y);
    switch (image.bitsPerPixel()) {
        case 24:
            return rgb(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
        case 8:
            return image.palette[row[x]];
        case 4:
            return image.palette[(x & 1) ? (row[x >> 1] & 0x0F) : (row[x >> 1] >> 4)];
        default:
            return image.palette[(row[x >> 3] >> (7 - (x & 7))) & 1];
    }
}

}  // namespace vivark::viewer
