// Turning a thrown error value of the core or of a codec into a message.
//
// The loader and the other top-level callers catch whatever a reader, codec or
// writer threw; formats/ErrorMessages.h asks these two first, then the format
// entries' own mappings. Compression errors raised inside a reader are
// reported by the compression method, never by the format.
#pragma once

#include <optional>

#include "core/Errors.h"
#include "core/Messages.h"

namespace vivark {

// The message for the exception in flight when it is one of the core's or
// the codecs' error types (INFILEERROR, the codecs', the JPEG library's,
// IMAGEERROR, PALERROR); nothing otherwise. Call only inside a catch block.
// A cancelled load (INFILEERROR::Cancelled) gives msg::None.
std::optional<MessageId> coreLoadMessage() noexcept;

// The same for the save path's own types: OUTFILEERROR, CREATEERROR,
// JFIFWRITEERROR and SAVEERROR. A cancelled save gives msg::None; messages
// holding "%s" (msg::CannotSave) take the target file's name.
std::optional<MessageId> coreSaveMessage() noexcept;

}  // namespace vivark
