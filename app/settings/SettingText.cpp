// Text forms of setting values.
#include "app/settings/SettingText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "core/settings/SettingsTree.h"

namespace vivark::settings {
namespace {

std::optional<uint32_t> parseHexDigits(std::string_view digits) {
    if (digits.empty() || digits.size() > 8) return std::nullopt;
    uint32_t value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

std::optional<uint32_t> parseNumber(std::string_view text) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        return parseHexDigits(text.substr(2));
    if (text.empty() || text.front() < '0' || text.front() > '9') return std::nullopt;
    uint32_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 10);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

struct Formatter {
    IntegerFormat format;
    std::string operator()(bool value) const { return formatBool(value); }
    std::string operator()(uint32_t value) const { return formatInteger(value, format); }
    std::string operator()(double value) const { return formatReal(value); }
    std::string operator()(const std::string& value) const { return value; }
};

}  // namespace

std::string_view kindName(SettingKind kind) {
    switch (kind) {
        case SettingKind::Boolean:
            return "boolean";
        case SettingKind::Integer:
            return "integer";
        case SettingKind::Real:
            return "real";
        case SettingKind::Text:
            return "text";
    }
    return "unknown";
}

std::string formatBool(bool value) {
    return value ? "yes" : "no";
}

std::string formatInteger(uint32_t value, IntegerFormat format) {
    char text[16];
    switch (format) {
        case IntegerFormat::Tag: {
            bool printable = true;
            for (int i = 0; i < 4; ++i) {
                unsigned c = (value >> (8 * i)) & 0xFF;
                printable = printable && c >= 0x20 && c < 0x7F;
                text[i] = static_cast<char>(c);
            }
            if (printable) return std::string(text, 4);
            std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(value));
            return text;
        }
        case IntegerFormat::Colour:
            std::snprintf(text, sizeof text, "0x%06X", static_cast<unsigned>(value));
            return text;
        case IntegerFormat::Number:
            break;
    }
    return std::to_string(value);
}

std::string formatReal(double value) {
    char text[32];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::optional<bool> parseBool(std::string_view text) {
    if (equalsIgnoringCase(text, "yes") || text == "1") return true;
    if (equalsIgnoringCase(text, "no") || text == "0") return false;
    return std::nullopt;
}

std::optional<uint32_t> parseInteger(std::string_view text, IntegerFormat format) {
    if (format == IntegerFormat::Tag && text.size() == 4) {
        uint32_t tag = 0;
        for (int i = 3; i >= 0; --i) tag = (tag << 8) | static_cast<uint8_t>(text[i]);
        return tag;
    }
    if (format == IntegerFormat::Colour && text.size() == 7 && text.front() == '#')
        return parseHexDigits(text.substr(1));
    return parseNumber(text);
}

std::optional<double> parseReal(std::string_view text) {
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::string expectedForm(const SettingRef& setting) {
    return std::visit(
        [](const auto* s) -> std::string {
            switch (s->kind()) {
                case SettingKind::Boolean:
                    return "a boolean (yes, no, 1 or 0)";
                case SettingKind::Real:
                    return "a real number such as 2.2";
                case SettingKind::Text:
                    return "text";
                case SettingKind::Integer:
                    break;
            }
            switch (s->format()) {
                case IntegerFormat::Tag:
                    return "a format tag of four characters such as \"BMP \"";
                case IntegerFormat::Colour:
                    return "a colour (0xRRGGBB or #RRGGBB)";
                case IntegerFormat::Number:
                    break;
            }
            return "an integer from 0 to 4294967295 (decimal, or hexadecimal with 0x)";
        },
        setting);
}

std::string defaultText(const SettingRef& setting) {
    return std::visit([](const auto* s) { return Formatter{s->format()}(s->defaultValue()); },
                      setting);
}

std::string currentText(const SettingRef& setting) {
    return std::visit([](const auto* s) { return Formatter{s->format()}(s->get()); }, setting);
}

SetFromText setFromText(const SettingRef& setting, std::string_view text) {
    auto store = [](auto* s, const auto& value) {
        return s->set(value) ? SetFromText::Stored : SetFromText::NotStored;
    };
    return std::visit(
        [&](auto* s) -> SetFromText {
            using Value = typename std::remove_pointer_t<decltype(s)>::Value;
            if constexpr (std::is_same_v<Value, bool>) {
                auto value = parseBool(text);
                return value ? store(s, *value) : SetFromText::BadValue;
            } else if constexpr (std::is_same_v<Value, uint32_t>) {
                auto value = parseInteger(text, s->format());
                return value ? store(s, *value) : SetFromText::BadValue;
            } else if constexpr (std::is_same_v<Value, double>) {
                auto value = parseReal(text);
                return value ? store(s, *value) : SetFromText::BadValue;
            } else {
                return store(s, std::string(text));
            }
        },
        setting);
}

}  // namespace vivark::settings
