// The Targa writer.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/tga/TgaFormat.h"

namespace vivark {

void writeTga(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

}  // namespace vivark
