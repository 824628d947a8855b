// The journal of a batch run: one JSON line per finished file, appended and
// synced to the disk before the next file is reported, so a run cut short by
// a crash, a kill or Ctrl-C can be resumed where it stopped.
//
// A record names the source (its absolute path, size in bytes and
// modification time in nanoseconds), the output written, and the hash of
// what the run does to a file (the script's steps, the format, the naming).
// A resumed run skips a source whose record matches all three and whose
// output still exists; anything else is converted again. A last line cut
// short by a crash is not a record and is ignored; the next append starts
// on a fresh line.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <unordered_map>

namespace vivark::batch {

struct JournalRecord {
    std::string input;
    uint64_t size = 0;
    int64_t modified = 0;  // nanoseconds since the epoch
    std::string script;    // hash, 16 hex digits
    std::string output;
};

// The size and modification time of a file, or false when it cannot be stat'ed.
bool sourceStamp(const std::filesystem::path& path, uint64_t& size, int64_t& modified);

class Journal {
  public:
    // Reads the records of an existing journal (none when it does not exist).
    explicit Journal(std::filesystem::path path);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // True when `record` is in the journal as it stands, with its output present.
    bool finished(const JournalRecord& record) const;

    // Appends and syncs one record; safe from several threads. False (with
    // errno's reason recorded) when the journal cannot be written.
    bool append(const JournalRecord& record);

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
    std::unordered_map<std::string, JournalRecord> records_;
    std::mutex mutex_;
    int fd_ = -1;
    bool needsNewline_ = false;
};

// One record as its JSON line (without the line end), and back.
std::string journalLine(const JournalRecord& record);
bool parseJournalLine(std::string_view line, JournalRecord& record);

}  // namespace vivark::batch
