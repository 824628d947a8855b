// The table of readable formats and the probe that runs their identify tests.
//
// The table is fixed when the system is built: one FormatEntry per readable
// format, in the probing order, where a file that two tests could accept goes
// to the earlier. An entry pairs the format's identify test with the factory
// of its reader; a format whose reader is not in this build has a null
// factory, and a family adds its reader by setting that one field.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "core/FormatTag.h"
#include "core/InFile.h"
#include "formats/FormatInfo.h"
#include "formats/ImageReader.h"

namespace vivark {

struct FormatEntry {
    const char* name;     // "Graphics Interchange Format"
    FormatTag formatTag;  // the primary tag; the test may report a variant ("BMPW")
    bool (*identify)(InFile& file, FormatInfo* info);
    // Null while the format has no reader in this build.
    std::unique_ptr<ImageReader> (*create)(InFile& file);
};

// All entries, in probing order.
std::span<const FormatEntry> formatTable();

// The entry whose primary tag is `tag`, or null.
const FormatEntry* findFormatEntry(FormatTag tag);

// Runs the identify tests in table order from the file's origin and returns
// the first entry whose test accepts the file (filling `info` when it is not
// null), or null. Before each test the stream is repositioned to the origin;
// while the start is buffered only the read pointer moves, so probing costs
// about one buffer fill. A test that runs out of data (a file shorter than
// its header) simply fails and the later tests still run; other read
// failures propagate.
const FormatEntry* identifyFormat(InFile& file, FormatInfo* info);

}  // namespace vivark
