// The writer of X window dumps (X11, file version 7).
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeXwd(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

}  // namespace vivark
