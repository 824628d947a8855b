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
        uint8_t* out = sink.reserve(line.size() / 4 * 3 + 3);
        if (out == nullptr) {
            file.problems.push_back({.kind = ProblemKind::TooLarge,
                                     .expected = options.maxFileBytes,
                                     .line = lines.lineNumber()});
            return block;
        }
        // Whole groups of four valid characters go straight through; the
        // rest (blanks, padding, a group across a blank) one at a time. A
        // character outside the alphabet makes the line text: what it gave
        // is taken back and the line left for the scanner.
        const uint32_t lineBits = bits;
        const uint32_t lineCount = count;
        const bool linePadded = padded;
        const auto* text = reinterpret_cast<const uint8_t*>(line.data());
        const size_t size = line.size();
        size_t written = 0;
        size_t i = 0;
        size_t blanks = 0;
        bool isText = false;
        for (;;) {
            if (count == 0 && !padded) {
                for (; i + 4 <= size; i += 4) {
                    const uint32_t a = kBase64Table[text[i]], b = kBase64Table[text[i + 1]],
                                   c = kBase64Table[text[i + 2]], d = kBase64Table[text[i + 3]];
                    if ((a | b | c | d) & 0x80) break;
                    const uint32_t group = a << 18 | b << 12 | c << 6 | d;
                    out[written] = static_cast<uint8_t>(group >> 16);
                    out[written + 1] = static_cast<uint8_t>(group >> 8);
                    out[written + 2] = static_cast<uint8_t>(group);
                    written += 3;
                }
            }
            if (i >= size) break;
            const uint8_t ch = text[i++];
            const uint8_t v = kBase64Table[ch];
            if (v != kInvalid) {
                if (padded) continue;  // nothing follows padding
                bits = bits << 6 | v;
                if (++count == 4) {
                    out[written++] = static_cast<uint8_t>(bits >> 16);
                    out[written++] = static_cast<uint8_t>(bits >> 8);
                    out[written++] = static_cast<uint8_t>(bits);
                    bits = 0;
                    count = 0;
                }
            } else if (ch == '=') {
                padded = true;
            } else if (ch == ' ' || ch == '\t') {
                ++blanks;
            } else {
                isText = true;
                break;
            }
        }
        if (isText || blanks == size) {
            sink.commit(0);
            bits = lineBits;
            count = lineCount;
            padded = linePadded;
            if (isText) {
                lines.reset(before);
                break;
            }
            if (sawData) break;
            continue;  // blank lines before the data
        }
        sawData = true;
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
