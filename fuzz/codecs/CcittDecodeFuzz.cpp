// Fuzzes the CCITT decoder over arbitrary bytes in every coding. The last two
// input bytes pick the coding (modified Huffman byte- or word-aligned, T.4
// one- or two-dimensional, T.6, min-is-white or not, fill order) and the row
// width; the harness then
//  - measures rows as the raw-fax trial does (one-dimensional codings);
//  - decodes rows with decodeRow until the page ends or the decoder refuses,
//    and requires decode() in odd request sizes to give the same rows;
//  - codes the rows again with CcittEncoder in the same coding and requires
//    the decoder to give them back exactly and undamaged.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "codecs/CcittDecoder.h"
#include "codecs/CcittEncoder.h"
#include "core/Errors.h"

using namespace vivark;

namespace {

constexpr uint32_t kWidths[8] = {1, 7, 8, 64, 100, 1728, 2481, 4096};
constexpr uint32_t kModes[8] = {
    ccitt::kTiffModifiedHuffman,
    ccitt::kTiffWordAligned,
    ccitt::kTiffGroup3,
    ccitt::kTiffGroup3TwoD,
    ccitt::kTiffGroup4,
    ccitt::kEols,  // a raw fax
    ccitt::kByteAlignedRows | ccitt::kWordAlignedRows,
    0,  // modified Huffman rows back to back
};
constexpr uint32_t kMaxRows = 2048;

// Rows (packed) from decodeRow until the end of the page or the first failure.
std::vector<uint8_t> byRows(std::span<const uint8_t> bytes, uint32_t width, uint32_t mode,
                            bool lsb) {
    MemorySource source(bytes);
    CcittDecoder decoder(width, mode, lsb);
    decoder.attach(&source);
    decoder.reset();
    std::vector<uint8_t> out;
    std::vector<uint8_t> row(decoder.rowBytes());
    try {
        while (decoder.rowsDecoded() < kMaxRows && decoder.decodeRow(row.data())) {
            out.insert(out.end(), row.begin(), row.end());
            // Nothing is set past the last column.
            if ((width & 7) != 0 && (row.back() & (0xFFu >> (width & 7))) != 0) std::abort();
        }
    } catch (CCITTERROR) {
    } catch (INFILEERROR) {
    }
    if (size_t{decoder.rowsDecoded()} * decoder.rowBytes() != out.size()) std::abort();
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t pick = data[size - 2];
    const uint32_t width = kWidths[data[size - 1] & 7];
    const uint32_t mode = kModes[pick & 7] | ((pick & 8) != 0 ? ccitt::kMinIsWhite : 0);
    const bool lsb = (pick & 16) != 0;
    std::span<const uint8_t> bytes(data, size - 2);

    if ((mode & ccitt::kEols) != 0 && (mode & ccitt::kTwoDimensional) == 0) {
        MemorySource source(bytes);
        CcittDecoder decoder(width, mode, lsb);
        decoder.attach(&source);
        decoder.reset();
        try {
            while (decoder.rowsDecoded() < kMaxRows && decoder.measureRow() != 0) {
            }
        } catch (CCITTERROR) {
        } catch (INFILEERROR) {
        }
    }

    const std::vector<uint8_t> rows = byRows(bytes, width, mode, lsb);
    const size_t rowBytes = (width + 7) / 8;
    {
        MemorySource source(bytes);
        CcittDecoder decoder(width, mode, lsb);
        decoder.attach(&source);
        decoder.reset();
        std::vector<uint8_t> streamed(rows.size());
        size_t at = 0;
        try {
            for (size_t piece = 3; at < streamed.size(); piece = piece % 11 + rowBytes / 2 + 1) {
                const size_t n = std::min(piece, streamed.size() - at);
                decoder.decode(streamed.data() + at, n);
                at += n;
            }
        } catch (...) {
            std::abort();  // the rows decodeRow delivered must decode again
        }
        if (!rows.empty() && std::memcmp(streamed.data(), rows.data(), rows.size()) != 0)
            std::abort();
    }

    // What was decoded, coded again, decodes to itself.
    if (rows.empty()) return 0;
    std::vector<uint8_t> coded;
    MemorySink sink(coded);
    const uint32_t encodeMode = mode | ccitt::kEndOfPage;
    CcittEncoder encoder(width, encodeMode, 3, lsb);
    encoder.attach(&sink);
    encoder.reset();
    encoder.encode(rows.data(), rows.size());
    encoder.finish();
    encoder.close();
    MemorySource source(coded);
    CcittDecoder decoder(width, encodeMode, lsb);
    decoder.attach(&source);
    decoder.reset();
    std::vector<uint8_t> again(rows.size());
    decoder.decode(again.data(), again.size());
    if (again != rows || decoder.damagedRows() != 0) std::abort();
    return 0;
}
