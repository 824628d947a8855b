// Conversions between Image and QImage, and the small copy previews work on.
#include "app/viewer/edit/QtImage.h"

#include <algorithm>

#include "ops/Resize.h"

namespace vivark::viewer {
namespace {

uint32_t indexAt(const uint8_t* row, uint32_t x, uint32_t bits) {
    switch (bits) {
        case 1:
            return (row[x >> 3] >> (7 - (x & 7))) & 1;
        case 4:
            return (row[x >> 1] >> ((x & 1) ? 0 : 4)) & 15;
        default:
            return row[x];
    }
}

}  // namespace

QImage toQImage(const Image& image) {
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0) return QImage();
    QImage picture(int(width), int(height), QImage::Format_ARGB32);
    if (picture.isNull()) return picture;
    const uint32_t bits = image.bitsPerPixel();
    const bool alpha = image.secondPlaneKind == SecondPlane::Alpha &&
                       image.secondPlane.width() == width && image.secondPlane.height() == height &&
                       image.secondPlane.bitsPerPixel() == 8;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        auto* out = reinterpret_cast<QRgb*>(picture.scanLine(int(y)));
        for (uint32_t x = 0; x < width; ++x) {
            if (bits == 24) {
                const uint8_t* p = row + size_t{x} * 3;
                out[x] = qRgb(p[2], p[1], p[0]);
            } else {
                const uint32_t index = indexAt(row, x, bits);
                const Colour c = image.palette[index];
                const bool clear = image.transparentIndex && *image.transparentIndex == index;
                out[x] = qRgba(redOf(c), greenOf(c), blueOf(c), clear ? 0 : 255);
            }
        }
        if (alpha) {
            const uint8_t* a = image.secondPlane.row(y);
            for (uint32_t x = 0; x < width; ++x)
                out[x] = (out[x] & 0x00FFFFFFu) | (QRgb(a[x]) << 24);
        }
    }
    return picture;
}

Image fromQImage(const QImage& source) {
    if (source.isNull()) return Image();
    const QImage picture = source.convertToFormat(QImage::Format_ARGB32);
    const uint32_t width = uint32_t(picture.width()), height = uint32_t(picture.height());
    bool grey = true, opaque = true;
    for (uint32_t y = 0; y < height && (grey || opaque); ++y) {
        const auto* in = reinterpret_cast<const QRgb*>(picture.constScanLine(int(y)));
        for (uint32_t x = 0; x < width; ++x) {
            grey = grey && qRed(in[x]) == qGreen(in[x]) && qGreen(in[x]) == qBlue(in[x]);
            opaque = opaque && qAlpha(in[x]) == 255;
        }
    }
    Image image(width, height, grey ? 8 : 24, false);
    if (grey) image.setGreyPalette();
    if (!opaque) {
        image.secondPlane = PixelPlane(width, height, 8, false);
        image.secondPlaneKind = SecondPlane::Alpha;
    }
    for (uint32_t y = 0; y < height; ++y) {
        const auto* in = reinterpret_cast<const QRgb*>(picture.constScanLine(int(y)));
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x) {
            if (grey) {
                row[x] = uint8_t(qRed(in[x]));
            } else {
                row[size_t{x} * 3] = uint8_t(qBlue(in[x]));
                row[size_t{x} * 3 + 1] = uint8_t(qGreen(in[x]));
                row[size_t{x} * 3 + 2] = uint8_t(qRed(in[x]));
            }
        }
        if (!opaque) {
            uint8_t* a = image.secondPlane.mutableRow(y);
            for (uint32_t x = 0; x < width; ++x) a[x] = uint8_t(qAlpha(in[x]));
        }
    }
    return image;
}

Image previewCopy(const Image& image, uint32_t box) {
    if (image.width() <= box && image.height() <= box) return image;
    ResizeRequest request{box, box, resizeFlag::Proportional, 0};
    const ResizePlacement place = placeContent(image.width(), image.height(), request);
    request = {std::max(place.width, 1u), std::max(place.height, 1u), 0, 0};
    OpResult small = resizePoint(image, request);
    return small ? *small : image;
}

}  // namespace vivark::viewer
