// mapToPalette: every pixel of an image to an index of a given palette, by
// nearest colour or with Floyd-Steinberg error diffusion.
//
// Every decision goes through an InverseColourMap, never a search per pixel.
// For fixed and cube palettes (MapSpace::Luma) colours are compared as
// luminance and two colour differences (LumaTransform.h); an adaptive
// palette (MapSpace::Rgb) is compared in red, green and blue, the space it
// was chosen in.
//
// Diffusion runs the rows top to bottom in serpentine order (the top row left
// to right). A pixel's error goes 7/16 ahead, 3/16 below and behind, 5/16
// below and 1/16 below and ahead; error rows carry one spare pixel at each
// end, so the shares that fall off the picture land there. The error arriving
// at a pixel, (sum of sixteenths + 8) >> 4, passes through a limiting curve
// (itself below 16, then half the excess, at most 32) so a run of large
// errors cannot smear, and the corrected colour is clamped to 0..255 before
// its cell is looked up; the error passed on is that clamped colour minus
// the chosen entry.
//
// Returns false when the progress object cancels (after any row; the
// destination is then unfinished and the caller discards it). Allocates the
// map and two error rows up front (std::bad_alloc); nothing else throws.
#pragma once

#include <cstdint>

#include "core/Image.h"
#include "core/Palette.h"
#include "core/Progress.h"
#include "ops/InverseColourMap.h"

namespace vivark {

enum class MapSpace : uint8_t { Luma, Rgb };

// `destination`: an 8-bit image of the source's size. `count`: 1..256.
// `cells`: storage for the map to adopt, or null to allocate it.
bool mapToPalette(const Image& source, const Colour* palette, unsigned count, MapSpace space,
                  bool diffuse, Image& destination, ProgressCallback* progress,
                  InverseColourMap::Cells cells = nullptr);

// The palette entry as a point of the map's space.
MapPoint mapPointOf(Colour colour, MapSpace space);

}  // namespace vivark
