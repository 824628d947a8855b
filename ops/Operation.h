// What the image operations of this folder share: the shape of their
// results, their own failures and the size check every result passes.
//
// Every operation takes the source as `const Image&` and a plain parameter
// record (so the batch converter can fill one from a script step), builds its
// result beside the source and returns it; the caller swaps it in. A cancel
// through the ProgressCallback (asked once per output row) returns nothing,
// and a failure throws: either way the source is as it was. Results keep the
// source's descriptive fields (resolution, format tag, comment, information
// items) and, where the operation keeps the geometry, its second plane.
//
// Failures: OPERROR for parameters no result can come from, IMAGEERROR::
// TooLarge for a result the Limits refuse, std::bad_alloc for memory.
#pragma once

#include <cstdint>
#include <optional>

#include "core/Image.h"
#include "core/Limits.h"
#include "core/Messages.h"
#include "core/Progress.h"

namespace vivark {

// A finished result, or nothing when the caller cancelled.
using OpResult = std::optional<Image>;

enum class OPERROR : uint32_t {
    EmptyCrop = 0,      // the crop rectangle holds no pixel of the image
    BadResolution = 1,  // a resolution that is not a positive finite number
};

namespace msg {
inline constexpr MessageId CropOutside = 11255;
inline constexpr MessageId BadResolution = 11256;
}  // namespace msg

MessageId messageOf(OPERROR error);

// Throws IMAGEERROR::TooLarge when an image of this size and depth is more
// than `limits` (or an Image) allows.
void checkResultSize(uint32_t width, uint32_t height, uint32_t bitsPerPixel, const Limits& limits);

// A result beside `source`: its descriptive fields, a new plane of the given
// size and depth (pixels left for the caller to fill), the palette cleared,
// colours not yet counted and no second plane. Checks the size first.
Image resultLike(const Image& source, uint32_t width, uint32_t height, uint32_t bitsPerPixel,
                 const Limits& limits);

// Whether `image` marks its transparent pixels by a palette index alone.
bool transparencyByIndex(const Image& image);

// For an operation that keeps the geometry but not the indices (a palette
// image made 24-bit, or filtered): the source's transparent index becomes an
// alpha plane of the result, 0 where the index was, 255 elsewhere, so the
// clear pixels stay clear as they do in ImageMagick; an index cannot be
// kept once the pixels are colours. Does nothing unless
// transparencyByIndex(source). Checks the plane's size first.
void carryTransparencyAsAlpha(const Image& source, Image& result, const Limits& limits);

}  // namespace vivark
