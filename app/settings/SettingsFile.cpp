// Parsing and formatting of the settings file text.
#include "app/settings/SettingsFile.h"

#include <optional>

namespace vivark::settings {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

void appendQuoted(std::string& out, std::string_view text) {
    out += '"';
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '"':
                out += "\\\"";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (isControl(byte)) {
                    out += "\\x";
                    out += kHexDigits[byte >> 4];
                    out += kHexDigits[byte & 15];
                } else {
                    out += c;
                }
        }
    }
    out += '"';
}

// Reads a quoted string at the start of `line`, consuming it.
std::optional<std::string> takeQuoted(std::string_view& line) {
    if (line.empty() || line.front() != '"') return std::nullopt;
    std::string text;
    size_t i = 1;
    while (i < line.size()) {
        char c = line[i++];
        if (c == '"') {
            line.remove_prefix(i);
            return text;
        }
        if (c != '\\') {
            text += c;
            continue;
        }
        if (i >= line.size()) return std::nullopt;
        char escape = line[i++];
        switch (escape) {
            case '\\':
                text += '\\';
                break;
            case '"':
                text += '"';
                break;
            case 'n':
                text += '\n';
                break;
            case 'r':
                text += '\r';
                break;
            case 't':
                text += '\t';
                break;
            case 'x': {
                if (i + 2 > line.size()) return std::nullopt;
                int high = hexValue(line[i]), low = hexValue(line[i + 1]);
                if (high < 0 || low < 0) return std::nullopt;
                text += static_cast<char>(high * 16 + low);
                i += 2;
                break;
            }
            default:
                return std::nullopt;
        }
    }
    return std::nullopt;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

// "aa,bb, cc" (possibly empty) into bytes.
std::optional<std::vector<uint8_t>> parseHexList(std::string_view text) {
    std::vector<uint8_t> bytes;
    text = trim(text);
    if (text.empty()) return bytes;
    while (true) {
        text = trim(text);
        if (text.size() < 2) return std::nullopt;
        int high = hexValue(text[0]), low = hexValue(text[1]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<uint8_t>(high * 16 + low));
        text = trim(text.substr(2));
        if (text.empty()) return bytes;
        if (text.front() != ',') return std::nullopt;
        text.remove_prefix(1);
    }
}

std::optional<StoredValue> parseValue(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '"') {
        auto content = takeQuoted(text);
        if (!content || !trim(text).empty()) return std::nullopt;
        StoredValue value{kTypeString, {content->begin(), content->end()}};
        value.bytes.push_back(0);
        return value;
    }
    if (takePrefix(text, "dword:")) {
        if (text.empty() || text.size() > 8) return std::nullopt;
        uint32_t number = 0;
        for (char c : text) {
            int digit = hexValue(c);
            if (digit < 0) return std::nullopt;
            number = number * 16 + static_cast<uint32_t>(digit);
        }
        return StoredValue{
            kTypeDword,
            {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8),
             static_cast<uint8_t>(number >> 16), static_cast<uint8_t>(number >> 24)}};
    }
    ValueType type = kTypeBinary;
    if (takePrefix(text, "hex(")) {
        size_t close = text.find(')');
        if (close == 0 || close == std::string_view::npos || close > 8) return std::nullopt;
        type = 0;
        for (char c : text.substr(0, close)) {
            int digit = hexValue(c);
            if (digit < 0) return std::nullopt;
            type = type * 16 + static_cast<uint32_t>(digit);
        }
        text.remove_prefix(close + 1);
        if (!takePrefix(text, ":")) return std::nullopt;
    } else if (!takePrefix(text, "hex:")) {
        return std::nullopt;
    }
    auto bytes = parseHexList(text);
    if (!bytes) return std::nullopt;
    return StoredValue{type, std::move(*bytes)};
}

void appendHexList(std::string& out, const std::vector<uint8_t>& bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) out += ',';
        out += kHexDigits[bytes[i] >> 4];
        out += kHexDigits[bytes[i] & 15];
    }
}

// A string value written in quotes must give back exactly its bytes: one
// terminating zero and no other.
bool isPlainString(const StoredValue& value) {
    if (value.type != kTypeString || value.bytes.empty() || value.bytes.back() != 0) return false;
    for (size_t i = 0; i + 1 < value.bytes.size(); ++i)
        if (value.bytes[i] == 0) return false;
    return true;
}

void appendValue(std::string& out, const StoredValue& value) {
    if (value.type == kTypeDword && value.bytes.size() == 4) {
        uint32_t number = uint32_t{value.bytes[0]} | (uint32_t{value.bytes[1]} << 8) |
                          (uint32_t{value.bytes[2]} << 16) | (uint32_t{value.bytes[3]} << 24);
        out += "dword:";
        for (int shift = 28; shift >= 0; shift -= 4) out += kHexDigits[(number >> shift) & 15];
    } else if (isPlainString(value)) {
        appendQuoted(out, std::string_view(reinterpret_cast<const char*>(value.bytes.data()),
                                           value.bytes.size() - 1));
    } else if (value.type == kTypeBinary) {
        out += "hex:";
        appendHexList(out, value.bytes);
    } else {
        out += "hex(";
        bool started = false;
        for (int shift = 28; shift >= 0; shift -= 4) {
            unsigned digit = (value.type >> shift) & 15;
            if (digit != 0 || started || shift == 0) {
                out += kHexDigits[digit];
                started = true;
            }
        }
        out += "):";
        appendHexList(out, value.bytes);
    }
}

}  // namespace

bool isWritableSubkey(std::string_view subkey) {
    for (char c : subkey)
        if (isControl(static_cast<unsigned char>(c))) return false;
    return trim(subkey).size() == subkey.size();
}

ParsedSettingsFile parseSettingsFile(std::string_view text) {
    ParsedSettingsFile parsed;
    if (text.empty()) return parsed;
    takePrefix(text, "\xEF\xBB\xBF");  // a byte-order mark left by an editor

    // Values after a section line that could not be read belong to no known
    // subkey and are skipped with it.
    std::optional<std::string> subkey = std::string();
    int lineNumber = 0;
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        line = trim(line);

        if (lineNumber == 1) {
            if (line != kSettingsFileSignature) {
                parsed.foreign = true;
                return parsed;
            }
            continue;
        }
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;

        bool understood = false;
        if (line.front() == '[' && line.back() == ']' && line.size() >= 2) {
            std::string_view path = line.substr(1, line.size() - 2);
            if (isWritableSubkey(path)) {
                subkey = path;
                understood = true;
            } else {
                subkey.reset();
            }
        } else if (auto name = takeQuoted(line); name && subkey) {
            line = trim(line);
            if (takePrefix(line, "=")) {
                if (auto value = parseValue(line)) {
                    parsed.tree.set(*subkey, *name, *value);
                    understood = true;
                }
            }
        }
        if (!understood) {
            if (parsed.badLineCount++ == 0) parsed.firstBadLine = lineNumber;
        }
    }
    return parsed;
}

std::string formatSettingsFile(const SettingsTree& tree) {
    std::string out;
    out += kSettingsFileSignature;
    out += "\n; Settings of vivark that differ from their defaults ('vivark settings --help').\n";
    for (const auto& [subkey, values] : tree.subkeys()) {
        if (!subkey.empty()) {
            out += "\n[";
            out += subkey;
            out += "]\n";
        }
        for (const auto& [name, value] : values) {
            appendQuoted(out, name);
            out += '=';
            appendValue(out, value);
            out += '\n';
        }
    }
    return out;
}

}  // namespace vivark::settings
