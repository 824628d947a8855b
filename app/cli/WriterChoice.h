// Which writer a conversion uses: the format named by --to (menu name or
// short name), else the one the output's extension names.
//
// A name or extension that belongs to a format the tool knows but cannot
// write (a read-only format such as Kodak Photo CD, or one whose writer is
// not in this build) is refused by that format's name, so the user learns
// the format is known; anything else is reported as not understood.
#pragma once

#include <string>
#include <string_view>

#include "formats/WriterEntry.h"

namespace vivark::cli {

struct WriterChoice {
    const WriterEntry* writer = nullptr;  // null: `problem` says why
    std::string problem;
    bool knownFormat = false;  // the format is known but has no writer
};

WriterChoice chooseWriter(std::string_view formatName, std::string_view outputPath);

}  // namespace vivark::cli
