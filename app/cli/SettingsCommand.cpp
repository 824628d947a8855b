// "vivark settings": lists, shows, changes and resets the persistent
// settings of the active store.
//
//   vivark settings                         the same as "settings list"
//   vivark settings list [--all] [--json]   values that differ from their
//                                           defaults (--all: every setting)
//   vivark settings get KEY
//   vivark settings set KEY VALUE
//   vivark settings reset KEY | --all
//
// Keys are matched without regard to case, and save options by the shorter
// names SettingLookup.h accepts. An unknown key (answered with the nearest
// ones), a value of the wrong kind or outside the option's range is a usage
// error, reported as "vivark: KEY: message"; a store that cannot be written
// is a failure. Value forms are SettingText.h's.
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "app/cli/SettingLookup.h"
#include "app/settings/SettingText.h"
#include "app/settings/TextFileStore.h"

namespace vivark::cli {
namespace {

using settings::SettingRef;

struct SettingsOptions {
    bool all = false;
    bool json = false;
    std::string key;
    std::string value;
};

void appendHex(std::string& out, unsigned value, int digits) {
    static constexpr char kDigits[] = "0123456789abcdef";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += kDigits[(value >> shift) & 15];
}

// The length of the valid UTF-8 sequence at `text[i]`, or 0.
size_t utf8Length(std::string_view text, size_t i) {
    auto byte = static_cast<unsigned char>(text[i]);
    size_t length = byte >= 0xF0 && byte <= 0xF4 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (size_t k = 1; k < length; ++k)
        if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
    return length;
}

// A JSON string. Bytes that are not UTF-8 are taken as Latin-1.
std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size();) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x80) {
            size_t length = utf8Length(text, i);
            if (length > 0) {
                out.append(text.substr(i, length));
                i += length;
            } else {
                out += "\\u00";
                appendHex(out, byte, 2);
                ++i;
            }
            continue;
        }
        if (byte == '"' || byte == '\\') {
            out += '\\';
            out += static_cast<char>(byte);
        } else if (byte < 0x20 || byte == 0x7F) {
            out += "\\u00";
            appendHex(out, byte, 2);
        } else {
            out += static_cast<char>(byte);
        }
        ++i;
    }
    return out + '"';
}

// A value as it stands in a listing: text and tags quoted, so that spaces
// show.
std::string listedText(const SettingRef& setting, const std::string& text) {
    bool quoted = std::visit(
        [](const auto* s) {
            return s->kind() == settings::SettingKind::Text ||
                   (s->kind() == settings::SettingKind::Integer &&
                    s->format() == settings::IntegerFormat::Tag);
        },
        setting);
    return quoted ? jsonString(text) : text;
}

std::string jsonValue(bool value) {
    return value ? "true" : "false";
}
std::string jsonValue(uint32_t value) {
    return std::to_string(value);
}
std::string jsonValue(double value) {
    return std::isfinite(value) ? settings::formatReal(value) : "null";
}
std::string jsonValue(const std::string& value) {
    return jsonString(value);
}

std::string jsonEntry(const SettingRef& setting) {
    return std::visit(
        [&](const auto* s) {
            std::string out = "{\"key\": " + jsonString(s->key()) + ", \"kind\": \"" +
                              std::string(settings::kindName(s->kind())) + "\"";
            out += ", \"value\": " + jsonValue(s->get());
            out += ", \"default\": " + jsonValue(s->defaultValue());
            if (s->kind() == settings::SettingKind::Integer &&
                s->format() != settings::IntegerFormat::Number) {
                out += s->format() == settings::IntegerFormat::Tag ? ", \"format\": \"tag\""
                                                                   : ", \"format\": \"colour\"";
                out += ", \"valueText\": " + jsonString(currentText(setting));
                out += ", \"defaultText\": " + jsonString(defaultText(setting));
            }
            return out + "}";
        },
        setting);
}

bool isDefault(const SettingRef& setting) {
    return std::visit([](const auto* s) { return s->isDefault(); }, setting);
}

int listSettings(const SettingsOptions& options, std::ostream& out) {
    std::vector<const SettingRef*> shown;
    for (const SettingRef& setting : settings::allSettings())
        if (options.all || !isDefault(setting)) shown.push_back(&setting);

    if (options.json) {
        out << "[";
        for (size_t i = 0; i < shown.size(); ++i)
            out << (i == 0 ? "\n  " : ",\n  ") << jsonEntry(*shown[i]);
        out << (shown.empty() ? "]\n" : "\n]\n");
        return kSuccess;
    }
    for (const SettingRef* setting : shown) {
        auto kind = std::visit([](const auto* s) { return s->kind(); }, *setting);
        out << settings::settingKey(*setting) << " = "
            << listedText(*setting, currentText(*setting)) << " (" << settings::kindName(kind)
            << ", default " << listedText(*setting, defaultText(*setting)) << ")\n";
    }
    return kSuccess;
}

const SettingRef* requireSetting(std::string_view key, std::ostream& err) {
    const SettingRef* setting = findNamedSetting(key);
    if (setting == nullptr) reportError(err, key, "unknown setting; " + nearestKeys(key, false));
    return setting;
}

int reportStored(settings::SetFromText result, std::string_view key, std::ostream& err) {
    if (result == settings::SetFromText::Stored) return kSuccess;
    reportError(err, key, "the settings store cannot be written; the change is lost at exit");
    return kFailure;
}

int setSetting(const SettingsOptions& options, std::ostream& err) {
    const SettingRef* setting = requireSetting(options.key, err);
    if (setting == nullptr) return kUsage;
    if (std::string range = rangeProblem(*setting, options.value); !range.empty()) {
        reportError(err, settings::settingKey(*setting), range + ", not " + options.value);
        return kUsage;
    }
    auto result = settings::setFromText(*setting, options.value);
    if (result == settings::SetFromText::BadValue) {
        reportError(err, options.key,
                    jsonString(options.value) + " is not " + settings::expectedForm(*setting));
        return kUsage;
    }
    return reportStored(result, options.key, err);
}

int resetSettings(const SettingsOptions& options, std::ostream& err) {
    if (options.all == !options.key.empty()) {
        reportError(err, "settings reset", "name one KEY or --all");
        return kUsage;
    }
    auto reset = [](const SettingRef& setting) {
        return std::visit([](auto* s) { return s->reset(); }, setting);
    };
    if (options.all) {
        bool stored = true;
        for (const SettingRef& setting : settings::allSettings()) stored = reset(setting) && stored;
        if (stored) return kSuccess;
        reportError(err, "settings", "the settings store cannot be written");
        return kFailure;
    }
    const SettingRef* setting = requireSetting(options.key, err);
    if (setting == nullptr) return kUsage;
    return reportStored(
        reset(*setting) ? settings::SetFromText::Stored : settings::SetFromText::NotStored,
        options.key, err);
}

}  // namespace

void registerSettings(CLI::App& app, CommandContext& context,
                      std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<SettingsOptions>();
    CLI::App* command = app.add_subcommand("settings", "Show and change the persistent settings");
    command->require_subcommand(0, 1);
    std::filesystem::path directory = settings::TextFileStore::userDirectory();
    command->footer("Settings equal to their defaults are not stored. The store is " +
                    (directory.empty()
                         ? std::string("unavailable (no home directory)")
                         : (directory / settings::TextFileStore::kFileName).string()) +
                    "; VIVARK_CONFIG_HOME names another directory.\n"
                    "Values: booleans yes/no/1/0; integers decimal or 0x hex; format tags four "
                    "characters (\"BMP \"); colours 0xRRGGBB or #RRGGBB.");

    CLI::App* list = command->add_subcommand("list",
                                             "List the settings that differ from "
                                             "their defaults, with kind and default");
    list->add_flag("--all", options->all, "List every setting");
    list->add_flag("--json", options->json, "Print a JSON array");

    CLI::App* get = command->add_subcommand("get", "Print the value of one setting");
    get->add_option("KEY", options->key, "Key path, e.g. SaveOptions\\GIF\\Interlace")->required();

    CLI::App* set = command->add_subcommand("set", "Change one setting");
    set->add_option("KEY", options->key, "Key path")->required();
    set->add_option("VALUE", options->value, "The new value")->required();

    CLI::App* reset = command->add_subcommand("reset", "Put settings back to their defaults");
    reset->add_option("KEY", options->key, "Key path");
    reset->add_flag("--all", options->all, "Reset every setting");

    actions.emplace_back(command, [=, &context]() -> int {
        if (list->parsed() || command->get_subcommands().empty())
            return listSettings(*options, context.out);
        if (set->parsed()) return setSetting(*options, context.err);
        if (reset->parsed()) return resetSettings(*options, context.err);
        if (!get->parsed()) return kUsage;
        const SettingRef* setting = requireSetting(options->key, context.err);
        if (setting == nullptr) return kUsage;
        context.out << currentText(*setting) << '\n';
        return kSuccess;
    });
}

}  // namespace vivark::cli
