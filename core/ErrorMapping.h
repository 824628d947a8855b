// Turning a thrown error value into a message identifier.
//
// The loader and the other top-level callers catch whatever a reader, codec or
// writer threw and ask this mapping for the message to record. The load
// mapping tries the error types in a fixed order, one catch clause per type;
// a type it does not list, and any other exception, gives
// "An unknown error occurred". Compression errors raised inside a reader are
// reported by the compression method, never by the format.
#pragma once

#include "core/Errors.h"
#include "core/Messages.h"

namespace vivark {

// The message for the exception in flight. Call only inside a catch block.
// Returns msg::None for a cancelled load (INFILEERROR::Cancelled).
MessageId loadMessageForCurrentException() noexcept;

// The save path's mapping: writer failures (OUTFILEERROR, CREATEERROR,
// JFIFWRITEERROR, FAX3WRITEERROR) first, then everything the load mapping
// knows. Returns msg::None for a cancelled save (OUTFILEERROR::Cancelled).
// Messages holding "%s" (msg::CannotSave) take the target file's name.
MessageId saveMessageForCurrentException() noexcept;

}  // namespace vivark
