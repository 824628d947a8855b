// The writers of X bitmaps and X pixmaps (XbmWriter.cpp, XpmWriter.cpp).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

void writeXbm(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);
void writeXpm(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);

// The C identifier of a file: its name cut to `capacity` characters, in
// lower case, up to the first character that is neither letter nor digit;
// `fallback` when that leaves nothing.
std::string sourceIdentifier(std::string_view fileName, size_t capacity, std::string_view fallback);

}  // namespace vivark
