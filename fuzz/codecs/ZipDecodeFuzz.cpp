// Fuzzes the inflater over arbitrary bytes. The first two input bytes give
// how much to ask for (little-endian, times 16); the rest is the zlib stream.
// The harness runs the stream twice: once in one request from one window, and
// once in requests of 1 to 256 bytes taken from the data, from windows of 1
// to 64 bytes; each run decodes and then finishes. Both runs must end the
// same way (success, or the same error value), and on success hand out the
// same bytes and leave the source at the same place.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "codecs/StreamCodec.h"
#include "codecs/ZipDecoder.h"
#include "core/Errors.h"
#include "support/SlicedSource.h"

using namespace vivark;

namespace {

using test::SlicedSource;

struct Outcome {
    int kind = 0;  // 0 success, 1 ZIPERROR, 2 INFILEERROR
    uint32_t value = 0;
    size_t position = 0;
    bool operator==(const Outcome&) const = default;
};

Outcome run(std::span<const uint8_t> coded, size_t total, bool split, std::vector<uint8_t>& out) {
    SlicedSource source(coded, split ? (coded.empty() ? 1 : coded[0] % 64 + 1) : coded.size() + 1);
    auto decoder = std::make_unique<ZipDecoder>();
    Outcome outcome;
    try {
        decoder->attach(&source);
        decoder->reset();
        size_t done = 0, pick = 0;
        while (done < total) {
            size_t request = split ? coded[pick++ % coded.size()] + 1 : total;
            request = std::min(request, total - done);
            decoder->decode(out.data() + done, request);
            done += request;
        }
        decoder->finish();
        outcome.position = source.position();
    } catch (ZIPERROR e) {
        outcome.kind = 1;
        outcome.value = static_cast<uint32_t>(e);
    } catch (INFILEERROR e) {
        outcome.kind = 2;
        outcome.value = static_cast<uint32_t>(e);
    }
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    const size_t total = (static_cast<size_t>(data[0]) | static_cast<size_t>(data[1]) << 8) * 16;
    std::span<const uint8_t> coded(data + 2, size - 2);
    std::vector<uint8_t> whole(total), pieces(total);
    const Outcome a = run(coded, total, false, whole);
    const Outcome b = run(coded, total, true, pieces);
    if (!(a == b)) std::abort();
    if (a.kind == 0 && whole != pieces) std::abort();
    return 0;
}
