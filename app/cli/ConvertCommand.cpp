// "vivark convert INPUT OUTPUT [--to FORMAT] [--page N] [--all-pages] [--set KEY=VALUE]...
// [--palette TYPE] [--dither TYPE] [operations...]": loads INPUT (with --all-pages every page from
// --page on) with every fallback of the loader, applies the operations (ConvertOperations.h:
// resize, rotate, mirror, colour reduction ...) in the order given, and saves it in the format
// named by --to (menu name or short name) or else by OUTPUT's extension. --set overrides a save
// option for this run only; nothing is stored. --palette and --dither choose how --colors reduces,
// and how any reduction the save itself makes does, in place of the user's "Dither\Palette"
// settings. A failure is reported as "vivark: FILE: message" and leaves no output file. Unknown
// formats, bad --set assignments and bad words are usage errors (status 2).
//
// INPUT "-" reads standard input to its end and probes it as a file; OUTPUT
// "-" writes standard output, and then the format must be named with --to.
// A --page beyond the file's pages is an error that names how many it has.
// --all-pages reads every page from --page on and writes them into one file
// where the format holds pages (TIFF); other formats get the first.
//
// What the conversion loses (alpha, pages, colours) is said in one warning
// line each (Warnings.h); a source the reader found damaged is refused unless
// --allow-damaged accepts what could be read. Failures name the file they
// belong to, with the system's reason (OsError.h).
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/ConvertOperations.h"
#include "app/cli/Interrupt.h"
#include "app/cli/OsError.h"
#include "app/cli/ProgressBar.h"
#include "app/cli/Reduction.h"
#include "app/cli/Report.h"
#include "app/cli/SettingLookup.h"
#include "app/cli/Warnings.h"
#include "app/cli/WriterChoice.h"
#include "core/SafeOutFile.h"
#include "core/SystemError.h"
#include "formats/DepthConvert.h"
#include "formats/ErrorMessages.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "ops/ColourReduce.h"

namespace vivark::cli {
namespace {

struct ConvertOptions {
    std::string input;
    std::string output;
    std::string format;
    uint32_t page = 1;
    bool allPages = false;
    std::vector<std::string> assignments;
    OperationOptions operations;
    OperationSettings operationSettings;
    std::string palette;
    std::string dither;
    bool allowDamaged = false;
    Verbosity verbosity = Verbosity::Normal;
};

// The words of --palette and --dither and the types they stand for.
constexpr std::pair<const char*, PaletteType> kPaletteWords[] = {
    {"adaptive", PaletteType::Adaptive}, {"system", PaletteType::FixedSystem},
    {"884", PaletteType::Cube884},       {"676", PaletteType::Cube676},
    {"666", PaletteType::Cube666},       {"222", PaletteType::Cube222},
};
constexpr std::pair<const char*, DitherType> kDitherWords[] = {
    {"none", DitherType::None},
    {"ordered", DitherType::Ordered},
    {"diffusion", DitherType::Diffusion},
};

template <class Type, size_t N>
void setFromWord(SaveOptionOverlay& options, std::string_view key, const std::string& word,
                 const std::pair<const char*, Type> (&words)[N]) {
    for (const auto& [name, type] : words)
        if (word == name) options.set(key, int32_t(type));
}

template <class Type, size_t N>
std::vector<std::string> wordsOf(const std::pair<const char*, Type> (&words)[N]) {
    std::vector<std::string> names;
    for (const auto& entry : words) names.emplace_back(entry.first);
    return names;
}

// Reads all of standard input; the loader probes it like a file.
std::vector<uint8_t> readStandardInput() {
    std::vector<uint8_t> bytes;
    uint8_t buffer[65536];
    for (;;) {
        const ssize_t got = ::read(0, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        bytes.insert(bytes.end(), buffer, buffer + got);
    }
    return bytes;
}

int runConvert(ConvertOptions& options, CommandContext& context) {
    const bool toStdout = options.output == "-";
    if (toStdout && options.allPages) {
        reportError(context.err, "", "--all-pages writes a file, not standard output");
        return kUsage;
    }
    if (toStdout && options.format.empty()) {
        reportError(context.err, "", "writing to standard output needs --to FORMAT");
        return kUsage;
    }
    const Diagnostics diagnostics(context.err, options.verbosity);
    const WriterChoice choice = chooseWriter(options.format, options.output);
    const WriterEntry* writer = choice.writer;
    if (!writer) {
        // A known format is refused for the file named after it.
        reportError(context.err, choice.knownFormat ? options.output : std::string(),
                    choice.problem);
        return kUsage;
    }
    StoredSaveOptions stored;
    SaveOptionOverlay saveOptions(stored);
    for (const std::string& assignment : options.assignments) {
        std::string problem;
        const std::string checked = checkedAssignment(assignment, problem);
        if (checked.empty() || !saveOptions.setAssignment(checked)) {
            reportError(context.err, "",
                        problem.empty() ? "bad save option '" + assignment + "'" : problem);
            return kUsage;
        }
    }

    setFromWord(saveOptions, saveKey::PaletteType, options.palette, kPaletteWords);
    setFromWord(saveOptions, saveKey::DitherType, options.dither, kDitherWords);
    const auto paletteType = uint32_t(saveOptions.integer(saveKey::PaletteType));
    const auto ditherType = uint32_t(saveOptions.integer(saveKey::DitherType));
    const bool trueColourTaken = writer->accepts(24) && (writer->trueColourKey.empty() ||
                                                         saveOptions.flag(writer->trueColourKey));
    if (std::string refused =
            refusedBeforeLoad(options.operations.colours(), paletteType, ditherType,
                              !options.dither.empty(), *writer, trueColourTaken);
        !refused.empty()) {
        reportError(context.err, "", refused);
        return kUsage;
    }

    InterruptGuard interruptible;
    ProgressBar loading(options.input);
    Image image;
    ReadOptions read;
    read.page = options.page;
    read.progress = &loading;
    std::vector<uint8_t> standardInput;
    std::unique_ptr<InFile> memory;
    if (options.input == "-") {
        standardInput = readStandardInput();
        memory = InFile::overMemory(standardInput);
    }
    clearSystemError();
    const LoadResult loaded =
        memory ? load(image, *memory, read) : loadFile(image, options.input, read);
    // A page the file does not have: ask the headers how many it has.
    uint32_t pages = loaded.completed ? image.pageCount : 0;
    if (!loaded.completed && options.page > 1 && loaded.format != nullptr) {
        Image header;
        ReadOptions first;
        first.headerOnly = true;
        memory = memory ? InFile::overMemory(standardInput) : nullptr;
        const LoadResult probe =
            memory ? load(header, *memory, first) : loadFile(header, options.input, first);
        if (probe.completed) pages = header.pageCount;
    }
    if (pages != 0 && options.page > pages) {
        reportError(context.err, options.input,
                    "page " + std::to_string(options.page) + " does not exist: the file has " +
                        std::to_string(pages) + (pages == 1 ? " page" : " pages"));
        return kFailure;
    }
    loading.done();
    if (interrupted()) {
        reportError(context.err, options.input, "interrupted");
        return kFailure;
    }
    if (!loaded.completed) {
        reportLoadFailure(context.err, options.input,
                          loaded.message != msg::None ? loaded.message : msg::Unknown);
        return kFailure;
    }
    if (const std::string damage = damageOf(image); !damage.empty()) {
        if (!options.allowDamaged) {
            reportError(context.err, options.input,
                        damage + " (--allow-damaged writes what could be read)");
            return kFailure;
        }
        diagnostics.warn(options.input, "damaged: " + damage + "; writing what could be read");
    }
    // With --all-pages every further page of the file is read too.
    std::vector<Image> pageImages;
    pageImages.push_back(std::move(image));
    if (options.allPages) {
        for (uint32_t page = options.page + 1; page <= pageImages.front().pageCount; ++page) {
            Image next;
            ReadOptions more = read;
            more.page = page;
            memory = memory ? InFile::overMemory(standardInput) : nullptr;
            const LoadResult got =
                memory ? load(next, *memory, more) : loadFile(next, options.input, more);
            if (!got.completed) {
                reportLoadFailure(context.err, options.input,
                                  got.message != msg::None ? got.message : msg::Unknown);
                return kFailure;
            }
            pageImages.push_back(std::move(next));
        }
    }
    try {
        OperationSettings& settings = options.operationSettings;
        settings.paletteType = paletteType;
        settings.ditherType = ditherType;
        ProgressBar working(options.input);
        settings.progress = &working;
        for (Image& page : pageImages) {
            try {
                if (!applyOperations(page, options.operations.steps(), settings)) {
                    reportError(context.err, options.input, "interrupted; nothing was written");
                    return kFailure;
                }
            } catch (const OperationFailure& failure) {
                reportError(context.err, options.input, failure.text);
                return kFailure;
            }
            // Sixteen colours or fewer are stored four bits a pixel where the
            // format has that depth, as a user asking for them expects.
            if (settings.reducedTo != 0 && settings.reducedTo <= 16 && page.bitsPerPixel() == 8 &&
                page.paletteCount <= 16 && writer->accepts(4))
                page = widenIndices(page, 4);
        }
        working.done();
        ProgressBar saving(options.output);
        std::vector<Image> converted;
        for (const Image& page : pageImages)
            converted.push_back(convertForWriter(page, *writer, saveOptions, &saving));
        // Pages beyond the ones written are lost unless the user chose a page
        // or the writer took them all.
        const bool pagesKept = options.page > 1 || (options.allPages && writer->writePages);
        const std::vector<std::string> losses =
            lossesOf(pageImages.front(), converted.front(), *writer, pagesKept);
        // --palette and --dither shape a reduction; with none they do nothing.
        const bool reduced = options.operations.colours() != 0 ||
                             converted.front().bitsPerPixel() != pageImages.front().bitsPerPixel();
        if ((!options.palette.empty() || !options.dither.empty()) && !reduced) {
            reportError(context.err, "",
                        "--palette and --dither apply to a colour reduction, and " +
                            std::string(writer->menuName) +
                            " stores this image without one; add --colors N");
            return kUsage;
        }
        clearSystemError();
        if (toStdout)
            saveImageTo(converted.front(), SafeOutFile::kStandardOutput, *writer, saveOptions,
                        &saving);
        else
            saveImagePages(converted, options.output, *writer, saveOptions, &saving);
        const std::string_view shownInput = options.input == "-"
                                                ? std::string_view("standard input")
                                                : std::string_view(options.input);
        for (const std::string& loss : losses) diagnostics.warn(shownInput, loss);
        diagnostics.note(
            toStdout ? "standard output" : options.output,
            "written as " + std::string(writer->menuName) + ", " +
                std::to_string(converted.front().width()) + "x" +
                std::to_string(converted.front().height()) + ", " +
                std::to_string(converted.front().bitsPerPixel()) + " bits per pixel" +
                (converted.size() > 1 ? ", " + std::to_string(converted.size()) + " pages"
                                      : std::string()));
    } catch (...) {
        if (interrupted()) {
            reportError(context.err, options.output, "interrupted; nothing was written");
            return kFailure;
        }
        MessageId id = saveMessageForCurrentException();
        if (id == msg::None) id = msg::Unknown;
        // The file comes first in the line: the output, or the input when the
        // image itself cannot be stored in the format.
        if (id == msg::NeedsColourReduction)
            reportError(context.err, options.input, formatMessage(id, options.output));
        else
            reportSaveFailure(context.err, toStdout ? "standard output" : options.output, id);
        return kFailure;
    }
    return kSuccess;
}

}  // namespace

void registerConvert(CLI::App& app, CommandContext& context,
                     std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<ConvertOptions>();
    CLI::App* command = app.add_subcommand("convert", "Convert an image to another format");
    command->add_option("INPUT", options->input, "Image to read (- for standard input)")
        ->required();
    command
        ->add_option("OUTPUT", options->output, "File to write (- for standard output, with --to)")
        ->required();
    std::string shortNames;
    for (const WriterEntry* writer : writerTable()) {
        if (!shortNames.empty()) shortNames += ", ";
        shortNames += *writer->shortNames.begin();
    }
    command->add_option("--to", options->format,
                        "Format: a menu name (\"Windows Bitmap\") or short name (" + shortNames +
                            "); default from OUTPUT's extension");
    command->add_option("--page", options->page, "Page of a multi-image file (from 1)")
        ->check(CLI::PositiveNumber);
    command->add_flag("--all-pages", options->allPages,
                      "Write every page from --page on into one file (formats that hold pages)");
    command->add_option("--set", options->assignments,
                        "Save option for this run, e.g. \"Windows Bitmap\\Encode=1\"");
    command->add_option("--palette", options->palette, "Palette of a reduction")
        ->check(CLI::IsMember(wordsOf(kPaletteWords)));
    command->add_option("--dither", options->dither, "Dither of a reduction")
        ->check(CLI::IsMember(wordsOf(kDitherWords)));
    options->operations.add(*command, options->operationSettings);
    command->add_flag("--allow-damaged", options->allowDamaged,
                      "Write what could be read of a damaged source (with a warning)");
    addVerbosityFlags(*command, options->verbosity);
    actions.emplace_back(command, [options, &context] { return runConvert(*options, context); });
}

}  // namespace vivark::cli
