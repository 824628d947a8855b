// Fuzzes ZipEncoder differentially against zlib's deflate. The last input
// byte picks the level (0-9), the strategy (0-2) and the size of the pieces
// the rest is handed over in; for levels 1-9 the output must be zlib's, byte
// for byte, with the same pieces, and at level 0 zlib must inflate it back.
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ZipEncoder.h"

using namespace vivark;

namespace {

constexpr size_t kPieces[4] = {1, 777, 65537, size_t{1} << 30};

std::vector<uint8_t> zlibDeflate(const uint8_t* data, size_t size, int level, int strategy,
                                 size_t piece) {
    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, 15, 8, strategy) != Z_OK) std::abort();
    std::vector<uint8_t> out(deflateBound(&z, size) + 64);
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    for (size_t at = 0; at < size; at += piece) {
        z.next_in = const_cast<Bytef*>(data + at);
        z.avail_in = static_cast<uInt>(std::min(piece, size - at));
        if (::deflate(&z, Z_NO_FLUSH) != Z_OK || z.avail_in != 0) std::abort();
    }
    if (::deflate(&z, Z_FINISH) != Z_STREAM_END) std::abort();
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t options = data[size - 1];
    --size;
    const int level = (options & 15) % 10;
    const int strategy = (options >> 4 & 3) % 3;
    const size_t piece = kPieces[options >> 6];

    std::vector<uint8_t> coded;
    {
        MemorySink sink(coded);
        ZipEncoder encoder(level, 8, 15, 8, strategy);
        encoder.attach(&sink);
        encoder.reset();
        for (size_t at = 0; at < size; at += piece)
            encoder.encode(data + at, std::min(piece, size - at));
        encoder.finish();
        encoder.close();
    }
    if (level != 0) {
        // Past the header, whose advisory level hint zlib chooses differently.
        std::vector<uint8_t> expected = zlibDeflate(data, size, level, strategy, piece);
        if (coded.size() != expected.size() || coded.size() < 2 ||
            !std::equal(coded.begin() + 2, coded.end(), expected.begin() + 2))
            std::abort();
    } else {
        std::vector<uint8_t> back(size + 1);
        uLongf length = back.size();
        if (uncompress(back.data(), &length, coded.data(), coded.size()) != Z_OK ||
            length != size || !std::equal(data, data + size, back.begin()))
            std::abort();
    }
    return 0;
}
