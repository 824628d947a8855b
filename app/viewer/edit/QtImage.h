// QtImage: the bridge between the core's Image and Qt's QImage, for the
// clipboard and the dialogs' previews.
//
// toQImage gives a 32-bit picture (alpha from an alpha plane, the transparent
// entry of a palette image cleared); fromQImage gives a 24-bit Image, or an
// 8-bit grey one when every pixel is grey, with an alpha plane when the
// picture has an alpha channel that is not all opaque.
#pragma once

#include <QImage>

#include "core/Image.h"

namespace vivark::viewer {

QImage toQImage(const Image& image);
Image fromQImage(const QImage& picture);

// A copy of `image` no larger than `box` on either side, point-sampled (a
// preview of an operation works on this, not on the whole image).
Image previewCopy(const Image& image, uint32_t box);

}  // namespace vivark::viewer
