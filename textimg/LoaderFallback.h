// The loader's text fallback: an image carried as text in the file being
// loaded, decoded into memory.
#pragma once

#include <cstdint>
#include <memory>

#include "core/InFile.h"

namespace vivark::textimg {

// Decodes the blocks found in the first `lineLimit` lines of `file` (lines
// inside blocks do not count) and returns a stream over the first decoded
// file that the format table (or a MacBinary header) recognises, or else
// over the first decoded file, for the loader's further searches; null when
// the text carries nothing. A damaged file is returned all the same: a
// viewer shows what arrived.
std::unique_ptr<InFile> decodeTextImage(InFile& file, uint32_t lineLimit);

// Makes decodeTextImage the loader's text fallback.
void installLoaderFallback();

}  // namespace vivark::textimg
