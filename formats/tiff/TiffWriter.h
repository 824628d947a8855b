// The TIFF writer: one page, or several pages in one file, from Images of 1,
// 4, 8 and 24 bits, with the save options of SaveOptions\TIFF.
#pragma once

#include <span>

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeTiff(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress);
void writeTiffPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress);

}  // namespace vivark
