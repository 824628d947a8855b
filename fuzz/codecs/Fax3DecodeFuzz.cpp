// Fuzzes the modified Huffman decoder over arbitrary bytes. The last input
// byte picks the row width (from a table of fax widths and small odd ones)
// and whether rows need an end of line; the harness measures the first row,
// then decodes rows until the page ends or the decoder refuses, through both
// decodeRow and decode() in odd request sizes, and requires both to agree.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/FaxDecoder.h"
#include "core/Errors.h"

using namespace vivark;

namespace {

constexpr uint32_t kWidths[8] = {1, 7, 64, 100, 1728, 2048, 2432, Fax3Decoder::kMaxColumns};
constexpr uint32_t kMaxRows = 4096;

// Decodes rows with decodeRow; returns the rows (packed) until the first failure.
std::vector<uint8_t> byRows(std::span<const uint8_t> bytes, uint32_t width,
                            Fax3Decoder::Options options) {
    MemorySource source(bytes);
    Fax3Decoder decoder(width, options);
    decoder.attach(&source);
    std::vector<uint8_t> out;
    std::vector<uint8_t> row(decoder.rowBytes());
    try {
        while (decoder.rowsDecoded() < kMaxRows && decoder.decodeRow(row.data())) {
            out.insert(out.end(), row.begin(), row.end());
        }
    } catch (CCITTERROR) {
    } catch (INFILEERROR) {
    }
    if (decoder.rowsDecoded() * decoder.rowBytes() != out.size()) std::abort();
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t options = data[size - 1];
    std::span<const uint8_t> bytes(data, size - 1);
    const uint32_t width = kWidths[options & 7];
    const Fax3Decoder::Options decoderOptions{.eolRequired = (options & 8) != 0,
                                              .byteAlignedRows = (options & 16) != 0};

    {
        MemorySource source(bytes);
        Fax3Decoder decoder(Fax3Decoder::kMaxColumns, decoderOptions);
        decoder.attach(&source);
        try {
            const uint32_t measured = decoder.measureRow();
            if (measured > Fax3Decoder::kMaxColumns) std::abort();
        } catch (CCITTERROR) {
        } catch (INFILEERROR) {
        }
    }

    const std::vector<uint8_t> rows = byRows(bytes, width, decoderOptions);
    // The same rows through decode() in requests of 3 bytes.
    MemorySource source(bytes);
    Fax3Decoder decoder(width, decoderOptions);
    decoder.attach(&source);
    std::vector<uint8_t> streamed(rows.size());
    size_t at = 0;
    try {
        while (at < streamed.size()) {
            const size_t n = std::min<size_t>(3, streamed.size() - at);
            decoder.decode(streamed.data() + at, n);
            at += n;
        }
    } catch (...) {
        std::abort();  // the rows decodeRow delivered must decode again
    }
    if (!rows.empty() && std::memcmp(streamed.data(), rows.data(), rows.size()) != 0) std::abort();
    return 0;
}
