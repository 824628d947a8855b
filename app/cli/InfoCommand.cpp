// "vivark info [--json] [--check] [--frames] FILE...": what each file is.
// Identification gives the format, size and depth, and where the format says
// so its samples ("RGBA, 8 bits per sample"); a format with a reader adds its
// information items, read from the headers only unless --check asks for
// every pixel to be decoded. An animation is summed up in one line (frames,
// loops, total duration); the items of each frame are listed only with
// --frames. Failures are reported per file (on the error stream after what
// identification found, with the system's reason, or as "error" and
// "messageId" in the file's JSON object) and make the exit status 1.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/OsError.h"
#include "app/cli/Report.h"
#include "core/SystemError.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace {

struct InfoOptions {
    bool json = false;
    bool check = false;
    bool frames = false;
    std::vector<std::string> files;
};

struct Described {
    MessageId message = msg::None;
    std::string reason;       // ": " and the system's reason of a failure, or empty
    bool identified = false;  // info holds what identification found
    std::string formatName;
    FormatInfo info;
    std::vector<InfoItem> items;
    uint32_t pages = 1;  // pages or frames the file holds, as its reader says
    std::optional<Animation> animation;
    bool alphaDecoded = false;  // --check found an alpha plane
};

// Whether the samples say more than the depth does: an alpha channel, or
// samples deeper than the 8 bits an image holds.
bool samplesTellMore(const Described& d) {
    return d.info.hasAlpha || d.alphaDecoded || d.info.bitsPerSample > 8;
}

// "RGBA, 8 bits per sample", from what identification or decoding told; empty
// when neither said more than the depth.
std::string samplesText(const Described& d) {
    const FormatInfo& i = d.info;
    if (!samplesTellMore(d)) return "";
    if (i.samplesPerPixel == 0) return "with alpha";
    if (i.indexed) return "palette, " + std::to_string(i.bitsPerSample) + "-bit indices";
    static const char* const kNames[] = {"", "grey", "grey and alpha", "RGB", "RGBA"};
    const char* name = i.samplesPerPixel <= 4 ? kNames[i.samplesPerPixel] : "";
    return std::string(name) + ", " + std::to_string(i.bitsPerSample) +
           (i.bitsPerSample == 1 ? " bit per sample" : " bits per sample");
}

uint64_t totalDelayMs(const Animation& animation) {
    uint64_t total = 0;
    for (const AnimationFrame& frame : animation.frames) total += frame.delayMs;
    return total;
}

std::string loopsText(int32_t loopCount) {
    if (loopCount < 0) return "loops for ever";
    if (loopCount == 0) return "plays once";
    return "plays " + std::to_string(loopCount + 1) + " times";
}

std::string secondsText(uint64_t ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f s", double(ms) / 1000.0);
    return text;
}

bool animated(const Described& d) {
    return d.animation && d.animation->frames.size() > 1;
}

// Identification first, then the reader: headers and information items only,
// or every pixel with --check. A damaged file still shows what identification
// found. A format without a reader in this build is shown as identified.
Described describe(const std::string& path, bool check) {
    Described d;
    Image image;
    ReadOptions read;
    read.headerOnly = !check;
    LoadResult result;
    clearSystemError();
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
    d.animation = image.animation;
    if (d.identified) d.formatName = formatNameOf(d.info.formatTag, d.info.namedAs, result.format);
    if (result.completed) {
        if (!image.plane.empty()) {
            d.info.width = image.width();
            d.info.height = image.height();
            d.info.bitsPerPixel = image.bitsPerPixel();
        }
        d.alphaDecoded = image.secondPlaneKind == SecondPlane::Alpha;
        d.animation = image.animation;
        d.items = image.info;
        d.pages = image.pageCount;
        return d;
    }
    const bool noReader = d.identified && result.format->create == nullptr;
    if (!noReader) {
        d.message = result.message != msg::None ? result.message : msg::Unknown;
        d.reason = withSystemReason({});
    }
    return d;
}

// The information items. An animation repeats its per-frame items once per
// frame: they are shown once (the first frame's) unless `frames` asks for
// all, which are then grouped by frame (a label seen again starts the next).
void printItems(const Described& d, bool frames, std::ostream& out) {
    std::set<std::string> shown;
    uint32_t frame = 1;
    for (const InfoItem& item : d.items) {
        std::string label = item.label();
        if (!shown.insert(label).second && animated(d)) {
            if (!frames) continue;
            shown = {label};
            out << "  Frame " << ++frame << ":\n";
        }
        out << (frame > 1 ? "    " : "  ") << label << ": " << item.valueText() << "\n";
    }
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
                if (d.info.samplesPerPixel != 0 && samplesTellMore(d))
                    context.out << ",\"samplesPerPixel\":" << int(d.info.samplesPerPixel)
                                << ",\"bitsPerSample\":" << int(d.info.bitsPerSample);
                if (d.info.hasAlpha || d.alphaDecoded) context.out << ",\"alpha\":true";
                if (animated(d)) {
                    context.out << ",\"animation\":{\"frames\":" << d.animation->frames.size()
                                << ",\"loopCount\":" << d.animation->loopCount
                                << ",\"durationMs\":" << totalDelayMs(*d.animation);
                    if (options.frames) {
                        context.out << ",\"frameList\":[";
                        const char* separator = "";
                        for (const AnimationFrame& f : d.animation->frames) {
                            context.out << separator << "{\"left\":" << f.left
                                        << ",\"top\":" << f.top << ",\"width\":" << f.width
                                        << ",\"height\":" << f.height
                                        << ",\"delayMs\":" << f.delayMs
                                        << ",\"disposal\":" << int(f.disposal) << "}";
                            separator = ",";
                        }
                        context.out << "]";
                    }
                    context.out << "}";
                }
            }
            if (d.message != msg::None) {
                context.out << ",\"error\":"
                            << jsonString(formatMessage(d.message, path) + d.reason)
                            << ",\"messageId\":" << d.message;
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
            if (const std::string samples = samplesText(d); !samples.empty())
                context.out << ", " << samples;
            context.out << "\n";
            if (animated(d))
                context.out << "  Animation: " << d.animation->frames.size() << " frames, "
                            << loopsText(d.animation->loopCount) << ", "
                            << secondsText(totalDelayMs(*d.animation)) << " in all\n";
            printItems(d, options.frames, context.out);
        }
        if (d.message != msg::None)
            reportError(context.err, path, formatMessage(d.message, path) + d.reason);
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
    command->add_flag("--frames", options->frames,
                      "List the items of every frame of an animation (default: a summary)");
    command->add_option("FILE", options->files, "Image files (- for standard input)")->required();
    actions.emplace_back(command, [options, &context] { return runInfo(*options, context); });
}

}  // namespace vivark::cli
