// Failure lines of the command line.
#include "app/cli/Report.h"

#include <ostream>

namespace vivark::cli {

void reportError(std::ostream& err, std::string_view file, std::string_view message) {
    err << "vivark: ";
    if (!file.empty()) err << file << ": ";
    err << message << '\n';
}

void reportMessage(std::ostream& err, std::string_view file, MessageId id) {
    reportError(err, file, formatMessage(id, file));
}

}  // namespace vivark::cli
