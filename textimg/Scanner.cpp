// Block recognition; see Scanner.h.
#include "textimg/Scanner.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace vivark::textimg {
namespace {

constexpr std::string_view kBinHexLine = "(This file must be converted with BinHex 4.0)";

std::string_view trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

// The expected count of encoded characters and the run of valid ones, for
// one table, on a line after "begin".
bool lineMatches(std::string_view line, const DecodeTable& table) {
    uint32_t expected = 256;
    if (!line.empty()) {
        const uint8_t length = table[static_cast<uint8_t>(line[0])];
        if (length != kInvalid) expected = (8u * length + 5) / 6;
    }
    uint32_t run = 0;
    for (size_t i = 1; i < line.size() && table[static_cast<uint8_t>(line[i])] != kInvalid; ++i)
        ++run;
    return expected == run;
}

// "begin 644 name": an octal mode and a name.
bool hasModeAndName(std::string_view line, std::string& name) {
    line.remove_prefix(5);
    if (line.empty() || (line[0] != ' ' && line[0] != '\t')) return false;
    line = trim(line);
    size_t digits = 0;
    while (digits < line.size() && line[digits] >= '0' && line[digits] <= '7') ++digits;
    if (digits == 0 || digits == line.size() || (line[digits] != ' ' && line[digits] != '\t'))
        return false;
    name = std::string(trim(line.substr(digits)));
    return true;
}

// The value of "key=" in a lower-cased =ybegin line, from `line` (the same
// positions in the original case when `keepCase`); for "name" the rest of
// the line, as names may hold blanks.
std::string_view yencField(std::string_view lower, std::string_view line, std::string_view key) {
    size_t at = 0;
    for (;;) {
        at = lower.find(key, at);
        if (at == std::string_view::npos) return {};
        if (at == 0 || lower[at - 1] == ' ') break;
        at += key.size();
    }
    at += key.size();
    if (key == "name=") return trim(line.substr(at));
    size_t end = at;
    while (end < line.size() && line[end] != ' ') ++end;
    return line.substr(at, end - at);
}

uint64_t number(std::string_view text) {
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') break;
        if (value > (UINT64_MAX - 9) / 10) return UINT64_MAX;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    return value;
}

}  // namespace

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

std::string headerParameter(std::string_view field, std::string_view key) {
    size_t at = 0;
    while ((at = field.find(';', at)) != std::string_view::npos) {
        std::string_view rest = trim(field.substr(++at));
        if (!startsWithNoCase(rest, key)) continue;
        rest.remove_prefix(key.size());
        rest = trim(rest);
        if (rest.empty() || rest[0] != '=') continue;
        rest = trim(rest.substr(1));
        if (!rest.empty() && rest[0] == '"') {
            std::string value;
            for (size_t i = 1; i < rest.size() && rest[i] != '"'; ++i) {
                if (rest[i] == '\\' && i + 1 < rest.size()) ++i;
                value += rest[i];
            }
            return value;
        }
        size_t end = 0;
        while (end < rest.size() && rest[end] != ';' && rest[end] != ' ' && rest[end] != '\t')
            ++end;
        return std::string(rest.substr(0, end));
    }
    return {};
}

Scanner::UuKind Scanner::classify(LineSource& lines) const {
    const LineSource::Mark start = lines.mark();
    UuKind kind = UuKind::Neither;
    std::string_view line;
    for (int i = 0; i < 4 && kind == UuKind::Neither && lines.next(line); ++i) {
        line = line.substr(0, std::min(line.size(), kExaminedChars));
        if (lineMatches(line, xxTable_))
            kind = UuKind::Xxencode;
        else if (lineMatches(line, kUuTable))
            kind = UuKind::Uuencode;
    }
    lines.reset(start);
    return kind;
}

void Scanner::readTable(LineSource& lines) {
    // The 64 characters come on the lines after "table" (two lines of 32 in
    // practice); blanks do not count. An incomplete table is not used.
    std::string alphabet;
    std::string_view line;
    while (alphabet.size() < 64) {
        const LineSource::Mark before = lines.mark();
        if (!lines.next(line)) break;
        if (line.starts_with("begin")) {
            lines.reset(before);
            break;
        }
        for (char c : line.substr(0, std::min(line.size(), kExaminedChars)))
            if (c != ' ' && c != '\t' && alphabet.size() < 64) alphabet += c;
    }
    if (alphabet.size() == 64) xxTable_ = tableOf(alphabet);
}

void Scanner::noteHeader(std::string_view line) {
    if (folding_ != nullptr && !line.empty() && (line[0] == ' ' || line[0] == '\t')) {
        *folding_ += ' ';
        *folding_ += trim(line);
        return;
    }
    folding_ = nullptr;
    if (startsWithNoCase(line, "Content-Type:")) {
        contentType_ = std::string(trim(line.substr(13)));
        folding_ = &contentType_;
    } else if (startsWithNoCase(line, "Content-Disposition:")) {
        contentDisposition_ = std::string(trim(line.substr(20)));
        folding_ = &contentDisposition_;
    } else if (line.starts_with("--")) {
        // A boundary: the next body part has headers of its own.
        contentType_.clear();
        contentDisposition_.clear();
    }
}

bool Scanner::mimeBlock(LineSource& lines, std::string_view value, BlockStart& start) {
    value = trim(value);
    const bool base64 = startsWithNoCase(value, "base64");
    // The rest of this header block may still name the file.
    std::string_view line;
    for (;;) {
        const LineSource::Mark before = lines.mark();
        if (!lines.next(line)) break;
        if (trim(line).empty()) break;
        if (!base64 && !line.starts_with(" ") && !line.starts_with("\t") &&
            line.find(':') == std::string_view::npos) {
            lines.reset(before);
            break;
        }
        noteHeader(line);
    }
    folding_ = nullptr;
    if (!base64) return false;
    std::string name = headerParameter(contentDisposition_, "filename");
    if (name.empty()) name = headerParameter(contentType_, "name");
    start.name = std::move(name);
    start.boundary = boundary_;
    contentType_.clear();
    contentDisposition_.clear();
    return true;
}

std::optional<BlockStart> Scanner::next(LineSource& lines, uint64_t* lineBudget,
                                        bool stopAtBinary) {
    std::string_view full;
    while (lines.next(full)) {
        if (lineBudget != nullptr) {
            // A long line counts as the 80-character pieces an 81-byte
            // buffer would read it in, so a binary file without line ends
            // is given up after as many bytes as 1000 short lines.
            const uint64_t pieces =
                std::max<uint64_t>(1, (full.size() + kExaminedChars - 1) / kExaminedChars);
            if (*lineBudget < pieces) {
                *lineBudget = 0;
                return std::nullopt;
            }
            *lineBudget -= pieces;
        }
        if (stopAtBinary && std::memchr(full.data(), 0, full.size()) != nullptr)
            return std::nullopt;
        const std::string_view line = full.substr(0, std::min(full.size(), kExaminedChars));
        BlockStart start;
        start.line = lines.lineNumber();
        start.source = lines.memberName();
        if (line.starts_with("charmap")) {
            // The character map is kept but not applied: the tables are
            // defined over the text as it arrived, and the line is read here
            // so that it is never taken for data.
            if (lines.next(full)) charmap_ = std::string(full.substr(0, kExaminedChars));
        } else if (line.starts_with("table")) {
            readTable(lines);
        } else if (line.starts_with("begin")) {
            // When none of the four lines settles it, a line of the usual
            // "begin MODE NAME" form still starts a block, taken as
            // uuencode, by far the more common of the two; any other line
            // that merely starts with the word is text.
            std::string name;
            const bool usual = hasModeAndName(full, name);
            const UuKind kind = classify(lines);
            if (kind == UuKind::Neither && !usual) continue;
            start.encoding = kind == UuKind::Xxencode ? Encoding::Xxencode : Encoding::Uuencode;
            start.name = name;
            return start;
        } else if (startsWithNoCase(line, kBinHexLine)) {
            start.encoding = Encoding::BinHex;
            return start;
        } else if (startsWithNoCase(line, "=ybegin")) {
            std::string lower(full);
            std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
                return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            });
            start.encoding = Encoding::Yenc;
            start.size = number(yencField(lower, full, "size="));
            start.part = static_cast<uint32_t>(
                std::min<uint64_t>(number(yencField(lower, full, "part=")), UINT32_MAX));
            start.total = static_cast<uint32_t>(
                std::min<uint64_t>(number(yencField(lower, full, "total=")), UINT32_MAX));
            start.name = std::string(yencField(lower, full, "name="));
            return start;
        } else if (startsWithNoCase(line, "Content-Transfer-Encoding")) {
            const size_t colon = full.find(':');
            const std::string_view value =
                colon == std::string_view::npos ? std::string_view{} : full.substr(colon + 1);
            if (mimeBlock(lines, value, start)) {
                start.encoding = Encoding::Base64;
                return start;
            }
        } else {
            noteHeader(full);
            // A multipart body's boundary stays in force until another
            // multipart header replaces it (it may come on a folded line).
            if (startsWithNoCase(contentType_, "multipart/")) {
                std::string boundary = headerParameter(contentType_, "boundary");
                if (!boundary.empty()) boundary_ = std::move(boundary);
            }
        }
    }
    return std::nullopt;
}

}  // namespace vivark::textimg
