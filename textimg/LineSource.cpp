// Line reading over InFile buffers; see LineSource.h.
#include "textimg/LineSource.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "core/Errors.h"

namespace vivark::textimg {
namespace {

bool isBlank(std::string_view line) {
    return std::all_of(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t'; });
}

// "Name: value" with a name of letters, digits and dashes.
bool isHeaderField(std::string_view line) {
    size_t i = 0;
    while (i < line.size() && (std::isalnum(static_cast<unsigned char>(line[i])) || line[i] == '-'))
        ++i;
    return i > 0 && i + 1 < line.size() && line[i] == ':' && line[i + 1] == ' ';
}

// Refills an empty buffer; false at the end of the data.
bool refilled(InFile& file) {
    try {
        file.refill();
        return true;
    } catch (INFILEERROR error) {
        if (error != INFILEERROR::UnexpectedEnd) throw;
        return false;
    }
}

}  // namespace

LineSource::LineSource(std::vector<Member> members, bool joined)
    : members_(std::move(members)), joined_(joined) {
    if (members_.empty()) members_.push_back({});
}

bool LineSource::readRaw(std::string_view& line) {
    InFile* file = members_[member_].file;
    if (file == nullptr) return false;
    spill_.clear();
    bool spilled = false;
    for (;;) {
        auto window = file->window();
        if (window.empty()) {
            if (!refilled(*file)) {
                if (!spilled) return false;
                pendingCr_ = false;
                ++line_;
                line = spill_;
                return true;
            }
            window = file->window();
        }
        const char* begin = reinterpret_cast<const char*>(window.data());
        size_t size = window.size();
        if (pendingCr_) {
            pendingCr_ = false;
            if (begin[0] == '\n') {
                file->consume(1);
                continue;
            }
        }
        // The first LF, then any CR before it: two library scans beat one
        // loop testing both characters.
        const void* lf = std::memchr(begin, '\n', size);
        size_t end =
            lf != nullptr ? static_cast<size_t>(static_cast<const char*>(lf) - begin) : size;
        if (const void* cr = std::memchr(begin, '\r', end))
            end = static_cast<size_t>(static_cast<const char*>(cr) - begin);
        if (end < size) {
            pendingCr_ = begin[end] == '\r';
            file->consume(end + 1);
            ++line_;
            if (spilled) {
                spill_.append(begin, end);
                line = spill_;
            } else {
                line = std::string_view(begin, end);
            }
            return true;
        }
        const size_t room = kMaxLine - spill_.size();
        const size_t take = std::min(size, room);
        spill_.append(begin, take);
        file->consume(take);
        spilled = true;
        if (spill_.size() >= kMaxLine) {
            ++line_;
            line = spill_;
            return true;
        }
    }
}

bool LineSource::onlyBlankLinesRemain() {
    const Mark start = mark();
    std::string_view rest;
    bool blank = true;
    while (blank && readRaw(rest)) blank = isBlank(rest);
    // The blank lines up to that text are kept without looking again.
    if (!blank) blanksKeptBefore_ = line_;
    reset(start);
    return blank;
}

void LineSource::skipPartHeader() {
    std::string_view line;
    bool inHeader = false;
    for (;;) {
        const Mark before = mark();
        if (!readRaw(line)) return;
        if (inHeader) {
            if (line.empty()) inHeader = false;
            continue;
        }
        if (isBlank(line) || line.starts_with("_=_")) continue;
        if (isHeaderField(line)) {
            inHeader = true;
            continue;
        }
        reset(before);
        return;
    }
}

bool LineSource::advanceMember() {
    if (member_ + 1 >= members_.size()) return false;
    ++member_;
    line_ = 0;
    blanksKeptBefore_ = 0;
    pendingCr_ = false;
    if (members_[member_].file != nullptr) members_[member_].file->rewind();
    if (joined_) skipPartHeader();
    return true;
}

bool LineSource::next(std::string_view& line) {
    for (;;) {
        if (readRaw(line)) {
            const bool lastMember = member_ + 1 >= members_.size();
            if (!joined_ || lastMember || !isBlank(line)) return true;
            // A blank line of a part before the last: kept unless the part
            // ends in blank lines, which a split leaves between encoded lines.
            if (line_ < blanksKeptBefore_) return true;
            std::string keep(line);
            if (!onlyBlankLinesRemain()) {
                spill_ = std::move(keep);
                line = spill_;
                return true;
            }
        }
        if (!advanceMember()) return false;
    }
}

uint64_t LineSource::memberSize() const {
    const InFile* file = members_[member_].file;
    return file != nullptr ? file->size() : 0;
}

LineSource::Mark LineSource::mark() const {
    InFile* file = members_[member_].file;
    return {member_, file != nullptr ? file->tell() : 0, line_, pendingCr_};
}

void LineSource::reset(const Mark& mark) {
    member_ = mark.member;
    line_ = mark.line;
    pendingCr_ = mark.pendingCr;
    if (InFile* file = members_[member_].file) file->seek(mark.position);
}

}  // namespace vivark::textimg
