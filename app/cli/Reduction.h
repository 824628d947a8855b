// The colour reduction that --colors, --palette and --dither ask for, and the
// combinations of them that cannot take effect.
//
// "--colors N" means at most N colours, whatever the palette: an image with
// N colours or fewer keeps them exactly (adaptive palette); a fixed or cube
// palette larger than N is used, and then only the N of its colours the
// picture uses most are kept, each pixel taking the nearest of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/Image.h"
#include "core/Progress.h"
#include "formats/WriterEntry.h"

namespace vivark::cli {

// Reduces `image` to at most `colours` colours; the count of the result, or
// nothing when cancelled (the image is then unchanged).
std::optional<uint32_t> reduceAtMost(Image& image, uint32_t colours, uint32_t paletteType,
                                     uint32_t ditherType, ProgressCallback* progress);

// Why the options cannot take effect together, or empty. `colours` is 0 when
// --colors was not given; `trueColourTaken` says whether the writer takes 24
// bits with the current save options.
std::string refusedBeforeLoad(uint32_t colours, uint32_t paletteType, uint32_t ditherType,
                              bool ditherGiven, const WriterEntry& writer, bool trueColourTaken);

}  // namespace vivark::cli
