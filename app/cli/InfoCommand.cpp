// "vivark info [--json] [--check] FILE...": what each file is. Identification
// gives the format, size and depth; a format with a reader adds its
// information items, read from the headers only unless --check asks for
// every pixel to be decoded. Failures are reported per file (on the error
// stream after what identification found, or as "error" in the file's JSON
// object) and make the exit status 1.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "formats/Loader.h"

namespace vivark::cli {
namespace {

struct InfoOptions {
    bool json = false;
    bool check = false;
    std::vector<std::string> files;
};

struct Described {
    MessageId message = msg::None;
    bool identified = false;  // info holds what identification found
    std::string_view formatName;
    FormatInfo info;
    std::vector<InfoItem> items;
    uint32_t pages = 1;  // pages or frames the file holds, as its reader says
};

// Identification first, then the reader: headers and information items only,
// or every pixel with --check. A damaged file still shows what identification
// found. A format without a reader in this build is shown as identified.
Described describe(const std::string& path, bool check) {
    Described d;
    Image image;
    ReadOptions read;
    read.headerOnly = !check;
    LoadResult result;
    if (path == "-") {
        // Standard input, read to its end and probed like a file.
        std::vector<uint8_t> bytes;
        uint8_t buffer[65536];
        for (ssize_t got; (got = ::read(0, buffer, sizeof buffer)) != 0;) {
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) break;
            bytes.insert(bytes.end(), buffer, buffer + got);
        }
        auto file = InFile::overMemory(bytes);
        result = load(image, *file, read);
    } else {
        result = loadFile(image, path, read);
    }
    d.identified = result.format != nullptr;
    d.info = result.info;
    // A variant's tag names it more closely than its family ("BMPW" is a
    // Windows Bitmap): the writer of that exact tag gives the name, if any.
    if (d.identified) {
        d.formatName = result.format->name;
        for (const WriterEntry& writer : result.format->writers)
            if (writer.formatTag == d.info.formatTag) d.formatName = writer.menuName;
    }
    if (result.completed) {
        if (!image.plane.empty())
            d.info = {image.width(), image.height(), image.bitsPerPixel(), result.info.formatTag};
        d.items = image.info;
        d.pages = image.pageCount;
        return d;
    }
    const bool noReader = d.identified && result.format->create == nullptr;
    if (!noReader) d.message = result.message != msg::None ? result.message : msg::Unknown;
    return d;
}

int runInfo(const InfoOptions& options, CommandContext& context) {
    int status = kSuccess;
    if (options.json) context.out << "[";
    bool first = true;
    for (const std::string& path : options.files) {
        const Described d = describe(path, options.check);
        if (d.message != msg::None) status = kFailure;
        if (options.json) {
            context.out << (first ? "\n  " : ",\n  ") << "{\"file\":" << jsonString(path);
            if (d.identified) {
                context.out << ",\"format\":" << jsonString(trimmedTag(d.info.formatTag))
                            << ",\"name\":" << jsonString(d.formatName)
                            << ",\"width\":" << d.info.width << ",\"height\":" << d.info.height
                            << ",\"bitsPerPixel\":" << d.info.bitsPerPixel;
                if (d.pages > 1) context.out << ",\"pages\":" << d.pages;
            }
            if (d.message != msg::None) {
                context.out << ",\"error\":" << jsonString(formatMessage(d.message, path))
                            << ",\"message\":" << d.message;
            }
            context.out << "}";
            first = false;
            continue;
        }
        if (d.identified) {
            context.out << path << ": " << d.formatName << " (" << trimmedTag(d.info.formatTag)
                        << "), " << d.info.width << "x" << d.info.height << ", "
                        << d.info.bitsPerPixel
                        << (d.info.bitsPerPixel == 1 ? " bit per pixel" : " bits per pixel");
            if (d.pages > 1) context.out << ", " << d.pages << " pages";
            context.out << "\n";
            for (const InfoItem& item : d.items)
                context.out << "  " << item.label() << ": " << item.valueText() << "\n";
        }
        if (d.message != msg::None) reportMessage(context.err, path, d.message);
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
    command->add_flag("--check", options->check,
                      "Decode every pixel and report damage (default: headers only)");
    command->add_option("FILE", options->files, "Image files (- for standard input)")->required();
    actions.emplace_back(command, [options, &context] { return runInfo(*options, context); });
}

}  // namespace vivark::cli
