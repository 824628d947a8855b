// SafeOutFile: an output file that appears under its name only when complete.
//
// A writer never writes into its target directly. SafeOutFile creates a
// temporary file beside the target (same directory, so the final rename is
// atomic), hands out its OutFile, and on commit() flushes, syncs and renames
// it over the target. Destroyed without commit (a failure, a cancel), it
// removes the temporary file: no partial file is ever left and an existing
// target, which may be the source image itself, is untouched.
//
// Creation failures are thrown as CREATEERROR (the system's reason decides the
// message); write failures as OUTFILEERROR.
#pragma once

#include <filesystem>

#include "core/OutFile.h"

namespace vivark {

class SafeOutFile {
  public:
    explicit SafeOutFile(std::filesystem::path target,
                         size_t bufferSize = OutFile::kDefaultBufferSize);
    ~SafeOutFile();
    SafeOutFile(const SafeOutFile&) = delete;
    SafeOutFile& operator=(const SafeOutFile&) = delete;

    OutFile& out() { return out_; }
    const std::filesystem::path& temporaryPath() const { return temporary_; }
    const std::filesystem::path& target() const { return target_; }

    // Flushes, syncs and renames the finished file over the target.
    // Throws OUTFILEERROR on a write failure, CREATEERROR::CannotReplace when
    // the rename fails.
    void commit();

  private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    OutFile out_;
    bool committed_ = false;
};

}  // namespace vivark
