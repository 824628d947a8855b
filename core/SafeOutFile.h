// SafeOutFile: an output file that appears under its name only when complete.
//
// A writer never writes into its target directly. SafeOutFile creates a
// temporary file beside the target (same directory, so the final rename is
// atomic), hands out its OutFile, and on commit() flushes and renames
// it over the target. Destroyed without commit (a failure, a cancel), it
// removes the temporary file: no partial file is ever left and an existing
// target, which may be the source image itself, is untouched.
//
// What commit() does depends on what the target is:
//  - a regular file or a new name: the finished file is renamed over it, and
//    keeps an existing file's permission bits;
//  - a symbolic link: the link is followed and the file it names is replaced
//    as above, so the link stays a link;
//  - a regular file with several hard links: its content is replaced in
//    place once the new content is complete, so every name sees the new file;
//  - a device, a FIFO or a socket (and an open descriptor such as standard
//    output): nothing can be replaced, so the finished bytes are copied to it.
// In every case the bytes are first written to a temporary file, so writers
// that seek back work on pipes too, and a failure before commit() leaves the
// target as it was.
//
// Creation failures are thrown as CREATEERROR (the system's reason decides the
// message); write failures as OUTFILEERROR.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>

#include "core/OutFile.h"

namespace vivark {

class SafeOutFile {
  public:
    explicit SafeOutFile(std::filesystem::path target,
                         size_t bufferSize = OutFile::kDefaultBufferSize);
    // Writes to an open descriptor (standard output), which it does not close.
    static constexpr int kStandardOutput = 1;
    explicit SafeOutFile(int descriptor, size_t bufferSize = OutFile::kDefaultBufferSize);
    ~SafeOutFile();
    SafeOutFile(const SafeOutFile&) = delete;
    SafeOutFile& operator=(const SafeOutFile&) = delete;

    OutFile& out() { return out_; }
    const std::filesystem::path& temporaryPath() const { return temporary_; }
    const std::filesystem::path& target() const { return target_; }

    // Asks commit() to have the file's bytes on the disk before the rename,
    // for a caller that will then delete the source (a conversion that
    // replaces its originals). Without it a commit survives any failure,
    // cancel or signal of the process, as other tools' outputs do, but not a
    // crash of the system; syncing every file of a batch would cost more than
    // the decoding.
    void setDurable(bool durable) { durable_ = durable; }

    // Flushes, syncs when durable, and renames the finished file over the target.
    // Throws OUTFILEERROR on a write failure, CREATEERROR::CannotReplace when
    // the rename fails.
    void commit();

  private:
    enum class Commit { Rename, InPlace, Copy };

    void createTemporary(const std::filesystem::path& folder, mode_t mode, bool keepMode);
    // Copies the finished temporary file to `fd` from its current position.
    void copyTemporaryTo(int fd);

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    Commit commit_ = Commit::Rename;
    int descriptor_ = -1;  // the open descriptor written to, or -1
    OutFile out_;
    bool committed_ = false;
    bool durable_ = false;
};

// Writes a small text or data file (a palette, a filter) through a
// SafeOutFile: true when it is in place, false when it could not be created
// or written (the target is then as it was).
bool writeWholeFile(const std::filesystem::path& target,
                    const std::function<void(OutFile&)>& write);

}  // namespace vivark
