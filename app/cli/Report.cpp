// Failure lines of the command line.
#include "app/cli/Report.h"

#include <cstdio>
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

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string trimmedTag(FormatTag tag) {
    std::string text = tagText(tag);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

}  // namespace vivark::cli
