// The table of save option keys, the stored options and the per-run overlay.
#include "formats/SaveOptions.h"

#include <charconv>
#include <variant>

#include "app/settings/SettingKeys.h"

namespace vivark {
namespace {

constexpr SaveOptionKey kKeys[] = {
    {saveKey::WindowsBitmapEncode, SaveOptionKind::Boolean, 0},
    {saveKey::Os2BitmapFormat, SaveOptionKind::Integer, 0},
    {saveKey::Os2BitmapEncode, SaveOptionKind::Boolean, 0},
    {saveKey::PbmRawData, SaveOptionKind::Boolean, 1},
    {saveKey::PgmRawData, SaveOptionKind::Boolean, 1},
    {saveKey::PpmRawData, SaveOptionKind::Boolean, 1},
    {saveKey::PnmRawData, SaveOptionKind::Boolean, 1},
    {saveKey::GifGif89a, SaveOptionKind::Boolean, 0},
    {saveKey::GifInterlace, SaveOptionKind::Boolean, 0},
    {saveKey::GifTransparent, SaveOptionKind::Boolean, 0},
    {saveKey::GifTransparentIndex, SaveOptionKind::Integer, 0},
    {saveKey::GifBackground, SaveOptionKind::Boolean, 0},
    {saveKey::GifBackgroundIndex, SaveOptionKind::Integer, 0},
    {saveKey::PcxEnable24bit, SaveOptionKind::Boolean, 0},
    {saveKey::TgaEncode, SaveOptionKind::Boolean, 0},
    {saveKey::TgaBottomToTop, SaveOptionKind::Boolean, 0},
    {saveKey::TgaRightToLeft, SaveOptionKind::Boolean, 0},
    {saveKey::TgaInterlaceType, SaveOptionKind::Integer, 0},
    {saveKey::JfifQuality, SaveOptionKind::Integer, 75},
    {saveKey::JfifSmooth, SaveOptionKind::Integer, 0},
    {saveKey::JfifEntropy, SaveOptionKind::Boolean, 1},
    {saveKey::JfifProgressive, SaveOptionKind::Boolean, 0},
    {saveKey::JfifExif, SaveOptionKind::Boolean, 1},
    {saveKey::PaletteType, SaveOptionKind::Integer, 0},
    {saveKey::DitherType, SaveOptionKind::Integer, 2},
    {saveKey::PngInterlace, SaveOptionKind::Boolean, 0},
    {saveKey::PngHistogram, SaveOptionKind::Boolean, 0},
    {saveKey::PngTime, SaveOptionKind::Boolean, 0},
    {saveKey::PngTransparent, SaveOptionKind::Boolean, 0},
    {saveKey::PngTransparentIndex, SaveOptionKind::Integer, 0},
    {saveKey::PngTransparentColor, SaveOptionKind::Integer, 0},
    {saveKey::PngBackground, SaveOptionKind::Boolean, 0},
    {saveKey::PngBackgroundIndex, SaveOptionKind::Integer, 0},
    {saveKey::PngBackgroundColor, SaveOptionKind::Integer, 0},
};

constexpr std::string_view kPrefix = "SaveOptions\\";

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

std::optional<int32_t> parseValue(std::string_view text, SaveOptionKind kind) {
    if (kind == SaveOptionKind::Boolean) {
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

std::span<const SaveOptionKey> saveOptionKeys() {
    return kKeys;
}

const SaveOptionKey* findSaveOptionKey(std::string_view key) {
    for (const SaveOptionKey& entry : kKeys)
        if (equalsIgnoringCase(entry.key, key)) return &entry;
    return nullptr;
}

bool StoredSaveOptions::flag(std::string_view key) const {
    return integer(key) != 0;
}

// The persistent Setting of the key answers; a key the store does not know
// (or of another kind) answers the compiled-in default.
int32_t StoredSaveOptions::integer(std::string_view key) const {
    const SaveOptionKey* entry = findSaveOptionKey(key);
    const std::string_view canonical = entry ? entry->key : key;
    if (const settings::SettingRef* setting = settings::findSetting(canonical)) {
        if (auto* b = std::get_if<settings::BoolSetting*>(setting)) return (*b)->get() ? 1 : 0;
        if (auto* i = std::get_if<settings::IntSetting*>(setting))
            return static_cast<int32_t>((*i)->get());
    }
    return entry ? entry->defaultValue : 0;
}

bool SaveOptionOverlay::set(std::string_view key, int32_t value) {
    const SaveOptionKey* entry = findSaveOptionKey(key);
    if (!entry) return false;
    values_[std::string(entry->key)] = value;
    return true;
}

bool SaveOptionOverlay::setAssignment(std::string_view assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string_view::npos) return false;
    std::string key(assignment.substr(0, equals));
    const SaveOptionKey* entry = findSaveOptionKey(key);
    if (!entry && !(key.size() >= kPrefix.size() &&
                    equalsIgnoringCase(key.substr(0, kPrefix.size()), kPrefix))) {
        key.insert(0, kPrefix);
        entry = findSaveOptionKey(key);
    }
    if (!entry) return false;
    auto value = parseValue(assignment.substr(equals + 1), entry->kind);
    if (!value) return false;
    values_[std::string(entry->key)] = *value;
    return true;
}

std::optional<int32_t> SaveOptionOverlay::find(std::string_view key) const {
    const SaveOptionKey* entry = findSaveOptionKey(key);
    if (!entry) return std::nullopt;
    auto it = values_.find(entry->key);
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
