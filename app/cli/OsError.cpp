// The system's reason added to load and save failures.
#include "app/cli/OsError.h"

#include <cstring>

#include "app/cli/Report.h"
#include "core/SystemError.h"

namespace vivark::cli {

std::string withSystemReason(std::string message) {
    const int error = lastSystemError();
    if (error == 0) return message;
    return message + ": " + std::strerror(error);
}

void reportLoadFailure(std::ostream& err, std::string_view input, MessageId id) {
    reportError(err, input, withSystemReason(formatMessage(id, input)));
}

void reportSaveFailure(std::ostream& err, std::string_view output, MessageId id) {
    std::string text = formatMessage(id, "");
    while (!text.empty() && text.back() == ' ') text.pop_back();
    reportError(err, output, withSystemReason(std::move(text)));
}

}  // namespace vivark::cli
