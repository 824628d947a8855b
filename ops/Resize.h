// Resize: an image scaled to a new size, resampled through Mitchell's filter
// or point-sampled, optionally fitted inside a box with the margins filled.
//
// The request names the box (width x height), placement flags and a fill
// colour. Flag Proportional fits the content inside the box keeping the
// source's aspect ratio (rounded up, never beyond the box) and the result is
// the whole box; the margin flags then place the content: MarginLeft pushes
// it right, CentreX centres it (margin rounded down), and MarginTop and
// CentreY do the same vertically; the margins show the fill colour. Flags 0
// stretch the image to exactly the box. The editor's proportional resize is
// Proportional | CentreX | CentreY (25).
//
// resizeResampled produces 8-bit grey from a grey image and 24 bits from any
// other (ResampleImage.h), the fill then taken as its grey level; an alpha
// plane is resampled with the colour. resizePoint keeps the depth, palette
// and second plane; its margins take the palette entry nearest the fill.
// Both scale the image's resolution by the content's scale on each axis.
//
// Each builds its result beside the source and returns it (Operation.h);
// progress is reported per row; a cancel returns nothing. A result beyond
// `limits` throws IMAGEERROR::TooLarge.
#pragma once

#include <cstdint>

#include "core/Image.h"
#include "core/Limits.h"
#include "core/Progress.h"
#include "ops/Operation.h"

namespace vivark {

namespace resizeFlag {
constexpr uint32_t Proportional = 1;
constexpr uint32_t MarginLeft = 2;
constexpr uint32_t MarginTop = 4;
constexpr uint32_t CentreX = 8;
constexpr uint32_t CentreY = 16;
constexpr uint32_t Centred = Proportional | CentreX | CentreY;
}  // namespace resizeFlag

struct ResizeRequest {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t flags = 0;
    Colour fill = 0;  // 0x00RRGGBB
};

// Where the content goes inside the box.
struct ResizePlacement {
    uint32_t left = 0;
    uint32_t top = 0;
    uint32_t width = 0;
    uint32_t height = 0;
};

// The content rectangle for a source of sourceWidth x sourceHeight.
ResizePlacement placeContent(uint32_t sourceWidth, uint32_t sourceHeight,
                             const ResizeRequest& request);

OpResult resizeResampled(const Image& image, const ResizeRequest& request,
                         ProgressCallback* progress = nullptr, const Limits& limits = Limits{});
OpResult resizePoint(const Image& image, const ResizeRequest& request,
                     ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

}  // namespace vivark
