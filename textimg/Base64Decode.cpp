// MIME base64 bodies: lines of any length from the alphabet
// A-Z a-z 0-9 + /, "=" padding at the end.
//
// The body ends at a boundary line ("--" and the boundary, or any line
// starting with "--", which base64 never does), at a blank line, after a line
// with padding, or at a line with characters outside the alphabet (text
// after the body, the next part's headers); that line is left for the
// scanner. Blanks inside a line are skipped.
#include "textimg/Decoders.h"

namespace vivark::textimg {

DecodedBlock decodeBase64(LineSource& lines, const BlockStart& start,
                          const ExtractOptions& options) {
    DecodedBlock block;
    Decoded& file = block.file;
    file.name = start.name;
    file.encoding = Encoding::Base64;
    file.source = start.source;
    file.line = start.line;
    ByteSink sink(file.bytes, options.maxFileBytes);

    uint32_t bits = 0;   // sextets collected, most recent lowest
    uint32_t count = 0;  // how many of them (0 to 3)
    bool padded = false;
    std::string_view line;
    bool sawData = false;
    for (;;) {
        const LineSource::Mark before = lines.mark();
        if (!lines.next(line)) break;
        if (line.starts_with("--")) {
            lines.reset(before);
            break;
        }
        size_t blanks = 0;
        bool text = false;
        for (char c : line) {
            if (c == ' ' || c == '\t') {
                ++blanks;
            } else if (kBase64Table[static_cast<uint8_t>(c)] == kInvalid && c != '=') {
                text = true;
                break;
            }
        }
        if (blanks == line.size()) {
            if (sawData) break;
            continue;  // blank lines before the data
        }
        if (text) {
            lines.reset(before);
            break;
        }
        sawData = true;
        uint8_t* out = sink.reserve(line.size() / 4 * 3 + 3);
        if (out == nullptr) {
            file.problems.push_back({.kind = ProblemKind::TooLarge,
                                     .expected = options.maxFileBytes,
                                     .line = lines.lineNumber()});
            return block;
        }
        size_t written = 0;
        for (char c : line) {
            const uint8_t v = kBase64Table[static_cast<uint8_t>(c)];
            if (v == kInvalid) {
                padded |= c == '=';
                continue;
            }
            if (padded) continue;  // nothing follows padding
            bits = bits << 6 | v;
            if (++count == 4) {
                out[written++] = static_cast<uint8_t>(bits >> 16);
                out[written++] = static_cast<uint8_t>(bits >> 8);
                out[written++] = static_cast<uint8_t>(bits);
                bits = 0;
                count = 0;
            }
        }
        sink.commit(written);
        if (padded) break;
    }
    // Two or three sextets left carry one or two bytes, padded or not; a
    // single one carries none and means the body was cut.
    if (count >= 2) {
        uint8_t* out = sink.reserve(2);
        if (out != nullptr) {
            bits <<= 6 * (4 - count);
            out[0] = static_cast<uint8_t>(bits >> 16);
            out[1] = static_cast<uint8_t>(bits >> 8);
            sink.commit(count - 1);
        }
    } else if (count == 1) {
        file.problems.push_back({.kind = ProblemKind::BadData, .line = lines.lineNumber()});
    }
    if (!sawData)
        file.problems.push_back({.kind = ProblemKind::MissingEnd, .line = lines.lineNumber()});
    return block;
}

}  // namespace vivark::textimg
