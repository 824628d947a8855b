// Setting names as people write them, the nearest keys and value ranges.
#include "app/cli/SettingLookup.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "app/settings/SettingKeys.h"
#include "app/settings/SettingText.h"
#include "formats/FormatTable.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace {

constexpr std::string_view kSavePrefix = "SaveOptions\\";

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return lower(x) == lower(y); });
}

bool startsIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && sameIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// The ranges of integer options whose values are a measure or an index. The
// others hold codes or sizes that their dialogs choose from, which the
// readers of those settings check themselves.
struct Range {
    std::string_view key;
    uint32_t low, high;
};
constexpr Range kRanges[] = {
    {"SaveOptions\\JFIF\\Quality", 1, 100},
    {"SaveOptions\\JFIF\\Smooth", 0, 100},
    {"SaveOptions\\GIF\\Transparent Index", 0, 255},
    {"SaveOptions\\GIF\\Background Index", 0, 255},
    {"SaveOptions\\PNG\\Transparent Index", 0, 255},
    {"SaveOptions\\PNG\\Background Index", 0, 255},
    {"SaveOptions\\PNG\\Transparent Color", 0, 0xFFFFFF},
    {"SaveOptions\\PNG\\Background Color", 0, 0xFFFFFF},
    {"SaveOptions\\TGA\\InterlaceType", 0, 2},
    {"Dither\\Palette\\PaletteType", 0, 5},
    {"Dither\\Palette\\DitherType", 0, 2},
    {"Dither\\16FixSysColor\\PaletteType", 0, 5},
    {"Dither\\16FixSysColor\\DitherType", 0, 2},
    {"Dither\\256FixSysColor\\PaletteType", 0, 5},
    {"Dither\\256FixSysColor\\DitherType", 0, 2},
    {"Thumbnail\\Size", 16, 1024},
};

// "jpg\Quality": the writer named before the last backslash, and the save
// option of its format whose value name follows it. A family with several
// writers prefers the option under the writer's own menu name.
const settings::SettingRef* findThroughWriter(std::string_view key) {
    const size_t split = key.rfind('\\');
    if (split == std::string_view::npos) return nullptr;
    const WriterEntry* writer = findWriterByName(key.substr(0, split));
    if (writer == nullptr) return nullptr;
    const std::string_view value = key.substr(split + 1);
    const settings::SettingRef* found = nullptr;
    for (const FormatEntry* entry : formatTable()) {
        bool ours = false;
        for (const WriterEntry& w : entry->writers) ours |= &w == writer;
        if (!ours) continue;
        for (const settings::SettingRef& setting : entry->saveSettings) {
            const std::string_view full = settings::settingKey(setting);
            const size_t last = full.rfind('\\');
            if (!sameIgnoringCase(full.substr(last + 1), value)) continue;
            const std::string_view subkey =
                full.substr(kSavePrefix.size(), last - std::min(last, kSavePrefix.size()));
            if (found == nullptr || sameIgnoringCase(subkey, writer->menuName)) found = &setting;
        }
    }
    return found;
}

size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1,
                               diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace

const settings::SettingRef* findNamedSetting(std::string_view key) {
    if (const settings::SettingRef* s = settings::findSetting(key)) return s;
    if (!startsIgnoringCase(key, kSavePrefix)) {
        std::string full(kSavePrefix);
        full += key;
        if (const settings::SettingRef* s = settings::findSetting(full)) return s;
        return findThroughWriter(key);
    }
    return findThroughWriter(key.substr(kSavePrefix.size()));
}

std::string nearestKeys(std::string_view key, bool saveOptionsOnly) {
    const bool shortForm = saveOptionsOnly && !startsIgnoringCase(key, kSavePrefix);
    std::vector<std::pair<size_t, std::string_view>> scored;
    for (const settings::SettingRef& setting : settings::allSettings()) {
        std::string_view candidate = settings::settingKey(setting);
        if (saveOptionsOnly && !startsIgnoringCase(candidate, kSavePrefix)) continue;
        if (shortForm) candidate.remove_prefix(kSavePrefix.size());
        // A key that is the start of others (a subkey) is nearest to those.
        const bool extends = startsIgnoringCase(candidate, key) && !key.empty();
        scored.emplace_back(extends ? 0 : editDistance(key, candidate), candidate);
    }
    const size_t shown = std::min<size_t>(3, scored.size());
    std::partial_sort(scored.begin(), scored.begin() + shown, scored.end());
    std::string text;
    for (size_t i = 0; i < shown; ++i) {
        if (i != 0) text += i + 1 == shown ? " or " : ", ";
        text += scored[i].second;
    }
    return text.empty() ? text : "did you mean " + text + "?";
}

std::string rangeProblem(const settings::SettingRef& setting, std::string_view text) {
    const std::string_view key = settings::settingKey(setting);
    for (const Range& range : kRanges) {
        if (!sameIgnoringCase(range.key, key)) continue;
        const std::optional<uint32_t> value =
            settings::parseInteger(text, settings::IntegerFormat::Number);
        if (!value || (*value >= range.low && *value <= range.high)) return {};
        return "must be from " + std::to_string(range.low) + " to " + std::to_string(range.high);
    }
    return {};
}

std::string checkedAssignment(std::string_view assignment, std::string& problem) {
    const size_t equals = assignment.find('=');
    if (equals == std::string_view::npos) {
        // Built in a fresh string: "'" + std::string draws a false -Wrestrict
        // from GCC 12 at -O3.
        std::string text(1, '\'');
        text.append(assignment).append("' is not KEY=VALUE");
        problem = std::move(text);
        return {};
    }
    const std::string_view key = assignment.substr(0, equals);
    const std::string_view value = assignment.substr(equals + 1);
    const settings::SettingRef* setting = findNamedSetting(key);
    if (setting == nullptr || !startsIgnoringCase(settings::settingKey(*setting), kSavePrefix)) {
        problem = "unknown save option '" + std::string(key) + "'; " + nearestKeys(key, true);
        return {};
    }
    if (std::string range = rangeProblem(*setting, value); !range.empty()) {
        problem = std::string(settings::settingKey(*setting)) + " " + range + ", not " +
                  std::string(value);
        return {};
    }
    return std::string(settings::settingKey(*setting)) + "=" + std::string(value);
}

}  // namespace vivark::cli
