// Token reading of X bitmaps and pixmaps (see CTextScanner.h).
#include "formats/xbm/CTextScanner.h"

namespace vivark {
namespace {

bool isBlank(uint8_t c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

int digitValue(uint8_t c, unsigned base) {
    int v = -1;
    if (c >= '0' && c <= '9') v = c - '0';
    if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
    return v >= 0 && unsigned(v) < base ? v : -1;
}

}  // namespace

void CTextScanner::skipBlanks() {
    for (;;) {
        while (isBlank(peek())) get();
        if (peek() != '/') return;
        get();
        const uint8_t kind = peek();
        if (kind == '/') {
            skipLine();
        } else if (kind == '*') {
            get();
            uint8_t last = 0;
            for (uint8_t c = get(); !(last == '*' && c == '/'); c = get()) last = c;
        } else {
            // A lone slash is no token of these files; it is passed over.
            continue;
        }
    }
}

void CTextScanner::skipLine() {
    while (get() != '\n') {
    }
}

std::string_view CTextScanner::word() {
    size_t length = 0;
    while (isWordByte(peek())) {
        const uint8_t c = get();
        if (length < kMaxWord) word_[length++] = static_cast<char>(c);
    }
    return {word_, length};
}

std::string_view CTextScanner::name() {
    size_t length = 0;
    while (!isBlank(peek())) {
        const uint8_t c = get();
        if (length < kMaxWord) word_[length++] = static_cast<char>(c);
    }
    return {word_, length};
}

std::optional<uint32_t> CTextScanner::number() {
    skipBlanks();
    if (peek() < '0' || peek() > '9') return std::nullopt;
    unsigned base = 10;
    if (peek() == '0') {
        get();
        base = 8;
        if (peek() == 'x' || peek() == 'X') {
            get();
            base = 16;
        }
    }
    uint64_t value = 0;
    for (int d = digitValue(peek(), base); d >= 0; d = digitValue(peek(), base)) {
        get();
        value = value * base + unsigned(d);
        if (value > 0xFFFFFFFFu) value = 0xFFFFFFFFu;
    }
    // Suffixes such as U or L are passed over.
    while (peek() == 'u' || peek() == 'U' || peek() == 'l' || peek() == 'L') get();
    return static_cast<uint32_t>(value);
}

bool CTextScanner::string(std::string& text, size_t maxLength, uint8_t stop) {
    stopped_ = false;
    for (;;) {
        skipBlanks();
        const uint8_t c = peek();
        if (c == '"') break;
        if (stop != 0 && c == stop) {
            stopped_ = true;
            return false;
        }
        get();
    }
    get();
    text.clear();
    for (uint8_t c = get(); c != '"'; c = get()) {
        if (c == '\\') c = get();
        if (text.size() >= maxLength) return false;
        text.push_back(static_cast<char>(c));
    }
    return true;
}

}  // namespace vivark
