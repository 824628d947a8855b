// "vivark batch [--script FILE | --step STEP ...] [--to FORMAT] [--out DIR | --use-original-dir]
// [--name PATTERN] [--if-exists skip|overwrite|rename] [--delete-original] [--jobs N]
// [--memory SIZE] [--resume] [--shard K/N | --shard-from-env] [--recursive] [--dry-run] [--json]
// INPUT...": converts many files by a script, on every core.
//
// The steps come from a script file and then from --step options in the
// order given ("Resize;width=800"); --write-script FILE saves them, every
// key written. The output format is --to, else the script's last
// "FileFormat" step, else the saved "FileConverter\FileType". The output
// folder is --out or --use-original-dir, else the script's last "OutputDir"
// step, else the saved "FileConverter\UseOriginalDir" (beside the source)
// or the current folder. Files under a folder named as INPUT keep their
// subfolders under --out.
//
// --name makes the output's name from {name} (the source's name without its
// extension) and {ext} (the format's extension); "{name}.{ext}" unless
// given. --if-exists says what happens when the output exists: without it
// the saved "FileMover\ActionIfExists" decides, 0 meaning overwrite (the
// first choice of the converter's dialog), 1 skip and 2 rename. Rename
// appends "-1", "-2" ... to the name. An output never replaces a source of
// the same run nor another file's output: such a file is renamed when
// renaming, skipped when skipping, and fails otherwise.
//
// Names are settled before any work starts, in the sorted order of the
// inputs, so a run always gives every file the same output whatever the
// number of workers. Reports come in that same order: one JSON line per
// file with --json, otherwise only failures (and, on a terminal, one
// progress line). Exit status 0 when every file converted or was skipped,
// 1 when any failed or the run was interrupted, 2 on wrong usage.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <set>
#include <thread>

#include "app/cli/BatchRun.h"
#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Interrupt.h"
#include "app/cli/Report.h"
#include "app/cli/WriterChoice.h"
#include "app/settings/SettingKeys.h"
#include "batch/Inputs.h"
#include "batch/ScriptFile.h"
#include "batch/Shard.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace fs = std::filesystem;
namespace {

enum class IfExists { Overwrite = 0, Skip = 1, Rename = 2 };

struct BatchOptions {
    std::string script;
    std::vector<std::string> steps;
    std::string writeScript;
    std::string format;
    std::string out;
    bool useOriginalDir = false;
    std::string name = "{name}.{ext}";
    std::string ifExists;
    bool deleteOriginal = false;
    unsigned jobs = 0;
    std::string memory;
    bool resume = false;
    std::string journal;
    std::string shard;
    bool shardFromEnv = false;
    uint32_t shardCount = 0;
    bool recursive = false;
    bool dryRun = false;
    bool json = false;
    std::vector<std::string> inputs;
};

// "512M", "2G", "1.5G" or bytes; nothing when malformed.
std::optional<uint64_t> parseSize(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !(value > 0)) return std::nullopt;
    const std::string unit(end);
    double scale = 1;
    if (unit == "K" || unit == "k")
        scale = 1024.0;
    else if (unit == "M" || unit == "m")
        scale = 1024.0 * 1024;
    else if (unit == "G" || unit == "g")
        scale = 1024.0 * 1024 * 1024;
    else if (!unit.empty())
        return std::nullopt;
    return uint64_t(value * scale);
}

uint64_t quarterOfMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long size = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || size <= 0) return uint64_t(1) << 30;
    return uint64_t(pages) * uint64_t(size) / 4;
}

std::string expandName(const std::string& pattern, const fs::path& input, std::string_view ext) {
    std::string name;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern.compare(i, 6, "{name}") == 0) {
            name += input.stem().string();
            i += 5;
        } else if (pattern.compare(i, 5, "{ext}") == 0) {
            name += ext;
            i += 4;
        } else {
            name += pattern[i];
        }
    }
    return name;
}

fs::path key(const fs::path& path) {
    std::error_code error;
    fs::path canonical = fs::weakly_canonical(path, error);
    return error ? fs::absolute(path, error) : canonical;
}

// Temporary files an earlier run of the atomic writer left when it was
// killed (".NAME.PID.N.HEX.vvk-tmp" beside the output), whose process is gone.
void removeStaleTemporaries(const fs::path& output) {
    std::error_code error;
    const fs::path folder = output.has_parent_path() ? output.parent_path() : fs::path(".");
    const std::string prefix = "." + output.filename().string() + ".";
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(prefix) || !name.ends_with(".vvk-tmp")) continue;
        const long pid = std::strtol(name.c_str() + prefix.size(), nullptr, 10);
        if (pid > 0 && ::kill(pid_t(pid), 0) != 0 && errno == ESRCH)
            fs::remove(entry.path(), error);
    }
}

// The hash of everything that decides a file's output, for the journal.
std::string runHash(const batch::Script& steps, const WriterEntry& writer,
                    const std::string& name) {
    std::string text;
    for (const batch::Step& step : steps)
        text += batch::formatStep(batch::completeStep(step)) + "\n";
    text += std::string(writer.menuName) + "\n" + name;
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx", (unsigned long long)batch::stableHash(text));
    return hex;
}

struct Plan {
    std::vector<PlannedFile> files;
    std::vector<std::string> problems;
};

class Progress {
  public:
    explicit Progress(size_t total) : total_(total), shown_(!!::isatty(2)) {}
    void update(size_t done, size_t failed, uint64_t bytes, bool force = false) {
        if (!shown_) return;
        const auto now = std::chrono::steady_clock::now();
        if (!force && now - last_ < std::chrono::milliseconds(200)) return;
        last_ = now;
        const double seconds = std::chrono::duration<double>(now - started_).count();
        const double rate = seconds > 0 ? double(bytes) / seconds / 1e6 : 0;
        const double left = done > 0 ? seconds * double(total_ - done) / double(done) : 0;
        std::fprintf(stderr, "\r\033[K%zu/%zu files, %zu failed, %.1f MB/s, %ds left", done, total_,
                     failed, rate, int(left + 0.5));
        std::fflush(stderr);
    }
    void clear() {
        if (shown_) std::fprintf(stderr, "\r\033[K");
    }

  private:
    size_t total_;
    bool shown_;
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point last_{};
};

void report(const FileResult& result, bool json, CommandContext& context) {
    if (json) {
        context.out << "{\"input\":" << jsonString(result.input)
                    << ",\"output\":" << jsonString(result.output)
                    << ",\"status\":" << jsonString(statusName(result.status))
                    << ",\"message\":" << jsonString(result.message)
                    << ",\"milliseconds\":" << result.milliseconds << "}\n";
        context.out.flush();
    } else if (result.status == FileStatus::Failed) {
        reportError(context.err, result.input, result.message);
    }
}

int runBatch(BatchOptions& options, CommandContext& context) {
    const auto usage = [&](const std::string& text) {
        reportError(context.err, "", text);
        return int(kUsage);
    };
    // The steps: the script file's, then the command line's.
    batch::Script script;
    if (!options.script.empty()) {
        const batch::ScriptLoad loaded = batch::loadScript(options.script);
        if (!loaded.script) return usage(loaded.problem);
        for (const std::string& warning : loaded.warnings) reportError(context.err, "", warning);
        script = *loaded.script;
    }
    for (const std::string& text : options.steps) {
        std::string problem;
        const auto step = batch::parseStep(text, problem);
        if (!step) return usage("--step \"" + text + "\": " + problem);
        batch::Parameters ignored = batch::initialSettings(step->id);
        for (const std::string& key : batch::readStep(*step, ignored))
            reportError(context.err, "",
                        "--step \"" + text + "\": '" + key + "=" + step->parameters.at(key) +
                            "' is not a value this step takes; it is ignored");
        script.push_back(*step);
    }
    if (!options.writeScript.empty()) {
        batch::Script complete;
        for (const batch::Step& step : script) complete.push_back(batch::completeStep(step));
        if (!batch::saveScript(options.writeScript, complete)) {
            reportError(context.err, options.writeScript, "the script could not be written");
            return kFailure;
        }
        if (options.inputs.empty()) return kSuccess;
    }
    if (options.inputs.empty()) return usage("no INPUT files or folders given");

    // Format and folder: the command line, else the script's last step, else the saved choice.
    std::string format = options.format;
    std::optional<fs::path> outDir;
    bool besideSource = options.useOriginalDir;
    if (!options.out.empty()) outDir = options.out;
    bool scriptChoseFolder = false;
    for (const batch::Step& step : script) {
        const batch::Step full = batch::completeStep(step);
        if (step.id == batch::OperationId::FileFormat && options.format.empty() &&
            !full.parameters.at("filetype").empty())
            format = full.parameters.at("filetype");
        if (step.id == batch::OperationId::OutputDir && options.out.empty() &&
            !options.useOriginalDir) {
            scriptChoseFolder = true;
            besideSource = full.parameters.at("useoriginaldir") == "yes";
            outDir.reset();
            if (!besideSource && !full.parameters.at("dirname").empty())
                outDir = full.parameters.at("dirname");
        }
    }
    if (!outDir && !besideSource && !scriptChoseFolder)
        besideSource = settings::converterUseOriginalDir.get();
    if (!outDir && !besideSource) outDir = fs::path(".");
    const WriterEntry* writer = nullptr;
    if (format.empty()) {
        writer = findWriterByTag(FormatTag(settings::converterFileType.get()));
        if (!writer) return usage("the saved FileConverter\\FileType names no writable format");
    } else {
        const WriterChoice choice = chooseWriter(format, "");
        if (!choice.writer) return usage(choice.problem);
        writer = choice.writer;
    }
    batch::Script operations;
    for (const batch::Step& step : script)
        if (step.id != batch::OperationId::FileFormat && step.id != batch::OperationId::OutputDir)
            operations.push_back(step);

    IfExists ifExists = IfExists(std::clamp<uint32_t>(settings::moverActionIfExists.get(), 0, 2));
    if (options.ifExists == "skip") ifExists = IfExists::Skip;
    if (options.ifExists == "overwrite") ifExists = IfExists::Overwrite;
    if (options.ifExists == "rename") ifExists = IfExists::Rename;
    const bool deleteOriginal = options.deleteOriginal || settings::converterDeleteOriginal.get();

    std::optional<batch::Shard> shard;
    std::string problem;
    if (!options.shard.empty()) {
        shard = batch::parseShard(options.shard, problem);
        if (!shard) return usage(problem);
    } else if (options.shardFromEnv) {
        shard = batch::shardFromEnvironment([](const char* name) { return std::getenv(name); },
                                            options.shardCount, problem);
        if (!shard) return usage(problem);
    }
    uint64_t memory = quarterOfMemory();
    if (!options.memory.empty()) {
        const auto parsed = parseSize(options.memory);
        if (!parsed) return usage("--memory: expected a size such as 512M or 2G");
        memory = *parsed;
    }

    // The files, this shard's share of them, and their outputs.
    batch::InputList inputs = batch::collectInputs(options.inputs, options.recursive);
    bool failed = false;
    for (const std::string& text : inputs.problems) {
        reportError(context.err, "", text);
        failed = true;
    }
    std::set<fs::path> sources;
    for (const batch::InputFile& file : inputs.files) sources.insert(key(file.path()));
    if (shard)
        std::erase_if(inputs.files, [&](const batch::InputFile& file) {
            return !batch::inShard(file.relative.generic_string(), *shard);
        });

    const std::string hash = runHash(operations, *writer, options.name);
    std::string journalName = ".vivark-journal.jsonl";
    if (shard)
        journalName = ".vivark-journal-" + std::to_string(shard->index) + "-of-" +
                      std::to_string(shard->count) + ".jsonl";
    const fs::path journalPath = !options.journal.empty() ? fs::path(options.journal)
                                 : outDir                 ? *outDir / journalName
                                                          : fs::path(journalName);
    std::unique_ptr<batch::Journal> journal;
    if (!options.dryRun) journal = std::make_unique<batch::Journal>(journalPath);

    const std::string_view extension = *writer->extensions.begin();
    std::set<fs::path> claimed;
    std::vector<PlannedFile> plan;
    for (const batch::InputFile& input : inputs.files) {
        PlannedFile file;
        file.input = input.path();
        file.inFolder = input.inFolder;
        const fs::path folder =
            besideSource ? file.input.parent_path() : *outDir / input.relative.parent_path();
        const std::string name = expandName(options.name, input.relative, extension);
        file.output = folder / name;
        if (options.resume && journal) {
            batch::JournalRecord record;
            std::error_code error;
            record.input = fs::absolute(file.input, error).string();
            record.script = hash;
            if (batch::sourceStamp(file.input, record.size, record.modified) &&
                journal->finished(record)) {
                file.skip = true;
                file.reason = "converted by an earlier run";
                claimed.insert(key(file.output));
                plan.push_back(file);
                continue;
            }
            removeStaleTemporaries(file.output);
        }
        const auto taken = [&](const fs::path& path) {
            const fs::path k = key(path);
            return sources.count(k) || claimed.count(k);
        };
        std::error_code error;
        // A resumed run replaces what the interrupted one may have left.
        const bool exists = !options.resume && fs::exists(file.output, error);
        if (taken(file.output) || exists) {
            if (ifExists == IfExists::Rename) {
                const fs::path stem = fs::path(name).stem();
                const fs::path ext = fs::path(name).extension();
                for (int n = 1;; ++n) {
                    const fs::path next =
                        folder / (stem.string() + "-" + std::to_string(n) + ext.string());
                    if (!taken(next) && !fs::exists(next, error)) {
                        file.output = next;
                        break;
                    }
                }
            } else if (ifExists == IfExists::Skip) {
                file.skip = true;
                file.reason = "the output " + file.output.string() + " exists";
            } else if (taken(file.output)) {
                file.fail = true;
                file.reason = "the output " + file.output.string() +
                              " would replace a source or another output of this run";
            }
        }
        if (!file.skip && !file.fail) claimed.insert(key(file.output));
        plan.push_back(std::move(file));
    }

    if (options.dryRun) {
        for (const PlannedFile& file : plan) {
            FileResult result;
            result.input = file.input.string();
            result.output = file.output.string();
            result.status = file.fail   ? FileStatus::Failed
                            : file.skip ? FileStatus::Skipped
                                        : FileStatus::Converted;
            result.message = file.reason;
            if (options.json)
                report(result, true, context);
            else if (file.fail)
                report(result, false, context);
            else
                context.out << file.input.string() << " -> " << file.output.string()
                            << (file.skip ? " (skipped: " + file.reason + ")" : "") << "\n";
            failed = failed || file.fail;
        }
        return failed ? kFailure : kSuccess;
    }

    // The workers take files in order; results are reported in that order.
    StoredSaveOptions saveOptions;
    // Read the saved choices once here, so the workers find them cached.
    (void)settings::resizeResample.get();
    (void)settings::resizeLetterBox.get();
    (void)settings::rotateResample.get();
    batch::MemoryBudget budget(memory);
    RunSettings run{operations,     writer, &saveOptions,  deleteOriginal,
                    options.resume, hash,   journal.get(), &budget};
    InterruptGuard interruptible;
    const unsigned jobs =
        options.jobs ? options.jobs : std::max(1u, std::thread::hardware_concurrency());
    std::vector<std::optional<FileResult>> results(plan.size());
    std::mutex mutex;
    std::condition_variable ready;
    size_t next = 0;
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < std::min<size_t>(jobs, std::max<size_t>(plan.size(), 1)); ++i)
        workers.emplace_back([&] {
            for (;;) {
                size_t index;
                {
                    std::lock_guard lock(mutex);
                    if (next >= plan.size()) return;
                    index = next++;
                }
                FileResult result = convertFile(plan[index], run);
                {
                    std::lock_guard lock(mutex);
                    results[index] = std::move(result);
                }
                ready.notify_all();
            }
        });
    Progress progress(plan.size());
    size_t failures = 0, interruptedFiles = 0;
    uint64_t bytes = 0;
    for (size_t i = 0; i < plan.size(); ++i) {
        std::unique_lock lock(mutex);
        while (!results[i]) {
            ready.wait_for(lock, std::chrono::milliseconds(200));
            lock.unlock();
            progress.update(i, failures, bytes);
            lock.lock();
        }
        const FileResult result = *results[i];
        lock.unlock();
        bytes += result.bytes;
        if (result.status == FileStatus::Failed) ++failures;
        if (result.status == FileStatus::Interrupted) {
            ++interruptedFiles;
            if (options.json) report(result, true, context);
            continue;
        }
        progress.clear();
        report(result, options.json, context);
        progress.update(i + 1, failures, bytes, true);
    }
    for (std::thread& worker : workers) worker.join();
    progress.clear();
    if (interruptedFiles > 0)
        reportError(context.err, "",
                    "interrupted: " + std::to_string(interruptedFiles) +
                        " files not converted; --resume continues the run");
    return failed || failures > 0 || interruptedFiles > 0 ? kFailure : kSuccess;
}

}  // namespace

void registerBatch(CLI::App& app, CommandContext& context,
                   std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<BatchOptions>();
    CLI::App* command =
        app.add_subcommand("batch", "Convert many files by a script, in parallel and resumably");
    command->add_option("INPUT", options->inputs, "Files, folders and quoted glob patterns");
    command->add_option("--script", options->script, "Script file (\"Vivark Script\")");
    command
        ->add_option("--step", options->steps,
                     "A script step, e.g. \"Resize;width=800;height=600\" (after the script's)")
        ->allow_extra_args(false);
    command->add_option("--write-script", options->writeScript,
                        "Save the steps as a script file (then convert INPUT, if given)");
    command->add_option("--to", options->format, "Output format: a menu or short name");
    auto* out = command->add_option("--out", options->out, "Output folder");
    command->add_flag("--use-original-dir", options->useOriginalDir, "Save beside each source")
        ->excludes(out);
    command->add_option("--name", options->name,
                        "Output name from {name} and {ext} (default {name}.{ext})");
    command->add_option("--if-exists", options->ifExists, "When the output exists")
        ->check(CLI::IsMember({"skip", "overwrite", "rename"}));
    command->add_flag("--delete-original", options->deleteOriginal,
                      "Delete each source once its output is written and reads back");
    command->add_option("--jobs,-j", options->jobs, "Workers (default: one per core)")
        ->check(CLI::Range(1u, 1024u));
    command->add_option("--memory", options->memory,
                        "Decoded pixels held at once, e.g. 2G (default: a quarter of RAM)");
    command->add_flag("--resume", options->resume,
                      "Skip files the journal shows converted and unchanged");
    command->add_option("--journal", options->journal,
                        "Journal file (default: .vivark-journal.jsonl in the output folder)");
    auto* shard = command->add_option("--shard", options->shard, "Convert shard K of N (K/N)");
    command
        ->add_flag("--shard-from-env", options->shardFromEnv,
                   "Shard from SLURM_ARRAY_TASK_ID/COUNT or JOB_COMPLETION_INDEX")
        ->excludes(shard);
    command
        ->add_option("--shard-count", options->shardCount,
                     "Shard count for JOB_COMPLETION_INDEX (else VIVARK_SHARD_COUNT)")
        ->check(CLI::PositiveNumber);
    command->add_flag("--recursive,-r", options->recursive, "Descend into subfolders");
    command->add_flag("--dry-run,-n", options->dryRun, "Show what would be done");
    command->add_flag("--json", options->json, "One JSON line per file on standard output");
    actions.emplace_back(command, [options, &context] { return runBatch(*options, context); });
}

}  // namespace vivark::cli
