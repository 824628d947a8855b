// Fuzzes the LZW decoder over arbitrary bytes. The last input byte picks the
// mode: bit 7 the TIFF setting (most significant bit first, early change,
// old-style detection) or else GIF with a root size of 2 + bits 0-2, at most 8.
// The harness decodes up to 1 MiB twice, once in one request and once in
// requests of 1 to 64 bytes taken from the data, and requires both runs to
// give the same bytes and the same outcome.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/LzwDecoder.h"
#include "core/Errors.h"

using namespace vivark;

namespace {

constexpr size_t kMaxOutput = 1 << 20;

// Decodes into `out`; returns how many bytes were produced and whether it failed.
size_t run(std::span<const uint8_t> coded, uint32_t codeSize, bool tiff, bool split,
           std::vector<uint8_t>& out, bool& failed) {
    MemorySource source(coded);
    auto decoder = std::make_unique<LzwDecoder>(codeSize, tiff, tiff);
    size_t done = 0;
    failed = false;
    try {
        decoder->attach(&source);
        decoder->reset();
        size_t pick = 0;
        while (done < kMaxOutput && !decoder->ended()) {
            size_t request =
                split ? (coded.empty() ? 1 : coded[pick++ % coded.size()] % 64 + 1) : kMaxOutput;
            request = std::min(request, kMaxOutput - done);
            decoder->decode(out.data() + done, request);
            if (decoder->ended()) break;
            done += request;
        }
    } catch (LZWERROR) {
        failed = true;
    } catch (INFILEERROR) {
        failed = true;
    }
    return done;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t control = data[size - 1];
    const bool tiff = (control & 0x80) != 0;
    const uint32_t codeSize = tiff ? 8 : std::min<uint32_t>((control & 7u) + 2, 8);
    std::span<const uint8_t> coded(data, size - 1);
    std::vector<uint8_t> whole(kMaxOutput), pieces(kMaxOutput);
    bool failedWhole = false, failedPieces = false;
    const size_t a = run(coded, codeSize, tiff, false, whole, failedWhole);
    const size_t b = run(coded, codeSize, tiff, true, pieces, failedPieces);
    // Both runs write the same bytes at the same places before an end code or
    // an error, and leave the rest zero.
    if (failedWhole != failedPieces) std::abort();
    if (whole != pieces) std::abort();
    return static_cast<int>((a + b) & 0);
}
