// LineSource: the lines of one text, or of the parts of one posting read as
// a single text.
//
// A line is handed out without its end (CR, LF or CR LF) as a view into the
// InFile's buffer, copied only when it crosses a refill, so decoding costs no
// copy per line. Lines have any length up to kMaxLine (longer ones come in
// pieces). Zero bytes are passed through: the scanner decides what binary
// data means.
//
// Parts after the first lose their leading header block (mail or news
// headers, the "_=_" banner of split files, blank lines) and parts before
// the last lose their trailing blank lines, so the encoded lines of a split
// file follow each other as if never split.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/InFile.h"

namespace vivark::textimg {

class LineSource {
  public:
    static constexpr size_t kMaxLine = 1 << 20;

    struct Member {
        InFile* file = nullptr;
        std::string name;
    };
    // `joined`: the members are parts of one posting in order.
    LineSource(std::vector<Member> members, bool joined);

    // The next line; false after the last line of the last member.
    bool next(std::string_view& line);

    // Where the last line handed out came from.
    const std::string& memberName() const { return members_[member_].name; }
    size_t memberIndex() const { return member_; }
    uint64_t lineNumber() const { return line_; }
    // The size of the current member's data: no encoding decodes to more
    // bytes than its text, so it bounds what a decoder may reserve.
    uint64_t memberSize() const;

    // A place to come back to (only within the buffer's reach is it cheap).
    struct Mark {
        size_t member;
        int64_t position;
        uint64_t line;
        bool pendingCr;
    };
    Mark mark() const;
    void reset(const Mark& mark);

  private:
    // Reads one raw line of the current member; false at its end.
    bool readRaw(std::string_view& line);
    // Moves to the next member, skipping its header block when joined.
    bool advanceMember();
    void skipPartHeader();
    bool onlyBlankLinesRemain();

    std::vector<Member> members_;
    bool joined_;
    size_t member_ = 0;
    uint64_t line_ = 0;
    uint64_t blanksKeptBefore_ = 0;  // blank lines before this line number are kept
    bool pendingCr_ = false;         // the last line ended with CR: a following LF belongs to it
    std::string spill_;              // a line that crossed a refill
};

}  // namespace vivark::textimg
