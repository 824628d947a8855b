// BinHex 4.0 blocks: after the "(This file must be converted with BinHex
// 4.0)" line, text from ":" to ":" in a 64-character alphabet, six bits per
// character. The bytes it gives are run-length coded (0x90 n repeats the
// previous byte to n copies in all; 0x90 0 is the byte 0x90 itself) and then
// hold a header (name, type, creator, flags, the two fork lengths), the data
// fork and the resource fork, each followed by its CRC-16.
//
// The data fork is the file; the resource fork is checked and dropped, as
// other systems have nowhere to keep it.
#include <algorithm>

#include "core/Checked.h"
#include "textimg/Checksums.h"
#include "textimg/Decoders.h"

namespace vivark::textimg {
namespace {

uint32_t be32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
           static_cast<uint32_t>(p[2]) << 8 | p[3];
}

// Expands the run-length coding into `out` as bytes arrive.
class RunLengthExpander {
  public:
    RunLengthExpander(std::vector<uint8_t>& out, uint64_t limit) : out_(out), limit_(limit) {}
    // False when the output would pass the limit.
    bool put(uint8_t b) {
        if (marker_) {
            marker_ = false;
            if (b == 0) return emit(0x90, 1);
            if (!havePrevious_) return true;
            return emit(previous_, b - 1u);
        }
        if (b == 0x90) {
            marker_ = true;
            return true;
        }
        return emit(b, 1);
    }

  private:
    bool emit(uint8_t b, uint32_t count) {
        if (out_.size() + count > limit_) return false;
        out_.insert(out_.end(), count, b);
        previous_ = b;
        havePrevious_ = true;
        return true;
    }
    std::vector<uint8_t>& out_;
    uint64_t limit_;
    uint8_t previous_ = 0;
    bool havePrevious_ = false;
    bool marker_ = false;
};

}  // namespace

DecodedBlock decodeBinHex(LineSource& lines, const BlockStart& start,
                          const ExtractOptions& options) {
    DecodedBlock block;
    Decoded& file = block.file;
    file.encoding = Encoding::BinHex;
    file.source = start.source;
    file.line = start.line;

    // Header, both forks and their checksums: the forks may together be
    // twice the largest file, and the header holds at most 255 + 22 bytes.
    std::vector<uint8_t> stream;
    RunLengthExpander expander(stream, options.maxFileBytes * 2 + 300);
    bool started = false;
    bool finished = false;
    bool tooLarge = false;
    bool badCharacter = false;
    uint32_t bits = 0;
    uint32_t count = 0;
    std::string_view line;
    while (!finished && lines.next(line)) {
        size_t i = 0;
        if (!started) {
            if (line.empty() || line[0] != ':') continue;
            started = true;
            i = 1;
        }
        for (; i < line.size() && !finished; ++i) {
            const char c = line[i];
            if (c == ':') {
                finished = true;
                break;
            }
            if (c == ' ' || c == '\t') continue;
            const uint8_t v = kBinHexTable[static_cast<uint8_t>(c)];
            if (v == kInvalid) {
                badCharacter = true;
                finished = true;
                break;
            }
            bits = bits << 6 | v;
            if (++count == 4) {
                const uint8_t bytes[3] = {static_cast<uint8_t>(bits >> 16),
                                          static_cast<uint8_t>(bits >> 8),
                                          static_cast<uint8_t>(bits)};
                for (uint8_t b : bytes) tooLarge |= !tooLarge && !expander.put(b);
                bits = count = 0;
            }
        }
    }
    // A last group of two or three characters carries one or two bytes.
    if (count >= 2) {
        bits <<= 6 * (4 - count);
        tooLarge |= !expander.put(static_cast<uint8_t>(bits >> 16));
        if (count == 3) tooLarge |= !expander.put(static_cast<uint8_t>(bits >> 8));
    }
    const uint64_t lineNo = lines.lineNumber();
    if (tooLarge) {
        file.problems.push_back(
            {.kind = ProblemKind::TooLarge, .expected = options.maxFileBytes, .line = lineNo});
        return block;
    }
    if (badCharacter) file.problems.push_back({.kind = ProblemKind::BadData, .line = lineNo});
    if (!finished) file.problems.push_back({.kind = ProblemKind::MissingEnd, .line = lineNo});

    // Header: name length, name, version 0, type 4, creator 4, flags 2,
    // data length 4, resource length 4, CRC 2.
    const size_t nameLength = stream.empty() ? 0 : stream[0];
    const size_t headerLength = 1 + nameLength + 1 + 4 + 4 + 2 + 4 + 4;
    if (stream.size() < headerLength + 2) {
        file.problems.push_back({.kind = ProblemKind::MissingEnd, .line = lineNo});
        return block;
    }
    file.name.assign(reinterpret_cast<const char*>(stream.data() + 1), nameLength);
    const uint8_t* header = stream.data();
    const uint64_t dataLength = be32(header + headerLength - 8);
    const uint64_t resourceLength = be32(header + headerLength - 4);
    auto checkCrc = [&](size_t from, uint64_t length, Checked what) {
        if (!rangeInside(from, length + 2, stream.size())) return false;
        const uint16_t stored =
            static_cast<uint16_t>(stream[from + length] << 8 | stream[from + length + 1]);
        const uint16_t actual = crc16(0, {stream.data() + from, static_cast<size_t>(length)});
        if (stored != actual)
            file.problems.push_back({.kind = ProblemKind::ChecksumMismatch,
                                     .checked = what,
                                     .expected = stored,
                                     .actual = actual,
                                     .line = lineNo});
        return true;
    };
    checkCrc(0, headerLength, Checked::Header);
    const size_t dataStart = headerLength + 2;
    if (dataLength > options.maxFileBytes) {
        file.problems.push_back(
            {.kind = ProblemKind::TooLarge, .expected = options.maxFileBytes, .line = lineNo});
        return block;
    }
    if (!checkCrc(dataStart, dataLength, Checked::DataFork)) {
        file.problems.push_back({.kind = ProblemKind::SizeMismatch,
                                 .expected = dataLength,
                                 .actual = stream.size() - std::min(stream.size(), dataStart),
                                 .line = lineNo});
        const size_t from = std::min(stream.size(), dataStart);
        file.bytes.assign(stream.begin() + static_cast<ptrdiff_t>(from), stream.end());
        return block;
    }
    file.bytes.assign(stream.begin() + static_cast<ptrdiff_t>(dataStart),
                      stream.begin() + static_cast<ptrdiff_t>(dataStart + dataLength));
    const size_t resourceStart = dataStart + dataLength + 2;
    if (!checkCrc(resourceStart, resourceLength, Checked::ResourceFork))
        file.problems.push_back({.kind = ProblemKind::SizeMismatch,
                                 .expected = resourceLength,
                                 .actual = stream.size() - std::min(stream.size(), resourceStart),
                                 .line = lineNo});
    return block;
}

}  // namespace vivark::textimg
