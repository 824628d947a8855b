// The writer of Softimage pictures.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeSoftimage(const Image& image, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress);

}  // namespace vivark
