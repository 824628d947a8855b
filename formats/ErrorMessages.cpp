// The load and save paths' mapping of thrown values to messages; see
// ErrorMessages.h.
#include "formats/ErrorMessages.h"

#include "core/ErrorMapping.h"

namespace vivark {
namespace {

std::optional<MessageId> entryMessage(const FormatEntry& entry) noexcept {
    for (const ErrorMapping& mapping : entry.errors)
        if (std::optional<MessageId> message = mapping.current()) return message;
    return std::nullopt;
}

}  // namespace

MessageId loadMessageForCurrentException(const FormatEntry* format) noexcept {
    if (std::optional<MessageId> message = coreLoadMessage()) return *message;
    if (format != nullptr)
        if (std::optional<MessageId> message = entryMessage(*format)) return *message;
    for (const FormatEntry* entry : formatTable())
        if (std::optional<MessageId> message = entryMessage(*entry)) return *message;
    return msg::Unknown;
}

MessageId saveMessageForCurrentException(const FormatEntry* format) noexcept {
    if (std::optional<MessageId> message = coreSaveMessage()) return *message;
    return loadMessageForCurrentException(format);
}

}  // namespace vivark
