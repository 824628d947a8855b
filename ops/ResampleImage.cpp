// Conversion of images to and from the sample surfaces of the resampled
// operations.
#include "ops/ResampleImage.h"

#include <algorithm>

#include "core/Errors.h"
#include "core/RowOps.h"

namespace vivark {
namespace {

bool hasAlphaPlane(const Image& image) {
    return image.secondPlaneKind == SecondPlane::Alpha && image.secondPlane.bitsPerPixel() == 8 &&
           image.secondPlane.width() == image.width() &&
           image.secondPlane.height() == image.height();
}

uint8_t premultiply(uint8_t sample, uint8_t alpha) {
    return uint8_t((unsigned(sample) * alpha + 127) / 255);
}

uint8_t unpremultiply(uint8_t sample, uint8_t alpha) {
    if (alpha == 0) return 0;
    return uint8_t(std::min(255u, (unsigned(sample) * 255 + alpha / 2u) / alpha));
}

}  // namespace

ResampleFormat resampleFormatOf(const Image& image) {
    ResampleFormat format;
    format.grey = image.hasPalette() && image.isGrey();
    // A transparent index is resampled as alpha (0 at the index): the
    // result's colours have no index, and its clear pixels stay clear with
    // soft edges, as ImageMagick keeps them.
    format.alpha = hasAlphaPlane(image) || transparencyByIndex(image);
    format.channels = (format.grey ? 1 : 3) + (format.alpha ? 1 : 0);
    return format;
}

void fillSamples(Colour fill, const ResampleFormat& format, uint8_t* samples) {
    unsigned n = 0;
    if (format.grey) {
        samples[n++] = uint8_t((unsigned(redOf(fill)) + greenOf(fill) + blueOf(fill)) / 3);
    } else {
        samples[n++] = blueOf(fill);
        samples[n++] = greenOf(fill);
        samples[n++] = redOf(fill);
    }
    if (format.alpha) samples[n] = 255;
}

ResampleSource::ResampleSource(const Image& image, const ResampleFormat& format) {
    const uint32_t width = image.width(), height = image.height();
    surface_.width = width;
    surface_.height = height;
    if (image.bitsPerPixel() == 24 && !format.alpha) {
        surface_.row0 = height ? image.plane.row(0) : nullptr;
        surface_.stride = -ptrdiff_t(image.plane.rowStride());
        return;
    }
    const size_t stride = size_t{width} * format.channels;
    buffer_.resize(stride * height);
    std::vector<uint8_t> indices(image.hasPalette() ? width : 0);
    const unsigned colour = format.grey ? 1 : 3;
    const bool alphaPlane = hasAlphaPlane(image);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* out = &buffer_[y * stride];
        const uint8_t* in = image.plane.row(y);
        if (image.bitsPerPixel() == 24) {
            for (uint32_t x = 0; x < width; ++x) std::copy_n(in + 3 * x, 3, out + x * 4);
        } else {
            unpackIndices(in, indices.data(), width, image.bitsPerPixel());
            const Palette& palette = image.palette;
            if (format.grey) {
                for (uint32_t x = 0; x < width; ++x)
                    out[x * format.channels] = blueOf(palette[indices[x]]);
            } else {
                for (uint32_t x = 0; x < width; ++x) {
                    const Colour c = palette[indices[x]];
                    uint8_t* p = out + x * format.channels;
                    p[0] = blueOf(c);
                    p[1] = greenOf(c);
                    p[2] = redOf(c);
                }
            }
        }
        if (format.alpha) {
            const uint8_t* alpha = indices.data();
            if (alphaPlane) {
                alpha = image.secondPlane.row(y);
            } else {
                // The alpha of a transparent index, made in the index row.
                const uint8_t clear = *image.transparentIndex;
                for (uint32_t x = 0; x < width; ++x) indices[x] = indices[x] == clear ? 0 : 255;
            }
            for (uint32_t x = 0; x < width; ++x) {
                uint8_t* p = out + x * format.channels;
                for (unsigned c = 0; c < colour; ++c) p[c] = premultiply(p[c], alpha[x]);
                p[colour] = alpha[x];
            }
        }
    }
    surface_.row0 = buffer_.data();
    surface_.stride = ptrdiff_t(stride);
}

ResampleTarget::ResampleTarget(const Image& source, uint32_t width, uint32_t height,
                               const ResampleFormat& format, const Limits& limits)
    : format_(format), result_(source) {
    const uint32_t bits = format.grey ? 8 : 24;
    checkResultSize(width, height, bits, limits);
    if (format.alpha) checkResultSize(width, height, 8, limits);
    result_.plane = PixelPlane(width, height, bits, false);
    result_.plane.factorX = source.plane.factorX;
    result_.plane.factorY = source.plane.factorY;
    result_.palette = Palette{};
    result_.paletteExtra = {};
    result_.paletteCount = 0;
    result_.colourCount = 0;
    result_.transparentIndex.reset();
    if (format.grey) result_.setGreyPalette();
    result_.secondPlane = PixelPlane();
    result_.secondPlaneKind = SecondPlane::None;
    if (format.alpha) {
        result_.secondPlane = PixelPlane(width, height, 8, false);
        result_.secondPlaneKind = SecondPlane::Alpha;
        buffer_.resize(size_t{width} * height * format.channels);
        surface_ = {buffer_.data(), ptrdiff_t(size_t{width} * format.channels), width, height};
    } else {
        surface_ = {height ? result_.plane.mutableRow(0) : nullptr,
                    -ptrdiff_t(result_.plane.rowStride()), width, height};
    }
}

Surface ResampleTarget::region(uint32_t left, uint32_t top, uint32_t width, uint32_t height) const {
    Surface part = surface_;
    part.row0 = surface_.row(top) + size_t{left} * format_.channels;
    part.width = width;
    part.height = height;
    return part;
}

void ResampleTarget::fill(uint32_t left, uint32_t top, uint32_t width, uint32_t height,
                          const uint8_t* pixel) {
    for (uint32_t y = top; y < top + height; ++y) {
        uint8_t* out = surface_.row(y) + size_t{left} * format_.channels;
        for (uint32_t x = 0; x < width; ++x)
            std::copy_n(pixel, format_.channels, out + size_t{x} * format_.channels);
    }
}

Image ResampleTarget::finish() {
    if (format_.alpha) {
        const unsigned colour = format_.channels - 1;
        for (uint32_t y = 0; y < surface_.height; ++y) {
            const uint8_t* in = surface_.row(y);
            uint8_t* out = result_.plane.mutableRow(y);
            uint8_t* alpha = result_.secondPlane.mutableRow(y);
            for (uint32_t x = 0; x < surface_.width; ++x) {
                const uint8_t* p = in + size_t{x} * format_.channels;
                alpha[x] = p[colour];
                for (unsigned c = 0; c < colour; ++c)
                    out[x * colour + c] = unpremultiply(p[c], p[colour]);
            }
        }
    }
    return std::move(result_);
}

}  // namespace vivark
