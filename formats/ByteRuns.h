// The byte-run coding shared by the paint formats' writers (GEM IMG,
// Microsoft Paint): a line of bytes is split into runs of one repeated byte
// and literal stretches between them. The formats differ only in which runs
// they code as runs (a run's shortest length and longest length may depend
// on its byte) and in how they spell a run and a literal, so those are the
// caller's; the split itself is here.
//
// A stretch of equal bytes shorter than a coded run stays in the literal
// around it; literals are cut into pieces of at most 255 bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vivark {

// Splits `line` of `length` bytes. `shortestRun(b)` and `longestRun(b)` say
// which runs of byte `b` are coded as runs; `run(b, count)` and
// `literal(bytes, count)` spell the pieces, in order.
template <class ShortestRun, class LongestRun, class Run, class Literal>
void splitByteRuns(const uint8_t* line, size_t length, ShortestRun&& shortestRun,
                   LongestRun&& longestRun, Run&& run, Literal&& literal) {
    size_t i = 0, literalStart = 0;
    auto flushLiteral = [&](size_t end) {
        while (literalStart < end) {
            const size_t n = std::min<size_t>(255, end - literalStart);
            literal(line + literalStart, n);
            literalStart += n;
        }
    };
    while (i < length) {
        const uint8_t b = line[i];
        const size_t limit = longestRun(b);
        size_t count = 1;
        while (i + count < length && count < limit && line[i + count] == b) ++count;
        i += count;
        if (count >= shortestRun(b)) {
            flushLiteral(i - count);
            run(b, count);
            literalStart = i;
        }
    }
    flushLiteral(length);
}

}  // namespace vivark
