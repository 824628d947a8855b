// Writing, syncing and reading the journal's JSON lines.
#include "batch/Journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>

#include "core/SystemError.h"

namespace vivark::batch {
namespace {

std::string jsonQuoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (uint8_t(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", unsigned(uint8_t(c)));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

// The value after "\"name\":" in a line this file wrote: a string or a number.
std::optional<std::string> field(std::string_view line, std::string_view name) {
    std::string key(1, '"');
    key.append(name).append("\":");
    size_t at = line.find(key);
    if (at == std::string_view::npos) return std::nullopt;
    at += key.size();
    if (at >= line.size()) return std::nullopt;
    if (line[at] != '"') {
        const size_t end = line.find_first_of(",}", at);
        if (end == std::string_view::npos) return std::nullopt;
        return std::string(line.substr(at, end - at));
    }
    std::string value;
    for (size_t i = at + 1; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"') return value;
        if (c != '\\') {
            value += c;
            continue;
        }
        if (++i >= line.size()) return std::nullopt;
        if (line[i] == 'u') {
            unsigned code = 0;
            if (i + 4 >= line.size()) return std::nullopt;
            const auto [end, error] = std::from_chars(&line[i + 1], &line[i + 5], code, 16);
            if (error != std::errc() || end != &line[i + 5] || code > 0xFF) return std::nullopt;
            value += char(code);
            i += 4;
        } else {
            value += line[i];
        }
    }
    return std::nullopt;
}

template <class T>
bool numberOf(const std::optional<std::string>& text, T& value) {
    if (!text) return false;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    return error == std::errc() && end == text->data() + text->size();
}

}  // namespace

bool sourceStamp(const std::filesystem::path& path, uint64_t& size, int64_t& modified) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return false;
    size = uint64_t(status.st_size);
    modified = int64_t(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
    return true;
}

std::string journalLine(const JournalRecord& record) {
    return "{\"input\":" + jsonQuoted(record.input) + ",\"size\":" + std::to_string(record.size) +
           ",\"mtime\":" + std::to_string(record.modified) +
           ",\"script\":" + jsonQuoted(record.script) + ",\"output\":" + jsonQuoted(record.output) +
           "}";
}

bool parseJournalLine(std::string_view line, JournalRecord& record) {
    if (line.empty() || line.front() != '{' || line.back() != '}') return false;
    const auto input = field(line, "input");
    const auto script = field(line, "script");
    const auto output = field(line, "output");
    if (!input || !script || !output) return false;
    record.input = *input;
    record.script = *script;
    record.output = *output;
    return numberOf(field(line, "size"), record.size) &&
           numberOf(field(line, "mtime"), record.modified);
}

Journal::Journal(std::filesystem::path path) : path_(std::move(path)) {
    std::ifstream in(path_, std::ios::binary);
    std::string line;
    bool complete = true;
    while (std::getline(in, line)) {
        complete = !in.eof();
        JournalRecord record;
        if (complete && parseJournalLine(line, record)) records_[record.input] = record;
    }
    // A line without its end was cut short; appends begin after a newline.
    needsNewline_ = !complete && !line.empty();
}

Journal::~Journal() {
    if (fd_ >= 0) ::close(fd_);
}

bool Journal::finished(const JournalRecord& record) const {
    const auto found = records_.find(record.input);
    if (found == records_.end()) return false;
    const JournalRecord& done = found->second;
    std::error_code error;
    return done.size == record.size && done.modified == record.modified &&
           done.script == record.script && std::filesystem::exists(done.output, error);
}

bool Journal::append(const JournalRecord& record) {
    std::lock_guard lock(mutex_);
    if (fd_ < 0) {
        fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (fd_ < 0) {
            noteSystemError(errno);
            return false;
        }
    }
    std::string text = needsNewline_ ? "\n" : "";
    text.append(journalLine(record)).push_back('\n');
    needsNewline_ = false;
    const char* data = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t wrote = ::write(fd_, data, left);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) {
            noteSystemError(errno);
            return false;
        }
        data += wrote;
        left -= size_t(wrote);
    }
    if (::fdatasync(fd_) != 0) {
        noteSystemError(errno);
        return false;
    }
    return true;
}

}  // namespace vivark::batch
