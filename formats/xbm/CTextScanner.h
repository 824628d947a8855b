// CTextScanner: reads the C source that X bitmaps and pixmaps are, a token
// at a time, straight from an InFile.
//
// It skips whitespace and both kinds of C comment, and reads words (letters,
// digits, '_' and '#'), C integer literals (decimal, 0x hexadecimal and
// leading-zero octal) and double-quoted strings with backslash escapes. The
// end of the data is not a token: the InFile's UnexpectedEnd propagates, as
// every such file ends with its closing brace. Nothing grows with the input
// beyond the caller's own bounds: a word keeps at most kMaxWord characters
// and a string is refused past the length the caller allows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/InFile.h"

namespace vivark {

class CTextScanner {
  public:
    static constexpr size_t kMaxWord = 64;

    explicit CTextScanner(InFile& file) : file_(&file) {}

    // The next byte without taking it, and taking it.
    uint8_t peek() {
        if (!pending_) pending_ = file_->readByte();
        return *pending_;
    }
    uint8_t get() {
        const uint8_t c = peek();
        pending_.reset();
        return c;
    }

    // Skips whitespace and comments; stops before the next token.
    void skipBlanks();
    // Skips the rest of the current line.
    void skipLine();

    // A word (letters, digits, '_', '#'), longer ones cut to kMaxWord
    // characters; empty when the next byte starts no word (nothing is taken).
    std::string_view word();

    // A define's name: everything up to the next blank (tools name files
    // "-" and such), cut like a word.
    std::string_view name();

    // A C integer literal after the blanks; nothing when none starts there
    // (nothing is taken then). Values past 32 bits saturate.
    std::optional<uint32_t> number();

    // Skips to the next double-quoted string and reads it into `text`; false
    // when it is longer than `maxLength` bytes. `stop`, when given, ends the
    // search without taking it (a closing brace, say): false then too, with
    // `stopped` set.
    bool string(std::string& text, size_t maxLength, uint8_t stop = 0);
    bool stopped() const { return stopped_; }

  private:
    InFile* file_;
    std::optional<uint8_t> pending_;
    char word_[kMaxWord];
    bool stopped_ = false;
};

inline bool isWordByte(uint8_t c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '#';
}

inline bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}  // namespace vivark
