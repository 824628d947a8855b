// The contract of every format's identify test.
//
// Each test reads from the file's current origin (position 0), decides from
// the first bytes alone whether the content is of its format and, when it is
// and `info` is not null, fills in the size, depth and format tag. A test never
// allocates memory sized by the file and throws nothing of its own: reading
// past the end of a short file throws INFILEERROR::UnexpectedEnd from the
// InFile, which identifyFormat takes as "not this format". Tests that must
// read an unknown amount (GIF extensions, PNG and IFF chunks, TIFF entries)
// stop after a fixed number of steps.
//
// The tests live in their format families' folders and are declared in each
// family's *Format.h; the family's entry (FormatTable.h) names its test.
#pragma once

#include "core/InFile.h"
#include "formats/FormatInfo.h"

namespace vivark {

using IdentifyFunction = bool (*)(InFile& file, FormatInfo* info);

}  // namespace vivark
