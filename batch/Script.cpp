// The operation table of scripts, the keys of each operation and the reading
// and writing of step lines.
#include "batch/Script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vivark::batch {
namespace {

using K = KeyKind;
constexpr double kExtent = 2147483647.0;

constexpr KeyRule kMirror[] = {
    {"direction", K::Word, 0, 0, {"horizontal", "vertical"}, "horizontal"}};
constexpr KeyRule kRotate[] = {{"angle", K::Integer, -32767, 32767, {}, "0"},
                               {"resample", K::Boolean, 0, 0, {}, "yes"}};
constexpr KeyRule kResize[] = {{"height", K::Integer, 0, kExtent, {}, "0"},
                               {"letterbox", K::Boolean, 0, 0, {}, "no"},
                               {"proportional", K::Boolean, 0, 0, {}, "yes"},
                               {"resample", K::Boolean, 0, 0, {}, "yes"},
                               {"width", K::Integer, 0, kExtent, {}, "0"}};
constexpr KeyRule kCrop[] = {{"bottom", K::Integer, 0, kExtent, {}, "0"},
                             {"height", K::Integer, 0, kExtent, {}, "0"},
                             {"left", K::Integer, 0, kExtent, {}, "0"},
                             {"width", K::Integer, 0, kExtent, {}, "0"}};
constexpr KeyRule kBcc[] = {{"brightness", K::Integer, -100, 100, {}, "0"},
                            {"color", K::Integer, -100, 100, {}, "0"},
                            {"contrast", K::Integer, -100, 100, {}, "0"}};
constexpr KeyRule kRgb[] = {{"blue", K::Integer, -100, 100, {}, "0"},
                            {"green", K::Integer, -100, 100, {}, "0"},
                            {"red", K::Integer, -100, 100, {}, "0"}};
constexpr KeyRule kGamma[] = {{"gamma", K::Decimal, 0.05, 20, {}, "1"}};
constexpr KeyRule kBlackWhite[] = {{"threshold", K::Integer, 0, 256, {}, "128"}};
constexpr KeyRule kIndexed[] = {
    {"colors", K::Integer, 2, 256, {}, "256"},
    {"dither", K::Word, 0, 0, {"none", "ordered", "diffusion"}, "diffusion"},
    {"palette", K::Word, 0, 0, {"adaptive", "system", "884", "676", "666"}, "adaptive"}};
constexpr KeyRule kStrength[] = {{"strength", K::Integer, 1, 100, {}, "50"}};
constexpr KeyRule kFilter[] = {{"filename", K::Text}};
constexpr KeyRule kFileFormat[] = {{"filetype", K::Text}};
constexpr KeyRule kOutputDir[] = {{"dirname", K::Text},
                                  {"useoriginaldir", K::Boolean, 0, 0, {}, "no"}};
constexpr KeyRule kResolution[] = {{"horizontal", K::Integer, 1, 10000000, {}, "72"},
                                   {"unit", K::Word, 0, 0, {"metric", "english"}, "english"},
                                   {"vertical", K::Integer, 1, 10000000, {}, "72"}};

using Id = OperationId;
constexpr std::array<OperationRow, 19> kRows = {{
    {Id::FileFormat, "FileFormat", "Set Output Format", kFileFormat},
    {Id::OutputDir, "OutputDir", "Set Output Directory", kOutputDir},
    {Id::Mirror, "Mirror", "Mirror", kMirror},
    {Id::Rotate, "Rotate", "Rotate", kRotate},
    {Id::Resize, "Resize", "Resize", kResize},
    {Id::Crop, "Crop", "Crop", kCrop},
    {Id::BCC, "BCC", "Brightness/Contrast/Color", kBcc},
    {Id::RGB, "RGB", "RGB Balance", kRgb},
    {Id::Gamma, "Gamma", "Gamma", kGamma},
    {Id::Negative, "Negative", "Negative", {}},
    {Id::BlackWhite, "BlackWhite", "Convert to Black&White", kBlackWhite},
    {Id::Grayscale, "Grayscale", "Convert to Grayscale", {}},
    {Id::IndexedColor, "IndexedColor", "Convert to Indexed Color", kIndexed},
    {Id::DeepColor, "DeepColor", "Convert to RGB Deep Color", {}},
    {Id::Blur, "Blur", "Blur", kStrength},
    {Id::Soften, "Soften", "Soften", kStrength},
    {Id::Sharpen, "Sharpen", "Sharpen", kStrength},
    {Id::Filter, "Filter", "Filter", kFilter},
    {Id::Resolution, "Resolution", "Set Resolution", kResolution},
}};

bool sameText(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
        return lower(x) == lower(y);
    });
}

// The value in the form settings keep, or nothing when the key refuses it.
std::optional<std::string> accepted(const KeyRule& rule, std::string_view value) {
    if (value.empty()) return std::nullopt;
    switch (rule.kind) {
        case K::Integer: {
            int64_t number = 0;
            const auto [end, error] =
                std::from_chars(value.data(), value.data() + value.size(), number);
            if (error != std::errc() || end != value.data() + value.size()) return std::nullopt;
            if (double(number) < rule.low || double(number) > rule.high) return std::nullopt;
            return std::to_string(number);
        }
        case K::Decimal: {
            double number = 0;
            const auto [end, error] =
                std::from_chars(value.data(), value.data() + value.size(), number);
            if (error != std::errc() || end != value.data() + value.size() ||
                !std::isfinite(number) || number < rule.low || number > rule.high)
                return std::nullopt;
            return std::string(value);
        }
        case K::Boolean:
            if (sameText(value, "yes")) return "yes";
            if (sameText(value, "no")) return "no";
            return std::nullopt;
        case K::Word:
            for (const std::string_view word : rule.words)
                if (!word.empty() && sameText(value, word)) return std::string(word);
            return std::nullopt;
        case K::Text:
            return std::string(value);
    }
    return std::nullopt;
}

}  // namespace

std::span<const OperationRow> operationTable() {
    return kRows;
}

const OperationRow* findOperation(OperationId id) {
    for (const OperationRow& row : kRows)
        if (row.id == id) return &row;
    return nullptr;
}

const OperationRow* findSection(std::string_view section) {
    for (const OperationRow& row : kRows)
        if (sameText(row.section, section)) return &row;
    return nullptr;
}

const KeyRule* findKey(const OperationRow& row, std::string_view key) {
    for (const KeyRule& rule : row.keys)
        if (sameText(rule.key, key)) return &rule;
    return nullptr;
}

Parameters initialSettings(OperationId id) {
    Parameters settings;
    if (const OperationRow* row = findOperation(id))
        for (const KeyRule& rule : row->keys) settings[std::string(rule.key)] = rule.initial;
    return settings;
}

std::vector<std::string> readStep(const Step& step, Parameters& settings) {
    std::vector<std::string> left;
    const OperationRow* row = findOperation(step.id);
    if (!row) return left;
    for (const auto& [key, value] : step.parameters) {
        const KeyRule* rule = findKey(*row, key);
        const auto value_ = rule ? accepted(*rule, value) : std::nullopt;
        if (value_)
            settings[std::string(rule->key)] = *value_;
        else
            left.push_back(key);
    }
    return left;
}

Step writeStep(OperationId id, const Parameters& settings) {
    Step step{id, {}};
    if (const OperationRow* row = findOperation(id))
        for (const KeyRule& rule : row->keys) {
            const auto found = settings.find(std::string(rule.key));
            step.parameters[std::string(rule.key)] =
                found != settings.end() ? found->second : std::string(rule.initial);
        }
    return step;
}

Step completeStep(const Step& step) {
    Parameters settings = initialSettings(step.id);
    readStep(step, settings);
    return writeStep(step.id, settings);
}

std::string formatStep(const Step& step) {
    const OperationRow* row = findOperation(step.id);
    std::string line(row ? row->section : "");
    for (const auto& [key, value] : step.parameters) line += ";" + key + "=" + value;
    return line;
}

std::optional<Step> parseStep(std::string_view line, std::string& problem) {
    const size_t first = line.find(';');
    const std::string_view section = line.substr(0, first);
    const OperationRow* row = findSection(section);
    if (!row) {
        problem = "unknown step '" + std::string(section) + "'";
        return std::nullopt;
    }
    Step step{row->id, {}};
    std::string_view rest = first == std::string_view::npos ? "" : line.substr(first + 1);
    while (first != std::string_view::npos) {
        const size_t end = rest.find(';');
        const std::string_view item = rest.substr(0, end);
        const size_t equals = item.find('=');
        const std::string_view key = item.substr(0, equals);
        const std::string_view value =
            equals == std::string_view::npos ? "" : item.substr(equals + 1);
        if (!item.empty()) {
            const KeyRule* rule = findKey(*row, key);
            if (!rule) {
                problem = std::string(row->section) + " has no key '" + std::string(key) + "'";
                return std::nullopt;
            }
            if (!step.parameters.emplace(std::string(rule->key), std::string(value)).second) {
                problem = "key '" + std::string(rule->key) + "' given twice";
                return std::nullopt;
            }
        }
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    return step;
}

}  // namespace vivark::batch
