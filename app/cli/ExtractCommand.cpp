// "vivark extract [--out DIR] [--overwrite] [--json] FILE...": every file
// carried as text (uuencode, xxencode, base64, yEnc, BinHex) in the given
// text files, written into DIR under its own name made safe (a plain base
// name; a generated name when the text gives none).
//
// The files are read together, so the parts of a split posting join
// whatever order they are given in. A damaged or incomplete file is reported
// with what is wrong and not written; the others still are. A file that
// exists is kept unless --overwrite, which is said and is not a failure.
// Exit status: 0, or 1 when anything was damaged, could not be read or
// written, or nothing was found; 2 on wrong usage.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "core/SafeOutFile.h"
#include "formats/ErrorMessages.h"
#include "textimg/Extractor.h"
#include "textimg/SafeName.h"

namespace vivark::cli {
namespace {

namespace fs = std::filesystem;
using textimg::Checked;
using textimg::Decoded;
using textimg::Problem;
using textimg::ProblemKind;

struct ExtractCliOptions {
    std::string out = ".";
    bool overwrite = false;
    bool json = false;
    std::vector<std::string> files;
};

std::string hex(uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string partList(const std::vector<uint32_t>& parts) {
    std::string text;
    for (uint32_t part : parts) text += (text.empty() ? "" : ", ") + std::to_string(part);
    return text;
}

std::string describe(const Problem& p) {
    const std::string at = p.line != 0 ? " (line " + std::to_string(p.line) + ")" : "";
    switch (p.kind) {
        case ProblemKind::ChecksumMismatch: {
            const bool crc32 = p.checked == Checked::WholeFile || p.checked == Checked::Part;
            std::string what = p.checked == Checked::WholeFile ? "of the whole file"
                               : p.checked == Checked::Part    ? "of part " + std::to_string(p.part)
                               : p.checked == Checked::Header  ? "of the header"
                               : p.checked == Checked::DataFork ? "of the data fork"
                                                                : "of the resource fork";
            const int digits = crc32 ? 8 : 4;
            return std::string(crc32 ? "CRC32" : "CRC-16") + " mismatch " + what + ": stored " +
                   hex(p.expected, digits) + ", computed " + hex(p.actual, digits) + at;
        }
        case ProblemKind::SizeMismatch:
            return (p.part != 0 ? "part " + std::to_string(p.part) + ": " : std::string()) +
                   "size mismatch: declared " + std::to_string(p.expected) + " bytes, decoded " +
                   std::to_string(p.actual) + at;
        case ProblemKind::MissingParts:
            return (p.parts.size() == 1 ? "missing part " : "missing parts ") + partList(p.parts);
        case ProblemKind::ShortLine:
            return "short line" + at + ": " + std::to_string(p.actual) + " characters of " +
                   std::to_string(p.expected);
        case ProblemKind::MissingEnd:
            return "incomplete: the text ends before the end of the block" + at;
        case ProblemKind::BadData:
            return "characters outside the encoding" + at;
        case ProblemKind::TooLarge:
            return "larger than " + std::to_string(p.expected) + " bytes; not decoded" + at;
        case ProblemKind::MissingStart:
            return "the first part is missing";
    }
    return "damaged";
}

struct Outcome {
    std::string status;  // "written", "exists", "damaged", "failed"
    std::string path;
    std::vector<std::string> problems;
};

// Writes one good file; the message of a failure, if any.
std::string write(const Decoded& file, const fs::path& target) {
    try {
        SafeOutFile out(target);
        out.out().write(file.bytes.data(), file.bytes.size());
        out.commit();
        return {};
    } catch (...) {
        return formatMessage(saveMessageForCurrentException(), target.string());
    }
}

int runExtract(const ExtractCliOptions& options, CommandContext& context) {
    int status = kSuccess;
    std::vector<std::unique_ptr<InFile>> files;
    std::vector<textimg::TextSource> sources;
    for (const std::string& path : options.files) {
        auto file = std::make_unique<InFile>();
        try {
            file->open(path);
        } catch (...) {
            reportMessage(context.err, path, loadMessageForCurrentException());
            status = kFailure;
            continue;
        }
        sources.push_back({file.get(), path});
        files.push_back(std::move(file));
    }

    std::vector<Decoded> decoded;
    try {
        decoded = textimg::extractAll(sources, {});
    } catch (...) {
        reportMessage(context.err, "", loadMessageForCurrentException());
        return kFailure;
    }
    if (decoded.empty() && !sources.empty()) {
        reportError(context.err, "", "no encoded files found");
        status = kFailure;
    }

    const fs::path folder = options.out;
    std::error_code error;
    if (!decoded.empty() && !fs::is_directory(folder, error)) {
        fs::create_directories(folder, error);
        if (error) {
            reportMessage(context.err, options.out, msg::CannotCreateFolder);
            return kFailure;
        }
    }

    if (options.json) context.out << "[";
    size_t generated = 0;
    for (size_t i = 0; i < decoded.size(); ++i) {
        const Decoded& file = decoded[i];
        const std::string fallback = "extracted-" + std::to_string(++generated);
        const std::string name = textimg::safeFileName(file.name, fallback);
        const fs::path target = folder / name;
        const std::string label =
            file.parts == 0 ? name : name + " (" + textimg::encodingName(file.encoding) + ")";
        Outcome outcome;
        outcome.path = target.string();
        if (file.damaged()) {
            outcome.status = "damaged";
            for (const Problem& problem : file.problems)
                outcome.problems.push_back(describe(problem));
            status = kFailure;
            if (!options.json)
                for (const std::string& text : outcome.problems)
                    reportError(context.err, file.source, label + ": " + text);
        } else if (!options.overwrite && fs::exists(fs::symlink_status(target, error))) {
            outcome.status = "exists";
            if (!options.json)
                reportError(context.err, outcome.path, "exists; not overwritten (use --overwrite)");
        } else if (std::string failure = write(file, target); !failure.empty()) {
            outcome.status = "failed";
            outcome.problems.push_back(failure);
            status = kFailure;
            if (!options.json) reportError(context.err, outcome.path, failure);
        } else {
            outcome.status = "written";
            if (!options.json)
                context.out << outcome.path << ": " << file.bytes.size() << " bytes, "
                            << textimg::encodingName(file.encoding) << ", from " << file.source
                            << "\n";
        }
        if (options.json) {
            context.out << (i == 0 ? "\n  " : ",\n  ") << "{\"source\":" << jsonString(file.source)
                        << ",\"line\":" << file.line << ",\"name\":" << jsonString(file.name)
                        << ",\"path\":" << jsonString(outcome.path) << ",\"encoding\":"
                        << (file.parts == 0 ? std::string("null")
                                            : jsonString(textimg::encodingName(file.encoding)))
                        << ",\"parts\":" << file.parts << ",\"bytes\":" << file.bytes.size()
                        << ",\"status\":" << jsonString(outcome.status) << ",\"problems\":[";
            for (size_t k = 0; k < outcome.problems.size(); ++k)
                context.out << (k == 0 ? "" : ",") << jsonString(outcome.problems[k]);
            context.out << "]}";
        }
    }
    if (options.json) context.out << (decoded.empty() ? "]\n" : "\n]\n");
    return status;
}

}  // namespace

void registerExtract(CLI::App& app, CommandContext& context,
                     std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<ExtractCliOptions>();
    CLI::App* command = app.add_subcommand(
        "extract",
        "Write out the files carried in text (uuencode, xxencode, base64, yEnc, BinHex)");
    command->add_option("--out", options->out, "Folder to write into (default: the current one)");
    command->add_flag("--overwrite", options->overwrite, "Replace files that exist");
    command->add_flag("--json", options->json, "Print one JSON array");
    command->add_option("FILE", options->files, "Text files (the parts of a posting together)")
        ->required();
    actions.emplace_back(command, [options, &context] { return runExtract(*options, context); });
}

}  // namespace vivark::cli
