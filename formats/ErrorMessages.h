// The message of whatever a load or a save threw.
//
// The core's and the codecs' types are mapped by core/ErrorMapping.h; a
// format's own enumeration by its entry's mapping (FormatTable.h). The format
// being loaded answers first, then every entry of the registry (a reader may
// raise another family's values, as the Seattle FilmWorks reader raises the
// JFIF reader's). Anything else is "An unknown error occurred".
#pragma once

#include "core/Messages.h"
#include "formats/FormatTable.h"

namespace vivark {

// The message for the exception in flight; call only inside a catch block.
// msg::None for a cancelled load.
MessageId loadMessageForCurrentException(const FormatEntry* format = nullptr) noexcept;

// The save path's mapping: the save path's own types first, then the writer's
// format and everything the load mapping knows. msg::None for a cancelled save.
MessageId saveMessageForCurrentException(const FormatEntry* format = nullptr) noexcept;

}  // namespace vivark
