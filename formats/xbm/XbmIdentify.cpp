// Identifies the X Window System's text images.
//
// X pixmap: the comment "/* XPM */" first (after any whitespace), then the
// first quoted string after the opening brace holds width, height, colour
// count and characters per pixel, all non-zero; or, in the older format-1
// layout, "#define <name>_format 1" followed by the _width, _height,
// _ncolors and _chars_per_pixel defines, all non-zero. The depth follows
// from the colour count: 1 for 2 colours, 4 for 16, 8 for 256, 24 beyond.
// X bitmap: "#define <name>_width <n>" and then "#define <name>_height <n>",
// both non-zero, as the first two lines with text (after any C comments);
// one bit per pixel.
// Only the first kTextLimit bytes are examined.
#include <string_view>

#include "formats/IdentifySupport.h"
#include "formats/xbm/XbmFormat.h"

namespace vivark {
namespace {

constexpr size_t kTextLimit = 2048;

struct Text {
    const uint8_t* data;
    size_t length;
    size_t at = 0;

    bool atEnd() const { return at >= length; }
    void skipSpace() {
        while (!atEnd() &&
               (data[at] == ' ' || data[at] == '\t' || data[at] == '\r' || data[at] == '\n')) {
            ++at;
        }
    }
    // Skips whitespace and C comments.
    void skipSpaceAndComments() {
        for (;;) {
            skipSpace();
            if (!startsWith("/*")) return;
            at += 2;
            while (!atEnd() && !startsWith("*/")) ++at;
            if (atEnd()) return;
            at += 2;
        }
    }
    bool startsWith(std::string_view s) const {
        if (length - at < s.size()) return false;
        for (size_t i = 0; i < s.size(); ++i) {
            if (data[at + i] != static_cast<uint8_t>(s[i])) return false;
        }
        return true;
    }
    bool take(std::string_view s) {
        if (!startsWith(s)) return false;
        at += s.size();
        return true;
    }
    // A decimal number after optional blanks; 0 when there is none.
    uint32_t number() {
        while (!atEnd() && (data[at] == ' ' || data[at] == '\t')) ++at;
        uint64_t value = 0;
        while (!atEnd() && data[at] >= '0' && data[at] <= '9' && value <= 0xFFFFFFFFu) {
            value = value * 10 + (data[at++] - '0');
        }
        return value <= 0xFFFFFFFFu ? static_cast<uint32_t>(value) : 0;
    }
    // A "#define name_suffix value" line: the value, or 0.
    uint32_t define(std::string_view suffix) {
        skipSpaceAndComments();
        if (!take("#define")) return 0;
        if (atEnd() || (data[at] != ' ' && data[at] != '\t')) return 0;
        while (!atEnd() && (data[at] == ' ' || data[at] == '\t')) ++at;
        const size_t nameStart = at;
        while (!atEnd() && data[at] > ' ') ++at;
        const size_t nameLength = at - nameStart;
        if (nameLength < suffix.size()) return 0;
        for (size_t i = 0; i < suffix.size(); ++i) {
            if (data[at - suffix.size() + i] != static_cast<uint8_t>(suffix[i])) return 0;
        }
        return number();
    }
};

}  // namespace

bool identifyXpm(InFile& file, FormatInfo* info) {
    uint8_t buffer[kTextLimit];
    Text text{buffer, readPrefix(file, buffer, sizeof buffer)};
    text.skipSpace();
    uint32_t width = 0, height = 0, colours = 0, charsPerPixel = 0;
    if (text.take("/* XPM */")) {
        while (!text.atEnd() && text.data[text.at] != '{') ++text.at;
        while (!text.atEnd() && text.data[text.at] != '"') ++text.at;
        if (!text.take("\"")) return false;
        width = text.number();
        height = text.number();
        colours = text.number();
        charsPerPixel = text.number();
    } else {
        if (text.define("_format") != 1) return false;
        width = text.define("_width");
        height = text.define("_height");
        colours = text.define("_ncolors");
        charsPerPixel = text.define("_chars_per_pixel");
    }
    if (width == 0 || height == 0 || colours == 0 || charsPerPixel == 0) return false;
    const uint32_t bits = colours <= 2 ? 1 : colours <= 16 ? 4 : colours <= 256 ? 8 : 24;
    return accept(info, width, height, bits, makeTag("XPM "));
}

bool identifyXbm(InFile& file, FormatInfo* info) {
    uint8_t buffer[kTextLimit];
    Text text{buffer, readPrefix(file, buffer, sizeof buffer)};
    const uint32_t width = text.define("_width");
    if (width == 0) return false;
    const uint32_t height = text.define("_height");
    if (height == 0) return false;
    return accept(info, width, height, 1, makeTag("XBM "));
}

}  // namespace vivark
