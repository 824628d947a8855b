// Converting one file of a batch.
#include "app/cli/BatchRun.h"

#include <chrono>
#include <cstring>
#include <optional>
#include <system_error>

#include "app/cli/BatchSteps.h"
#include "app/cli/ConvertOperations.h"
#include "app/cli/Interrupt.h"
#include "app/cli/OsError.h"
#include "app/cli/Warnings.h"
#include "core/ErrorMapping.h"
#include "core/Errors.h"
#include "core/SafeOutFile.h"
#include "core/SystemError.h"
#include "formats/DepthConvert.h"
#include "formats/ErrorMessages.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace {

// Cancels the work of every worker once Ctrl-C or SIGTERM arrived.
class StopOnSignal final : public ProgressCallback {
  public:
    bool progress(uint32_t, uint32_t) override { return interrupted(); }
};

// What one decoded image may hold while it is worked on: the source, the
// result of a step and the image converted for the writer, four bytes a
// pixel at most.
uint64_t memoryEstimate(const Image& header) {
    return std::max<uint64_t>(uint64_t(header.width()) * header.height() * 4 * 3, 1 << 20);
}

// Holds a share of the memory budget for the life of one file's work.
class BudgetShare {
  public:
    BudgetShare(batch::MemoryBudget* budget, uint64_t bytes) : budget_(budget), bytes_(bytes) {
        if (budget_) budget_->acquire(bytes_);
    }
    ~BudgetShare() { release(); }
    void release() {
        if (budget_) budget_->release(bytes_);
        budget_ = nullptr;
    }

  private:
    batch::MemoryBudget* budget_;
    uint64_t bytes_;
};

std::string loadFailure(const LoadResult& loaded) {
    return withSystemReason(
        formatMessage(loaded.message != msg::None ? loaded.message : msg::Unknown));
}

}  // namespace

const char* statusName(FileStatus status) {
    switch (status) {
        case FileStatus::Converted:
            return "converted";
        case FileStatus::Skipped:
            return "skipped";
        case FileStatus::Failed:
            return "failed";
        case FileStatus::Interrupted:
            return "interrupted";
    }
    return "failed";
}

FileResult convertFile(const PlannedFile& file, const RunSettings& run) {
    const auto started = std::chrono::steady_clock::now();
    FileResult result;
    result.input = file.input.string();
    result.output = file.output.string();
    const auto finish = [&](FileStatus status, std::string message = {}) {
        result.status = status;
        result.message = std::move(message);
        result.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - started)
                                  .count();
        return result;
    };
    if (file.fail) return finish(FileStatus::Failed, file.reason);
    if (file.skip) return finish(FileStatus::Skipped, file.reason);
    if (interrupted()) return finish(FileStatus::Interrupted, "interrupted; not converted");

    batch::JournalRecord record;
    std::error_code error;
    record.input = std::filesystem::absolute(file.input, error).string();
    record.output = std::filesystem::absolute(file.output, error).string();
    record.script = run.scriptHash;
    if (!batch::sourceStamp(file.input, record.size, record.modified))
        return finish(FileStatus::Failed,
                      withSystemReason(formatMessage(msg::Unknown, file.input.string())));
    result.bytes = record.size;

    StopOnSignal stop;
    clearSystemError();
    Image header;
    ReadOptions probe;
    probe.headerOnly = true;
    probe.progress = &stop;
    const LoadResult identified = loadFile(header, file.input.string(), probe);
    if (!identified.completed) {
        if (interrupted())
            return finish(FileStatus::Interrupted, "interrupted; nothing was written");
        if (file.inFolder && identified.message == msg::UnrecognizedFormat)
            return finish(FileStatus::Skipped, "not an image");
        return finish(FileStatus::Failed, loadFailure(identified));
    }
    BudgetShare share(run.budget, memoryEstimate(header));
    header = Image();

    Image image;
    ReadOptions read;
    read.progress = &stop;
    const LoadResult loaded = loadFile(image, file.input.string(), read);
    if (!loaded.completed) {
        if (interrupted())
            return finish(FileStatus::Interrupted, "interrupted; nothing was written");
        return finish(FileStatus::Failed, loadFailure(loaded));
    }
    if (const std::string damage = damageOf(image); !damage.empty())
        return finish(FileStatus::Failed, damage);

    try {
        uint32_t reducedTo = 0;
        for (const batch::Step& step : run.steps)
            if (!applyScriptStep(image, step, &stop, reducedTo))
                return finish(FileStatus::Interrupted, "interrupted; nothing was written");
        // Sixteen colours or fewer are stored four bits a pixel where the
        // format has that depth, as "vivark convert" does.
        if (reducedTo != 0 && reducedTo <= 16 && image.bitsPerPixel() == 8 &&
            image.paletteCount <= 16 && run.writer->accepts(4))
            image = widenIndices(image, 4);
    } catch (const OperationFailure& failure) {
        return finish(FileStatus::Failed, failure.text);
    } catch (...) {
        MessageId id = saveMessageForCurrentException();
        return finish(FileStatus::Failed, formatMessage(id == msg::None ? msg::Unknown : id));
    }

    try {
        clearSystemError();
        std::filesystem::create_directories(file.output.parent_path().empty()
                                                ? std::filesystem::path(".")
                                                : file.output.parent_path(),
                                            error);
        const Image converted = convertForWriter(image, *run.writer, *run.saveOptions, &stop);
        image = Image();
        SafeOutFile out(file.output);
        // A source about to be deleted needs its output on the disk first.
        out.setDurable(run.deleteOriginal);
        run.writer->write(converted, out.out(), *run.saveOptions, &stop);
        out.commit();
    } catch (...) {
        if (interrupted())
            return finish(FileStatus::Interrupted, "interrupted; nothing was written");
        MessageId id = saveMessageForCurrentException();
        if (id == msg::None) id = msg::Unknown;
        return finish(FileStatus::Failed,
                      file.output.string() + ": " + withSystemReason(formatMessage(id, "")));
    }
    share.release();

    if (run.deleteOriginal) {
        Image check;
        ReadOptions again;
        const LoadResult back = loadFile(check, file.output.string(), again);
        if (!back.completed)
            return finish(FileStatus::Failed, "the output did not read back (" + loadFailure(back) +
                                                  "); the original is kept");
        if (!std::filesystem::remove(file.input, error))
            return finish(FileStatus::Failed,
                          "converted, but the original could not be deleted: " + error.message());
    }
    if (run.journal && !run.journal->append(record))
        return finish(FileStatus::Failed,
                      "converted, but the journal " + run.journal->path().string() +
                          " could not be written: " + std::strerror(lastSystemError()));
    return finish(FileStatus::Converted);
}

}  // namespace vivark::cli
