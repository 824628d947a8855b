// The PCX and one-page DCX writers.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/pcx/PcxFormat.h"

namespace vivark {

void writePcx(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);
void writeDcx(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

}  // namespace vivark
