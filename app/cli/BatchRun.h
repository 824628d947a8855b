// One batch run's plan and its conversion of each file, shared by the
// workers of "vivark batch" (BatchCommand.cpp owns the options, the
// planning and the reporting).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "batch/Journal.h"
#include "batch/MemoryBudget.h"
#include "batch/Script.h"
#include "formats/SaveOptions.h"
#include "formats/WriterEntry.h"

namespace vivark::cli {

// What happened to one file.
enum class FileStatus { Converted, Skipped, Failed, Interrupted };

struct FileResult {
    std::string input;
    std::string output;
    FileStatus status = FileStatus::Failed;
    std::string message;
    uint64_t bytes = 0;  // source size, for the rate
    int64_t milliseconds = 0;
};

// One file's part of the plan: its output, or why it is not converted.
struct PlannedFile {
    std::filesystem::path input;
    std::filesystem::path output;
    bool skip = false;      // with `reason`: already done, or the output exists
    bool fail = false;      // with `reason`: a name no output may take
    bool inFolder = false;  // found in a folder: a file that is no image is skipped
    std::string reason;
};

// What every file of a run shares.
struct RunSettings {
    batch::Script steps;  // the operation steps, in order
    const WriterEntry* writer = nullptr;
    const SaveOptions* saveOptions = nullptr;
    bool deleteOriginal = false;
    bool resume = false;
    std::string scriptHash;
    batch::Journal* journal = nullptr;
    batch::MemoryBudget* budget = nullptr;
};

// Loads, runs the steps, saves through the atomic writer, deletes the
// source when asked (after the output read back), and appends the journal
// record. Safe to call from several threads at once.
FileResult convertFile(const PlannedFile& file, const RunSettings& run);

const char* statusName(FileStatus status);

}  // namespace vivark::cli
