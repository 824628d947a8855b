// The table of save option keys, the stored options and the per-run overlay.
#include "formats/SaveOptions.h"

#include <charconv>
#include <variant>
#include <vector>

#include "formats/FormatTable.h"

namespace vivark {
namespace {

// The colour reduction that a save makes when the format holds fewer colours
// is the user's general choice, kept with the display's dither settings.
constinit settings::IntSetting ditherPalettePaletteType{"Dither\\Palette\\PaletteType", 0};
constinit settings::IntSetting ditherPaletteDitherType{"Dither\\Palette\\DitherType", 2};

constexpr std::string_view kPrefix = "SaveOptions\\";

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

std::optional<int32_t> parseValue(std::string_view text, const settings::SettingRef& setting) {
    if (std::holds_alternative<settings::BoolSetting*>(setting)) {
        for (std::string_view yes : {"1", "yes", "true", "on"})
            if (equalsIgnoringCase(text, yes)) return 1;
        for (std::string_view no : {"0", "no", "false", "off"})
            if (equalsIgnoringCase(text, no)) return 0;
        return std::nullopt;
    }
    int base = 10;
    bool negative = false;
    if (!text.empty() && text.front() == '-') {
        negative = true;
        text.remove_prefix(1);
    }
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    if (negative) value = -value;
    if (value < INT32_MIN || value > int64_t{UINT32_MAX}) return std::nullopt;
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

}  // namespace

std::span<const settings::SettingRef> saveSettings() {
    static const std::vector<settings::SettingRef> list = [] {
        std::vector<settings::SettingRef> all{&ditherPalettePaletteType, &ditherPaletteDitherType};
        for (const FormatEntry* entry : formatTable())
            all.insert(all.end(), entry->saveSettings.begin(), entry->saveSettings.end());
        return all;
    }();
    return list;
}

const settings::SettingRef* findSaveSetting(std::string_view key) {
    for (const settings::SettingRef& setting : saveSettings())
        if (equalsIgnoringCase(settings::settingKey(setting), key)) return &setting;
    return nullptr;
}

bool StoredSaveOptions::flag(std::string_view key) const {
    return integer(key) != 0;
}

// The persistent Setting of the key answers; a key the store does not know
// (or of another kind) answers the compiled-in default.
int32_t StoredSaveOptions::integer(std::string_view key) const {
    if (const settings::SettingRef* setting = findSaveSetting(key)) {
        if (auto* b = std::get_if<settings::BoolSetting*>(setting)) return (*b)->get() ? 1 : 0;
        if (auto* i = std::get_if<settings::IntSetting*>(setting))
            return static_cast<int32_t>((*i)->get());
    }
    return 0;
}

// Only the boolean and integer settings are save options a writer can read.
static const settings::SettingRef* findOption(std::string_view key) {
    const settings::SettingRef* setting = findSaveSetting(key);
    if (setting == nullptr) return nullptr;
    if (!std::holds_alternative<settings::BoolSetting*>(*setting) &&
        !std::holds_alternative<settings::IntSetting*>(*setting))
        return nullptr;
    return setting;
}

bool SaveOptionOverlay::set(std::string_view key, int32_t value) {
    const settings::SettingRef* setting = findOption(key);
    if (!setting) return false;
    values_[std::string(settings::settingKey(*setting))] = value;
    return true;
}

bool SaveOptionOverlay::setAssignment(std::string_view assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string_view::npos) return false;
    std::string key(assignment.substr(0, equals));
    const settings::SettingRef* setting = findOption(key);
    if (!setting && !(key.size() >= kPrefix.size() &&
                      equalsIgnoringCase(key.substr(0, kPrefix.size()), kPrefix))) {
        key.insert(0, kPrefix);
        setting = findOption(key);
    }
    if (!setting) return false;
    auto value = parseValue(assignment.substr(equals + 1), *setting);
    if (!value) return false;
    values_[std::string(settings::settingKey(*setting))] = *value;
    return true;
}

std::optional<int32_t> SaveOptionOverlay::find(std::string_view key) const {
    const settings::SettingRef* setting = findOption(key);
    if (!setting) return std::nullopt;
    auto it = values_.find(settings::settingKey(*setting));
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

bool SaveOptionOverlay::flag(std::string_view key) const {
    if (auto v = find(key)) return *v != 0;
    return base_->flag(key);
}

int32_t SaveOptionOverlay::integer(std::string_view key) const {
    if (auto v = find(key)) return *v;
    return base_->integer(key);
}

}  // namespace vivark
