// The FITS writer.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/fits/FitsFormat.h"

namespace vivark {

void writeFits(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress);

}  // namespace vivark
