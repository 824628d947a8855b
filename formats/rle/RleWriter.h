// The writers of the two run-length formats.
#pragma once

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeCompuserveRle(const Image& image, OutFile& out, const SaveOptions& options,
                        ProgressCallback* progress);
void writeUtahRle(const Image& image, OutFile& out, const SaveOptions& options,
                  ProgressCallback* progress);

}  // namespace vivark
