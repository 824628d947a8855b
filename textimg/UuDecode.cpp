// uuencode and xxencode blocks: "begin MODE NAME", data lines, "end".
//
// A data line is a length character (the count of bytes it carries, 0 to
// 63) followed by groups of four characters that carry three bytes each;
// characters after the last group the length needs (checksum characters of
// some encoders, padding) are ignored. A line of length 0 ends the data, and
// "end" ends the block.
//
// Mail and news gateways strip blanks at line ends, and a blank is a zero in
// uuencode, so a uuencoded line missing trailing characters is completed with
// zeros, as common decoders do. xxencode has no blank in its alphabet: a
// short xxencoded line lost data and is reported.
#include <algorithm>

#include "textimg/Decoders.h"

namespace vivark::textimg {
namespace {

bool isEndLine(std::string_view line) {
    if (!line.starts_with("end")) return false;
    for (char c : line.substr(3))
        if (c != ' ' && c != '\t') return false;
    return true;
}

}  // namespace

DecodedBlock decodeUu(LineSource& lines, const BlockStart& start, const DecodeTable& table,
                      const ExtractOptions& options) {
    DecodedBlock block;
    Decoded& file = block.file;
    file.name = start.name;
    file.encoding = start.encoding;
    file.source = start.source;
    file.line = start.line;
    const bool uu = start.encoding == Encoding::Uuencode;
    ByteSink sink(file.bytes, options.maxFileBytes);

    bool ended = false;  // a zero-length line came
    bool tooLarge = false;
    std::string_view line;
    for (;;) {
        const LineSource::Mark before = lines.mark();
        if (!lines.next(line)) break;
        if (isEndLine(line)) return block;
        const uint8_t length = line.empty() ? kInvalid : table[static_cast<uint8_t>(line[0])];
        if (line.empty() || length == 0) {
            ended = true;
            continue;
        }
        if (line.starts_with("begin") || startsWithNoCase(line, "=ybegin") ||
            startsWithNoCase(line, "Content-")) {
            // Another block begins without this one's "end".
            lines.reset(before);
            break;
        }
        if (length == kInvalid) continue;  // a stray text line
        if (ended || tooLarge) continue;

        const size_t needed = (8u * length + 5) / 6;
        size_t available = 0;
        while (1 + available < line.size() && available < needed &&
               table[static_cast<uint8_t>(line[1 + available])] != kInvalid)
            ++available;
        if (available < needed && !uu)
            file.problems.push_back({.kind = ProblemKind::ShortLine,
                                     .expected = needed,
                                     .actual = available,
                                     .line = lines.lineNumber()});
        uint8_t* out = sink.reserve(length);
        if (out == nullptr) {
            tooLarge = true;
            file.problems.push_back({.kind = ProblemKind::TooLarge,
                                     .expected = options.maxFileBytes,
                                     .line = lines.lineNumber()});
            continue;
        }
        const char* text = line.data() + 1;
        auto value = [&](size_t i) -> uint32_t {
            return i < available ? table[static_cast<uint8_t>(text[i])] : 0u;
        };
        size_t written = 0;
        for (size_t i = 0; written < length; i += 4) {
            const uint32_t group =
                value(i) << 18 | value(i + 1) << 12 | value(i + 2) << 6 | value(i + 3);
            const uint8_t bytes[3] = {static_cast<uint8_t>(group >> 16),
                                      static_cast<uint8_t>(group >> 8),
                                      static_cast<uint8_t>(group)};
            const size_t take = std::min<size_t>(3, length - written);
            std::copy_n(bytes, take, out + written);
            written += take;
        }
        sink.commit(written);
    }
    file.problems.push_back({.kind = ProblemKind::MissingEnd, .line = lines.lineNumber()});
    return block;
}

}  // namespace vivark::textimg
