// "vivark info [--json] FILE...": what each file is. A file whose format has
// a reader is loaded and shown with its information items; one without is
// shown as identification sees it. Failures are reported per file (on the
// error stream, or as an "error" object in JSON) and make the exit status 1.
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "core/ErrorMapping.h"
#include "formats/Loader.h"

namespace vivark::cli {
namespace {

struct InfoOptions {
    bool json = false;
    std::vector<std::string> files;
};

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

struct Described {
    MessageId message = msg::None;
    FormatInfo info;
    std::vector<InfoItem> items;
};

Described describe(const std::string& path) {
    Described d;
    try {
        InFile file;
        file.open(path);
        Image probe;
        const FormatEntry* entry = findFormat(file, probe, &d.info);
        if (!entry) {
            d.message = msg::UnrecognizedFormat;
            return d;
        }
        if (!entry->create) return d;  // identified; no reader in this build
    } catch (...) {
        d.message = loadMessageForCurrentException();
        return d;
    }
    Image image;
    loadFile(image, path, ReadOptions{});
    if (image.loadMessage != msg::None) {
        d.message = image.loadMessage;
        return d;
    }
    d.info = {image.width(), image.height(), image.bitsPerPixel(), image.formatTag};
    d.items = image.info;
    return d;
}

int runInfo(const InfoOptions& options, CommandContext& context) {
    int status = kSuccess;
    if (options.json) context.out << "[";
    bool first = true;
    for (const std::string& path : options.files) {
        const Described d = describe(path);
        if (d.message != msg::None) status = kFailure;
        if (options.json) {
            context.out << (first ? "\n  " : ",\n  ") << "{\"file\":" << jsonString(path);
            if (d.message != msg::None) {
                context.out << ",\"error\":" << jsonString(formatMessage(d.message, path))
                            << ",\"message\":" << d.message << "}";
            } else {
                context.out << ",\"format\":" << jsonString(tagText(d.info.formatTag))
                            << ",\"width\":" << d.info.width << ",\"height\":" << d.info.height
                            << ",\"bitsPerPixel\":" << d.info.bitsPerPixel << "}";
            }
            first = false;
            continue;
        }
        if (d.message != msg::None) {
            reportMessage(context.err, path, d.message);
            continue;
        }
        context.out << path << ": " << tagText(d.info.formatTag) << " " << d.info.width << "x"
                    << d.info.height << ", " << d.info.bitsPerPixel << " bits per pixel\n";
        for (const InfoItem& item : d.items)
            context.out << "  " << item.label() << ": " << item.valueText() << "\n";
    }
    if (options.json) context.out << (first ? "]\n" : "\n]\n");
    return status;
}

}  // namespace

void registerInfo(CLI::App& app, CommandContext& context,
                  std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand("info", "Show the format, size and depth of images");
    command->add_flag("--json", options->json, "Print one JSON array");
    command->add_option("FILE", options->files, "Image files")->required();
    actions.emplace_back(command, [options, &context] { return runInfo(*options, context); });
}

}  // namespace vivark::cli
