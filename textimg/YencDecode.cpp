// yEnc blocks: "=ybegin" (part=, total=, line=, size=, name=), for a part
// "=ypart begin= end=", data lines, "=yend" (size=, part=, pcrc32=, crc32=).
//
// A data character is the byte plus 42; "=" escapes the next character,
// which is then the byte plus 106. Line ends are never data (the encoder
// escapes CR and LF), so lines of any length decode alike. Each part's
// CRC32 is checked here; the whole file's CRC32 of a multi-part posting is
// checked when the parts are joined (Extractor).
#include <algorithm>
#include <string>

#include "textimg/Checksums.h"
#include "textimg/Decoders.h"

namespace vivark::textimg {
namespace {

// The value of " key=" in a =ypart or =yend line; nullopt when absent.
std::optional<uint64_t> field(std::string_view line, std::string_view key, int base = 10) {
    std::string lower(line);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    size_t at = 0;
    for (;;) {
        at = lower.find(key, at);
        if (at == std::string::npos) return std::nullopt;
        if (at > 0 && lower[at - 1] == ' ') break;
        at += key.size();
    }
    at += key.size();
    uint64_t value = 0;
    size_t digits = 0;
    for (; at < lower.size(); ++at, ++digits) {
        const char c = lower[at];
        int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (base == 16 && c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else
            break;
        if (value > (UINT64_MAX - 15) / 16) return std::nullopt;
        value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
    }
    if (digits == 0) return std::nullopt;
    return value;
}

}  // namespace

DecodedBlock decodeYenc(LineSource& lines, const BlockStart& start, const ExtractOptions& options) {
    DecodedBlock block;
    Decoded& file = block.file;
    file.name = start.name;
    file.encoding = Encoding::Yenc;
    file.source = start.source;
    file.line = start.line;
    ByteSink sink(file.bytes, options.maxFileBytes);
    // The declared size, bounded by the text's own size and the limit.
    file.bytes.reserve(
        static_cast<size_t>(std::min({start.size, lines.memberSize(), options.maxFileBytes})));

    const bool multiPart = start.part > 0;
    YencPart part;
    part.part = start.part;
    part.total = start.total;
    part.fileSize = start.size;

    std::string_view line;
    bool escaped = false;
    bool tooLarge = false;
    bool ended = false;
    uint32_t crc = 0;
    while (!ended) {
        const LineSource::Mark before = lines.mark();
        if (!lines.next(line)) break;
        if (line.size() >= 2 && line[0] == '=' && (line[1] == 'y' || line[1] == 'Y')) {
            if (startsWithNoCase(line, "=yend")) {
                ended = true;
                const auto size = field(line, "size=");
                const auto partCrc = field(line, "pcrc32=", 16);
                const auto wholeCrc = field(line, "crc32=", 16);
                const uint64_t declared = multiPart ? (part.end >= part.begin && part.begin > 0
                                                           ? part.end - part.begin + 1
                                                           : size.value_or(file.bytes.size()))
                                                    : (size ? *size : start.size);
                if (!tooLarge && declared != file.bytes.size())
                    file.problems.push_back({.kind = ProblemKind::SizeMismatch,
                                             .part = start.part,
                                             .expected = declared,
                                             .actual = file.bytes.size(),
                                             .line = lines.lineNumber()});
                const auto stored = multiPart ? partCrc : (wholeCrc ? wholeCrc : partCrc);
                if (!tooLarge && stored && (*stored & 0xFFFFFFFFu) != crc)
                    file.problems.push_back(
                        {.kind = ProblemKind::ChecksumMismatch,
                         .checked = multiPart ? Checked::Part : Checked::WholeFile,
                         .part = start.part,
                         .expected = *stored & 0xFFFFFFFFu,
                         .actual = crc,
                         .line = lines.lineNumber()});
                if (multiPart && wholeCrc) part.wholeCrc = static_cast<uint32_t>(*wholeCrc);
                continue;
            }
            if (startsWithNoCase(line, "=ypart")) {
                part.begin = field(line, "begin=").value_or(0);
                part.end = field(line, "end=").value_or(0);
                continue;
            }
            if (startsWithNoCase(line, "=ybegin")) {
                lines.reset(before);
                break;
            }
        }
        if (tooLarge) continue;
        uint8_t* out = sink.reserve(line.size());
        if (out == nullptr) {
            tooLarge = true;
            file.problems.push_back({.kind = ProblemKind::TooLarge,
                                     .expected = options.maxFileBytes,
                                     .line = lines.lineNumber()});
            continue;
        }
        size_t written = 0;
        for (char ch : line) {
            const auto c = static_cast<uint8_t>(ch);
            if (escaped) {
                out[written++] = static_cast<uint8_t>(c - 106);
                escaped = false;
            } else if (c == '=') {
                escaped = true;
            } else {
                out[written++] = static_cast<uint8_t>(c - 42);
            }
        }
        crc = crc32(crc, {out, written});
        sink.commit(written);
    }
    if (!ended)
        file.problems.push_back(
            {.kind = ProblemKind::MissingEnd, .part = start.part, .line = lines.lineNumber()});
    if (multiPart) block.yencPart = part;
    return block;
}

}  // namespace vivark::textimg
